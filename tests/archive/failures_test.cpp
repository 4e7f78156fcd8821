// What an archive does when its stream, its data or its writer fails: every
// failure an archive error, loads that fail leave their target as it was,
// and an archive whose writer never closed it still reads in order.
#include "../support/bytes.h"

#include "std/archive/archive.h"
#include "std/archive/filearchive.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/pelbuf/pelroot.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <ios>
#include <streambuf>

namespace {

constexpr auto LE = ycArchive::littleEndian;

TEST(ArchiveContainers, EmptyAndFullRoundTrip)
{
    std::vector<unsigned char> noBytes, bytes{7, 8};
    std::vector<bool> noBools, bools{true};
    std::vector<std::int32_t> noInts, ints{-1};
    struct Row {
        const char* name;
        std::function<void(ycArchive&)> store;
        const char* expected;
        std::function<bool(ycArchive&)> loadsBack;
    } rows[] = {
        {"no bytes", [&](ycArchive& ar) { ar << noBytes; }, "00 00 00 00",
         [](ycArchive& ar) { std::vector<unsigned char> v{1}; ar >> v; return v.empty(); }},
        {"bytes", [&](ycArchive& ar) { ar << bytes; }, "02 00 00 00 07 08",
         [&](ycArchive& ar) { std::vector<unsigned char> v; ar >> v; return v == bytes; }},
        {"no bools", [&](ycArchive& ar) { ar << noBools; }, "00 00 00 00",
         [](ycArchive& ar) { std::vector<bool> v{true}; ar >> v; return v.empty(); }},
        {"bools", [&](ycArchive& ar) { ar << bools; }, "01 00 00 00 01",
         [&](ycArchive& ar) { std::vector<bool> v; ar >> v; return v == bools; }},
        {"no ints", [&](ycArchive& ar) { ar << noInts; }, "00 00 00 00",
         [](ycArchive& ar) { std::vector<std::int32_t> v{1}; ar >> v; return v.empty(); }},
        {"ints", [&](ycArchive& ar) { ar << ints; }, "01 00 00 00 ff ff ff ff",
         [&](ycArchive& ar) { std::vector<std::int32_t> v; ar >> v; return v == ints; }},
    };
    for (Row& row : rows) {
        Bytes body;
        ASSERT_NO_THROW(body = storedBody(LE, row.store)) << row.name;
        EXPECT_EQ(body, hex(row.expected)) << row.name;
        LoadArchive in(LE, body);
        EXPECT_TRUE(row.loadsBack(*in)) << row.name;
    }
}

// A stream buffer that reports I/O errors by throwing, as a file's does,
// after `good` bytes of header.
class ThrowingBuffer : public std::streambuf {
public:
    explicit ThrowingBuffer(std::string good) : good_(std::move(good))
    {
        setg(good_.data(), good_.data(), good_.data() + good_.size());
    }

protected:
    int_type underflow() override { throw std::ios_base::failure("read error"); }
    int_type overflow(int_type) override { throw std::ios_base::failure("write error"); }

private:
    std::string good_;
};

class OverBuffer : public ycArchive {
public:
    OverBuffer(std::streambuf* buffer, Direction direction) : ycArchive(buffer, direction, LE, false, true)
    {
        start();
    }
    ~OverBuffer() override { finish(); }
};

template <class E>
std::function<bool()> throws(std::function<void()> f)
{
    return [f] {
        try {
            f();
        } catch (const E&) {
            return true;
        } catch (...) {
        }
        return false;
    };
}

TEST(ArchiveFailures, EveryStreamFailureIsAnArchiveError)
{
    const std::filesystem::path dir = std::filesystem::path(testOutputDir()) / "a-directory";
    std::filesystem::create_directories(dir);
    const std::wstring path = yfWiden(dir.string());
    using A = ycArchive;
    struct Row {
        const char* name;
        std::function<bool()> failsRightly;
    } rows[] = {
        {"directory, read-only", throws<A::BadFile>([&] { ycFileArchive(path, A::loading); })},
        {"directory, writable", throws<A::BadFile>([&] { ycFileArchive(path, A::loading, LE, false, false); })},
        {"directory, seekable", throws<A::BadFile>([&] { ycFileArchive(path, A::loading, LE, true); })},
        {"directory, storing", throws<A::BadFile>([&] { ycFileArchive(path, A::storing); })},
        {"read error in the header", throws<A::BadBuffer>([] {
             ThrowingBuffer buffer("\x02");
             OverBuffer ar(&buffer, A::loading);
         })},
        {"read error in a value", throws<A::BadBuffer>([] {
             ThrowingBuffer buffer("\x02\x01\x05");
             OverBuffer ar(&buffer, A::loading);
             std::int32_t value = 0;
             ar >> value;
         })},
        {"write error", throws<A::BadBuffer>([] {
             ThrowingBuffer buffer("");
             OverBuffer ar(&buffer, A::storing);
         })},
    };
    for (Row& row : rows) EXPECT_TRUE(row.failsRightly()) << row.name;
}

// An archive error loaded from a stream cut anywhere in its record keeps
// the file and line it had.
TEST(ArchiveFailures, ErrorCutShortKeepsItsFields)
{
    using A = ycArchive;
    struct Row {
        std::function<Bytes()> store;
        std::function<void(ycArchive&)> loadIntoOld;
    } rows[] = {
        {[] { return storedBody(LE, [](ycArchive& ar) { ar << A::Eof("std/new/place", 42); }); },
         [](ycArchive& ar) {
             A::Eof old("std/old/place", 7);
             EXPECT_ANY_THROW(ar >> old);
             EXPECT_EQ(old.file(), L"std/old/place");
             EXPECT_EQ(old.line(), 7);
         }},
        {[] { return storedBody(LE, [](ycArchive& ar) { ar << A::BadFile(L"Could not open file: x", 0); }); },
         [](ycArchive& ar) {
             A::BadFile old(L"before", 3);
             EXPECT_ANY_THROW(ar >> old);
             EXPECT_EQ(old.file(), L"before");
             EXPECT_EQ(old.line(), 3);
         }},
    };
    for (Row& row : rows) {
        const Bytes whole = row.store();
        for (std::size_t cut = 0; cut < whole.size(); ++cut) {
            SCOPED_TRACE(cut);
            LoadArchive in(LE, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut)));
            row.loadIntoOld(*in);
        }
    }
}

// The bytes a seekable archive holds before it writes its index, as a
// writer that crashed leaves them.
std::string withoutIndex(const std::function<void(ycArchive&)>& store)
{
    ycMemoryArchive out(LE, true);
    store(out);
    auto held = out.storage();
    return std::string(held.begin(), held.end());
}

TEST(SeekableArchive, UnclosedArchiveReadsInOrder)
{
    ycPelRoot<unsigned char> root(3, 2, 4);
    for (std::int32_t y = 0; y < 2; ++y)
        for (std::int32_t x = 0; x < 3; ++x) root.pels()[y * root.rowUpdate() + x] = static_cast<unsigned char>(10 * y + x);
    const yc2XformLinear shift(ycXform<2>(ycMatrix<2>(), ycVector<2>(1, 2)));
    const yc2XformComposed composed(shift, shift, true, true);
    const std::vector<std::int32_t> ints{1, 2, 3};
    const std::u32string text = U"abc";
    struct Row {
        const char* name;
        std::function<void(ycArchive&)> store;
        std::function<bool(ycArchive&)> loadsBack;
    } rows[] = {
        {"pel root", [&](ycArchive& ar) { ar << root; },
         [&](ycArchive& ar) {
             ycPelRoot<unsigned char> back;
             ar >> back;
             return back.width() == 3 && back.height() == 2 && back.pels()[back.rowUpdate() + 2] == 12;
         }},
        {"composed transform", [&](ycArchive& ar) { ar << composed; },
         [](ycArchive& ar) {
             yc2XformComposed back;
             ar >> back;
             ycVector<2> p = back.mapPoint(ycVector<2>(0, 0));
             return p.x() == 2 && p.y() == 4;
         }},
        {"vector", [&](ycArchive& ar) { ar << ints; },
         [&](ycArchive& ar) {
             std::vector<std::int32_t> back;
             ar >> back;
             return back == ints;
         }},
        {"32-bit string", [&](ycArchive& ar) { ar << text; },
         [&](ycArchive& ar) {
             std::u32string back;
             ar >> back;
             return back == text;
         }},
    };
    for (Row& row : rows) {
        LoadArchive in(withoutIndex(row.store), true);
        bool loaded = false;
        EXPECT_NO_THROW(loaded = row.loadsBack(*in)) << row.name;
        EXPECT_TRUE(loaded) << row.name;
        EXPECT_THROW(in->firstObjectID(), ycArchive::BadType) << row.name; // there is no index
    }
}

} // namespace

// Seekable archives: marks, stored objects, pointers, the index at the end,
// appending, direction switches, and the failures of each.
#include "../support/bytes.h"
#include "../support/gear.h"

#include "std/archive/filearchive.h"
#include "std/archive/objects.h"
#include "std/except/registry.h"
#include "std/util/assert.h"
#include "std/util/debug.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <regex>

namespace {

std::vector<std::int32_t> markNumbers(ycArchive& ar)
{
    std::vector<std::int32_t> out;
    for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) out.push_back(n);
    return out;
}

TEST(SeekableFile, StoredReopenedSearchedWalkedLoadedThenAppended)
{
    const std::wstring path = yfWiden(testOutputDir()) + L"/seekable.arc";
    for (auto ordering : {ycArchive::bigEndian, ycArchive::littleEndian}) {
        SCOPED_TRACE(static_cast<int>(ordering));
        std::map<std::int32_t, std::string> names{{1, "alpha"}, {2, "beta"}, {3, "a somewhat longer name"}};
        {
            ycFileArchive out(path, ycArchive::storing, ordering, true);
            EXPECT_EQ(out.writeNewMark(0), 1);
            Gear a(names[1], 1), b(names[2], 2), c(names[3], 3, &b);
            EXPECT_EQ(out.storeObject(&a), 1);
            EXPECT_EQ(out.writeNewMark(10), 10);
            out << std::int32_t(77);
            EXPECT_EQ(out.storeObject(&b), 2);
            EXPECT_EQ(out.storeObject(&c), 3);
            EXPECT_EQ(out.writeNewMark(0), 2);
        }
        auto checkAll = [&](const std::vector<std::int32_t>& marks) {
            ycFileArchive in(path, ycArchive::loading, ordering, true);
            EXPECT_EQ(markNumbers(in), marks);
            EXPECT_EQ(in.lastMarkNum(), marks.back());
            EXPECT_EQ(in.prevMarkNum(10), marks[marks.size() - 2]);
            in.findMark(10);
            std::int32_t mark = 0, value = 0;
            in.readMark(mark);
            in >> value;
            EXPECT_EQ(mark, 10);
            EXPECT_EQ(value, 77);

            std::vector<std::int32_t> ids, walked;
            for (std::int32_t id = in.firstObjectID(); id != 0; id = in.nextObjectID(id)) walked.push_back(id);
            for (auto& [id, name] : names) {
                ids.push_back(id);
                ycArchive::pos at = in.findObject(id), position = -1;
                std::int32_t readId = 0;
                std::uint32_t size = 0;
                in.readObjectHeader(readId, size, position);
                EXPECT_EQ(readId, id);
                EXPECT_EQ(size, Gear(name, 0).bodySize());
                EXPECT_EQ(position, at);
                EXPECT_EQ(in.objectTypeName(), "Gear");
                auto loaded = in.loadObject();
                std::unique_ptr<ycPersistent> other(asGear(loaded).left); // found through the index
                EXPECT_EQ(asGear(loaded).name, name);
                EXPECT_EQ(asGear(loaded).width, id);
                EXPECT_EQ(other ? asGear(other).name : "", id == 3 ? "beta" : "");
            }
            EXPECT_EQ(walked, ids);
        };
        checkAll({1, 2, 10});

        {
            ycFileArchive more(path, ycArchive::loading, ordering, true, false);
            more.append();
            EXPECT_EQ(more.writeNewMark(0), 3);
            Gear d("delta", 4), e("epsilon", 100);
            EXPECT_EQ(more.storeObject(&d), 4);
            more.setStartingID(100);
            EXPECT_EQ(more.storeObject(&e), 100);
        }
        names[4] = "delta";
        names[100] = "epsilon";
        checkAll({1, 2, 3, 10});
        const std::string bytes = fileBytes(yfPath(path));
        EXPECT_EQ(bytes.substr(bytes.size() - 4), "\xA7" "END");
    }
}

TEST(SeekableArchive, ChangedObjectIsStoredAgainUnchangedOneIsReferred)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Gear w("", 1);
    std::int32_t first = out.storeObject(&w);
    EXPECT_TRUE(w.isStored());
    EXPECT_EQ(out.storeObject(&w), first); // a pointer record
    w.setWidth(2);
    EXPECT_FALSE(w.isStored());
    std::int32_t again = out.storeObject(&w);
    EXPECT_NE(again, first);

    LoadArchive in(out);
    in->findObject(again);
    EXPECT_EQ(asGear(in->loadObject()).width, 2);
    // In stream order: the record, the pointer record to it, the new record.
    in->seek(2);
    for (std::int32_t width : {1, 1, 2}) EXPECT_EQ(asGear(in->loadObject()).width, width);
    EXPECT_GT(in->firstPointerPos(), 2);
    EXPECT_EQ(in->pointerObjectID(), first);
    EXPECT_EQ(in->nextPointerPos(), -1);
}

TEST(SeekableArchive, MarkNumbering)
{
    ycMemoryArchive out(ycArchive::bigEndian, true);
    out.setStartingNum(5);
    EXPECT_EQ(out.writeNewMark(0), 5);
    EXPECT_EQ(out.writeNewMark(6), 6);
    EXPECT_EQ(out.writeNewMark(0), 7);
    EXPECT_THROW(out.writeNewMark(5), ycArchive::Duplicate);
    EXPECT_THROW(out.renumberMark(6), ycArchive::Duplicate);
    EXPECT_EQ(out.renumberMark(0), 8);
    EXPECT_EQ(out.renumberMark(20), 20);
    out.removeMark();
    EXPECT_THROW(out.removeMark(), ycArchive::NotFound);
    EXPECT_EQ(out.writeNewMark(0), 9);
    EXPECT_EQ(out.findMark(5), 2);
    out.skipMark();
    EXPECT_EQ(out.tell(), 10);

    LoadArchive in(out);
    EXPECT_EQ(markNumbers(*in), (std::vector<std::int32_t>{5, 6, 9}));
    EXPECT_EQ(in->nextMarkNum(9), 0);
    EXPECT_EQ(in->prevMarkNum(5), 0);
    // Read in order, the removed mark keeps its place with number 0.
    std::vector<std::int32_t> inStream(4);
    for (std::int32_t& n : inStream) in->readMark(n);
    EXPECT_EQ(inStream, (std::vector<std::int32_t>{5, 6, 0, 9}));
    EXPECT_THROW(in->findMark(7), ycArchive::NotFound);
    in->findMark(6);
    in->skipMark();
    EXPECT_EQ(in->tell(), 18);
    in->seek(3);
    EXPECT_THROW(in->readMark(inStream[0]), ycArchive::BadType);

    // Removing a mark after the index was written leaves a shorter index
    // that still ends the stream.
    std::size_t before = bytesOf(out).size();
    out.findMark(6);
    out.removeMark();
    EXPECT_EQ(bytesOf(out).size(), before);
    EXPECT_EQ(markNumbers(*LoadArchive(out)), (std::vector<std::int32_t>{5, 9}));
}

TEST(SeekableArchive, PointersAreWalkedRetargetedAndRemoved)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Gear a("a", 1), b("b", 2);
    Gear c("c", 3, &b);
    out.storeObject(&a);
    out.storeObject(&b);
    ycArchive::pos repeat = out.tell() + 4;
    out.storeObject(&a);
    out.storeObject(&c); // refers to b from inside its body
    EXPECT_EQ(out.firstPointerPos(), repeat);
    EXPECT_EQ(out.pointerObjectID(), 1);
    EXPECT_THROW(out.pointerObjectID(99), ycArchive::NotFound);
    out.pointerObjectID(2);
    EXPECT_GT(out.nextPointerPos(), repeat);
    EXPECT_EQ(out.pointerObjectID(), 2);
    out.removePointer();
    EXPECT_EQ(out.nextPointerPos(), -1);
    EXPECT_THROW(out.pointerObjectID(), ycArchive::NotFound);

    LoadArchive in(out);
    in->seek(repeat - 4);
    EXPECT_EQ(asGear(in->loadObject()).name, "b");
    EXPECT_EQ(asGear(in->loadObject()).left, nullptr);
    EXPECT_EQ(in->firstPointerPos(), repeat);
    EXPECT_EQ(in->nextPointerPos(), -1);
}

TEST(ObjectNesting, RecordsNestAThousandDeepAndNoDeeper)
{
    for (auto [length, loads] : {std::pair{1000, true}, std::pair{1001, false}}) {
        std::vector<std::unique_ptr<Gear>> chain;
        for (int i = 0; i < length; ++i)
            chain.push_back(std::make_unique<Gear>("", i, chain.empty() ? nullptr : chain.back().get()));
        ycMemoryArchive out;
        out << *chain.back();
        LoadArchive in(out);
        if (!loads) {
            EXPECT_THROW(ycPersistent::readObject(*in), ycArchive::BadContent);
            continue;
        }
        std::unique_ptr<ycPersistent> link = ycPersistent::readObject(*in);
        for (int i = length - 1; i >= 0; --i) {
            ASSERT_EQ(asGear(link).width, i);
            link.reset(std::exchange(asGear(link).left, nullptr));
        }
    }
}

TEST(SeekableArchive, LargeSizesTakeTheLongForm)
{
    struct Threshold {
        std::uint64_t previous = yf_SetArchiveLargeObjectSize(22);
        ~Threshold() { yf_SetArchiveLargeObjectSize(previous); }
    } threshold;
    const std::wstring path = yfWiden(testOutputDir()) + L"/large.arc";
    Gear big("big", 1), small("", 2); // bodies of 23 and 20 bytes
    {
        ycFileArchive out(path, ycArchive::storing, ycArchive::bigEndian, true);
        out.storeObject(&big);
        out.storeObject(&small);
    }
    EXPECT_NE(fileBytes(yfPath(path)).find("\xFF\xFF\xFF\xFF\x6F\x8B\x68\x45"), std::string::npos);
    ycFileArchive(path, ycArchive::loading, ycArchive::bigEndian, true, false).append(); // rewrites the index
    ycFileArchive in(path, ycArchive::loading, ycArchive::bigEndian, true);
    std::int32_t id = 0;
    std::uint32_t size = 0;
    std::uint64_t size64 = 0;
    ycArchive::pos at = 0;
    in.findObject(1);
    EXPECT_THROW(in.readObjectHeader(id, size, at), ycArchive::BadType);
    in.readObjectHeader64(id, size64, at);
    EXPECT_EQ(size64, big.bodySize());
    EXPECT_EQ(asGear(in.loadObject()).name, "big");
    in.readObjectHeader(id, size, at);
    EXPECT_EQ(id, 2);
    EXPECT_EQ(size, small.bodySize());
}

TEST(SeekableArchive, EachDirectionKeepsItsPosition)
{
    ycMemoryArchive ar(ycArchive::littleEndian, true);
    ar << std::int32_t(1) << std::int32_t(2);
    ar.mode(ycArchive::loading);
    std::int32_t v = 0;
    ar >> v;
    EXPECT_EQ(v, 1);
    ar.mode(ycArchive::storing);
    ar << std::int32_t(3);
    ar.mode(ycArchive::loading);
    for (std::int32_t expected : {2, 3}) {
        ar >> v;
        EXPECT_EQ(v, expected);
    }
    EXPECT_THROW(ar >> v, ycArchive::Eof);
}

// One call on an archive, as a table row.
#define OP(call) [&](ycArchive& ar) { ar.call; }
using Operation = std::function<void(ycArchive&)>;

TEST(SeekableArchive, PlainArchivesRefuseEverySeekableOperation)
{
    Gear w;
    std::int32_t n = 0;
    std::uint32_t size = 0;
    std::uint64_t size64 = 0;
    ycArchive::pos at = 0;
    const Operation operations[] = {
        OP(mode(ycArchive::storing)), OP(append()), OP(writeNewMark(0)), OP(renumberMark(0)), OP(removeMark()),
        OP(readMark(n)), OP(findMark(1)), OP(skipMark()), OP(firstMarkNum()), OP(lastMarkNum()), OP(nextMarkNum(1)),
        OP(prevMarkNum(1)), OP(setStartingNum(1)), OP(storeObject(&w)), OP(loadObject()), OP(findObject(1)),
        OP(firstObjectID()), OP(nextObjectID(1)), OP(readObjectHeader(n, size, at)),
        OP(readObjectHeader64(n, size64, at)), OP(objectTypeName()), OP(removeObject()), OP(setStartingID(1)),
        OP(firstPointerPos()), OP(nextPointerPos()), OP(pointerObjectID()), OP(pointerObjectID(1)),
        OP(removePointer()), OP(secondary()), OP(secondary(nullptr)),
    };
    ycMemoryArchive storing;
    LoadArchive loading(ycArchive::littleEndian, Bytes(64, 0));
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        EXPECT_THROW(operations[i](storing), ycArchive::NotSeekable) << i;
        EXPECT_THROW(operations[i](*loading), ycArchive::NotSeekable) << i;
    }
}

TEST(SeekableArchive, BrokenPreconditionsAreAssertions)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Gear w;
    out.writeNewMark(1);
    out.storeObject(&w);
    LoadArchive in(out);
    std::int32_t n = 0;
    std::uint32_t size = 0;
    ycArchive::pos at = 0;
    const Operation onLoading[] = {
        // storing only (a loading memory archive is read-only)
        OP(writeNewMark(0)), OP(renumberMark(0)), OP(removeMark()), OP(storeObject(&w)), OP(setStartingID(1)),
        OP(setStartingNum(1)), OP(removeObject()), OP(removePointer()), OP(pointerObjectID(1)),
        OP(mode(ycArchive::storing)), OP(append()),
        // numbers out of range
        OP(findMark(0)), OP(findObject(-1)),
    };
    const Operation onStoring[] = {
        // loading only
        OP(readMark(n)), OP(findObject(1)), OP(firstObjectID()), OP(nextObjectID(1)),
        OP(readObjectHeader(n, size, at)), OP(objectTypeName()), OP(loadObject()),
        // numbers out of range
        OP(writeNewMark(-1)), OP(writeNewMark(0x7fffffff)), OP(renumberMark(-2)), OP(setStartingNum(0)),
        OP(setStartingID(0x7fffffff)), OP(storeObject(nullptr)),
    };
    for (std::size_t i = 0; i < std::size(onLoading); ++i) EXPECT_THROW(onLoading[i](*in), ycAssertFailure) << i;
    for (std::size_t i = 0; i < std::size(onStoring); ++i) EXPECT_THROW(onStoring[i](out), ycAssertFailure) << i;
}
#undef OP

TEST(SeekableArchive, OldArchivesTakeMarksButNoObjects)
{
    const std::wstring path = yfWiden(testOutputDir()) + L"/old.arc";
    { ycFileArchive out(path, ycArchive::storing, ycArchive::littleEndian, true); }
    std::fstream(yfPath(path), std::ios::binary | std::ios::in | std::ios::out).put('\x01'); // version 0, seekable
    ycFileArchive old(path, ycArchive::loading, ycArchive::littleEndian, true, false);
    EXPECT_EQ(old.version(), 0);
    old.append();
    EXPECT_EQ(old.writeNewMark(0), 1);
    Gear w;
    EXPECT_THROW(old.storeObject(&w), ycArchive::CannotWriteToOldArchive);
    EXPECT_THROW(old << w, ycArchive::CannotWriteToOldArchive);
}

// A seekable storing archive whose buffer accepts a fixed number of bytes,
// then refuses every write.
class ShortArchive : public ycArchive {
    struct Buffer : yc_MemoryBuffer {
        std::streamsize room;
        std::streamsize xsputn(const char* s, std::streamsize n) override
        {
            if (n > room) return 0;
            room -= n;
            return yc_MemoryBuffer::xsputn(s, n);
        }
    } buffer_;

public:
    explicit ShortArchive(std::streamsize room) : ycArchive(&buffer_, storing, littleEndian, true, false)
    {
        buffer_.room = room;
        start();
    }
    ~ShortArchive() override { finish(); }
};

TEST(SeekableArchive, DestructorReportsAFailedIndexOnTheDebugStream)
{
    ycDebugCapture capture;
    ShortArchive(2 + 8).writeNewMark(0);
    std::regex line("archive:[0-9]+: \\(warning\\) ignoring exception thrown in ycArchive destructor: "
                    "ycArchive::BadBuffer: thrown from file: archive, line: [0-9]+\n");
    EXPECT_TRUE(std::regex_match(capture.text(), line)) << capture.text();
}

TEST(SeekableArchive, DamagedIndexesAreRefused)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Gear w("w", 1);
    out.writeNewMark(0);
    out.storeObject(&w);
    const std::string good = bytesOf(out);
    const std::size_t index = good.size() - 12 - (24 + 12 + 16);
    auto put32 = [&](std::size_t at, std::uint32_t v) {
        std::string s = good;
        for (int i = 0; i < 4; ++i) s[at + i] = static_cast<char>(v >> (8 * i));
        return s;
    };
    std::pair<std::string, bool> rows[] = {
        // bytes, BadType (else BadContent)
        {good.substr(0, good.size() - 1), true},
        {good.substr(0, 2), true},
        {put32(good.size() - 12, 0), false},                            // index position
        {put32(index, 0), true},                                        // index marker
        {put32(index + 12, 0x10000000), false},                         // mark count
        {put32(index + 24 + 4, static_cast<std::uint32_t>(index)), false}, // mark past the data
        {put32(index + 24, 0), false},                                  // mark number 0
        {put32(index + 24 + 12 + 12, 0xFFFFFF), false},                 // object size
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        LoadArchive in(rows[i].first, true);
        if (rows[i].second)
            EXPECT_THROW(in->firstMarkNum(), ycArchive::BadType) << i;
        else
            EXPECT_THROW(in->firstMarkNum(), ycArchive::BadContent) << i;
        EXPECT_EQ(in->tell(), 2) << i;
    }
    for (std::size_t cut = 2; cut < good.size(); ++cut)
        EXPECT_THROW(LoadArchive(good.substr(0, cut), true)->firstObjectID(), ycArchive::Errors) << cut;
}

// The file buffer against a string that does what a file does, with one
// position for reads and writes: steps across the window's edges, blocks
// larger than the window, writes past the end, patches behind the window.
TEST(FileBuffer, ReadsAndWritesAsTheFileHoldsThem)
{
    constexpr std::int64_t W = yc_FileBuffer::kWindow;
    struct Step {
        std::int64_t at;   // -1: where the last step ended
        std::int64_t size; // > 0 write that many bytes, < 0 read, 0 sync
    };
    const std::vector<Step> steps = {
        {0, 100},    {-1, W},      {50, 8},     {-1, -W},     {W - 3, 6},  {10, -20},   {3 * W + 5, 4},
        {-1, 2 * W + 7}, {W + 1, 4}, {0, -(6 * W)}, {0, 0},     {2 * W, -5}, {7, 3},      {-1, -(W + 9)},
        {9 * W, 1},  {8 * W, -10}, {-1, 0},     {0, -(10 * W)},
    };
    const std::filesystem::path path = testOutputDir() + "/buffer.bin";
    std::string model;
    std::int64_t pos = 0;
    std::uint8_t next = 1;
    {
        yc_FileBuffer file;
        ASSERT_TRUE(file.open(path, std::ios_base::in | std::ios_base::out | std::ios_base::trunc));
        for (std::size_t i = 0; i < steps.size(); ++i) {
            SCOPED_TRACE(i);
            const Step& step = steps[i];
            if (step.at >= 0) pos = step.at;
            ASSERT_EQ(file.pubseekpos(pos), pos);
            if (step.size > 0) {
                std::string bytes(static_cast<std::size_t>(step.size), '\0');
                for (char& c : bytes) c = static_cast<char>(next++ | 1);
                ASSERT_EQ(file.sputn(bytes.data(), step.size), step.size);
                if (model.size() < static_cast<std::size_t>(pos)) model.resize(static_cast<std::size_t>(pos), '\0');
                model.replace(static_cast<std::size_t>(pos), bytes.size(), bytes);
                pos += step.size;
            } else if (step.size < 0) {
                std::string got(static_cast<std::size_t>(-step.size), '\0');
                const auto read = file.sgetn(got.data(), -step.size);
                const std::string want = pos < static_cast<std::int64_t>(model.size())
                                             ? model.substr(static_cast<std::size_t>(pos), got.size())
                                             : std::string();
                ASSERT_EQ(read, static_cast<std::streamsize>(want.size()));
                ASSERT_EQ(got.substr(0, want.size()), want);
                pos += read;
            } else {
                ASSERT_EQ(file.pubsync(), 0);
            }
            ASSERT_EQ(file.pubseekoff(0, std::ios_base::end), static_cast<std::int64_t>(model.size()));
        }
    }
    EXPECT_EQ(fileBytes(path), model);
    yc_FileBuffer readOnly;
    ASSERT_TRUE(readOnly.open(path, std::ios_base::in));
    EXPECT_EQ(readOnly.sputn("x", 1), 0);
    EXPECT_EQ(readOnly.sgetc(), static_cast<unsigned char>(model[0]));
    EXPECT_EQ(readOnly.sbumpc(), static_cast<unsigned char>(model[0]));
    EXPECT_EQ(readOnly.sgetc(), static_cast<unsigned char>(model[1]));
}

// Lookups by id and number search the index in place when its entries have
// their fixed size, and read it whole when a large-size tail or the zero
// bytes of an earlier, longer index may be there: all find the same records.
TEST(SeekableFile, LookupsAgreeWhetherTheIndexIsSearchedOrRead)
{
    struct Threshold {
        std::uint64_t previous = yf_SetArchiveLargeObjectSize(std::uint64_t(1) << 40);
        ~Threshold() { yf_SetArchiveLargeObjectSize(previous); }
    } threshold;
    const std::wstring path = yfWiden(testOutputDir()) + L"/lookups.arc";
    enum Form { plain, withLarge, shrunk };
    for (Form form : {plain, withLarge, shrunk}) {
        SCOPED_TRACE(static_cast<int>(form));
        constexpr int kCount = 300;
        {
            yf_SetArchiveLargeObjectSize(form == withLarge ? 26 : std::uint64_t(1) << 40);
            ycFileArchive out(path, ycArchive::storing, ycArchive::bigEndian, true);
            for (int i = 1; i <= kCount; ++i) {
                Gear g(i % 50 == 0 ? "a longer name" : "g", i);
                out.storeObject(&g);
                if (i % 100 == 0) out.writeNewMark(i);
            }
        }
        if (form == shrunk) {
            // Removing objects leaves the new index shorter than the old.
            ycFileArchive more(path, ycArchive::loading, ycArchive::bigEndian, true, false);
            for (int id : {3, 150, 151}) {
                more.findObject(id);
                more.mode(ycArchive::storing);
                more.removeObject();
                more.mode(ycArchive::loading);
            }
        }
        ycFileArchive in(path, ycArchive::loading, ycArchive::bigEndian, true);
        for (int id : {1, 2, 3, 150, 151, 152, kCount, kCount + 1}) {
            const bool gone = id == kCount + 1 || (form == shrunk && (id == 3 || id == 150 || id == 151));
            if (gone) {
                EXPECT_THROW(in.findObject(id), ycArchive::NotFound) << id;
                continue;
            }
            in.findObject(id);
            EXPECT_EQ(asGear(in.loadObject()).width, id);
        }
        for (int mark : {100, 200, 300}) {
            in.findMark(mark);
            std::int32_t read = 0;
            in.readMark(read);
            EXPECT_EQ(read, mark);
            if (mark < kCount) {
                EXPECT_EQ(asGear(in.loadObject()).width, mark + 1);
            }
        }
        EXPECT_THROW(in.findMark(50), ycArchive::NotFound);
        EXPECT_EQ(in.firstObjectID(), 1);
    }
}

// A damaged object entry found by a search in place is refused as when the
// index is read whole.
TEST(SeekableArchive, DamagedEntriesFoundInPlaceAreRefused)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Gear w("w", 1);
    out.storeObject(&w);
    const std::string good = bytesOf(out);
    const std::size_t entry = good.size() - 12 - 16;
    auto put32 = [&](std::size_t at, std::uint32_t v) {
        std::string s = good;
        for (int i = 0; i < 4; ++i) s[at + i] = static_cast<char>(v >> (8 * i));
        return s;
    };
    const std::string rows[] = {
        put32(entry + 4, static_cast<std::uint32_t>(entry)), // record past the data
        put32(entry + 4, 0),                                 // record in the header
        put32(entry + 12, 0xFFFFFF),                         // size past the data
        put32(entry + 12, 0xFFFFFFFF),                       // a tail with no room
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        LoadArchive in(rows[i], true);
        EXPECT_THROW(in->findObject(1), ycArchive::BadContent) << i;
        EXPECT_EQ(in->tell(), 2) << i;
    }
    LoadArchive in(good, true);
    EXPECT_EQ(in->findObject(1), 2);
}

} // namespace

// Whole objects and object references: the record layout, class levels,
// sharing, change notification, and the failures of each.
#include "../support/bytes.h"

#include "std/archive/archive.h"
#include "std/archive/filearchive.h"
#include "std/archive/registry.h"
#include "std/util/assert.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

// A class tree as programs write them: two levels, fields of each.
class Part : public ycPersistent {
public:
    std::int32_t width = 0;
    void setWidth(std::int32_t w)
    {
        mutating();
        width = w;
    }

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Part", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || width;
        });
    }
};

class Gear : public Part {
    ymDeclarePersistent(Gear);

public:
    std::int16_t teeth = 0;
    ycPersistent* left = nullptr; // references, not owned
    ycPersistent* right = nullptr;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Gear", 0);
            Part::dispatchSerialize(ar);
            ar || teeth;
            serializePointer(ar, left, left);
            serializePointer(ar, right, right);
        });
    }
};
ymImplementPersistent(Gear, "Gear")

class Unregistered : public Part {};

std::string bytesOf(const ycMemoryArchive& ar)
{
    auto s = ar.storage();
    return std::string(s.begin(), s.end());
}

TEST(ObjectRecord, MarkerNameThenVersionsMostDerivedFirstThenFieldsRootUp)
{
    Gear gear;
    gear.width = 0x01020304;
    gear.teeth = 0x0506;
    for (auto [ordering, fields] : {std::pair{ycArchive::bigEndian, "01 02 03 04 05 06 00 00 00 00 00 00 00 00"},
                                    std::pair{ycArchive::littleEndian, "04 03 02 01 06 05 00 00 00 00 00 00 00 00"}}) {
        Bytes body = storedBody(ordering, [&](ycArchive& ar) { ar << gear; });
        EXPECT_EQ(body, hex(std::string("f1 66 4b df 04 22 47 65 61 72 22 00 00 00 ") + fields));
    }
}

TEST(ObjectRecord, ExceptionBodyLayout)
{
    ycAssertFailure failure(L"x");
    Bytes body = storedBody(ycArchive::bigEndian, [&](ycArchive& ar) { ar << failure; });
    Bytes name = hex("0f 22");
    std::string text = "ycAssertFailure";
    name.insert(name.end(), text.begin(), text.end());
    name.push_back(0x22);
    Bytes expect = hex("f1 66 4b df");
    expect.insert(expect.end(), name.begin(), name.end());
    Bytes rest = hex("00 00 00 00 01 ff fe 78 00 ff fe");
    expect.insert(expect.end(), rest.begin(), rest.end());
    EXPECT_EQ(body, expect);

    ycArchive::BadFile badFile("f", 9);
    Bytes archiveError = storedBody(ycArchive::bigEndian, [&](ycArchive& ar) { ar << badFile; });
    Bytes tail = hex("00 00 00 00 01 ff fe 66 00 ff fe 00 00 00 09");
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), archiveError.rbegin()));
}

TEST(ObjectRecord, LoadedExceptionRethrowsAsItsOwnClass)
{
    ycMemoryArchive out(ycArchive::bigEndian);
    out << ycArchive::UnknownVersion("std/math/vector", 77);
    std::string bytes = bytesOf(out);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    auto loaded = ycPersistent::readObject(in);
    try {
        static_cast<ycException*>(loaded.release())->suicideAndRethrow();
    } catch (const ycArchive::UnknownVersion& e) {
        EXPECT_EQ(e.file(), L"std/math/vector");
        EXPECT_EQ(e.line(), 77);
    }
}

TEST(ObjectRecord, UnknownVersionNamesTheLevel)
{
    ycMemoryArchive out;
    out << ycAssertFailure(L"x");
    std::string bytes = bytesOf(out);
    const std::size_t versions = 2 + 4 + 18; // header, marker, name with prefix and quotes
    struct Row {
        std::size_t level;
        std::wstring file;
        bool hasLine;
    } rows[] = {{0, L"ycAssertFailure", false}, {1, L"std/except/except", true}, {3, L"archive", true}};
    for (const Row& row : rows) {
        std::string bad = bytes;
        bad[versions + row.level] = 1;
        ycMemoryArchive in(bad.data(), static_cast<std::int32_t>(bad.size()));
        try {
            ycPersistent::readObject(in);
            ADD_FAILURE() << "no failure at level " << row.level;
        } catch (const ycArchive::UnknownVersion& e) {
            EXPECT_EQ(e.file(), row.file);
            EXPECT_EQ(e.line() != 0, row.hasLine);
            if (!row.hasLine) {
                EXPECT_EQ(e.message(false), row.file);
            }
        }
    }
}

TEST(ObjectRecord, FailuresOfRecords)
{
    Unregistered stranger;
    ycMemoryArchive out;
    try {
        out << stranger;
        ADD_FAILURE();
    } catch (const ycArchive::UnknownType& e) {
        EXPECT_NE(e.name().find("Unregistered"), std::string::npos);
        EXPECT_EQ(e.message(false).rfind(yfWiden(e.name()), 0), 0u);
    }

    Gear gear;
    ycMemoryArchive gearOut;
    gearOut << gear;
    std::string bytes = bytesOf(gearOut);
    {
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        ycAssertFailure wrongType;
        EXPECT_THROW(in >> wrongType, ycArchive::BadType);
    }
    {
        std::string badMarker = bytes;
        badMarker[3] = 0x67;
        ycMemoryArchive in(badMarker.data(), static_cast<std::int32_t>(badMarker.size()));
        EXPECT_THROW(ycPersistent::readObject(in), ycArchive::BadType);
    }
    {
        std::string unknown = bytes;
        unknown[8] = 'X'; // "Xear"
        ycMemoryArchive in(unknown.data(), static_cast<std::int32_t>(unknown.size()));
        EXPECT_THROW(ycPersistent::readObject(in), ycArchive::UnknownType);
    }
    for (std::size_t cut = 2; cut < bytes.size(); ++cut) {
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(cut));
        EXPECT_THROW(ycPersistent::readObject(in), ycArchive::Errors) << cut;
    }
    {
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        EXPECT_THROW(in << gear, ycAssertFailure);
    }
}

TEST(ObjectReferences, SharedObjectsStayShared)
{
    Gear a, b, hub;
    a.teeth = 10;
    b.teeth = 20;
    hub.left = &a;
    hub.right = &a; // the same object twice
    a.left = &b;
    ycMemoryArchive out(ycArchive::bigEndian);
    ycPersistent* none = nullptr;
    ycPersistent* outHub = &hub;
    ycPersistent::serializePointer(out, outHub, outHub);
    ycPersistent::serializePointer(out, &b, outHub); // b again, by reference
    ycPersistent::serializePointer(out, none, none);
    std::string bytes = bytesOf(out);
    // hub record: new tag, then its two references; a appears once.
    EXPECT_EQ(Bytes(bytes.begin() + 2, bytes.begin() + 6), hex("ff ff ff ff"));

    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    ycPersistent* loaded = nullptr;
    ycPersistent* again = nullptr;
    ycPersistent* null = &hub;
    ycPersistent::serializePointer(in, nullptr, loaded);
    ycPersistent::serializePointer(in, nullptr, again);
    ycPersistent::serializePointer(in, nullptr, null);
    std::unique_ptr<Gear> h(dynamic_cast<Gear*>(loaded));
    ASSERT_TRUE(h);
    auto* la = dynamic_cast<Gear*>(h->left);
    ASSERT_NE(la, nullptr);
    EXPECT_EQ(h->right, la);
    EXPECT_EQ(la->teeth, 10);
    auto* lb = dynamic_cast<Gear*>(la->left);
    ASSERT_NE(lb, nullptr);
    EXPECT_EQ(lb->teeth, 20);
    EXPECT_EQ(again, lb);
    EXPECT_EQ(null, nullptr);
    delete lb;
    delete la;
}

TEST(ObjectReferences, BadTagsAreBadContent)
{
    for (const char* tag : {"05 00 00 00", "fe ff ff ff"}) {
        LoadArchive in(ycArchive::littleEndian, hex(tag));
        ycPersistent* out = nullptr;
        EXPECT_THROW(ycPersistent::serializePointer(*in, nullptr, out), ycArchive::BadContent) << tag;
    }
}

TEST(ObjectReferences, ChangedObjectIsWrittenAgain)
{
    Gear gear;
    gear.setWidth(1);
    ycMemoryArchive out;
    ycPersistent* p = &gear;
    ycPersistent::serializePointer(out, p, p);
    ycPersistent::serializePointer(out, p, p); // unchanged: a reference
    gear.setWidth(2);
    ycPersistent::serializePointer(out, p, p); // changed: a new record
    std::string bytes = bytesOf(out);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    ycPersistent *first = nullptr, *second = nullptr, *third = nullptr;
    ycPersistent::serializePointer(in, nullptr, first);
    ycPersistent::serializePointer(in, nullptr, second);
    ycPersistent::serializePointer(in, nullptr, third);
    std::unique_ptr<ycPersistent> own1(first), own3(third);
    EXPECT_EQ(first, second);
    EXPECT_EQ(dynamic_cast<Gear&>(*first).width, 1);
    EXPECT_EQ(dynamic_cast<Gear&>(*third).width, 2);
}

TEST(ObjectReferences, ADeadObjectIsNeverReferredTo)
{
    ycMemoryArchive out;
    for (int i = 0; i < 3; ++i) {
        auto gear = std::make_unique<Gear>(); // likely the same address each time
        gear->teeth = static_cast<std::int16_t>(i);
        ycPersistent* p = gear.get();
        ycPersistent::serializePointer(out, p, p);
    }
    std::string bytes = bytesOf(out);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    for (int i = 0; i < 3; ++i) {
        ycPersistent* p = nullptr;
        ycPersistent::serializePointer(in, nullptr, p);
        std::unique_ptr<ycPersistent> own(p);
        EXPECT_EQ(dynamic_cast<Gear&>(*p).teeth, i);
    }
}

TEST(ArchiveHeader, ChecksInOrder)
{
    struct Row {
        const char* bytes;
        bool seekable;
        std::function<void()> expect;
    };
    auto open = [](const char* text, bool seekable) {
        Bytes b = hex(text);
        std::string s(b.begin(), b.end());
        ycMemoryArchive in(s.data(), static_cast<std::int32_t>(s.size()), seekable);
        return in.version();
    };
    EXPECT_THROW(open("05 00", false), ycArchive::UnknownArchiveVersion);
    EXPECT_THROW(open("04 00", true), ycArchive::UnknownArchiveVersion);
    EXPECT_THROW(open("03 00", false), ycArchive::BadType);
    EXPECT_THROW(open("02 00", true), ycArchive::BadType);
    EXPECT_THROW(open("02 02", false), ycArchive::BadBuffer);
    EXPECT_THROW(open("02", false), ycArchive::Eof);
    EXPECT_EQ(open("00 01", false), 0);
    EXPECT_EQ(open("02 00", false), 1);
    EXPECT_EQ(storedBody(ycArchive::bigEndian, [](ycArchive&) {}), Bytes{});
    EXPECT_EQ(bytesOf(ycMemoryArchive(ycArchive::bigEndian, true)), std::string("\x03\x00", 2));
}

TEST(MemoryArchive, OwnedBlocksAreFreedOnEveryPath)
{
    char* good = new char[6]{2, 1, 7, 0, 0, 0};
    {
        ycMemoryArchive in(good, 6, false, true);
        std::int32_t v = 0;
        in >> v;
        EXPECT_EQ(v, 7);
    }
    char* bad = new char[2]{9, 9};
    EXPECT_THROW(ycMemoryArchive(bad, 2, false, true), ycArchive::UnknownArchiveVersion);
    EXPECT_THROW(ycMemoryArchive(nullptr, 0), ycAssertFailure);
}

TEST(FileArchive, BytesOnDiskAndFailures)
{
    std::wstring dir = yfWiden(testOutputDir());
    std::wstring path = dir + L"/\u00e9-ordering.bin";
    for (auto [ordering, bytes] : {std::pair{ycArchive::bigEndian, std::string("\x02\x00\x00\x00\x00\x01", 6)},
                                   std::pair{ycArchive::littleEndian, std::string("\x02\x01\x01\x00\x00\x00", 6)}}) {
        {
            ycFileArchive out(path, ycArchive::storing, ordering);
            out << std::int32_t(1);
        }
        std::ifstream file(yfPath(path), std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), bytes);
        ycFileArchive in(path, ycArchive::loading);
        std::int32_t v = 0;
        in >> v;
        EXPECT_EQ(v, 1);
        EXPECT_EQ(in.ordering(), ordering);
        EXPECT_THROW(in >> v, ycArchive::Eof);
    }
    EXPECT_THROW(ycFileArchive(path, ycArchive::loading, ycArchive::littleEndian, true), ycArchive::BadType);
    std::wstring missing = dir + L"/no/such/file.bin";
    try {
        ycFileArchive in(missing, ycArchive::loading);
        ADD_FAILURE();
    } catch (const ycArchive::BadFile& e) {
        EXPECT_EQ(e.message(false), L"Could not open file: " + missing);
        EXPECT_EQ(e.line(), 0);
    }
}

} // namespace

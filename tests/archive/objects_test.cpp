// Whole objects and object references: the record layout, class levels,
// sharing, change notification, and the failures of each.
#include "../support/bytes.h"
#include "../support/gear.h"

#include "std/archive/archive.h"
#include "std/archive/filearchive.h"
#include "std/util/assert.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

namespace {

class Unregistered : public Part {};

void writeRef(ycArchive& ar, ycPersistent* p)
{
    ycPersistent::serializePointer(ar, p, p);
}

ycPersistent* readRef(ycArchive& ar)
{
    ycPersistent* p = nullptr;
    ycPersistent::serializePointer(ar, nullptr, p);
    return p;
}

TEST(ObjectRecord, MarkerNameThenVersionsMostDerivedFirstThenFieldsRootUp)
{
    Gear gear("x", 0x01020304);
    gear.teeth = 0x0506;
    for (auto [ordering, fields] : {std::pair{ycArchive::bigEndian, "01 02 03 04 05 06"},
                                    std::pair{ycArchive::littleEndian, "04 03 02 01 06 05"}})
        EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << gear; }),
                  hex(std::string("f1 66 4b df 04 22 'Gear 22 00 00 00 ") + fields +
                      " 01 22 'x 22 00 00 00 00 00 00 00 00"));

    EXPECT_EQ(storedBody(ycArchive::bigEndian, [](ycArchive& ar) { ar << ycAssertFailure(L"x"); }),
              hex("f1 66 4b df 0f 22 'ycAssertFailure 22 00 00 00 00 01 ff fe 78 00 ff fe"));
    Bytes badFile = storedBody(ycArchive::bigEndian, [](ycArchive& ar) { ar << ycArchive::BadFile("f", 9); });
    Bytes tail = hex("00 00 00 00 01 ff fe 66 00 ff fe 00 00 00 09");
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), badFile.rbegin()));
}

TEST(ObjectRecord, UnknownVersionNamesTheLevel)
{
    ycMemoryArchive out;
    out << ycAssertFailure(L"x");
    const std::string bytes = bytesOf(out);
    struct Row {
        std::size_t level;
        std::wstring file;
        bool hasLine;
    } rows[] = {{0, L"ycAssertFailure", false}, {1, L"std/except/except", true}, {3, L"archive", true}};
    for (const Row& row : rows) {
        std::string bad = bytes;
        bad[2 + 4 + 18 + row.level] = 1; // after the header, the marker and the quoted name
        LoadArchive in(bad);
        try {
            ycPersistent::readObject(*in);
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
    try {
        ycMemoryArchive out;
        out << Unregistered();
        ADD_FAILURE();
    } catch (const ycArchive::UnknownType& e) {
        EXPECT_NE(e.name().find("Unregistered"), std::string::npos);
        EXPECT_EQ(e.message(false).rfind(yfWiden(e.name()), 0), 0u);
    }

    Gear gear;
    ycMemoryArchive out;
    out << gear;
    const std::string bytes = bytesOf(out);
    auto changed = [&](std::size_t at, char c) {
        std::string s = bytes;
        s[at] = c;
        return s;
    };
    ycAssertFailure wrongType;
    EXPECT_THROW(*LoadArchive(bytes) >> wrongType, ycArchive::BadType);
    EXPECT_THROW(ycPersistent::readObject(*LoadArchive(changed(3, 0x67))), ycArchive::BadType);     // marker
    EXPECT_THROW(ycPersistent::readObject(*LoadArchive(changed(8, 'X'))), ycArchive::UnknownType); // "Xear"
    for (std::size_t cut = 2; cut < bytes.size(); ++cut)
        EXPECT_THROW(ycPersistent::readObject(*LoadArchive(bytes.substr(0, cut))), ycArchive::Errors) << cut;
    EXPECT_THROW(*LoadArchive(bytes) << gear, ycAssertFailure);
}

TEST(ObjectReferences, SharedObjectsStayShared)
{
    Gear a("a", 10), b("b", 20), hub;
    hub.left = hub.right = &a; // the same object twice
    a.left = &b;
    ycMemoryArchive out(ycArchive::bigEndian);
    writeRef(out, &hub);
    writeRef(out, &b); // b again, by reference
    writeRef(out, nullptr);
    const std::string bytes = bytesOf(out);
    EXPECT_EQ(bytes.substr(2, 4), "\xff\xff\xff\xff"); // hub: a new record

    LoadArchive in(bytes);
    std::unique_ptr<Gear> h(dynamic_cast<Gear*>(readRef(*in)));
    ycPersistent* again = readRef(*in);
    EXPECT_EQ(readRef(*in), nullptr);
    ASSERT_TRUE(h);
    std::unique_ptr<Gear> la(dynamic_cast<Gear*>(h->left));
    ASSERT_TRUE(la);
    std::unique_ptr<Gear> lb(dynamic_cast<Gear*>(la->left));
    ASSERT_TRUE(lb);
    EXPECT_EQ(h->right, la.get());
    EXPECT_EQ(la->name, "a");
    EXPECT_EQ(lb->name, "b");
    EXPECT_EQ(again, lb.get());

    for (const char* tag : {"05 00 00 00", "fe ff ff ff"})
        EXPECT_THROW(readRef(*LoadArchive(ycArchive::littleEndian, hex(tag))), ycArchive::BadContent) << tag;
}

TEST(ObjectReferences, ChangedObjectIsWrittenAgain)
{
    Gear gear;
    gear.setWidth(1);
    ycMemoryArchive out;
    writeRef(out, &gear);
    writeRef(out, &gear); // unchanged: a reference
    gear.setWidth(2);
    writeRef(out, &gear); // changed: a new record
    LoadArchive in(out);
    std::unique_ptr<ycPersistent> first(readRef(*in));
    EXPECT_EQ(readRef(*in), first.get());
    std::unique_ptr<ycPersistent> third(readRef(*in));
    EXPECT_EQ(dynamic_cast<Gear&>(*first).width, 1);
    EXPECT_EQ(dynamic_cast<Gear&>(*third).width, 2);
}

TEST(ObjectReferences, ADeadObjectIsNeverReferredTo)
{
    ycMemoryArchive out;
    alignas(Gear) unsigned char storage[sizeof(Gear)];
    for (int i = 0; i < 3; ++i) {
        Gear* gear = new (storage) Gear("", i); // the same address each time
        writeRef(out, gear);
        gear->~Gear();
    }
    LoadArchive in(out);
    for (int i = 0; i < 3; ++i) {
        std::unique_ptr<ycPersistent> p(readRef(*in));
        EXPECT_EQ(dynamic_cast<Gear&>(*p).width, i);
    }
}

TEST(ArchiveHeader, ChecksInOrder)
{
    auto open = [](const char* text, bool seekable = false) {
        Bytes b = hex(text);
        return LoadArchive(std::string(b.begin(), b.end()), seekable)->version();
    };
    EXPECT_THROW(open("05 00"), ycArchive::UnknownArchiveVersion);
    EXPECT_THROW(open("04 00", true), ycArchive::UnknownArchiveVersion);
    EXPECT_THROW(open("03 00"), ycArchive::BadType);
    EXPECT_THROW(open("02 00", true), ycArchive::BadType);
    EXPECT_THROW(open("02 02"), ycArchive::BadBuffer);
    EXPECT_THROW(open("02"), ycArchive::Eof);
    EXPECT_EQ(open("00 01"), 0);
    EXPECT_EQ(open("02 00"), 1);
    ycMemoryArchive seekable(ycArchive::bigEndian, true);
    EXPECT_EQ(bytesOf(seekable).substr(0, 2), std::string("\x03\x00", 2));
}

TEST(MemoryArchive, OwnedBlocksAreFreedOnEveryPath)
{
    {
        ycMemoryArchive in(new char[6]{2, 1, 7, 0, 0, 0}, 6, false, true);
        std::int32_t v = 0;
        in >> v;
        EXPECT_EQ(v, 7);
    }
    EXPECT_THROW(ycMemoryArchive(new char[2]{9, 9}, 2, false, true), ycArchive::UnknownArchiveVersion);
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
        EXPECT_EQ(fileBytes(yfPath(path)), bytes);
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

// Seekable archives: marks, stored objects, pointers, the index at the end,
// appending, direction switches, and the failures of each.
#include "../support/bytes.h"

#include "std/archive/filearchive.h"
#include "std/archive/objects.h"
#include "std/archive/registry.h"
#include "std/util/assert.h"
#include "std/util/debug.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <regex>

namespace {

class Widget : public ycPersistent {
    ymDeclarePersistent(Widget);

public:
    Widget() = default;
    Widget(std::string n, std::int32_t c, ycPersistent* o = nullptr) : name(std::move(n)), count(c), other(o) {}
    std::string name;
    std::int32_t count = 0;
    ycPersistent* other = nullptr; // a reference, not owned
    void rename(std::string n)
    {
        mutating();
        name = std::move(n);
    }
    // Versions, count, name, reference tag.
    std::uint32_t bodySize() const { return static_cast<std::uint32_t>(2 + 4 + 3 + name.size() + 4); }

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Widget", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || count || name;
            serializePointer(ar, other, other);
        });
    }
};
ymImplementPersistent(Widget, "Widget")

Widget& asWidget(const std::unique_ptr<ycPersistent>& p)
{
    return dynamic_cast<Widget&>(*p);
}

std::string bytesOf(ycMemoryArchive& ar)
{
    ar.sync(); // writes the index
    auto s = ar.storage();
    return std::string(s.begin(), s.end());
}

std::string fileBytes(const std::wstring& path)
{
    std::ifstream file(yfPath(path), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::int32_t> markNumbers(ycArchive& ar)
{
    std::vector<std::int32_t> out;
    for (std::int32_t n = ar.firstMarkNum(); n != 0; n = ar.nextMarkNum(n)) out.push_back(n);
    return out;
}

std::vector<std::int32_t> objectIds(ycArchive& ar)
{
    std::vector<std::int32_t> out;
    for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) out.push_back(id);
    return out;
}

TEST(SeekableFile, StoredReopenedSearchedWalkedLoadedThenAppended)
{
    const std::wstring path = yfWiden(testOutputDir()) + L"/seekable.arc";
    const std::map<std::int32_t, std::pair<std::string, std::int32_t>> first{
        {1, {"alpha", 1}}, {2, {"beta", 2}}, {3, {"a somewhat longer name", 3}}};
    for (auto ordering : {ycArchive::bigEndian, ycArchive::littleEndian}) {
        SCOPED_TRACE(static_cast<int>(ordering));
        {
            ycFileArchive out(path, ycArchive::storing, ordering, true);
            EXPECT_EQ(out.writeNewMark(0), 1);
            Widget a("alpha", 1), b("beta", 2), c("a somewhat longer name", 3);
            EXPECT_EQ(out.storeObject(&a), 1);
            EXPECT_EQ(out.writeNewMark(10), 10);
            out << std::int32_t(77);
            EXPECT_EQ(out.storeObject(&b), 2);
            EXPECT_EQ(out.storeObject(&c), 3);
            EXPECT_EQ(out.writeNewMark(0), 2);
        }
        auto checkAll = [&](const std::map<std::int32_t, std::pair<std::string, std::int32_t>>& expected,
                            const std::vector<std::int32_t>& marks) {
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

            std::vector<std::int32_t> ids;
            for (auto& [id, w] : expected) ids.push_back(id);
            EXPECT_EQ(objectIds(in), ids);
            for (auto& [id, w] : expected) {
                ycArchive::pos at = in.findObject(id);
                std::int32_t readId = 0;
                std::uint32_t size = 0;
                ycArchive::pos position = -1;
                in.readObjectHeader(readId, size, position);
                EXPECT_EQ(readId, id);
                EXPECT_EQ(size, Widget(w.first, 0).bodySize());
                EXPECT_EQ(position, at);
                EXPECT_EQ(in.objectTypeName(), "Widget");
                auto loaded = in.loadObject();
                EXPECT_EQ(asWidget(loaded).name, w.first);
                EXPECT_EQ(asWidget(loaded).count, w.second);
            }
        };
        checkAll(first, {1, 2, 10});

        {
            ycFileArchive more(path, ycArchive::loading, ordering, true, false);
            more.append();
            EXPECT_EQ(more.writeNewMark(0), 3);
            Widget d("delta", 4), e("epsilon", 5);
            EXPECT_EQ(more.storeObject(&d), 4);
            more.setStartingID(100);
            EXPECT_EQ(more.storeObject(&e), 100);
        }
        auto all = first;
        all[4] = {"delta", 4};
        all[100] = {"epsilon", 5};
        checkAll(all, {1, 2, 3, 10});
        EXPECT_EQ(fileBytes(path).substr(fileBytes(path).size() - 4), "\xA7\x45\x4E\x44");
    }
}

TEST(SeekableArchive, ChangedObjectIsStoredAgainUnchangedOneIsReferred)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Widget w("old", 1);
    std::int32_t first = out.storeObject(&w);
    EXPECT_TRUE(w.isStored());
    EXPECT_EQ(out.storeObject(&w), first); // a pointer record
    w.rename("new");
    EXPECT_FALSE(w.isStored());
    std::int32_t again = out.storeObject(&w);
    EXPECT_NE(again, first);
    std::string bytes = bytesOf(out);

    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    in.findObject(again);
    EXPECT_EQ(asWidget(in.loadObject()).name, "new");
    // In stream order: the record, the pointer record to it, the new record.
    in.seek(2);
    for (const char* name : {"old", "old", "new"}) EXPECT_EQ(asWidget(in.loadObject()).name, name);
    EXPECT_GT(in.firstPointerPos(), 2);
    EXPECT_EQ(in.pointerObjectID(), first);
    EXPECT_EQ(in.nextPointerPos(), -1);
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
    std::string bytes = bytesOf(out);

    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    EXPECT_EQ(markNumbers(in), (std::vector<std::int32_t>{5, 6, 9}));
    EXPECT_EQ(in.nextMarkNum(9), 0);
    EXPECT_EQ(in.prevMarkNum(5), 0);
    // Read in order, the removed mark keeps its place with number 0.
    std::vector<std::int32_t> inStream;
    for (int i = 0; i < 4; ++i) in.readMark(inStream.emplace_back());
    EXPECT_EQ(inStream, (std::vector<std::int32_t>{5, 6, 0, 9}));
    EXPECT_THROW(in.findMark(7), ycArchive::NotFound);
    in.findMark(6);
    in.skipMark();
    EXPECT_EQ(in.tell(), 18);
    in.seek(3);
    std::int32_t n = 0;
    EXPECT_THROW(in.readMark(n), ycArchive::BadType);
}

TEST(SeekableArchive, AShorterIndexStillEndsTheStream)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    for (int i = 0; i < 3; ++i) out.writeNewMark(0);
    std::size_t before = bytesOf(out).size();
    out.findMark(2);
    out.removeMark();
    std::string bytes = bytesOf(out);
    EXPECT_EQ(bytes.size(), before);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    EXPECT_EQ(markNumbers(in), (std::vector<std::int32_t>{1, 3}));
}

TEST(SeekableArchive, PointersAreWalkedRetargetedAndRemoved)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Widget a("a", 1), b("b", 2);
    Widget c("c", 3, &b);
    out.storeObject(&a);
    out.storeObject(&b);
    ycArchive::pos repeat = out.tell() + 4;
    out.storeObject(&a);
    out.storeObject(&c); // refers to b from inside its body
    EXPECT_EQ(out.firstPointerPos(), repeat);
    EXPECT_EQ(out.pointerObjectID(), 1);
    EXPECT_THROW(out.pointerObjectID(99), ycArchive::NotFound);
    out.pointerObjectID(2);
    ycArchive::pos inside = out.nextPointerPos();
    EXPECT_GT(inside, repeat);
    EXPECT_EQ(out.pointerObjectID(), 2);
    out.removePointer();
    EXPECT_EQ(out.nextPointerPos(), -1);
    EXPECT_THROW(out.pointerObjectID(), ycArchive::NotFound);
    std::string bytes = bytesOf(out);

    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    in.seek(repeat - 4);
    EXPECT_EQ(asWidget(in.loadObject()).name, "b");
    EXPECT_EQ(asWidget(in.loadObject()).other, nullptr);
    EXPECT_EQ(in.firstPointerPos(), repeat);
    EXPECT_EQ(in.nextPointerPos(), -1);
}

TEST(SeekableArchive, ReferencesOfAnObjectLoadedAloneGoThroughTheIndex)
{
    ycMemoryArchive out(ycArchive::bigEndian, true);
    Widget b("b", 2);
    Widget c("c", 3, &b);
    out.storeObject(&b);
    std::int32_t id = out.storeObject(&c);
    std::string bytes = bytesOf(out);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    in.findObject(id);
    auto loaded = in.loadObject();
    std::unique_ptr<ycPersistent> other(asWidget(loaded).other);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(asWidget(other).name, "b");
}

TEST(ObjectNesting, RecordsNestAThousandDeepAndNoDeeper)
{
    for (auto [length, loads] : {std::pair{1000, true}, std::pair{1001, false}}) {
        std::vector<std::unique_ptr<Widget>> chain;
        for (int i = 0; i < length; ++i)
            chain.push_back(std::make_unique<Widget>("", i, chain.empty() ? nullptr : chain.back().get()));
        ycMemoryArchive out;
        out << *chain.back();
        auto bytes = out.storage();
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        if (!loads) {
            EXPECT_THROW(ycPersistent::readObject(in), ycArchive::BadContent);
            continue;
        }
        std::unique_ptr<ycPersistent> link = ycPersistent::readObject(in);
        for (int i = length - 1; i >= 0; --i) {
            ASSERT_EQ(asWidget(link).count, i);
            link.reset(std::exchange(asWidget(link).other, nullptr));
        }
    }
}

TEST(SeekableArchive, LargeSizesTakeTheLongForm)
{
    struct Threshold {
        std::uint64_t previous = yf_SetArchiveLargeObjectSize(14);
        ~Threshold() { yf_SetArchiveLargeObjectSize(previous); }
    } threshold;
    const std::wstring path = yfWiden(testOutputDir()) + L"/large.arc";
    Widget big("big", 1), small("", 2); // bodies of 16 and 13 bytes
    {
        ycFileArchive out(path, ycArchive::storing, ycArchive::bigEndian, true);
        out.storeObject(&big);
        out.storeObject(&small);
    }
    EXPECT_NE(fileBytes(path).find("\xFF\xFF\xFF\xFF\x6F\x8B\x68\x45"), std::string::npos);
    { // appending rewrites the index in the same form
        ycFileArchive more(path, ycArchive::loading, ycArchive::bigEndian, true, false);
        more.append();
    }
    ycFileArchive in(path, ycArchive::loading, ycArchive::bigEndian, true);
    std::int32_t id = 0;
    std::uint32_t size = 0;
    std::uint64_t size64 = 0;
    ycArchive::pos at = 0;
    in.findObject(1);
    EXPECT_THROW(in.readObjectHeader(id, size, at), ycArchive::BadType);
    in.readObjectHeader64(id, size64, at);
    EXPECT_EQ(size64, big.bodySize());
    EXPECT_EQ(asWidget(in.loadObject()).name, "big");
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
    ar >> v;
    EXPECT_EQ(v, 2);
    ar >> v;
    EXPECT_EQ(v, 3);
    EXPECT_THROW(ar >> v, ycArchive::Eof);
}

TEST(SeekableArchive, PlainArchivesRefuseEverySeekableOperation)
{
    Widget w;
    std::int32_t n = 0;
    std::uint32_t size = 0;
    std::uint64_t size64 = 0;
    ycArchive::pos at = 0;
    std::vector<std::function<void(ycArchive&)>> operations{
        [](ycArchive& ar) { ar.mode(ycArchive::storing); },
        [](ycArchive& ar) { ar.append(); },
        [](ycArchive& ar) { ar.writeNewMark(0); },
        [](ycArchive& ar) { ar.renumberMark(0); },
        [](ycArchive& ar) { ar.removeMark(); },
        [&](ycArchive& ar) { ar.readMark(n); },
        [](ycArchive& ar) { ar.findMark(1); },
        [](ycArchive& ar) { ar.skipMark(); },
        [](ycArchive& ar) { ar.firstMarkNum(); },
        [](ycArchive& ar) { ar.lastMarkNum(); },
        [](ycArchive& ar) { ar.nextMarkNum(1); },
        [](ycArchive& ar) { ar.prevMarkNum(1); },
        [](ycArchive& ar) { ar.setStartingNum(1); },
        [&](ycArchive& ar) { ar.storeObject(&w); },
        [](ycArchive& ar) { ar.loadObject(); },
        [](ycArchive& ar) { ar.findObject(1); },
        [](ycArchive& ar) { ar.firstObjectID(); },
        [](ycArchive& ar) { ar.nextObjectID(1); },
        [&](ycArchive& ar) { ar.readObjectHeader(n, size, at); },
        [&](ycArchive& ar) { ar.readObjectHeader64(n, size64, at); },
        [](ycArchive& ar) { ar.objectTypeName(); },
        [](ycArchive& ar) { ar.removeObject(); },
        [](ycArchive& ar) { ar.setStartingID(1); },
        [](ycArchive& ar) { ar.firstPointerPos(); },
        [](ycArchive& ar) { ar.nextPointerPos(); },
        [](ycArchive& ar) { ar.pointerObjectID(); },
        [](ycArchive& ar) { ar.pointerObjectID(1); },
        [](ycArchive& ar) { ar.removePointer(); },
        [](ycArchive& ar) { ar.secondary(); },
        [](ycArchive& ar) { ar.secondary(nullptr); },
    };
    ycMemoryArchive storing;
    LoadArchive loading(ycArchive::littleEndian, Bytes(64, 0));
    for (std::size_t i = 0; i < operations.size(); ++i) {
        EXPECT_THROW(operations[i](storing), ycArchive::NotSeekable) << i;
        EXPECT_THROW(operations[i](*loading), ycArchive::NotSeekable) << i;
    }
}

TEST(SeekableArchive, BrokenPreconditionsAreAssertions)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Widget w;
    out.writeNewMark(1);
    out.storeObject(&w);
    std::string bytes = bytesOf(out);
    ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
    std::int32_t n = 0;
    std::uint32_t size = 0;
    ycArchive::pos at = 0;
    std::vector<std::function<void()>> storingOnly{
        [&] { in.writeNewMark(0); },  [&] { in.renumberMark(0); },   [&] { in.removeMark(); },
        [&] { in.storeObject(&w); },  [&] { in.setStartingID(1); }, [&] { in.setStartingNum(1); },
        [&] { in.removeObject(); },   [&] { in.removePointer(); },   [&] { in.pointerObjectID(1); },
        [&] { in.mode(ycArchive::storing); }, [&] { in.append(); }, // a loading memory archive is read-only
    };
    std::vector<std::function<void()>> loadingOnly{
        [&] { out.readMark(n); },       [&] { out.findObject(1); }, [&] { out.firstObjectID(); },
        [&] { out.nextObjectID(1); },   [&] { out.readObjectHeader(n, size, at); },
        [&] { out.objectTypeName(); },  [&] { out.loadObject(); },
    };
    std::vector<std::function<void()>> badNumbers{
        [&] { out.writeNewMark(-1); },         [&] { out.writeNewMark(0x7fffffff); },
        [&] { out.renumberMark(-2); },         [&] { out.setStartingNum(0); },
        [&] { out.setStartingID(0x7fffffff); }, [&] { out.storeObject(nullptr); },
        [&] { in.findMark(0); },               [&] { in.findObject(-1); },
    };
    for (auto* table : {&storingOnly, &loadingOnly, &badNumbers})
        for (std::size_t i = 0; i < table->size(); ++i) EXPECT_THROW((*table)[i](), ycAssertFailure) << i;
}

TEST(SeekableArchive, OldArchivesTakeMarksButNoObjects)
{
    const std::wstring path = yfWiden(testOutputDir()) + L"/old.arc";
    { ycFileArchive out(path, ycArchive::storing, ycArchive::littleEndian, true); }
    {
        std::fstream file(yfPath(path), std::ios::binary | std::ios::in | std::ios::out);
        file.put('\x01'); // version 0, seekable
    }
    ycFileArchive old(path, ycArchive::loading, ycArchive::littleEndian, true, false);
    EXPECT_EQ(old.version(), 0);
    old.append();
    EXPECT_EQ(old.writeNewMark(0), 1);
    Widget w;
    EXPECT_THROW(old.storeObject(&w), ycArchive::CannotWriteToOldArchive);
    EXPECT_THROW(old << w, ycArchive::CannotWriteToOldArchive);
}

// Accepts a fixed number of bytes, then refuses every write.
class ShortBuffer : public yc_MemoryBuffer {
public:
    explicit ShortBuffer(std::streamsize room) : room_(room) {}

protected:
    std::streamsize xsputn(const char* s, std::streamsize n) override
    {
        if (n > room_) return 0;
        room_ -= n;
        return yc_MemoryBuffer::xsputn(s, n);
    }

private:
    std::streamsize room_;
};

class ShortArchive : public ycArchive {
public:
    explicit ShortArchive(std::streamsize room)
        : ycArchive(&buffer_, storing, littleEndian, true, false), buffer_(room)
    {
        start();
    }
    ~ShortArchive() override { finish(); }

private:
    ShortBuffer buffer_;
};

TEST(SeekableArchive, DestructorReportsAFailedIndexOnTheDebugStream)
{
    ycDebugCapture capture;
    {
        ShortArchive ar(2 + 8);
        ar.writeNewMark(0);
    }
    std::regex line("archive:[0-9]+: \\(warning\\) ignoring exception thrown in ycArchive destructor: "
                    "ycArchive::BadBuffer: thrown from file: archive, line: [0-9]+\n");
    EXPECT_TRUE(std::regex_match(capture.text(), line)) << capture.text();
}

TEST(SeekableArchive, DamagedIndexesAreRefused)
{
    ycMemoryArchive out(ycArchive::littleEndian, true);
    Widget w("w", 1);
    out.writeNewMark(0);
    out.storeObject(&w);
    const std::string good = bytesOf(out);
    const std::size_t index = good.size() - 12 - (24 + 12 + 16);
    auto put32 = [](std::string s, std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i) s[at + i] = static_cast<char>(v >> (8 * i));
        return s;
    };
    std::vector<std::pair<std::string, bool>> rows{
        // bytes, BadType (else BadContent)
        {good.substr(0, good.size() - 1), true},
        {good.substr(0, 2), true},
        {put32(good, good.size() - 12, 0), false},                            // index position
        {put32(good, index, 0), true},                                        // index marker
        {put32(good, index + 12, 0x10000000), false},                         // mark count
        {put32(good, index + 24 + 4, static_cast<std::uint32_t>(index)), false}, // mark past the data
        {put32(good, index + 24, 0), false},                                  // mark number 0
        {put32(good, index + 24 + 12 + 12, 0xFFFFFF), false},                 // object size
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::string& bytes = rows[i].first;
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
        if (rows[i].second) {
            EXPECT_THROW(in.firstMarkNum(), ycArchive::BadType) << i;
        } else {
            EXPECT_THROW(in.firstMarkNum(), ycArchive::BadContent) << i;
        }
        EXPECT_EQ(in.tell(), 2) << i;
    }
    for (std::size_t cut = 2; cut < good.size(); ++cut) {
        ycMemoryArchive in(good.data(), static_cast<std::int32_t>(cut), true);
        EXPECT_THROW(in.firstObjectID(), ycArchive::Errors) << cut;
    }
}

} // namespace

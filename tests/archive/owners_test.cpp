// Who owns what a loading archive makes: owned references have one owner,
// counted references share through handles, and an object that something
// else owns is never taken over by a handle.
#include "../support/bytes.h"
#include "../support/gear.h"

#include "std/archive/archive.h"
#include "std/archive/memarchive.h"
#include "std/math/xflinear.h"

#include <gtest/gtest.h>

#include <vector>

// One owned and one counted reference.
class Holder : public ycPersistent {
    ymDeclarePersistent(Holder);

public:
    std::unique_ptr<ycPersistent> owned;
    ycPtrHandle<yc2XformLinear> counted;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Holder", 0);
            ycPersistent::dispatchSerialize(ar);
            yfSerializeOwned(ar, owned);
            yfSerializeHandle(ar, counted);
        });
    }
};
ymImplementPersistent(Holder, "Holder")

// A counted object that knows how many of its kind are alive, and a record
// that refers to one.
class Tracked : public ycPersistent, public ycRepBase {
    ymDeclarePersistent(Tracked);

public:
    Tracked() { ++live; }
    Tracked(const Tracked&) : ycPersistent(), ycRepBase() { ++live; }
    ~Tracked() override { --live; }
    static inline int live = 0;
    std::int32_t value = 0;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Tracked", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || value;
        });
    }
};
ymImplementPersistent(Tracked, "Tracked")

class Link : public ycPersistent {
    ymDeclarePersistent(Link);

public:
    ycPtrHandle<Tracked> target;

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Link", 0);
            ycPersistent::dispatchSerialize(ar);
            yfSerializeHandle(ar, target);
        });
    }
};
ymImplementPersistent(Link, "Link")

namespace {

const yc2XformLinear kScale(ycXform<2>(ycMatrix<2>(2, 0, 0, 3), ycVector<2>(1, -1)));

std::unique_ptr<Holder> loadHolder(ycArchive& in)
{
    auto object = ycPersistent::readObject(in);
    return std::unique_ptr<Holder>(dynamic_cast<Holder*>(object.release()));
}

TEST(Owners, OwnedAndCountedReferencesRoundTrip)
{
    for (bool seekable : {false, true}) {
        ycMemoryArchive out(ycArchive::littleEndian, seekable);
        Holder h;
        h.owned = std::make_unique<Gear>("g", 7);
        h.counted = yfMakeHandle<yc2XformLinear>(kScale);
        out << h;
        LoadArchive in(out);
        auto back = loadHolder(*in);
        ASSERT_TRUE(back) << seekable;
        EXPECT_EQ(dynamic_cast<Gear&>(*back->owned).width, 7);
        EXPECT_EQ(back->counted->xform(), kScale.xform());
        // The field, and a plain archive's own share until it goes.
        EXPECT_EQ(back->counted->refCount(), seekable ? 1 : 2);
    }
}

// A reference back to an object the caller loaded as a record: an owned
// reference refuses it, a counted one copies it where the archive can read
// the record again (seekable) and refuses it otherwise. The first owner keeps
// its object either way (AddressSanitizer sees any double free).
TEST(Owners, AnObjectLoadedAsARecordKeepsItsOwner)
{
    struct Row {
        bool seekable;
        bool owned; // the reference is the owned one, else the counted one
        bool loads;
    } rows[] = {{false, true, false}, {true, true, false}, {false, false, false}, {true, false, true}};
    for (const Row& row : rows) {
        ycMemoryArchive out(ycArchive::bigEndian, row.seekable);
        auto first = yfMakeHandle<yc2XformLinear>(kScale);
        Gear gear("first", 3);
        Holder h;
        if (row.owned) {
            out << gear;
            h.owned.reset(&gear); // written as a reference back to the record
        } else {
            out << *first;
            h.counted = first;
        }
        out << h;
        h.owned.release();
        LoadArchive in(out);
        std::unique_ptr<ycPersistent> record = ycPersistent::readObject(*in);
        if (!row.loads) {
            EXPECT_THROW(loadHolder(*in), ycArchive::BadContent) << row.seekable << row.owned;
            continue;
        }
        auto back = loadHolder(*in);
        ASSERT_TRUE(back);
        EXPECT_NE(back->counted.get(), record.get());
        EXPECT_EQ(back->counted->xform(), kScale.xform());
    }
}

// Links 1..n each to a target of their own, then one more link back to the
// first target.
std::string links(bool seekable, int n)
{
    ycMemoryArchive out(ycArchive::littleEndian, seekable);
    std::vector<Link> all(n + 1);
    for (int i = 0; i < n; ++i) {
        all[i].target = yfMakeHandle<Tracked>();
        all[i].target->value = i;
    }
    all[n].target = all[0].target;
    for (Link& link : all) {
        if (seekable) {
            out.storeObject(&link);
        } else {
            out << link;
        }
    }
    return bytesOf(out);
}

// A seekable archive lets what it loaded go with the last handle and loads it
// again when referred to; a plain one keeps it until releaseLoaded() or its end.
TEST(Owners, WhatALoadingArchiveKeepsAlive)
{
    constexpr int n = 100;
    for (bool seekable : {false, true}) {
        LoadArchive in(links(seekable, n), seekable);
        for (int i = 0; i < n; ++i) {
            auto link = seekable ? in->loadObject() : ycPersistent::readObject(*in);
            EXPECT_EQ(dynamic_cast<Link&>(*link).target->value, i);
        }
        EXPECT_EQ(Tracked::live, seekable ? 0 : n) << seekable;
        in->releaseLoaded();
        EXPECT_EQ(Tracked::live, 0);
        // The last link refers back to the first target.
        if (seekable) {
            auto last = in->loadObject();
            EXPECT_EQ(dynamic_cast<Link&>(*last).target->value, 0);
        } else {
            EXPECT_THROW(ycPersistent::readObject(*in), ycArchive::BadContent);
        }
    }
    EXPECT_EQ(Tracked::live, 0);
}

} // namespace

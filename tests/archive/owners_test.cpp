// Who owns what a loading archive makes: owned references have one owner,
// counted references share through handles, and an object that something
// else owns is never taken over by a handle.
#include "../support/bytes.h"
#include "../support/gear.h"

#include "std/archive/archive.h"
#include "std/math/xflinear.h"

#include <gtest/gtest.h>

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
        EXPECT_EQ(back->counted->refCount(), 2); // the field and the archive
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

} // namespace

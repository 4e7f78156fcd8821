// Counted handles: sharing, conversions, and reloading shared
// objects from an archive.
#include "../support/bytes.h"

#include "std/archive/memarchive.h"
#include "std/except/registry.h"
#include "std/util/handle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

namespace {

std::atomic<int> gDestroyed{0};

class Counted : public ycPersistent, public ycRepBase {
    ymDeclarePersistent(Counted);

public:
    std::int32_t value = 0;
    ~Counted() override { ++gDestroyed; }

protected:
    void dispatchSerialize(ycArchive& ar) override
    {
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {
            if (version != 0) unknownVersion("Counted", 0);
            ycPersistent::dispatchSerialize(ar);
            ar || value;
        });
    }
};
ymImplementPersistent(Counted, "Counted")

class Other : public Counted {
    ymDeclarePersistent(Other);
};
ymImplementPersistent(Other, "Other")

TEST(Handles, SharesAndConversions)
{
    gDestroyed = 0;
    {
        ycPtrHandle<Counted> a(new Counted);
        EXPECT_EQ(a->refCount(), 1);
        ycPtrHandle<Counted> b = a;
        ycPtrHandle_const<Counted> c = a;
        ycPtrHandle<ycRepBase> base = a;
        EXPECT_EQ(a->refCount(), 4);
        EXPECT_TRUE(a == b && b == c);
        ycPtrHandle<Counted> moved = std::move(b);
        EXPECT_EQ(b, nullptr);
        EXPECT_EQ(a->refCount(), 4);
        moved.reset();
        c = nullptr;
        EXPECT_EQ(a->refCount(), 2);
        EXPECT_FALSE(yfDynamicHandleCast<Other>(a));
        {
            Counted copy = *a; // a copy is a new object without shares
            EXPECT_EQ(copy.refCount(), 0);
        }
        EXPECT_EQ(gDestroyed, 1);
        // Disowning takes the count back to 0 only from the one share left.
        EXPECT_EQ(a.disown(), nullptr);
        base.reset();
        std::unique_ptr<Counted> owned(a.disown());
        ASSERT_TRUE(owned);
        EXPECT_EQ(a, nullptr);
        EXPECT_EQ(owned->refCount(), 0);
        EXPECT_EQ(gDestroyed, 1);
    }
    EXPECT_EQ(gDestroyed, 2);
}

TEST(Handles, ReloadedReferencesShareOneObject)
{
    gDestroyed = 0;
    ycPtrHandle<Counted> one = yfMakeHandle<Counted>(), none;
    one->value = 7;
    ycMemoryArchive out;
    for (auto* h : {&one, &one, &none}) yfSerializeHandle(out, *h);

    ycPtrHandle<Counted> first, second, third(new Counted);
    {
        LoadArchive in(out);
        yfSerializeHandle(*in, first);
        first.reset(); // the archive still holds it
        yfSerializeHandle(*in, second);
        yfSerializeHandle(*in, third);
        EXPECT_EQ(second->refCount(), 2);
    }
    EXPECT_EQ(gDestroyed, 1); // only the object `third` held before
    ASSERT_TRUE(second);
    EXPECT_EQ(second->value, 7);
    EXPECT_EQ(second->refCount(), 1);
    EXPECT_FALSE(third);
    ycPtrHandle<Other> wrong;
    EXPECT_THROW(yfSerializeHandle(*LoadArchive(out), wrong), ycArchive::BadType);
}

} // namespace

// What the transform family keeps of a `const yc2XformBase&` argument: a
// clone, unless sharing is asked and a handle already holds the argument.
// The arguments here live on the stack or are temporaries, so a kept address
// would be read after its scope, or freed, under AddressSanitizer.
#include "std/pelbuf/xfcache.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xfpersp.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr const char* kSourceName = "tests/math/xform_keep";

using Const = ycPtrHandle_const<yc2XformBase>;
using Map = std::function<ycVector<2>(const ycVector<2>&)>;

// What an entry point made of x: a map equal to x and the object it keeps
// for x.
struct Kept {
    Map map;
    const yc2XformBase* member;
};

Const memberOf(const yc2XformComposed& c, std::size_t i)
{
    std::vector<Const> members;
    c.decompose(members);
    return members.at(i);
}

Kept composedKeeping(const std::function<void(yc2XformComposed&)>& build, std::size_t at)
{
    ycPtrHandle<yc2XformComposed> c(new yc2XformComposed);
    build(*c);
    const yc2XformBase* member = memberOf(*c, at).get();
    return {[c](const ycVector<2>& p) { return c->mapPoint(p); }, member};
}

const yc2XformLinear kIdentity;

struct Entry {
    const char* name;
    bool canShare; // the entry point has a sharing form
    std::function<Kept(const yc2XformBase& x, bool share)> keep;
};

const Entry kEntries[] = {
    {"composed(x)", true,
     [](const yc2XformBase& x, bool share) {
         ycPtrHandle<yc2XformComposed> c(new yc2XformComposed(x, !share));
         return Kept{[c](const ycVector<2>& p) { return c->mapPoint(p); }, memberOf(*c, 0).get()};
     }},
    {"composed(x, id)", true,
     [](const yc2XformBase& x, bool share) {
         ycPtrHandle<yc2XformComposed> c(new yc2XformComposed(x, kIdentity, !share, true));
         return Kept{[c](const ycVector<2>& p) { return c->mapPoint(p); }, memberOf(*c, 0).get()};
     }},
    {"composed(id, x)", true,
     [](const yc2XformBase& x, bool share) {
         ycPtrHandle<yc2XformComposed> c(new yc2XformComposed(kIdentity, x, true, !share));
         return Kept{[c](const ycVector<2>& p) { return c->mapPoint(p); }, memberOf(*c, 1).get()};
     }},
    {"postCompose", true,
     [](const yc2XformBase& x, bool share) {
         return composedKeeping(
             [&](yc2XformComposed& c) {
                 c.postCompose(kIdentity, true);
                 c.postCompose(x, !share);
             },
             1);
     }},
    {"preCompose", true,
     [](const yc2XformBase& x, bool share) {
         return composedKeeping(
             [&](yc2XformComposed& c) {
                 c.postCompose(kIdentity, true);
                 c.preCompose(x, !share);
             },
             0);
     }},
    {"composeBase", false,
     [](const yc2XformBase& x, bool) {
         Const c = yc2XformComposed(kIdentity, true).composeBase(x);
         return Kept{[c](const ycVector<2>& p) { return c->mapPoint(p); },
                     memberOf(dynamic_cast<const yc2XformComposed&>(*c), 1).get()};
     }},
    {"cache.xform", false,
     [](const yc2XformBase& x, bool) {
         auto cache = std::make_shared<yc2XformCache>();
         cache->xform(x);
         return Kept{[cache](const ycVector<2>& p) { return cache->xform()->mapPoint(p); }, cache->xform().get()};
     }},
    {"cache(x)", false,
     [](const yc2XformBase& x, bool) {
         auto cache = std::make_shared<yc2XformCache>(x);
         return Kept{[cache](const ycVector<2>& p) { return cache->xform()->mapPoint(p); }, cache->xform().get()};
     }},
    {"cache.xformInverse", false,
     [](const yc2XformBase& x, bool) {
         auto cache = std::make_shared<yc2XformCache>();
         cache->xformInverse(x);
         return Kept{[cache](const ycVector<2>& p) { return cache->xformInverse()->mapPoint(p); },
                     cache->xformInverse().get()};
     }},
};

const ycMatrix<2> kM(2, 1, 0, 3);
const ycVector<2> kT(5, -1);
const ycMatrix<3> kH(1, 0.2, 3, 0, 1, -2, 0.01, 0.02, 1);

// Maps of the two arguments, taken before any of them exists.
const Map kLinearMap = [](const ycVector<2>& p) { return yc2XformLinear(kM, kT).mapPoint(p); };
const Map kPerspMap = [](const ycVector<2>& p) { return yc2XformPerspective(kH).mapPoint(p); };

void expectMaps(const Kept& k, const Map& expected, const std::string& what)
{
    for (const ycVector<2>& p : {ycVector<2>(0, 0), ycVector<2>(1, 2), ycVector<2>(-3, 4)})
        EXPECT_TRUE(yfRealEq(k.map(p), expected(p), 1e-12)) << what;
}

TEST(XformKeeping, StackAndTemporaryArgumentsAreClonedAtEveryEntryPoint)
{
    for (const Entry& e : kEntries) {
        for (bool share : {false, true}) {
            const std::string what = std::string(e.name) + (share ? " sharing" : " cloning");
            const void* given = nullptr;
            auto call = [&](const yc2XformBase& x) {
                given = &x;
                return e.keep(x, share);
            };
            Kept fromTemporary = call(yc2XformLinear(kM, kT));
            EXPECT_NE(fromTemporary.member, given) << what;
            expectMaps(fromTemporary, kLinearMap, what + ", temporary");

            Kept fromStack = [&] {
                const yc2XformPerspective onStack(kH);
                return call(onStack);
            }();
            EXPECT_NE(fromStack.member, given) << what;
            expectMaps(fromStack, kPerspMap, what + ", stack");
        }
    }
}

TEST(XformKeeping, AnArgumentAHandleHoldsIsSharedOnlyWhenAsked)
{
    for (const Entry& e : kEntries) {
        for (bool share : {false, true}) {
            const std::string what = std::string(e.name) + (share ? " sharing" : " cloning");
            Const held(new yc2XformPerspective(kH));
            const yc2XformBase* original = held.get();
            Kept k = e.keep(*held, share);
            EXPECT_EQ(k.member == original, share && e.canShare) << what;
            EXPECT_EQ(held->refCount(), share && e.canShare ? 2 : 1) << what;
            held = nullptr; // the kept share, or the clone, goes on alone
            expectMaps(k, kPerspMap, what);
        }
    }

    // The handle forms of the cache share, or clone when asked.
    Const held(new yc2XformLinear(kM, kT));
    yc2XformCache cache;
    cache.xform(held, false);
    cache.xformInverse(held, false);
    EXPECT_TRUE(cache.xform() == held && cache.xformInverse() == held);
    cache.xform(held, true);
    cache.xformInverse(held, true);
    EXPECT_TRUE(cache.xform() != held && cache.xformInverse() != held);
    EXPECT_EQ(held->refCount(), 1);
}

// The site table answers for any address: a transform on the stack, or one
// whose block was freed and reused by a plain new, has no site.
TEST(XformKeeping, AllocationSiteOfObjectsTheAllocatorDidNotRecord)
{
    const yc2XformLinear onStack;
    EXPECT_EQ(onStack.allocationSite().file, nullptr);
    EXPECT_EQ(onStack.allocationSite().line, 0);
    const yc2XformCache cache(onStack);
    EXPECT_EQ(cache.linearXform().allocationSite().file, nullptr); // inside another object

    for (int i = 0; i < 4; ++i) {
        Const recorded(ymNew yc2XformLinear());
        EXPECT_NE(recorded->allocationSite().file, nullptr);
        recorded = nullptr;
        Const plain(new yc2XformLinear());
        EXPECT_EQ(plain->allocationSite().file, nullptr);
    }
}

} // namespace

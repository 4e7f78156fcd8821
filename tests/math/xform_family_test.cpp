// The polymorphic transforms: composition rules, the composed sequence, the
// perspective and polynomial members, the cache, allocation and sharing.
#include "xform_support.h"

#include "std/archive/registry.h"
#include "std/math/xfcache.h"
#include "std/pelbuf/pbuf_com.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <typeinfo>

namespace {

constexpr const char* kSourceName = "tests/math/xform_family";

Map mapOf(const Handle& h)
{
    return [h](const ycVector<2>& p) { return h->mapPoint(p); };
}

Map chain(const Map& left, const Map& right)
{
    return [left, right](const ycVector<2>& p) { return left(right(p)); };
}

std::string kind(const yc2XformBase& x)
{
    if (dynamic_cast<const yc2XformLinear*>(&x)) return "linear";
    if (dynamic_cast<const yc2XformComposed*>(&x)) return "composed";
    if (dynamic_cast<const yc2XformPerspective*>(&x)) return "perspective";
    if (dynamic_cast<const yc2XformPoly*>(&x)) return "poly";
    return typeid(x).name();
}

TEST(XformComposition, TypeOfEachPairAndAgreementWithTheMembers)
{
    std::mt19937 rng(3);
    // A perspective transform whose bottom row is (0, 0, 2) is linear.
    Handle affinePersp(new yc2XformPerspective(ycMatrix<3>(2, 0, 1, 0, 4, 2, 0, 0, 2)));
    ycMatrix<3> skewed(1, 0, 0, 0, 1, 0, 0.01, 0.02, 1);
    struct Case {
        const char* name;
        Handle left;
        Handle right;
        const char* result;
    } cases[] = {
        {"linear o linear", randomLinear(rng), randomLinear(rng), "linear"},
        {"linear o linear perspective", randomLinear(rng), affinePersp, "linear"},
        {"linear o poly", randomLinear(rng), randomPoly(rng), "poly"},
        {"linear o perspective", randomLinear(rng), randomPerspective(rng), "composed"},
        {"perspective o linear", randomPerspective(rng), randomLinear(rng), "perspective"},
        {"perspective o perspective", randomPerspective(rng), randomPerspective(rng), "perspective"},
        {"perspective o poly", randomPerspective(rng), randomPoly(rng), "composed"},
        {"poly o linear", randomPoly(rng), randomLinear(rng), "poly"},
        {"poly o perspective", randomPoly(rng), randomPerspective(rng), "composed"},
        {"poly o poly", randomPoly(rng, 2), randomPoly(rng, 2), "composed"},
        {"perspective o singular linear", Handle(new yc2XformPerspective(skewed)),
         Handle(new yc2XformLinear(ycMatrix<2>(1, 2, 2, 4), ycVector<2>(1, 0))), "composed"},
        {"composed o linear", Handle(new yc2XformComposed(*randomPerspective(rng), true)), randomLinear(rng),
         "composed"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Handle product = c.left->composeBase(*c.right);
        EXPECT_EQ(kind(*product), c.result);
        expectAgrees(*product, chain(mapOf(c.left), mapOf(c.right)), rng, c.name);
        EXPECT_EQ(product->isLinear(), c.left->isLinear() && c.right->isLinear());
    }
}

// The linear form is checked against numeric derivatives of the whole chain,
// so a product of the members' forms at one point would not pass.
TEST(XformComposed, MembersApplyLastFirstAndInvertAndLinearizeAlongThePath)
{
    std::mt19937 rng(4);
    for (int round = 0; round < 5; ++round) {
        Handle members[] = {randomPerspective(rng), randomLinear(rng), randomPerspective(rng), randomLinear(rng)};
        yc2XformComposed c(*members[0], *members[1], false, false);
        c.postCompose(*members[2], false);
        c.preCompose(*members[3], false); // applied last
        Map expected = chain(mapOf(members[3]),
                             chain(mapOf(members[0]), chain(mapOf(members[1]), mapOf(members[2]))));
        expectAgrees(c, expected, rng, "forward");
        EXPECT_FALSE(c.isLinear());

        Handle inverse = c.inverseBase();
        for (int i = 0; i < 10; ++i) {
            ycVector<2> p = randomPoint(rng);
            EXPECT_TRUE(near(inverse->mapPoint(c.mapPoint(p)), p, 1e-9));
        }
    }
}

TEST(XformComposed, SharingCloningEmptyListAndFailedInversion)
{
    Handle a(new yc2XformLinear(ycMatrix<2>(2, 0, 0, 2), ycVector<2>()));
    std::mt19937 rng(5);
    Handle b = randomPoly(rng);
    yc2XformComposed c(*a, *b, false, true);
    std::vector<ycPtrHandle_const<yc2XformBase>> list;
    c.decompose(list);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].get(), a.get());
    EXPECT_NE(list[1].get(), b.get());

    // A copy shares the members; composing appends to a copy.
    std::vector<ycPtrHandle_const<yc2XformBase>> copied;
    dynamic_cast<yc2XformComposed&>(*c.clone()).decompose(copied);
    EXPECT_EQ(copied, list);
    EXPECT_EQ(dynamic_cast<yc2XformComposed&>(*c.composeBase(*a)).size(), 3u);

    // A failed inversion leaves the list as it was.
    EXPECT_THROW(c.invert(), yc2XformDefs::NotImplemented);
    c.decompose(copied);
    EXPECT_EQ(copied, list);

    // Only an object held by a handle can be shared.
    yc2XformLinear onStack;
    EXPECT_THROW(c.postCompose(onStack, false), ycAssertFailure);
    yc2XformComposed empty;
    std::function<void()> asserted[] = {[&] { empty.mapPoint(ycVector<2>()); }, [&] { empty.isLinear(); },
                                        [&] { empty.linearXform(ycVector<2>()); }};
    for (auto& f : asserted) EXPECT_THROW(f(), ycAssertFailure);
}

TEST(XformPerspective, MappingLinearityAndFailures)
{
    // w = x + 2 vanishes on the line x = -2.
    yc2XformPerspective p(ycMatrix<3>(1, 0, 1, 0, 2, 0, 1, 0, 2));
    EXPECT_EQ(p.mapPoint(ycVector<2>(1, 3)), ycVector<2>(2.0 / 3.0, 2));
    EXPECT_THROW(p.mapPoint(ycVector<2>(-2, 5)), yc2XformPerspectiveDefs::NumericalError);
    EXPECT_THROW(p.linearXform(ycVector<2>(-2, 5)), yc2XformPerspectiveDefs::NumericalError);
    EXPECT_FALSE(p.isLinear());
    EXPECT_FALSE(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0, 1e-300, 1)).isLinear());

    // Exactly affine: the linear form is the affine map itself.
    yc2XformPerspective a(ycMatrix<3>(2, 0, 1, 0, 4, 2, 0, 0, 2));
    EXPECT_TRUE(a.isLinear());
    EXPECT_EQ(a.linearXform(ycVector<2>()).xform(), ycXform<2>(ycMatrix<2>(1, 0, 0, 2), ycVector<2>(0.5, 1)));

    const double inf = std::numeric_limits<double>::infinity();
    ycMatrix<3> refused[] = {ycMatrix<3>(1, 2, 3, 2, 4, 6, 0, 0, 1), ycMatrix<3>(1, 0, yfQuietNaN(), 0, 1, 0, 0, 0, 1),
                             ycMatrix<3>(inf, 0, 0, 0, 1, 0, 0, 0, 1)};
    for (const ycMatrix<3>& m : refused) {
        EXPECT_THROW(yc2XformPerspective{m}, yc2XformPerspectiveDefs::BadParams);
        EXPECT_THROW(a.matrix(m), yc2XformPerspectiveDefs::BadParams);
        EXPECT_EQ(a.matrix(), ycMatrix<3>(2, 0, 1, 0, 4, 2, 0, 0, 2));
    }
    // A regular matrix whose inverse overflows.
    EXPECT_THROW(yc2XformPerspective(ycMatrix<3>(1e-310, 0, 0, 0, 1, 0, 0, 0, 1)).inverseBase(),
                 yc2XformPerspectiveDefs::BadParams);
}

TEST(XformPoly, CoefficientOrderFailuresAndInverses)
{
    // Coefficient n alone, mapped at (2, 3): x^i y^j of the n-th monomial.
    const double expected[] = {1, 2, 3, 4, 6, 9, 8, 12, 18, 27};
    for (std::size_t n = 0; n < 10; ++n) {
        std::vector<double> cx(10, 0.0);
        cx[n] = 1.0;
        yc2XformPoly p(3, cx, std::vector<double>(10, 0.0));
        EXPECT_EQ(p.mapPoint(ycVector<2>(2, 3)), ycVector<2>(expected[n], 0)) << n;
        EXPECT_EQ(p.isLinear(), n < 3) << n;
    }

    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        int degree;
        std::vector<double> cx;
        std::vector<double> cy;
    } refused[] = {
        {0, {1}, {1}},
        {17, std::vector<double>(171, 0.0), std::vector<double>(171, 0.0)},
        {1, {0, 1}, {0, 0, 1}},
        {2, {0, 1, 0, 0, 0, 0}, {0, 0, 1, 0, 0, inf}},
    };
    for (const Case& c : refused) EXPECT_THROW(yc2XformPoly(c.degree, c.cx, c.cy), yc2XformPoly::BadParams);
    std::vector<ycVector<2>> pts(10);
    EXPECT_THROW(yc2XformPoly(pts, pts, 2), yc2XformDefs::NotImplemented);

    // Only a linear polynomial inverts, whatever its degree.
    Handle inv = yc2XformPoly(4, ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6))).inverseBase();
    EXPECT_TRUE(near(inv->mapPoint(ycVector<2>(1 + 4 + 5, 3 + 8 + 6)), ycVector<2>(1, 2), 1e-12));
    EXPECT_THROW(yc2XformPoly(2, ycXform<2>(ycMatrix<2>(1, 2, 2, 4), ycVector<2>())).inverseBase(),
                 yc2XformPoly::IllDefined);
    std::mt19937 rng(7);
    EXPECT_THROW(randomPoly(rng)->inverseBase(), yc2XformDefs::NotImplemented);
}

// Counts the inverses it is asked for.
class CountingLinear : public yc2XformLinear {
public:
    using yc2XformLinear::yc2XformLinear;
    static inline std::atomic<int> inverses{0};
    ycPtrHandle<yc2XformBase> inverseBase() const override
    {
        ++inverses;
        return yc2XformLinear::inverseBase();
    }
};

TEST(XformCache, InverseIsComputedOnceAndDroppedWithTheForwardTransform)
{
    yc2XformCache cache;
    EXPECT_TRUE(cache.linearXform().isIdentity());

    ycPtrHandle_const<yc2XformBase> x(new CountingLinear(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(1, 1)));
    CountingLinear::inverses = 0;
    cache.xform(x, false);
    EXPECT_EQ(cache.xform(), x);
    const yc2XformBase* first = cache.xformInverse().get();
    EXPECT_EQ(cache.xformInverse().get(), first);
    EXPECT_EQ(CountingLinear::inverses, 1);
    EXPECT_EQ(first->mapPoint(ycVector<2>(3, 5)), ycVector<2>(1, 1));

    // A copy keeps the inverse; a new forward transform drops it.
    yc2XformCache copy = cache;
    cache.xform(x, true);
    EXPECT_NE(cache.xform(), x);
    EXPECT_NE(cache.xformInverse().get(), first);
    EXPECT_EQ(copy.xformInverse().get(), first);
    cache.xform(x, false);
    cache.xformInverse();
    EXPECT_EQ(CountingLinear::inverses, 2);

    // An inverse set by hand is used as it is.
    cache.xformInverse(yc2XformLinear(ycMatrix<2>(), ycVector<2>(9, 9)));
    EXPECT_EQ(cache.xformInverse()->mapPoint(ycVector<2>()), ycVector<2>(9, 9));
    EXPECT_EQ(CountingLinear::inverses, 2);
    EXPECT_THROW(cache.xform(ycPtrHandle_const<yc2XformBase>(), false), ycAssertFailure);
}

TEST(XformCache, LinearFormsOnlyForLinearTransforms)
{
    yc2XformLinear l(ycMatrix<2>(2, 1, 0, 1), ycVector<2>(3, -1));
    yc2XformCache cache(l);
    EXPECT_TRUE(cache.isLinear());
    EXPECT_EQ(cache.linearXform(), l);
    EXPECT_EQ(cache.linearXformInverse(), l.inverse());

    cache.xform(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.1, 0, 1)));
    EXPECT_FALSE(cache.isLinear());
    EXPECT_THROW(cache.linearXform(), ycPel::NonlinearXform);
    EXPECT_THROW(cache.linearXformInverse(), ycPel::NonlinearXform);
    EXPECT_TRUE(near(cache.xformInverse()->mapPoint(cache.xform()->mapPoint(ycVector<2>(2, 3))), ycVector<2>(2, 3),
                     1e-12));

    cache.xform(yc2XformLinear(ycMatrix<2>(1, 2, 2, 4), ycVector<2>()));
    EXPECT_TRUE(cache.isLinear());
    EXPECT_THROW(cache.linearXformInverse(), ycMathError::Singular);
}

TEST(XformAllocation, SitesAreRecordedAndFailedConstructionFreesTheBlock)
{
    ycPtrHandle<yc2XformBase> made(ymNew yc2XformLinear());
    int line = __LINE__ - 1;
    EXPECT_STREQ(made->allocationSite().file, kSourceName);
    EXPECT_EQ(made->allocationSite().line, line);

    ycPtrHandle<yc2XformBase> plain(new yc2XformLinear());
    EXPECT_EQ(plain->allocationSite().file, nullptr);

    // Made by the registry, as an archive does.
    std::unique_ptr<ycPersistent> fromRegistry(yc_TypeRegistry::instance().factory("yc2XformPerspective")());
    EXPECT_NE(dynamic_cast<yc2XformPerspective*>(fromRegistry.get()), nullptr);

    std::int64_t before = ysys_memory_outstanding();
    EXPECT_THROW((void)ymNew yc2XformPerspective(ycMatrix<3>(0, 0, 0, 0, 0, 0, 0, 0, 0)), yc2XformPerspectiveDefs::BadParams);
    EXPECT_EQ(ysys_memory_outstanding(), before);
    fromRegistry.reset();
    made = nullptr;
    EXPECT_EQ(ysys_memory_outstanding(), before - 2);
}

std::atomic<int> gDestroyed{0};

class Tracked : public yc2XformLinear {
public:
    using yc2XformLinear::yc2XformLinear;
    ~Tracked() override { ++gDestroyed; }
};

TEST(XformSharing, ManyThreadsCopyAndDropHandlesToOneTransform)
{
    gDestroyed = 0;
    ycPtrHandle_const<yc2XformBase> shared(new Tracked(ycMatrix<2>(1, 0, 0, 1), ycVector<2>(1, 0)));
    std::atomic<bool> mapped{true};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&shared, &mapped] {
            for (int i = 0; i < 20000; ++i) {
                ycPtrHandle_const<yc2XformBase> copy = shared;
                yc2XformComposed seq(*copy, *copy, false, false); // two more shares
                if (seq.mapPoint(ycVector<2>()) != ycVector<2>(2, 0)) mapped = false;
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_TRUE(mapped);
    EXPECT_EQ(shared->refCount(), 1);
    EXPECT_EQ(gDestroyed, 0);
    shared = nullptr;
    EXPECT_EQ(gDestroyed, 1);
}

} // namespace

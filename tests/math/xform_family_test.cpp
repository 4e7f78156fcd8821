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

TEST(Composition, TypeOfEachPairAndAgreementWithTheMembers)
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

TEST(Composition, LinearFoldKeepsBothOperandsUntouched)
{
    yc2XformLinear l(ycMatrix<2>(0, -1, 1, 0), ycVector<2>(1, 2));
    yc2XformPoly p(2, {0, 1, 0, 0.5, 0, 0}, {0, 0, 1, 0, 0, 0.25});
    Handle folded = l.composeBase(p);
    EXPECT_EQ(p.xCoefficients(), (std::vector<double>{0, 1, 0, 0.5, 0, 0}));
    EXPECT_EQ(l.trans(), ycVector<2>(1, 2));
    auto* q = dynamic_cast<yc2XformPoly*>(folded.get());
    ASSERT_NE(q, nullptr);
    // x' = 1 - y - 0.25 y^2, y' = 2 + x + 0.5 x^2
    EXPECT_EQ(q->xCoefficients(), (std::vector<double>{1, 0, -1, 0, 0, -0.25}));
    EXPECT_EQ(q->yCoefficients(), (std::vector<double>{2, 1, 0, 0.5, 0, 0}));
}

TEST(Composed, MembersApplyLastFirstAndInvertAndLinearizeAlongThePath)
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
        EXPECT_EQ(kind(*inverse), "composed");
        for (int i = 0; i < 10; ++i) {
            ycVector<2> p = randomPoint(rng);
            EXPECT_TRUE(near(inverse->mapPoint(c.mapPoint(p)), p, 1e-9));
        }
        // The linear form is the chain of the members' own, not just their product at one point.
        ycVector<2> at = randomPoint(rng);
        ycXform<2> chained;
        ycVector<2> q = at;
        for (const Handle& m : {members[2], members[1], members[0], members[3]}) {
            yc2XformLinear local = m->linearXform(q);
            q = m->mapPoint(q);
            chained = local.xform() * chained;
        }
        EXPECT_TRUE(yfRealEq(c.linearXform(at).xform(), chained, 1e-12));
    }
}

TEST(Composed, SharingCloningAndTheMemberList)
{
    Handle a(new yc2XformLinear(ycMatrix<2>(2, 0, 0, 2), ycVector<2>()));
    Handle b(new yc2XformLinear(ycMatrix<2>(), ycVector<2>(1, 0)));
    yc2XformComposed c(*a, *b, false, true);
    std::vector<ycPtrHandle_const<yc2XformBase>> list;
    c.decompose(list);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].get(), a.get());
    EXPECT_NE(list[1].get(), b.get());
    EXPECT_TRUE(c.isLinear());
    EXPECT_EQ(c.mapPoint(ycVector<2>(1, 1)), ycVector<2>(4, 2));

    // A copy shares the members; composing appends a clone of the argument.
    Handle copy = c.clone();
    std::vector<ycPtrHandle_const<yc2XformBase>> copied;
    dynamic_cast<yc2XformComposed&>(*copy).decompose(copied);
    EXPECT_EQ(copied, list);
    Handle longer = c.composeBase(*a);
    EXPECT_EQ(dynamic_cast<yc2XformComposed&>(*longer).size(), 3u);
    EXPECT_EQ(c.size(), 2u);

    // Only an object held by a handle can be shared; others are cloned after the assertion.
    yc2XformLinear onStack;
    EXPECT_THROW(c.postCompose(onStack, false), ycAssertFailure);
}

TEST(Composed, EmptyListAndFailedInversion)
{
    yc2XformComposed empty;
    std::function<void()> asserted[] = {[&] { empty.mapPoint(ycVector<2>()); }, [&] { empty.isLinear(); },
                                        [&] { empty.linearXform(ycVector<2>()); }};
    for (auto& f : asserted) EXPECT_THROW(f(), ycAssertFailure);

    std::mt19937 rng(5);
    Handle poly = randomPoly(rng);
    Handle lin = randomLinear(rng);
    yc2XformComposed c(*poly, *lin, false, false);
    EXPECT_THROW(c.invert(), yc2XformDefs::NotImplemented);
    std::vector<ycPtrHandle_const<yc2XformBase>> list;
    c.decompose(list);
    EXPECT_EQ(list[0].get(), poly.get()); // unchanged
    EXPECT_EQ(list[1].get(), lin.get());
}

TEST(Perspective, MappingLinearityAndFailures)
{
    // w = x + 2 vanishes on the line x = -2.
    yc2XformPerspective p(ycMatrix<3>(1, 0, 1, 0, 2, 0, 1, 0, 2));
    EXPECT_EQ(p.mapPoint(ycVector<2>(1, 3)), ycVector<2>(2.0 / 3.0, 2));
    EXPECT_THROW(p.mapPoint(ycVector<2>(-2, 5)), yc2XformPerspectiveDefs::NumericalError);
    EXPECT_THROW(p.linearXform(ycVector<2>(-2, 5)), yc2XformPerspectiveDefs::NumericalError);
    EXPECT_FALSE(p.isLinear());
    EXPECT_FALSE(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0, 1e-300, 1)).isLinear());

    // Exactly affine: the linear form at the origin is the affine map itself.
    yc2XformPerspective a(ycMatrix<3>(2, 0, 1, 0, 4, 2, 0, 0, 2));
    EXPECT_TRUE(a.isLinear());
    EXPECT_EQ(a.linearXform(ycVector<2>()).xform(), ycXform<2>(ycMatrix<2>(1, 0, 0, 2), ycVector<2>(0.5, 1)));
    ycXform<2> x(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
    EXPECT_EQ(yc2XformPerspective(x).linearXform(ycVector<2>(7, 8)).xform(), x);

    const double inf = std::numeric_limits<double>::infinity();
    ycMatrix<3> refused[] = {ycMatrix<3>(1, 2, 3, 2, 4, 6, 0, 0, 1), ycMatrix<3>(1, 0, 0, 0, 1, 0, 0, 0, 0),
                             ycMatrix<3>(1, 0, yfQuietNaN(), 0, 1, 0, 0, 0, 1), ycMatrix<3>(inf, 0, 0, 0, 1, 0, 0, 0, 1)};
    for (const ycMatrix<3>& m : refused) {
        EXPECT_THROW(yc2XformPerspective{m}, yc2XformPerspectiveDefs::BadParams);
        EXPECT_THROW(a.matrix(m), yc2XformPerspectiveDefs::BadParams);
        EXPECT_EQ(a.matrix(), ycMatrix<3>(2, 0, 1, 0, 4, 2, 0, 0, 2));
    }
    // A regular matrix whose inverse overflows.
    yc2XformPerspective tiny(ycMatrix<3>(1e-310, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_THROW(tiny.inverseBase(), yc2XformPerspectiveDefs::BadParams);
}

TEST(Perspective, LinearFormAndInverseAgreeNumerically)
{
    std::mt19937 rng(6);
    for (int i = 0; i < 5; ++i) {
        Handle p = randomPerspective(rng);
        expectAgrees(*p, mapOf(p), rng, "perspective");
        Handle inv = p->inverseBase();
        EXPECT_EQ(kind(*inv), "perspective");
        for (int k = 0; k < 10; ++k) {
            ycVector<2> q = randomPoint(rng);
            EXPECT_TRUE(near(inv->mapPoint(p->mapPoint(q)), q, 1e-9));
        }
        EXPECT_TRUE(near(p->clone()->mapPoint(ycVector<2>(1, 2)), p->mapPoint(ycVector<2>(1, 2)), 0.0));
    }
}

TEST(Poly, CoefficientOrderIsByDegreeThenFallingPowersOfX)
{
    // Coefficient n alone, mapped at (2, 3): x^i y^j for the n-th monomial.
    const double expected[] = {1, 2, 3, 4, 6, 9, 8, 12, 18, 27};
    for (std::size_t n = 0; n < 10; ++n) {
        std::vector<double> cx(10, 0.0);
        cx[n] = 1.0;
        yc2XformPoly p(3, cx, std::vector<double>(10, 0.0));
        EXPECT_EQ(p.mapPoint(ycVector<2>(2, 3)), ycVector<2>(expected[n], 0)) << n;
        EXPECT_EQ(p.isLinear(), n < 3) << n;
    }
    yc2XformPoly identity;
    EXPECT_EQ(identity.degree(), 1);
    EXPECT_EQ(identity.mapPoint(ycVector<2>(-4, 7)), ycVector<2>(-4, 7));
}

TEST(Poly, ConstructionFailures)
{
    const double nan = yfQuietNaN();
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        int degree;
        std::vector<double> cx;
        std::vector<double> cy;
    } refused[] = {
        {0, {1}, {1}},
        {17, std::vector<double>(171, 0.0), std::vector<double>(171, 0.0)},
        {1, {0, 1}, {0, 0, 1}},
        {1, {0, 1, 0}, {0, 0, 1, 0}},
        {1, {0, nan, 0}, {0, 0, 1}},
        {2, {0, 1, 0, 0, 0, 0}, {0, 0, 1, 0, 0, inf}},
    };
    for (const Case& c : refused) EXPECT_THROW(yc2XformPoly(c.degree, c.cx, c.cy), yc2XformPoly::BadParams);
    EXPECT_THROW(yc2XformPoly(0, ycXform<2>()), yc2XformPoly::BadParams);
    std::vector<ycVector<2>> pts(10);
    EXPECT_THROW(yc2XformPoly(pts, pts, 2), yc2XformDefs::NotImplemented);
}

TEST(Poly, LeftComposeLinearFormAndInverse)
{
    std::mt19937 rng(7);
    for (int degree : {1, 2, 3, 5}) {
        Handle p = randomPoly(rng, degree);
        expectAgrees(*p, mapOf(p), rng, "poly");
        ycXform<2> l = randomAffine(rng);
        yc2XformPoly folded = dynamic_cast<yc2XformPoly&>(*p);
        folded.leftCompose(l);
        for (int i = 0; i < 10; ++i) {
            ycVector<2> q = randomPoint(rng);
            EXPECT_TRUE(near(folded.mapPoint(q), l.mapPoint(p->mapPoint(q)), 1e-9));
        }
        if (degree == 1) {
            Handle inv = p->inverseBase();
            ycVector<2> q = randomPoint(rng);
            EXPECT_TRUE(near(inv->mapPoint(p->mapPoint(q)), q, 1e-12));
        } else {
            EXPECT_THROW(p->inverseBase(), yc2XformDefs::NotImplemented);
        }
    }
    // Linear of a higher degree still inverts; a singular one has no inverse.
    EXPECT_NO_THROW(yc2XformPoly(4, ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>())).inverseBase());
    EXPECT_THROW(yc2XformPoly(2, ycXform<2>(ycMatrix<2>(1, 2, 2, 4), ycVector<2>())).inverseBase(),
                 yc2XformPoly::IllDefined);
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

TEST(Cache, InverseIsComputedOnceAndDroppedWithTheForwardTransform)
{
    yc2XformCache cache;
    EXPECT_TRUE(cache.isLinear());
    EXPECT_TRUE(cache.linearXform().isIdentity());
    EXPECT_TRUE(cache.xformInverse()->isLinear());

    ycPtrHandle_const<yc2XformBase> x(new CountingLinear(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(1, 1)));
    CountingLinear::inverses = 0;
    cache.xform(x, false);
    EXPECT_EQ(cache.xform(), x);
    const yc2XformBase* first = cache.xformInverse().get();
    EXPECT_EQ(cache.xformInverse().get(), first);
    EXPECT_EQ(CountingLinear::inverses, 1);
    EXPECT_EQ(first->mapPoint(ycVector<2>(3, 5)), ycVector<2>(1, 1));

    // A copy keeps the computed inverse; a new forward transform drops it.
    yc2XformCache copy = cache;
    EXPECT_EQ(copy.xformInverse().get(), first);
    cache.xform(x, true);
    EXPECT_NE(cache.xform(), x);
    EXPECT_NE(cache.xformInverse().get(), first);
    cache.xform(x, false);
    cache.xformInverse();
    EXPECT_EQ(CountingLinear::inverses, 2);
    EXPECT_EQ(copy.xformInverse().get(), first);

    // An inverse set by hand is used as it is.
    yc2XformLinear given(ycMatrix<2>(), ycVector<2>(9, 9));
    cache.xformInverse(given);
    EXPECT_EQ(cache.xformInverse()->mapPoint(ycVector<2>()), ycVector<2>(9, 9));
    EXPECT_EQ(CountingLinear::inverses, 2);

    EXPECT_THROW(cache.xform(ycPtrHandle_const<yc2XformBase>(), false), ycAssertFailure);
    EXPECT_THROW(cache.xformInverse(ycPtrHandle_const<yc2XformBase>(), true), ycAssertFailure);
}

TEST(Cache, LinearFormsOnlyForLinearTransforms)
{
    yc2XformLinear l(ycMatrix<2>(2, 1, 0, 1), ycVector<2>(3, -1));
    yc2XformCache linear(l);
    EXPECT_TRUE(linear.isLinear());
    EXPECT_EQ(linear.linearXform(), l);
    EXPECT_EQ(linear.linearXformInverse(), l.inverse());
    linear.xform(yc2XformLinear(ycMatrix<2>(1, 2, 2, 4), ycVector<2>()));
    EXPECT_THROW(linear.linearXformInverse(), ycMathError::Singular);

    yc2XformCache persp(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.1, 0, 1)));
    EXPECT_FALSE(persp.isLinear());
    EXPECT_THROW(persp.linearXform(), ycPel::NonlinearXform);
    EXPECT_THROW(persp.linearXformInverse(), ycPel::NonlinearXform);
    EXPECT_TRUE(near(persp.xformInverse()->mapPoint(persp.xform()->mapPoint(ycVector<2>(2, 3))),
                     ycVector<2>(2, 3), 1e-12));

    // Back to a linear transform: the flag and form follow.
    persp.xform(l);
    EXPECT_EQ(persp.linearXform(), l);
}

TEST(Allocation, SitesAreRecordedAndFailedConstructionFreesTheBlock)
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

TEST(Sharing, ManyThreadsCopyAndDropHandlesToOneTransform)
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

// The transforms: the values ycXform<2>, ycXform<3> and yc2Rigid; and the
// polymorphic family: composition rules, the composed sequence, the
// perspective and polynomial members, the cache, allocation and sharing.
#include "std/except/registry.h"
#include "std/pelbuf/xfcache.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xform.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/pbuf_com.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using Handle = ycPtrHandle<yc2XformBase>;
using Map = std::function<ycVector<2>(const ycVector<2>&)>;

double uniform(std::mt19937& rng, double lo, double hi)
{
    return std::uniform_real_distribution<double>(lo, hi)(rng);
}

ycVector<2> randomPoint(std::mt19937& rng, double r = 2.0)
{
    return ycVector<2>(uniform(rng, -r, r), uniform(rng, -r, r));
}

// Well conditioned: a rotation and scaling with a little shear.
ycXform<2> randomAffine(std::mt19937& rng)
{
    return ycXform<2>(randomPoint(rng, 5.0), uniform(rng, 0.5, 2.0), uniform(rng, 0.7, 1.4),
                      ycRadian(uniform(rng, -0.3, 0.3)), ycRadian(uniform(rng, -3.0, 3.0)));
}

Handle randomLinear(std::mt19937& rng)
{
    return Handle(new yc2XformLinear(randomAffine(rng)));
}

// A mild homography: w stays near 1 on the points the tests use.
Handle randomPerspective(std::mt19937& rng)
{
    ycXform<2> a = randomAffine(rng);
    const ycMatrix<2>& m = a.matrix();
    ycMatrix<3> h(m.element(0, 0), m.element(0, 1), a.trans().x(), m.element(1, 0), m.element(1, 1), a.trans().y(),
                  uniform(rng, -0.05, 0.05), uniform(rng, -0.05, 0.05), uniform(rng, 0.8, 1.2));
    return Handle(new yc2XformPerspective(h));
}

Handle randomPoly(std::mt19937& rng, int degree = 3)
{
    yc2XformPoly base(degree, randomAffine(rng));
    std::vector<double> cx = base.xCoefficients();
    std::vector<double> cy = base.yCoefficients();
    for (std::size_t n = 3; n < cx.size(); ++n) {
        cx[n] = uniform(rng, -0.02, 0.02);
        cy[n] = uniform(rng, -0.02, 0.02);
    }
    return Handle(new yc2XformPoly(degree, cx, cy));
}

::testing::AssertionResult near(const ycVector<2>& a, const ycVector<2>& b, double tol)
{
    if (yfRealEq(a, b, tol) && std::isfinite(a.x()) && std::isfinite(a.y())) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x() << ", " << a.y() << ") vs (" << b.x() << ", " << b.y()
                                         << ")";
}

// The first-order expansion of f at `at` by central differences.
ycXform<2> numericLinearization(const Map& f, const ycVector<2>& at)
{
    const double h = 1e-6;
    ycVector<2> dx = (f(at + ycVector<2>(h, 0)) - f(at - ycVector<2>(h, 0))) / (2 * h);
    ycVector<2> dy = (f(at + ycVector<2>(0, h)) - f(at - ycVector<2>(0, h))) / (2 * h);
    ycMatrix<2> j(dx.x(), dy.x(), dx.y(), dy.y());
    return ycXform<2>(j, f(at) - j * at);
}

// x agrees with f: mapping on random points and, at each, the linear form.
void expectAgrees(const yc2XformBase& x, const Map& f, std::mt19937& rng, const char* what)
{
    SCOPED_TRACE(what);
    for (int i = 0; i < 20; ++i) {
        ycVector<2> p = randomPoint(rng);
        EXPECT_TRUE(near(x.mapPoint(p), f(p), 1e-9));
        yc2XformLinear lin = x.linearXform(p);
        EXPECT_TRUE(near(lin.mapPoint(p), f(p), 1e-9));
        ycXform<2> num = numericLinearization(f, p);
        EXPECT_TRUE(yfRealEq(lin.matrix(), num.matrix(), 1e-6));
    }
}

constexpr const char* kSourceName = "tests/math/xform";
const double kInf = std::numeric_limits<double>::infinity();
using Members = std::vector<ycPtrHandle_const<yc2XformBase>>;

const double kDeg = 0.017453292519943295;

TEST(XformValue, ComposeAndInverseFollowTheMembers)
{
    std::mt19937 rng(1);
    for (int i = 0; i < 20; ++i) {
        ycXform<2> a = randomAffine(rng);
        ycXform<2> b = randomAffine(rng);
        yc2Rigid r(ycDegree(uniform(rng, -400, 400)), randomPoint(rng, 5));
        yc2Rigid s(ycDegree(uniform(rng, -400, 400)), randomPoint(rng, 5));
        ycVector<2> p = randomPoint(rng);
        EXPECT_TRUE(near((a * b).mapPoint(p), a.mapPoint(b.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(a.invMapPoint(a.mapPoint(p)), p, 1e-12));
        EXPECT_TRUE(near(a.invMapVector(a.mapVector(p)), p, 1e-12));
        EXPECT_TRUE(near(a.mapVector(p), a.mapPoint(p) - a.mapPoint(ycVector<2>()), 1e-12));
        EXPECT_TRUE(near((r * s).mapPoint(p), r.mapPoint(s.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(r.compose(a).mapPoint(p), r.mapPoint(a.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near((a * r).mapPoint(p), a.mapPoint(r.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(r.linear().mapPoint(p), r.mapPoint(p), 1e-12));
        EXPECT_TRUE(near(r.inverse().mapPoint(r.mapPoint(p)), p, 1e-12));
        EXPECT_TRUE(yfRealEq(r * r.inverse(), yc2Rigid(), 1e-12));
        EXPECT_NEAR(r.invMapAngle(r.mapAngle(ycRadian(0.25))).plain(), 0.25, 1e-12);
    }
    ycXform<3> a3(ycMatrix<3>(2, 0, 0, 0, 3, 0, 0, 0, 4), ycVector<3>(1, 2, 3));
    ycXform<3> b3(ycMatrix<3>(0, -1, 0, 1, 0, 0, 0, 0, 1), ycVector<3>(-1, 0, 5));
    ycVector<3> p3(0.5, -2, 7);
    EXPECT_TRUE(yfRealEq((a3 * b3).mapPoint(p3), a3.mapPoint(b3.mapPoint(p3)), 1e-12));
    EXPECT_TRUE(yfRealEq(a3.invMapPoint(a3 * p3), p3, 1e-12));
    EXPECT_EQ(a3.mapArea(1.0), 24.0);
}

TEST(XformValue, SingularMapsButDoesNotInvert)
{
    ycXform<2> s(ycMatrix<2>(1, 2, 2, 4), ycVector<2>(1, 1));
    EXPECT_EQ(s.mapPoint(ycVector<2>(1, 1)), ycVector<2>(4, 7));
    std::function<void()> refused[] = {
        [&] { s.inverse(); }, [&] { s.invMapPoint(ycVector<2>()); }, [&] { s.invMapVector(ycVector<2>()); },
        [&] { s.xRot(); },    [&] { s.aspect(); },                   [&] { s.shear(); },
        [&] { ycXform<3>(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0, 0, 0), ycVector<3>()).inverse(); },
    };
    for (auto& f : refused) EXPECT_THROW(f(), ycMathError::Singular);
    // Exact, not within a tolerance: a nearly singular matrix inverts.
    EXPECT_NO_THROW(ycXform<2>(ycMatrix<2>(1, 1, 1, 1 + 2.220446049250313e-16), ycVector<2>()).inverse());
}

TEST(XformValue, AreasIdentityAndComparison)
{
    ycXform<2> x(ycMatrix<2>(2, 0, 0, -3), ycVector<2>(1, 0));
    EXPECT_EQ(x.mapArea(2.0), 12.0);
    EXPECT_EQ(x.invMapArea(12.0), 2.0);
    EXPECT_TRUE(ycXform<2>().isIdentity());
    EXPECT_FALSE(ycXform<2>(ycMatrix<2>(), ycVector<2>(0, 1e-300)).isIdentity());
    EXPECT_FALSE(ycXform<2>(ycMatrix<2>(1, 1e-300, 0, 1), ycVector<2>()).isIdentity());

    // Translation first, then the matrix; inclusive; NaN never differs.
    ycXform<2> a(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
    struct Case { ycMatrix<2> m; ycVector<2> t; double eps; bool equal; } cases[] = {
        {ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5), 0.5, true},
        {ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5), 0.4, false},
        {ycMatrix<2>(1, 2, 3, 4.25), ycVector<2>(5, 6), 0.2, false},
        {ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, yfQuietNaN()), 0.0, true},
    };
    for (const Case& c : cases) EXPECT_EQ(yfRealEq(a, ycXform<2>(c.m, c.t), c.eps), c.equal) << c.eps;
    EXPECT_TRUE(a != ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5)));
}

TEST(XformRigid, QuarterTurnTurnsAndTheComparisonIgnoresWholeTurns)
{
    yc2Rigid r(ycDegree(90), ycVector<2>(1, 0));
    EXPECT_TRUE(near(r.mapPoint(ycVector<2>(1, 0)), ycVector<2>(1, 1), 1e-15));
    EXPECT_TRUE(near(r.inverse().mapPoint(ycVector<2>(1, 1)), ycVector<2>(1, 0), 1e-15));
    EXPECT_EQ(r.inverse().angle(), ycDegree(-90));
    EXPECT_NEAR(r.mapAngle(ycRadian(0.25)).plain(), 0.25 + 90 * kDeg, 1e-15);

    yc2Rigid dflt;
    dflt.angle(ycDegree(30)); // the sine and cosine follow the angle
    EXPECT_NEAR(dflt.sinAngle(), 0.5, 1e-15);
    EXPECT_NEAR(dflt.cosAngle(), std::sqrt(0.75), 1e-15);

    ycVector<2> t(3, -2);
    yc2Rigid a(ycDegree(0), t);
    EXPECT_TRUE(yfRealEq(a, yc2Rigid(ycDegree(360), t), 1e-12));
    EXPECT_FALSE(a == yc2Rigid(ycDegree(360), t));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(1), t), 1e-3));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(0), ycVector<2>(3, -1.99)), 1e-3));
}

// The members applied right to left, as their composition does.
Map chain(const std::vector<Handle>& members)
{
    return [members](ycVector<2> p) {
        for (auto m = members.rbegin(); m != members.rend(); ++m) p = (*m)->mapPoint(p);
        return p;
    };
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
    struct Case { const char* name; Handle left; Handle right; const char* result; } cases[] = {
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
        Handle product = c.left->composeBase(*c.right);
        EXPECT_EQ(kind(*product), c.result) << c.name;
        expectAgrees(*product, chain({c.left, c.right}), rng, c.name);
        EXPECT_EQ(product->isLinear(), c.left->isLinear() && c.right->isLinear()) << c.name;
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
        expectAgrees(c, chain({members[3], members[0], members[1], members[2]}), rng, "forward");
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
    Members list, copied;
    c.decompose(list);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].get(), a.get());
    EXPECT_NE(list[1].get(), b.get());

    // A copy shares the members; composing appends to a copy.
    dynamic_cast<yc2XformComposed&>(*c.clone()).decompose(copied);
    EXPECT_EQ(copied, list);
    EXPECT_EQ(dynamic_cast<yc2XformComposed&>(*c.composeBase(*a)).size(), 3u);

    // A failed inversion leaves the list as it was.
    EXPECT_THROW(c.invert(), yc2XformDefs::NotImplemented);
    c.decompose(copied);
    EXPECT_EQ(copied, list);

    // An empty list has no mapping.
    yc2XformComposed empty;
    const std::function<void()> asserted[] = {[&] { empty.mapPoint(ycVector<2>()); }, [&] { empty.isLinear(); },
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
    const ycMatrix<3> affine(2, 0, 1, 0, 4, 2, 0, 0, 2);
    yc2XformPerspective a(affine);
    EXPECT_TRUE(a.isLinear());
    EXPECT_EQ(a.linearXform(ycVector<2>()).xform(), ycXform<2>(ycMatrix<2>(1, 0, 0, 2), ycVector<2>(0.5, 1)));

    for (const ycMatrix<3>& m : {ycMatrix<3>(1, 2, 3, 2, 4, 6, 0, 0, 1), ycMatrix<3>(1, 0, yfQuietNaN(), 0, 1, 0, 0, 0, 1),
                                 ycMatrix<3>(kInf, 0, 0, 0, 1, 0, 0, 0, 1)}) {
        EXPECT_THROW(yc2XformPerspective{m}, yc2XformPerspectiveDefs::BadParams);
        EXPECT_THROW(a.matrix(m), yc2XformPerspectiveDefs::BadParams);
        EXPECT_EQ(a.matrix(), affine);
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

    struct Case { int degree; std::vector<double> cx, cy; } refused[] = {
        {0, {1}, {1}},
        {17, std::vector<double>(171, 0.0), std::vector<double>(171, 0.0)},
        {1, {0, 1}, {0, 0, 1}},
        {2, {0, 1, 0, 0, 0, 0}, {0, 0, 1, 0, 0, kInf}},
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

TEST(XformCache, InverseIsKeptUntilTheForwardTransformChanges)
{
    yc2XformCache cache;
    EXPECT_TRUE(cache.linearXform().isIdentity());
    ycPtrHandle_const<yc2XformBase> x(new yc2XformLinear(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(1, 1)));
    cache.xform(x, false);
    EXPECT_EQ(cache.xform(), x);
    const yc2XformBase* first = cache.xformInverse().get();
    EXPECT_EQ(cache.xformInverse().get(), first);
    EXPECT_EQ(first->mapPoint(ycVector<2>(3, 5)), ycVector<2>(1, 1));

    // A copy keeps the inverse; a new forward transform drops it.
    yc2XformCache copy = cache;
    cache.xform(x, true);
    EXPECT_NE(cache.xform(), x);
    EXPECT_NE(cache.xformInverse().get(), first);
    EXPECT_EQ(copy.xformInverse().get(), first);

    // An inverse set by hand is used as it is.
    cache.xformInverse(yc2XformLinear(ycMatrix<2>(), ycVector<2>(9, 9)));
    EXPECT_EQ(cache.xformInverse()->mapPoint(ycVector<2>()), ycVector<2>(9, 9));
    EXPECT_THROW(cache.xform(ycPtrHandle_const<yc2XformBase>(), false), ycAssertFailure);

    // Linear forms only for linear transforms.
    yc2XformLinear l(ycMatrix<2>(2, 1, 0, 1), ycVector<2>(3, -1));
    cache.xform(l);
    EXPECT_TRUE(cache.isLinear());
    EXPECT_EQ(cache.linearXform(), l);
    EXPECT_EQ(cache.linearXformInverse(), l.inverse());
    cache.xform(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.1, 0, 1)));
    EXPECT_FALSE(cache.isLinear());
    EXPECT_THROW(cache.linearXform(), ycPel::NonlinearXform);
    EXPECT_THROW(cache.linearXformInverse(), ycPel::NonlinearXform);
    const ycVector<2> p(2, 3);
    EXPECT_TRUE(near(cache.xformInverse()->mapPoint(cache.xform()->mapPoint(p)), p, 1e-12));
    cache.xform(yc2XformLinear(ycMatrix<2>(1, 2, 2, 4), ycVector<2>()));
    EXPECT_TRUE(cache.isLinear());
    EXPECT_THROW(cache.linearXformInverse(), ycMathError::Singular);
}

TEST(XformAllocation, SitesAreRecordedAndFailedConstructionFreesTheBlock)
{
    const std::int64_t before = ysys_memory_outstanding();
    ycPtrHandle<yc2XformBase> made(ymNew yc2XformLinear());
    const int line = __LINE__ - 1;
    EXPECT_STREQ(made->allocationSite().file, kSourceName);
    EXPECT_EQ(made->allocationSite().line, line);
    EXPECT_EQ(ycPtrHandle<yc2XformBase>(new yc2XformLinear())->allocationSite().file, nullptr);

    // Made by the registry, as an archive does.
    std::unique_ptr<ycPersistent> fromRegistry(yc_TypeRegistry::instance().factory("yc2XformPerspective")());
    EXPECT_NE(dynamic_cast<yc2XformPerspective*>(fromRegistry.get()), nullptr);
    EXPECT_EQ(ysys_memory_outstanding(), before + 2);

    EXPECT_THROW((void)ymNew yc2XformPerspective(ycMatrix<3>(0, 0, 0, 0, 0, 0, 0, 0, 0)),
                 yc2XformPerspectiveDefs::BadParams);
    EXPECT_EQ(ysys_memory_outstanding(), before + 2);
    fromRegistry.reset();
    made = nullptr;
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

} // namespace

// The value transforms: ycXform<2>, ycXform<3> and yc2Rigid.
#include "xform_support.h"

#include "std/math/xform.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

const double kDeg = 0.017453292519943295;

TEST(Xform2, ComposeAndInverseFollowTheMembers)
{
    std::mt19937 rng(1);
    for (int i = 0; i < 20; ++i) {
        ycXform<2> a = randomAffine(rng);
        ycXform<2> b = randomAffine(rng);
        ycVector<2> p = randomPoint(rng);
        EXPECT_TRUE(near((a * b).mapPoint(p), a.mapPoint(b.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(a.compose(b) * p, a * (b * p), 1e-12));
        EXPECT_TRUE(near(a.invMapPoint(a.mapPoint(p)), p, 1e-12));
        EXPECT_TRUE(near(a.inverse().mapVector(a.mapVector(p)), p, 1e-12));
        EXPECT_TRUE(near(a.invMapVector(a.mapVector(p)), p, 1e-12));
        // A vector ignores the translation.
        EXPECT_TRUE(near(a.mapVector(p), a.mapPoint(p) - a.mapPoint(ycVector<2>()), 1e-12));
        EXPECT_TRUE(yfRealEq(a * a.inverse(), ycXform<2>(), 1e-12));
    }
}

TEST(Xform2, DecompositionConstructorsRoundTrip)
{
    ycXform<2> x(ycVector<2>(3, 4), 2.0, 0.5, ycRadian(0.2), ycRadian(1.0));
    EXPECT_EQ(x.trans(), ycVector<2>(3, 4));
    EXPECT_NEAR(x.scale(), 2.0, 1e-12);
    EXPECT_NEAR(x.aspect(), 0.5, 1e-12);
    EXPECT_NEAR(x.shear().plain(), 0.2, 1e-12);
    EXPECT_NEAR(x.rotation().plain(), 1.0, 1e-12);

    ycXform<2> y(ycVector<2>(), ycRadian(30 * kDeg), ycRadian(30 * kDeg), 2.0, 3.0);
    EXPECT_NEAR(y.xRot().plain(), 30 * kDeg, 1e-12);
    EXPECT_NEAR(y.yRot().plain(), 30 * kDeg, 1e-12);
    EXPECT_NEAR(y.xScale(), 2.0, 1e-12);
    EXPECT_NEAR(y.yScale(), 3.0, 1e-12);
}

TEST(Xform2, SingularTransformsMapButDoNotInvert)
{
    ycXform<2> s(ycMatrix<2>(1, 2, 2, 4), ycVector<2>(1, 1));
    EXPECT_TRUE(s.isSingular());
    EXPECT_EQ(s.mapPoint(ycVector<2>(1, 1)), ycVector<2>(4, 7));
    EXPECT_EQ(s.mapArea(3.0), 0.0);
    std::function<void()> refused[] = {
        [&] { s.inverse(); },        [&] { s.invMapPoint(ycVector<2>()); }, [&] { s.invMapVector(ycVector<2>()); },
        [&] { s.xRot(); },           [&] { s.yRot(); },                     [&] { s.xScale(); },
        [&] { s.yScale(); },         [&] { s.scale(); },                    [&] { s.aspect(); },
        [&] { s.shear(); },          [&] { s.rotation(); },
    };
    for (auto& f : refused) EXPECT_THROW(f(), ycMathError::Singular);
    // Exact, not within a tolerance: a nearly singular matrix inverts.
    ycXform<2> nearly(ycMatrix<2>(1, 1, 1, 1 + 2.220446049250313e-16), ycVector<2>());
    EXPECT_NO_THROW(nearly.inverse());
}

TEST(Xform2, AreasIdentityAndComparison)
{
    ycXform<2> x(ycMatrix<2>(2, 0, 0, -3), ycVector<2>(1, 0));
    EXPECT_EQ(x.mapArea(2.0), 12.0);
    EXPECT_EQ(x.invMapArea(12.0), 2.0);

    EXPECT_TRUE(ycXform<2>().isIdentity());
    EXPECT_FALSE(ycXform<2>(ycMatrix<2>(), ycVector<2>(0, 1e-300)).isIdentity());
    EXPECT_FALSE(ycXform<2>(ycMatrix<2>(1, 1e-300, 0, 1), ycVector<2>()).isIdentity());

    ycXform<2> a(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
    EXPECT_TRUE(a == ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6)));
    EXPECT_TRUE(a != ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5)));
    struct Case {
        ycXform<2> b;
        double eps;
        bool equal;
    } cases[] = {
        {ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5)), 0.5, true},
        {ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6.5)), 0.4, false},
        {ycXform<2>(ycMatrix<2>(1, 2, 3, 4.25), ycVector<2>(5, 6)), 0.25, true},
        {ycXform<2>(ycMatrix<2>(1, 2, 3, 4.25), ycVector<2>(5, 6)), 0.2, false},
        {ycXform<2>(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, yfQuietNaN())), 0.0, true},
    };
    for (const Case& c : cases) EXPECT_EQ(yfRealEq(a, c.b, c.eps), c.equal) << c.eps;
}

TEST(Xform3, ComposeInverseAndScales)
{
    ycXform<3> a(ycMatrix<3>(2, 0, 0, 0, 3, 0, 0, 0, 4), ycVector<3>(1, 2, 3));
    ycXform<3> b(ycMatrix<3>(0, -1, 0, 1, 0, 0, 0, 0, 1), ycVector<3>(-1, 0, 5));
    ycVector<3> p(0.5, -2, 7);
    EXPECT_TRUE(yfRealEq((a * b).mapPoint(p), a.mapPoint(b.mapPoint(p)), 1e-12));
    EXPECT_TRUE(yfRealEq(a.invMapPoint(a * p), p, 1e-12));
    EXPECT_TRUE(yfRealEq(a.invMapVector(a.mapVector(p)), p, 1e-12));
    EXPECT_EQ(a.xScale(), 2.0);
    EXPECT_EQ(a.yScale(), 3.0);
    EXPECT_EQ(a.zScale(), 4.0);
    EXPECT_EQ(a.mapArea(1.0), 24.0);
    EXPECT_TRUE(ycXform<3>().isIdentity());
    EXPECT_FALSE(a.isIdentity());
    ycXform<3> flat(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0, 0, 0), ycVector<3>());
    EXPECT_TRUE(flat.isSingular());
    EXPECT_THROW(flat.inverse(), ycMathError::Singular);
}

TEST(Rigid, MapsInvertsAndComposes)
{
    yc2Rigid r(ycDegree(90), ycVector<2>(1, 0));
    EXPECT_TRUE(near(r.mapPoint(ycVector<2>(1, 0)), ycVector<2>(1, 1), 1e-15));
    EXPECT_TRUE(near(r.inverse().mapPoint(ycVector<2>(1, 1)), ycVector<2>(1, 0), 1e-15));
    EXPECT_TRUE(near(r.invMapPoint(ycVector<2>(1, 1)), ycVector<2>(1, 0), 1e-15));
    EXPECT_EQ(r.inverse().angle(), ycDegree(-90));

    yc2Rigid dflt;
    EXPECT_EQ(dflt.sinAngle(), 0.0);
    EXPECT_EQ(dflt.cosAngle(), 1.0);
    EXPECT_TRUE(dflt.isIdentity());

    std::mt19937 rng(2);
    for (int i = 0; i < 20; ++i) {
        yc2Rigid a(ycDegree(uniform(rng, -400, 400)), randomPoint(rng, 5));
        yc2Rigid b(ycDegree(uniform(rng, -400, 400)), randomPoint(rng, 5));
        ycXform<2> x = randomAffine(rng);
        ycVector<2> p = randomPoint(rng);
        EXPECT_TRUE(near((a * b).mapPoint(p), a.mapPoint(b.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(a.compose(x).mapPoint(p), a.mapPoint(x.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near((x * a).mapPoint(p), x.mapPoint(a.mapPoint(p)), 1e-12));
        EXPECT_TRUE(near(a.linear().mapPoint(p), a.mapPoint(p), 1e-12));
        EXPECT_TRUE(near(a.inverse().mapPoint(a.mapPoint(p)), p, 1e-12));
        EXPECT_TRUE(near(a.invMapVector(a.mapVector(p)), p, 1e-12));
        EXPECT_TRUE(yfRealEq(a * a.inverse(), yc2Rigid(), 1e-12));
        EXPECT_NEAR(a.mapAngle(ycRadian(0.25)).plain(), 0.25 + a.angle().plain() * kDeg, 1e-12);
        EXPECT_NEAR(a.invMapAngle(a.mapAngle(ycRadian(0.25))).plain(), 0.25, 1e-12);
    }
}

TEST(Rigid, ComparisonLooksAtSineAndCosineNotTheAngle)
{
    ycVector<2> t(3, -2);
    yc2Rigid a(ycDegree(0), t);
    yc2Rigid b(ycDegree(360), t);
    EXPECT_TRUE(yfRealEq(a, b, 1e-12));
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a == yc2Rigid(ycDegree(0), t));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(1), t), 1e-3));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(0), ycVector<2>(3, -1.99)), 1e-3));

    // Setting the angle recomputes both.
    yc2Rigid c;
    c.angle(ycDegree(30));
    EXPECT_NEAR(c.sinAngle(), 0.5, 1e-15);
    EXPECT_NEAR(c.cosAngle(), std::sqrt(3.0) / 2, 1e-15);
}

} // namespace

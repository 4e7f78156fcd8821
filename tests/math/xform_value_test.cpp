// The value transforms: ycXform<2>, ycXform<3> and yc2Rigid.
#include "xform_support.h"

#include "std/math/xform.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace {

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
    struct Case {
        ycMatrix<2> m;
        ycVector<2> t;
        double eps;
        bool equal;
    } cases[] = {
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
    EXPECT_EQ(dflt.sinAngle(), 0.0);
    EXPECT_EQ(dflt.cosAngle(), 1.0);
    dflt.angle(ycDegree(30));
    EXPECT_NEAR(dflt.sinAngle(), 0.5, 1e-15);

    ycVector<2> t(3, -2);
    yc2Rigid a(ycDegree(0), t);
    EXPECT_TRUE(yfRealEq(a, yc2Rigid(ycDegree(360), t), 1e-12));
    EXPECT_FALSE(a == yc2Rigid(ycDegree(360), t));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(1), t), 1e-3));
    EXPECT_FALSE(yfRealEq(a, yc2Rigid(ycDegree(0), ycVector<2>(3, -1.99)), 1e-3));
}

} // namespace

#include "std/math/pair.h"
#include "std/math/scalar.h"
#include "std/math/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
constexpr std::int32_t kIntMin = std::numeric_limits<std::int32_t>::min();

TEST(RealEq, InclusiveAndNaNCountsAsEqual)
{
    struct Row {
        double a, b, eps;
        bool want;
    };
    const Row rows[] = {
        {kNaN, 1.0, 1e-6, true}, {1.0, 1.5, 0.5, true},  {1.0, 1.5000001, 0.5, false},
        {1.0, 1.0, kNaN, true},  {kInf, kInf, 0.0, true}, {1.0, 1.0, 0.0, true},
        {-1.0, 1.0, 1.999, false},
    };
    for (const Row& r : rows) EXPECT_EQ(yfRealEq(r.a, r.b, r.eps), r.want) << r.a << " " << r.b << " " << r.eps;

    // Vectors: the scalar rule on every component.
    EXPECT_TRUE(yfRealEq(ycVector<2>(1.0, kNaN), ycVector<2>(1.5, 7.0), 0.5));
    EXPECT_FALSE(yfRealEq(ycVector<2>(1.0, 2.0), ycVector<2>(1.0, 2.6), 0.5));
    EXPECT_FALSE(yfRealEq(ycVector<3>(0, 0, 0), ycVector<3>(0, 0, 1), 0.5));
}

TEST(RealEq, RoundingHelpersSaturate)
{
    struct Row {
        double x;
        double frac;
        std::int32_t floor, ceil;
    };
    const Row rows[] = {
        {2.5, 0.5, 2, 3},
        {-2.5, 0.5, -3, -2},
        {2147483647.5, 0.5, 2147483647, kIntMin}, // the ceiling is out of range, the floor is not
        {3e9, 0.0, kIntMin, kIntMin},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(yfFrac(r.x), r.frac) << r.x;
        EXPECT_EQ(yfIFloor(r.x), r.floor) << r.x;
        EXPECT_EQ(yfICeil(r.x), r.ceil) << r.x;
    }
    EXPECT_EQ(yfIFloor(kNaN), kIntMin);
    EXPECT_TRUE(std::isnan(yfQuietNaN()));

    ycPair<std::int32_t> f = ycVector<2>(-1.5, 2.5).floor();
    ycPair<std::int32_t> c = ycVector<2>(-1.5, 2.5).ceil();
    EXPECT_EQ(f, ycPair<std::int32_t>(-2, 2));
    EXPECT_EQ(c, ycPair<std::int32_t>(-1, 3));
    EXPECT_EQ(ycVector<2>(kNaN, 1e12).floor(), ycPair<std::int32_t>(kIntMin, kIntMin));
}

TEST(Vector, Geometry)
{
    using V = ycVector<2>;
    EXPECT_TRUE(yfRealEq(V(2.0, ycDegree(90.0)), V(0.0, 2.0), 1e-15));
    EXPECT_EQ(V(3, 4).len(), 5.0);
    EXPECT_EQ(V(1, 1).distance(V(4, 5)), 5.0);
    EXPECT_EQ(V(1, 2) * V(3, 4), 11.0);
    EXPECT_EQ(V(1, 0).cross(V(0, 1)), 1.0);
    EXPECT_EQ(V(1, 2).perpendicular(), V(-2, 1));
    EXPECT_EQ(V(0, 3).angle().plain(), 1.5707963267948966);
    EXPECT_EQ(V(2, 3).project(V(5, 0)), V(2, 0));
    EXPECT_EQ(V(ycPair<std::int32_t>(-3, 4)), V(-3, 4));
    EXPECT_EQ(V(ycPair<float>(0.5f, 4)), V(0.5, 4));
    EXPECT_TRUE(V(0.0, -0.0).isNull());

    using W = ycVector<3>;
    EXPECT_EQ(W(1, 0, 0).cross(W(0, 1, 0)), W(0, 0, 1));
    EXPECT_EQ(W(2, 3, 6).len(), 7.0);
    EXPECT_TRUE(yfRealEq(W(2, 3, 6).unit(), W(2.0 / 7, 3.0 / 7, 6.0 / 7), 1e-16));
}

TEST(Vector, UnitSurvivesUnderflowAndOverflowOfTheLength)
{
    const double h = std::sqrt(0.5);
    const std::pair<ycVector<2>, ycVector<2>> rows[] = {
        {{1e-200, 0.0}, {1.0, 0.0}},
        {{3e-170, 4e-170}, {0.6, 0.8}},
        {{1e200, 1e200}, {h, h}},
        {{-1e308, 1e308}, {-h, h}},
    };
    for (const auto& [v, want] : rows) EXPECT_TRUE(yfRealEq(v.unit(), want, 1e-15)) << v.x() << " " << v.y();
    EXPECT_NEAR(ycVector<3>(0, 0, 1e-300).unit().z(), 1.0, 1e-15);
}

TEST(Vector, NullVectorsHaveNoDirection)
{
    const ycVector<2> null;
    EXPECT_THROW(null.angle(), ycMathError::NullVector);
    EXPECT_THROW(null.unit(), ycMathError::NullVector);
    EXPECT_THROW(ycVector<2>(1, 1).project(null), ycMathError::NullVector);
    EXPECT_THROW(ycVector<3>().unit(), ycMathError::NullVector);
}

TEST(Vector, DivisionByExactlyZeroIsABrokenPrecondition)
{
    ycVector<2> v(1, 1);
    try {
        v = v / 0.0;
        FAIL() << "no assertion";
    } catch (const ycAssertFailure& e) {
        EXPECT_NE(e.info().find(L"std/math/vector("), std::wstring::npos);
    }
    EXPECT_THROW(v /= -0.0, ycAssertFailure);
    EXPECT_THROW(ycVector<3>(1, 2, 3) / 0.0, ycAssertFailure);
    EXPECT_THROW(v[2], ycAssertFailure);
    EXPECT_EQ(v, ycVector<2>(1, 1));
    // A tiny divisor is not zero.
    const double tiny = std::ldexp(1.0, -1000);
    EXPECT_EQ((ycVector<2>(tiny, 0) / tiny).x(), 1.0);
}

TEST(Pair, SignedComponentsWrap)
{
    using P = ycPair<std::int32_t>;
    constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(P(kMax, 0) + P(1, -1), P(kIntMin, -1));
    EXPECT_EQ(P(kIntMin, 5) - P(1, 2), P(kMax, 3));
    EXPECT_EQ(P(3, 4).x(), 3);
    EXPECT_NE(P(3, 4), P(4, 3));
}

} // namespace

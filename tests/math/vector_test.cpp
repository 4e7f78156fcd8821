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

using V = ycVector<2>;
using W = ycVector<3>;
using P = ycPair<std::int32_t>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
constexpr std::int32_t kIntMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kIntMax = std::numeric_limits<std::int32_t>::max();

TEST(RealEq, InclusiveAndNaNCountsAsEqual)
{
    struct Row { double a, b, eps; bool want; };
    const Row rows[] = {
        {kNaN, 1.0, 1e-6, true}, {1.0, 1.5, 0.5, true},   {1.0, 1.5000001, 0.5, false}, {1.0, 1.0, kNaN, true},
        {kInf, kInf, 0.0, true}, {1.0, 1.0, 0.0, true},   {-1.0, 1.0, 1.999, false},
    };
    for (const Row& r : rows) EXPECT_EQ(yfRealEq(r.a, r.b, r.eps), r.want) << r.a << " " << r.b << " " << r.eps;
    // Vectors: the scalar rule on every component.
    EXPECT_TRUE(yfRealEq(V(1.0, kNaN), V(1.5, 7.0), 0.5));
    EXPECT_FALSE(yfRealEq(V(1.0, 2.0), V(1.0, 2.6), 0.5));
    EXPECT_FALSE(yfRealEq(W(0, 0, 0), W(0, 0, 1), 0.5));
}

TEST(RealEq, RoundingSaturatesAndIntegerPairsWrap)
{
    struct Row { double x, frac; std::int32_t floor, ceil; };
    const Row rows[] = {
        {2.5, 0.5, 2, 3}, {-2.5, 0.5, -3, -2}, {3e9, 0.0, kIntMin, kIntMin},
        {2147483647.5, 0.5, kIntMax, kIntMin}, // the ceiling is out of range, the floor is not
    };
    for (const Row& r : rows) {
        EXPECT_EQ(yfFrac(r.x), r.frac) << r.x;
        EXPECT_EQ(yfIFloor(r.x), r.floor) << r.x;
        EXPECT_EQ(yfICeil(r.x), r.ceil) << r.x;
    }
    EXPECT_EQ(yfIFloor(kNaN), kIntMin);
    EXPECT_TRUE(std::isnan(yfQuietNaN()));
    EXPECT_EQ(V(-1.5, 2.5).floor(), P(-2, 2));
    EXPECT_EQ(V(-1.5, 2.5).ceil(), P(-1, 3));
    EXPECT_EQ(V(kNaN, 1e12).floor(), P(kIntMin, kIntMin));

    EXPECT_EQ(P(kIntMax, 0) + P(1, -1), P(kIntMin, -1));
    EXPECT_EQ(P(kIntMin, 5) - P(1, 2), P(kIntMax, 3));
    EXPECT_NE(P(3, 4), P(4, 3));
}

TEST(Vector, Geometry)
{
    EXPECT_TRUE(yfRealEq(V(2.0, ycDegree(90.0)), V(0.0, 2.0), 1e-15));
    EXPECT_EQ(V(3, 4).len(), 5.0);
    EXPECT_EQ(V(1, 1).distance(V(4, 5)), 5.0);
    EXPECT_EQ(V(1, 2) * V(3, 4), 11.0);
    EXPECT_EQ(V(1, 0).cross(V(0, 1)), 1.0);
    EXPECT_EQ(V(1, 2).perpendicular(), V(-2, 1));
    EXPECT_EQ(V(0, 3).angle().plain(), 1.5707963267948966);
    EXPECT_EQ(V(2, 3).project(V(5, 0)), V(2, 0));
    EXPECT_EQ(V(P(-3, 4)), V(-3, 4));
    EXPECT_EQ(V(ycPair<float>(0.5f, 4)), V(0.5, 4));
    EXPECT_TRUE(V(0.0, -0.0).isNull());
    EXPECT_EQ(W(1, 0, 0).cross(W(0, 1, 0)), W(0, 0, 1));
    EXPECT_EQ(W(2, 3, 6).len(), 7.0);
    EXPECT_TRUE(yfRealEq(W(2, 3, 6).unit(), W(2.0 / 7, 3.0 / 7, 6.0 / 7), 1e-16));

    // The unit vector survives underflow and overflow of the length.
    const double h = std::sqrt(0.5);
    const std::pair<V, V> units[] = {
        {{1e-200, 0.0}, {1.0, 0.0}}, {{3e-170, 4e-170}, {0.6, 0.8}}, {{1e200, 1e200}, {h, h}}, {{-1e308, 1e308}, {-h, h}}};
    for (const auto& [v, want] : units) EXPECT_TRUE(yfRealEq(v.unit(), want, 1e-15)) << v.x() << " " << v.y();
    EXPECT_NEAR(W(0, 0, 1e-300).unit().z(), 1.0, 1e-15);

    // Null vectors have no direction.
    EXPECT_THROW(V().angle(), ycMathError::NullVector);
    EXPECT_THROW(V().unit(), ycMathError::NullVector);
    EXPECT_THROW(V(1, 1).project(V()), ycMathError::NullVector);
    EXPECT_THROW(W().unit(), ycMathError::NullVector);
}

TEST(Vector, DivisionByExactlyZeroIsABrokenPrecondition)
{
    V v(1, 1);
    try {
        v = v / 0.0;
        FAIL() << "no assertion";
    } catch (const ycAssertFailure& e) {
        EXPECT_NE(e.info().find(L"std/math/vector("), std::wstring::npos);
    }
    EXPECT_THROW(v /= -0.0, ycAssertFailure);
    EXPECT_THROW(W(1, 2, 3) / 0.0, ycAssertFailure);
    EXPECT_THROW(v[2], ycAssertFailure);
    EXPECT_EQ(v, V(1, 1));
    const double tiny = std::ldexp(1.0, -1000); // a tiny divisor is not zero
    EXPECT_EQ((V(tiny, 0) / tiny).x(), 1.0);
}

// The third component takes part in every rule that the two sizes share.
TEST(Vector, TheThirdComponentCountsEverywhere)
{
    const W a(1, -2, 4), b(3, 0, -1);
    EXPECT_EQ(a + b, W(2 + 2, -2, 3));
    EXPECT_EQ(a - b, W(-2, -2, 5));
    EXPECT_EQ(-a, W(-1, 2, -4));
    EXPECT_EQ(a * 2.0, 2.0 * a);
    EXPECT_EQ(a / 0.5, W(2, -4, 8));
    EXPECT_EQ(a * b, -1.0);
    EXPECT_EQ(W(0, 0, 3).distance(W(0, 4, 0)), 5.0);
    EXPECT_EQ(W(1, 1, 5).project(W(0, 0, 2)), W(0, 0, 5));
    EXPECT_NE(a, W(1, -2, 4.5));
    EXPECT_FALSE(W(0, 0, -1e-300).isNull());
    EXPECT_FALSE(yfRealEq(a, W(1, -2, 5), 0.5));
    EXPECT_THROW(a.project(W()), ycMathError::NullVector);

    W c = a;
    c[2] = 9.0;
    c.z(c.z() + 1.0);
    EXPECT_EQ(c, W(1, -2, 10));
    EXPECT_THROW(c[3], ycAssertFailure);
    EXPECT_THROW(c[-1], ycAssertFailure);
}

// The arithmetic stays usable in constant expressions.
static_assert(V(1, 2) + V(3, 4) == V(4, 6) && -W(1, 0, 2) == W(-1, 0, -2));
static_assert(V(1, 2) * V(3, 4) == 11.0 && W(1, 0, 0).cross(W(0, 1, 0)) == W(0, 0, 1));
static_assert(V(0, 0).isNull() && !W(0, 0, 1).isNull() && V(2, 3)[1] == 3.0);

} // namespace

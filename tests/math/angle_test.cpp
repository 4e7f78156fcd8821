#include "std/math/angle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Rad = ycRadian;
using Deg = ycDegree;
using A8 = ycAngle8;
using A16 = ycAngle16;

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// What the library gave and what it must give, compared exactly.
struct Row {
    template <class Got, class Want>
    Row(Got g, Want w) : got(static_cast<double>(g)), want(static_cast<double>(w)) {}
    double got, want;
};

template <std::size_t N>
void expectRows(const Row (&rows)[N])
{
    for (std::size_t i = 0; i < N; ++i) EXPECT_EQ(rows[i].got, rows[i].want) << "row " << i;
}

TEST(Angle, ConversionsToDoubleUnitsUseTheTableConstants)
{
    const Row rows[] = {
        {Rad(Deg(180.0)).plain(), 3.141592653589793},     {Deg(Rad(1.0)).plain(), 57.29577951308232},
        {Rad(A8(64)).plain(), 1.5707963267948966},        {Deg(A8(255)).plain(), 358.59375},
        {Rad(A16(3)).plain(), 0.0002876213977285577},     {Deg(A16(65535)).plain(), 359.9945068359375},
        {yfAtan2(1.0, 0.0).plain(), kPi / 2},             {abs(Deg(-3.0)).plain(), 3.0},
    };
    expectRows(rows);
    EXPECT_NEAR(sin(Deg(30.0)), 0.5, 1e-15);
    EXPECT_NEAR(cos(Rad(kPi)), -1.0, 1e-15);
    EXPECT_NEAR(tan(A8(32)), 1.0, 1e-15);
}

TEST(Angle, ConversionsToIntegerAnglesRoundHalfUpAndWrapByTruncation)
{
    const Row rows[] = {
        {A8(Rad(1.0)).plain(), 41},     {A8(Rad(kPi)).plain(), 128},     {A8(Deg(359.0)).plain(), 255},
        {A8(Deg(359.5)).plain(), 0},    {A8(Deg(0.703125)).plain(), 1},  {A8(Deg(-0.703125)).plain(), 0},
        {A8(Deg(-1.40625)).plain(), 255}, {A8(Deg(1e10)).plain(), 199},  {A8(Rad(1e300)).plain(), 0},
        {A16(Rad(1.0)).plain(), 10430}, {A16(Rad(-1.0)).plain(), 55106}, {A16(Rad(1e10)).plain(), 60225},
        {A16(Deg(0.00274658203125)).plain(), 1}, {A16(Deg(-0.00274658203125)).plain(), 0},
        {A16(Deg(359.99)).plain(), 65534},       {A16(Deg(-1e10)).plain(), 14564},
        {A8(Rad(-1.0)).plain(), 215}, // -41 + 256: reduced only by truncation
        {A8(Rad(kTwoPi)).plain(), 0}, // 256.5 -> 256 -> 0
        {A8(Rad(0.01227184630308513)).plain(), 1},  // exactly half a unit rounds up
        {A8(Rad(-0.01227184630308513)).plain(), 0}, // and so does minus half (not away from zero)
        {A8(Deg(kNaN)).plain(), 0}, {A16(Rad(kNaN)).plain(), 0}, // NaN saturates to INT64_MIN: low bits 0
        {A16(Deg(1e10)).plain(), 50972}, // beyond 32 bits the low bits of the 64-bit integer decide
        // Between the integer widths.
        {A8(A16(0)).plain(), 0},       {A8(A16(127)).plain(), 0},   {A8(A16(128)).plain(), 1},
        {A8(A16(383)).plain(), 1},     {A8(A16(384)).plain(), 2},   {A8(A16(65407)).plain(), 255},
        {A8(A16(65408)).plain(), 0},   {A8(A16(65535)).plain(), 0}, {A16(A8(255)).plain(), 65280},
        {A16(A8(1)).plain(), 256},
    };
    expectRows(rows);
}

TEST(Angle, NormalisationIntervals)
{
    struct Norm { double value, norm, signedNorm; };
    const Norm radians[] = {
        {-0.5, 5.783185307179586, -0.5}, {7.0, 0.7168146928204138, 0.7168146928204138},
        {kPi, kPi, -kPi}, {-kPi, kPi, -kPi}, {3 * kPi, kPi, -kPi}, // +pi maps to -pi
        {4.0, 4.0, 4.0 - kTwoPi}, {-4.0, -4.0 + kTwoPi, -4.0 + kTwoPi},
        {-1e-20, kTwoPi, -1e-20}, // the norm rounds up to a full turn
    };
    for (const Norm& r : radians) {
        EXPECT_EQ(Rad(r.value).norm().plain(), r.norm) << r.value;
        EXPECT_EQ(Rad(r.value).signedNorm().plain(), r.signedNorm) << r.value;
    }
    const Norm degrees[] = {{-1.0, 359.0, -1.0},    {180.0, 180.0, -180.0}, {-180.0, 180.0, -180.0},
                            {540.0, 180.0, -180.0}, {359.0, 359.0, -1.0},   {720.5, 0.5, 0.5}};
    for (const Norm& r : degrees) {
        EXPECT_EQ(Deg(r.value).norm().plain(), r.norm) << r.value;
        EXPECT_EQ(Deg(r.value).signedNorm().plain(), r.signedNorm) << r.value;
    }
    EXPECT_TRUE(std::isnan(Rad(kNaN).signedNorm().plain()));
    EXPECT_EQ((Rad(7.0) + Rad(1.0)).plain(), 8.0); // arithmetic never normalises
}

TEST(Angle, IntegerAngleArithmeticWrapsModuloATurn)
{
    A8 a(250);
    a += A8(10);
    A8 b = a;
    b *= A8(100);
    const Row rows[] = {
        {(A8(200) + A8(100)).plain(), 44}, {(A8(10) - A8(20)).plain(), 246},  {(-A8(1)).plain(), 255},
        {(-A8(0)).plain(), 0},             {(A8(100) * 3).plain(), 44},        {(A8(7) * -1).plain(), 249},
        {(A8(200) / 3).plain(), 66},       {A8(16) * A8(32), 0}, // raw product truncated to 8 bits
        {A8(255) * A8(255), 1},            {A8(200) / A8(7), 28},              {a.plain(), 4},
        {b.plain(), 144},                  {(A16(60000) + A16(10000)).plain(), 4464},
        {A16(65535) * A16(65535), 1},      {(A16(65535) * 65535u).plain(), 1},
    };
    expectRows(rows);
    EXPECT_GT(A8(255), A8(0)); // comparisons are on raw values: just short of a turn is the largest
}

TEST(Angle, TolerantEqualityIsModuloTurnsAndRejectsNaN)
{
    struct Eq { double a, b, eps; bool want; };
    const Eq rows[] = {
        {0.0, kTwoPi, 1e-12, true}, {0.1, 0.1 + 4 * kPi, 1e-12, true},
        {kPi - 1e-9, -kPi + 1e-9, 3e-9, true}, // across the seam
        {1.0, 1.5, 0.5, true}, {1.0, 1.6, 0.5, false}, // inclusive
        {kNaN, 0.0, 1.0, false}, {0.0, 0.0, kNaN, false},
    };
    for (const Eq& r : rows) EXPECT_EQ(yfRealEq(Rad(r.a), Rad(r.b), Rad(r.eps)), r.want) << r.a << " " << r.b;
}

} // namespace

#include "std/math/angle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Angle, ConversionsToDoubleUnitsUseTheTableConstants)
{
    struct Row {
        const char* what;
        double got;
        double want;
    };
    const Row rows[] = {
        {"deg->rad", ycRadian(ycDegree(180.0)).plain(), 3.141592653589793},
        {"rad->deg", ycDegree(ycRadian(1.0)).plain(), 57.29577951308232},
        {"a8->rad", ycRadian(ycAngle8(64)).plain(), 1.5707963267948966},
        {"a8->deg", ycDegree(ycAngle8(255)).plain(), 358.59375},
        {"a16->rad", ycRadian(ycAngle16(3)).plain(), 0.0002876213977285577},
        {"a16->deg", ycDegree(ycAngle16(65535)).plain(), 359.9945068359375},
    };
    for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << r.what;
}

TEST(Angle, ConversionsToIntegerAnglesRoundHalfUpAndWrapByTruncation)
{
    struct Row8 {
        double value;
        bool degrees;
        unsigned want;
    };
    const Row8 rows8[] = {
        {1.0, false, 41},
        {-1.0, false, 215},          // -41 + 256: reduced only by truncation
        {kPi, false, 128},
        {kTwoPi, false, 0},          // 256.5 -> 256 -> 0
        {0.01227184630308513, false, 1},  // exactly half a unit rounds up
        {-0.01227184630308513, false, 0}, // and so does minus half (not away from zero)
        {359.0, true, 255},
        {359.5, true, 0},
        {0.703125, true, 1},
        {-0.703125, true, 0},
        {-1.40625, true, 255},
        {1e10, true, 199},
        {kNaN, true, 0},             // saturates to INT64_MIN, whose low bits are 0
        {1e300, false, 0},
    };
    for (const Row8& r : rows8) {
        unsigned got = r.degrees ? ycAngle8(ycDegree(r.value)).plain() : ycAngle8(ycRadian(r.value)).plain();
        EXPECT_EQ(got, r.want) << r.value << (r.degrees ? " deg" : " rad");
    }

    struct Row16 {
        double value;
        bool degrees;
        unsigned want;
    };
    const Row16 rows16[] = {
        {1.0, false, 10430},
        {-1.0, false, 55106},
        {1e10, false, 60225},
        {0.00274658203125, true, 1},
        {-0.00274658203125, true, 0},
        {359.99, true, 65534},
        {-1e10, true, 14564},
        {kNaN, false, 0},
    };
    for (const Row16& r : rows16) {
        unsigned got = r.degrees ? ycAngle16(ycDegree(r.value)).plain() : ycAngle16(ycRadian(r.value)).plain();
        EXPECT_EQ(got, r.want) << r.value << (r.degrees ? " deg" : " rad");
    }
    // Beyond 32 bits the low bits of the 64-bit integer decide.
    auto want = static_cast<std::uint16_t>(static_cast<std::int64_t>(std::floor(1e10 * 182.04444444444445 + 0.5)));
    EXPECT_EQ(ycAngle16(ycDegree(1e10)).plain(), want);
}

TEST(Angle, IntegerAngleWidthsConvertIntoEachOther)
{
    const std::pair<unsigned, unsigned> down[] = {{0, 0},     {127, 0},     {128, 1},   {383, 1},
                                                  {384, 2},   {65407, 255}, {65408, 0}, {65535, 0}};
    for (auto [raw, want] : down) EXPECT_EQ(ycAngle8(ycAngle16(static_cast<std::uint16_t>(raw))).plain(), want) << raw;
    EXPECT_EQ(ycAngle16(ycAngle8(255)).plain(), 65280);
    EXPECT_EQ(ycAngle16(ycAngle8(1)).plain(), 256);
}

TEST(Angle, NormalisationIntervals)
{
    struct Row {
        double value;
        double norm;
        double signedNorm;
    };
    const Row radians[] = {
        {-0.5, 5.783185307179586, -0.5},
        {7.0, 0.7168146928204138, 0.7168146928204138},
        {kPi, kPi, -kPi}, // +pi maps to -pi
        {-kPi, kPi, -kPi},
        {3 * kPi, kPi, -kPi},
        {4.0, 4.0, 4.0 - kTwoPi},
        {-4.0, -4.0 + kTwoPi, -4.0 + kTwoPi},
        {-1e-20, kTwoPi, -1e-20}, // the norm rounds up to a full turn
    };
    for (const Row& r : radians) {
        EXPECT_EQ(ycRadian(r.value).norm().plain(), r.norm) << r.value;
        EXPECT_EQ(ycRadian(r.value).signedNorm().plain(), r.signedNorm) << r.value;
    }
    const Row degrees[] = {
        {-1.0, 359.0, -1.0}, {180.0, 180.0, -180.0}, {-180.0, 180.0, -180.0},
        {540.0, 180.0, -180.0}, {359.0, 359.0, -1.0}, {720.5, 0.5, 0.5},
    };
    for (const Row& r : degrees) {
        EXPECT_EQ(ycDegree(r.value).norm().plain(), r.norm) << r.value;
        EXPECT_EQ(ycDegree(r.value).signedNorm().plain(), r.signedNorm) << r.value;
    }
    EXPECT_TRUE(std::isnan(ycRadian(kNaN).signedNorm().plain()));
    // Arithmetic never normalises.
    EXPECT_EQ((ycRadian(7.0) + ycRadian(1.0)).plain(), 8.0);
}

TEST(Angle, IntegerAngleArithmeticWrapsModuloATurn)
{
    using A8 = ycAngle8;
    using A16 = ycAngle16;
    struct Row {
        unsigned got;
        unsigned want;
    };
    const Row rows[] = {
        {(A8(200) + A8(100)).plain(), 44},
        {(A8(10) - A8(20)).plain(), 246},
        {(-A8(1)).plain(), 255},
        {(-A8(0)).plain(), 0},
        {(A8(100) * 3).plain(), 44},
        {(A8(7) * -1).plain(), 249},
        {(A8(200) / 3).plain(), 66},
        {A8(16) * A8(32), 0},  // raw product truncated to 8 bits
        {A8(255) * A8(255), 1},
        {A8(200) / A8(7), 28},
        {(A16(60000) + A16(10000)).plain(), 4464},
        {A16(65535) * A16(65535), 1},
        {(A16(65535) * 65535u).plain(), 1},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_EQ(rows[i].got, rows[i].want) << "row " << i;

    A8 a(250);
    a += A8(10);
    EXPECT_EQ(a.plain(), 4);
    a *= A8(100);
    EXPECT_EQ(a.plain(), 144);
    // Comparisons are on raw values: just short of a turn is the largest.
    EXPECT_GT(A8(255), A8(0));
}

TEST(Angle, TrigonometryTakesEitherUnit)
{
    EXPECT_NEAR(sin(ycDegree(30.0)), 0.5, 1e-15);
    EXPECT_NEAR(cos(ycRadian(kPi)), -1.0, 1e-15);
    EXPECT_NEAR(tan(ycAngle8(32)), 1.0, 1e-15);
    EXPECT_EQ(yfAtan2(1.0, 0.0).plain(), kPi / 2);
    EXPECT_EQ(abs(ycDegree(-3.0)), ycDegree(3.0));
}

TEST(Angle, TolerantEqualityIsModuloTurnsAndRejectsNaN)
{
    struct Row {
        double a, b, eps;
        bool want;
    };
    const Row rows[] = {
        {0.0, kTwoPi, 1e-12, true},
        {0.1, 0.1 + 4 * kPi, 1e-12, true},
        {kPi - 1e-9, -kPi + 1e-9, 3e-9, true}, // across the seam
        {1.0, 1.5, 0.5, true},                  // inclusive
        {1.0, 1.6, 0.5, false},
        {kNaN, 0.0, 1.0, false},
        {0.0, 0.0, kNaN, false},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(yfRealEq(ycRadian(r.a), ycRadian(r.b), ycRadian(r.eps)), r.want) << r.a << " " << r.b;
    }
}

} // namespace

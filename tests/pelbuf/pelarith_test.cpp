// Arithmetic, minimum and maximum, division, square-accumulate, table maps.
#include "pelops.h"

#include "std/except/except.h"
#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelcopy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr std::uint32_t kMax32 = 0xFFFFFFFFu;

// op(a, b) into a destination holding d0 (an unbound one when d0 is empty).
template <class S1, class S2, class D>
std::vector<D> arith(yc_PelOp op, const std::vector<S1>& a, const std::vector<S2>& b, const std::vector<D>& d0,
                     std::int32_t shift)
{
    ycPelBuffer<D> dst;
    if (!d0.empty()) dst = row(d0);
    const ycPelBuffer<S1> x = row(a);
    const ycPelBuffer<S2> y = row(b);
    switch (op) {
    case yc_PelOp::Add: yfPelAdd(x, y, dst, shift); break;
    case yc_PelOp::Sub: yfPelSub(x, y, dst, shift); break;
    case yc_PelOp::Mult: yfPelMult(x, y, dst, shift); break;
    case yc_PelOp::MultAdd: yfPelMultAdd(x, y, dst, shift); break;
    }
    return pelsOf<D>(dst);
}

template <class S1, class S2, class D>
struct ArithCase {
    yc_PelOp op;
    std::int32_t shift;
    std::vector<S1> a;
    std::vector<S2> b;
    std::vector<D> d0; // the destination before; empty: unbound
    std::vector<D> want;
};

template <class S1, class S2, class D>
void check(const std::vector<ArithCase<S1, S2, D>>& cases)
{
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& c = cases[i];
        EXPECT_EQ(arith(c.op, c.a, c.b, c.d0, c.shift), c.want) << "case " << i;
    }
}

using Op = yc_PelOp;

TEST(PelArith, SaturatesAfterAWideShift)
{
    check<unsigned char, unsigned char, unsigned char>({
        {Op::Add, 0, {200, 1, 0}, {100, 2, 0}, {}, {255, 3, 0}},
        {Op::Add, 1, {255, 3}, {255, 0}, {}, {255, 1}},
        {Op::Sub, 0, {10, 20}, {20, 10}, {}, {0, 10}},
        {Op::Mult, 0, {16, 15}, {16, 17}, {}, {255, 255}},
        {Op::Mult, 4, {16, 3}, {16, 5}, {}, {16, 0}},
        {Op::MultAdd, 0, {3, 1}, {2, 1}, {250, 7}, {255, 8}},
        {Op::MultAdd, 1, {3, 1}, {3, 1}, {}, {4, 0}},
    });
    check<short, short, short>({
        {Op::Add, 0, {30000, -30000, -1}, {10000, -10000, 1}, {}, {32767, -32768, 0}},
        {Op::Sub, 1, {-3, 3, -1}, {0, 0, 0}, {}, {-2, 1, -1}}, // toward minus infinity
        {Op::Mult, 0, {-300, 300, -2}, {300, 300, -3}, {}, {-32768, 32767, 6}},
        {Op::MultAdd, 0, {-10, 100}, {10, 400}, {-32700, 5}, {-32768, 32767}},
    });
    check<unsigned short, unsigned short, unsigned short>({
        {Op::Add, 0, {65535, 1}, {1, 1}, {}, {65535, 2}},
        {Op::Mult, 0, {300}, {300}, {}, {65535}},
        {Op::Mult, 2, {300}, {300}, {}, {22500}},
        {Op::Sub, 0, {0}, {1}, {}, {0}},
    });
    check<std::uint32_t, std::uint32_t, std::uint32_t>({
        {Op::Add, 0, {kMax32}, {1}, {}, {kMax32}},
        {Op::Add, 31, {kMax32}, {1}, {}, {2}},
        {Op::Mult, 0, {0x10000}, {0x10000}, {}, {kMax32}},
        {Op::Mult, 1, {0x10000}, {0x10000}, {}, {0x80000000u}},
        {Op::Mult, 31, {kMax32}, {kMax32}, {}, {kMax32}},
        {Op::Sub, 0, {1}, {2}, {}, {0}},
        {Op::MultAdd, 0, {2}, {3}, {kMax32 - 1}, {kMax32}},
    });
    // Mixed widths, either order, into the wider type.
    check<unsigned char, unsigned short, unsigned short>({
        {Op::Add, 0, {255, 1}, {65535, 2}, {}, {65535, 3}},
        {Op::Sub, 0, {5, 255}, {10, 5}, {}, {0, 250}},
        {Op::Mult, 8, {255}, {0x1000}, {}, {0x0FF0}},
        {Op::MultAdd, 0, {2}, {3}, {65534}, {65535}},
    });
    check<unsigned short, unsigned char, unsigned short>({
        {Op::Sub, 0, {5, 1000}, {10, 255}, {}, {0, 745}},
        {Op::Sub, 1, {7}, {4}, {}, {1}},
    });
    check<unsigned char, std::uint32_t, std::uint32_t>({
        {Op::Mult, 0, {255, 2}, {0x01000000u, 0x80000000u}, {}, {0xFF000000u, kMax32}},
        {Op::MultAdd, 4, {16}, {16}, {}, {16}},
        {Op::Add, 0, {1}, {kMax32}, {}, {kMax32}},
    });
    check<std::uint32_t, unsigned char, std::uint32_t>({
        {Op::Sub, 0, {3}, {4}, {}, {0}},
    });
}

// The library's mixed-width kernel and the core's same-width one follow one
// rule: u8 widened to u16 first must give the same pels for every op and shift.
TEST(PelArith, MixedWidthsFollowTheCoreRule)
{
    std::mt19937 rng(7);
    std::vector<unsigned char> a(37);
    std::vector<unsigned short> b(37), d0(37);
    for (auto& v : a) v = static_cast<unsigned char>(rng());
    for (auto& v : b) v = static_cast<unsigned short>(rng() >> (rng() % 16));
    for (auto& v : d0) v = static_cast<unsigned short>(rng());
    std::vector<unsigned short> wide(a.begin(), a.end());
    for (Op op : {Op::Add, Op::Sub, Op::Mult, Op::MultAdd}) {
        for (std::int32_t shift : {0, 1, 7, 15, 31}) {
            EXPECT_EQ(arith(op, a, b, d0, shift), arith(op, wide, b, d0, shift))
                << static_cast<int>(op) << " shift " << shift;
            EXPECT_EQ(arith(op, b, a, d0, shift), arith(op, b, wide, d0, shift))
                << static_cast<int>(op) << " shift " << shift << " (swapped)";
        }
    }
}

TEST(PelArith, ShiftOutsideItsRangeChangesNothing)
{
    const ycPelBuffer<unsigned char> a = bufferOf<unsigned char>(3, 1, {1, 2, 3}, 1, 0);
    ycPelBuffer<unsigned char> dst = row<unsigned char>({9, 9, 9});
    ycPelBuffer<unsigned short> wide = row<unsigned short>({9, 9, 9});
    ycPelBuffer<unsigned char> unbound;
    for (std::int32_t shift : {-1, 32}) {
        EXPECT_THROW(yfPelAdd(a, a, dst, shift), ycPelFunc::BadParams);
        EXPECT_THROW(yfPelMultAdd(a, ycPelBuffer_const<unsigned short>(wide), wide, shift), ycPelFunc::BadParams);
        EXPECT_THROW(yfPelMultAdd(a, a, unbound, shift), ycPelFunc::BadParams);
        EXPECT_THROW(yfPelSub(a, a, shift), ycPelFunc::BadParams);
    }
    EXPECT_EQ(dst.window(), ycPelRect(0, 0, 3, 1));
    EXPECT_EQ(pelsOf<unsigned char>(dst), (std::vector<unsigned char>{9, 9, 9}));
    EXPECT_EQ(pelsOf<unsigned short>(wide), (std::vector<unsigned short>{9, 9, 9}));
    EXPECT_FALSE(unbound.isBound());
}

TEST(PelArith, ReturnedBuffersTakeTheWiderTypeAndTheCommonWindow)
{
    const ycPelBuffer<unsigned char> a = bufferOf<unsigned char>(3, 1, {10, 20, 30}, 0, 0);
    const ycPelBuffer<std::uint32_t> b = bufferOf<std::uint32_t>(3, 1, {1000, 2000, 3000}, 1, 0);
    const ycPelBuffer<std::uint32_t> sum = yfPelAdd(a, b);
    EXPECT_EQ(sum.window(), ycPelRect(1, 0, 2, 1));
    EXPECT_EQ(pelsOf<std::uint32_t>(sum), (std::vector<std::uint32_t>{1020, 2030}));
    const ycPelBuffer<std::uint32_t> product = yfPelMult(b, a, 1);
    EXPECT_EQ(pelsOf<std::uint32_t>(product), (std::vector<std::uint32_t>{10000, 30000}));
    const ycPelBuffer<unsigned char> sameType = yfPelMultAdd(a, a, 2);
    EXPECT_EQ(pelsOf<unsigned char>(sameType), (std::vector<unsigned char>{25, 100, 225}));
}

TEST(PelMinMax, ExtremesOfAWindowAndPelWise)
{
    EXPECT_EQ(yfPelMin<unsigned char>(row<unsigned char>({7, 3, 200, 3, 9})), 3);
    EXPECT_EQ(yfPelMax<unsigned char>(row<unsigned char>({7, 3, 200, 3, 9})), 200);
    EXPECT_EQ(yfPelMax<unsigned short>(row<unsigned short>({1, 65535})), 65535);
    EXPECT_EQ(yfPelMin<std::uint32_t>(row<std::uint32_t>({kMax32, 0x80000000u})), 0x80000000u);
    EXPECT_EQ(yfPelMax<std::int32_t>(row<std::int32_t>({-7, -3, -100})), -3);
    EXPECT_EQ(yfPelMin<std::int32_t>(bufferOf<std::int32_t>(2, 2, {5, -2, 8, -9})), -9);

    // Only the window counts.
    ycPelBuffer<unsigned short> inner = bufferOf<unsigned short>(3, 2, {0, 50, 60, 70, 40, 1000});
    inner.subWindow(1, 0, 1, 2);
    EXPECT_EQ(yfPelMin<unsigned short>(inner), 40);
    EXPECT_EQ(yfPelMax<unsigned short>(inner), 50);

    ycPelBuffer<std::int32_t> empty(2, 2);
    empty.subWindow(0, 0, 0, 2);
    EXPECT_THROW(yfPelMax<std::int32_t>(empty), ycPel::BadWindow);
    ycPelBuffer<unsigned char> emptyU8(2, 2);
    emptyU8.subWindow(1, 1, 1, 0);
    EXPECT_THROW(yfPelMin<unsigned char>(emptyU8), ycPel::BadWindow);
    EXPECT_THROW(yfPelMin<unsigned char>(ycPelBuffer<unsigned char>()), ycPel::UnboundWindow);

    const ycPelBuffer<unsigned short> a = bufferOf<unsigned short>(3, 1, {1, 500, 7}, 0, 0);
    const ycPelBuffer<unsigned short> b = bufferOf<unsigned short>(3, 1, {600, 2, 9}, 1, 0);
    const ycPelBuffer<unsigned short> lo = yfPelMin<unsigned short>(a, b);
    const ycPelBuffer<unsigned short> hi = yfPelMax<unsigned short>(a, b);
    EXPECT_EQ(lo.window(), ycPelRect(1, 0, 2, 1));
    EXPECT_EQ(pelsOf<unsigned short>(lo), (std::vector<unsigned short>{500, 2}));
    EXPECT_EQ(pelsOf<unsigned short>(hi), (std::vector<unsigned short>{600, 7}));
}

template <class S, class D>
std::vector<D> divided(const std::vector<S>& pels, double divisor, bool round)
{
    ycPelBuffer<D> dst;
    yfPelDivideByVal(row(pels), dst, divisor, round);
    return pelsOf<D>(dst);
}

TEST(PelDivide, RoundsHalvesUpOrTruncatesAndSaturates)
{
    using U8 = std::vector<unsigned char>;
    const U8 small{0, 1, 2, 3, 5, 7, 255};
    EXPECT_EQ((divided<unsigned char, unsigned char>(small, 2.0, true)), (U8{0, 1, 1, 2, 3, 4, 128}));
    EXPECT_EQ((divided<unsigned char, unsigned char>(small, 2.0, false)), (U8{0, 0, 1, 1, 2, 3, 127}));
    EXPECT_EQ((divided<unsigned char, unsigned char>(small, 0.5, true)), (U8{0, 2, 4, 6, 10, 14, 255}));
    EXPECT_EQ((divided<unsigned char, unsigned char>(small, 2.5, true)), (U8{0, 0, 1, 1, 2, 3, 102}));
    EXPECT_EQ((divided<unsigned char, unsigned char>(small, -1.0, true)), (U8{0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ((divided<unsigned char, unsigned short>(small, 0.25, true)),
              (std::vector<unsigned short>{0, 4, 8, 12, 20, 28, 1020}));
    EXPECT_EQ((divided<unsigned short, unsigned char>({0x1234, 0xFFFF, 384, 383}, 256.0, true)),
              (U8{0x12, 255, 2, 1}));
    EXPECT_EQ((divided<std::uint32_t, unsigned short>({kMax32, 6, 7}, 3.0, false)),
              (std::vector<unsigned short>{65535, 2, 2}));
    EXPECT_EQ((divided<std::uint32_t, std::uint32_t>({kMax32, 3}, 4294967296.0, true)),
              (std::vector<std::uint32_t>{1, 0}));
    EXPECT_EQ((divided<std::int32_t, std::uint32_t>({-6, -1, 6, 2147483647}, -2.0, true)),
              (std::vector<std::uint32_t>{3, 1, 0, 0}));
    EXPECT_EQ((divided<std::int32_t, unsigned char>({-6, -1, 5, 600}, 2.0, true)), (U8{0, 0, 3, 255}));

    // The forms without the flag round.
    const ycPelBuffer<unsigned char> rounded = yfPelDivideByVal<unsigned short, unsigned char>(row<unsigned short>({5}), 2.0);
    EXPECT_EQ(rounded.get(0, 0), 3);
    ycPelBuffer<unsigned char> into;
    yfPelDivideByVal(ycPelBuffer_const<unsigned char>(row<unsigned char>({5})), into, 2.0);
    EXPECT_EQ(into.get(0, 0), 3);
}

// Powers of two take shifts: they must agree with exact integer division.
TEST(PelDivide, PowersOfTwoAgreeWithExactDivision)
{
    std::mt19937 rng(11);
    std::vector<std::uint32_t> pels(64);
    for (auto& v : pels) v = rng() >> (rng() % 32);
    pels[0] = kMax32;
    pels[1] = 0;
    for (double divisor : {1.0, 2.0, 8.0, 65536.0, 2147483648.0, 4294967296.0, 3.0, 1000.0}) {
        const auto d = static_cast<std::uint64_t>(divisor);
        for (bool round : {true, false}) {
            std::vector<std::uint32_t> want;
            for (std::uint64_t v : pels) want.push_back(static_cast<std::uint32_t>(round ? (2 * v + d) / (2 * d) : v / d));
            EXPECT_EQ((divided<std::uint32_t, std::uint32_t>(pels, divisor, round)), want)
                << divisor << (round ? " round" : " truncate");
        }
    }
}

// A large 16-bit window goes through a table of all 65536 quotients.
TEST(PelDivide, LargeWindowsAgreeWithExactDivision)
{
    std::vector<unsigned short> pels(640 * 480);
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned short>(i * 40503u >> 3);
    const ycPelBuffer<unsigned short> src = bufferOf<unsigned short>(640, 480, pels);
    for (std::uint32_t d : {3u, 7u, 200u}) {
        for (bool round : {true, false}) {
            ycPelBuffer<unsigned short> dst;
            yfPelDivideByVal(ycPelBuffer_const<unsigned short>(src), dst, d, round);
            std::vector<unsigned short> want;
            for (std::uint32_t v : pels) want.push_back(static_cast<unsigned short>(round ? (2 * v + d) / (2 * d) : v / d));
            EXPECT_EQ(pelsOf<unsigned short>(dst), want) << d << (round ? " round" : " truncate");
        }
    }
}

TEST(PelDivide, RefusedDivisorsChangeNothing)
{
    const ycPelBuffer<unsigned short> src = row<unsigned short>({5, 6});
    ycPelBuffer<unsigned char> dst = row<unsigned char>({1, 1});
    const double inf = std::numeric_limits<double>::infinity();
    for (double divisor : {std::numeric_limits<double>::quiet_NaN(), inf, -inf}) {
        EXPECT_THROW((yfPelDivideByVal<unsigned short, unsigned char>(src, dst, divisor)), ycPelFunc::BadParams);
    }
    EXPECT_THROW((yfPelIntDivideByVal<unsigned short, unsigned char>(src, dst, -2, true)), ycPelFunc::BadParams);
    EXPECT_THROW((yfPelDivideByVal<unsigned short, unsigned char>(src, dst, 0.0)), ycAssertFailure);
    EXPECT_THROW((yfPelIntDivideByVal<unsigned short, unsigned char>(src, dst, 0, false)), ycAssertFailure);
    {
        // A handler that returns: the call goes back with nothing written.
        ycAssertHandlerScope counting(&yfCountingAssertHandler);
        const std::int64_t before = yfAssertCount();
        ycPelBuffer<unsigned char> unbound;
        yfPelDivideByVal(ycPelBuffer_const<unsigned short>(src), unbound, 0.0, true);
        EXPECT_EQ(yfAssertCount(), before + 1);
        EXPECT_FALSE(unbound.isBound());
    }
    EXPECT_EQ(pelsOf<unsigned char>(dst), (std::vector<unsigned char>{1, 1}));

    yfPelIntDivideByVal<unsigned short, unsigned char>(row<unsigned short>({5, 3, 65535, 4}), dst, 2, true);
    EXPECT_EQ(pelsOf<unsigned char>(dst), (std::vector<unsigned char>{3, 2}));
    ycPelBuffer<unsigned short> wide;
    yfPelIntDivideByVal<unsigned short, unsigned short>(row<unsigned short>({5, 3, 65535}), wide, 3, false);
    EXPECT_EQ(pelsOf<unsigned short>(wide), (std::vector<unsigned short>{1, 1, 21845}));
}

TEST(PelSquareAccum, SetsANewDestinationAndAddsToABoundOneWrapping)
{
    const ycPelBuffer<unsigned char> src = row<unsigned char>({3, 1, 255, 0});
    ycPelBuffer<std::uint32_t> dst;
    yfPelSquareAccum<unsigned char, std::uint32_t>(src, dst, 1);
    EXPECT_EQ(pelsOf<std::uint32_t>(dst), (std::vector<std::uint32_t>{9, 1, 65025, 0}));

    ycPelBuffer<std::uint32_t> bound = row<std::uint32_t>({kMax32, kMax32, 1, 5});
    yfPelSquareAccum<unsigned char, std::uint32_t>(src, bound, 1);
    EXPECT_EQ(pelsOf<std::uint32_t>(bound), (std::vector<std::uint32_t>{8, 0, 65026, 5}));

    ycPelBuffer<std::uint32_t> scaled;
    yfPelSquareAccum<unsigned char, std::uint32_t>(src, scaled, 2);
    EXPECT_EQ(pelsOf<std::uint32_t>(scaled), (std::vector<std::uint32_t>{18, 2, 130050, 0}));
    ycPelBuffer<std::uint32_t> wrapped;
    yfPelSquareAccum<unsigned char, std::uint32_t>(src, wrapped, 0x10000);
    EXPECT_EQ(pelsOf<std::uint32_t>(wrapped), (std::vector<std::uint32_t>{0x90000, 0x10000, 0xFE010000u, 0}));

    yc_PelSquareAccum<unsigned char, std::uint32_t> noTable;
    const unsigned char s[1] = {2};
    std::uint32_t d[1] = {7};
    EXPECT_THROW(noTable.process(s, d, 1), ycAssertFailure);
    EXPECT_EQ(d[0], 7u);
}

template <class S, class D>
std::vector<D> mapped(const std::vector<S>& pels, const yc_MapTable_clamp<S, D>& table)
{
    ycPelBuffer<D> dst;
    yfPelMap(row(pels), dst, table);
    return pelsOf<D>(dst);
}

// Entry v of [low, high] is f(v).
template <class S, class D, class F>
yc_MapTable_clamp<S, D> tableOf(S low, S high, bool strict, F f)
{
    yc_MapTable_clamp<S, D> t(low, high, strict);
    for (std::uint32_t v = low; v <= high; ++v) t[static_cast<S>(v)] = f(v);
    return t;
}

TEST(PelMap, ClampsIntoTheTableRange)
{
    const auto u8u8 = tableOf<unsigned char, unsigned char>(10, 20, false, [](std::uint32_t v) { return v * 2; });
    EXPECT_EQ(mapped(std::vector<unsigned char>{0, 10, 15, 20, 21, 255, 12}, u8u8),
              (std::vector<unsigned char>{20, 20, 30, 40, 40, 40, 24}));
    const auto u8u16 = tableOf<unsigned char, unsigned short>(0, 255, false, [](std::uint32_t v) { return v * 257; });
    EXPECT_EQ(mapped(std::vector<unsigned char>{0, 1, 255}, u8u16), (std::vector<unsigned short>{0, 257, 65535}));
    const auto u16u8 = tableOf<unsigned short, unsigned char>(1000, 1003, false, [](std::uint32_t v) { return v - 990; });
    EXPECT_EQ(mapped(std::vector<unsigned short>{0, 1001, 1003, 65535, 1002}, u16u8),
              (std::vector<unsigned char>{10, 11, 13, 13, 12}));
    const auto u16u16 = tableOf<unsigned short, unsigned short>(0, 65535, true, [](std::uint32_t v) { return 65535 - v; });
    EXPECT_EQ(mapped(std::vector<unsigned short>{0, 1, 65535}, u16u16), (std::vector<unsigned short>{65535, 65534, 0}));

    EXPECT_THROW((yc_MapTable_clamp<unsigned char, unsigned char>(5, 4)), ycPelFunc::BadParams);
    EXPECT_THROW(u8u8[9], ycPelFunc::BadParams);
}

TEST(PelMap, StrictTableRefusesBeforeWriting)
{
    const auto strict8 = tableOf<unsigned char, unsigned char>(10, 20, true, [](std::uint32_t v) { return v; });
    const auto strict16 = tableOf<unsigned char, unsigned short>(10, 20, true, [](std::uint32_t v) { return v; });
    // The bad value sits last, after pels a kernel would already have written.
    const ycPelBuffer<unsigned char> src = bufferOf<unsigned char>(4, 1, {10, 11, 12, 21}, 0, 0);
    ycPelBuffer<unsigned char> dst8 = bufferOf<unsigned char>(4, 1, {1, 2, 3, 4}, 1, 0);
    ycPelBuffer<unsigned short> dst16 = bufferOf<unsigned short>(4, 1, {1, 2, 3, 4}, 1, 0);
    ycPelBuffer<unsigned char> unbound;
    EXPECT_THROW(yfPelMap(src, dst8, strict8), ycPelFunc::Range);
    EXPECT_THROW(yfPelMap(src, dst16, strict16), ycPelFunc::Range);
    EXPECT_THROW(yfPelMap(src, unbound, strict8), ycPelFunc::Range);
    EXPECT_EQ(dst8.window(), ycPelRect(1, 0, 4, 1));
    EXPECT_EQ(pelsOf<unsigned char>(dst8), (std::vector<unsigned char>{1, 2, 3, 4}));
    EXPECT_EQ(pelsOf<unsigned short>(dst16), (std::vector<unsigned short>{1, 2, 3, 4}));
    EXPECT_FALSE(unbound.isBound());

    // Only the common window is scanned: without the 21 the map goes through.
    ycPelBuffer<unsigned char> left = bufferOf<unsigned char>(3, 1, {0, 0, 0}, -1, 0);
    yfPelMap(src, left, strict8);
    EXPECT_EQ(left.window(), ycPelRect(0, 0, 2, 1));
    EXPECT_EQ(pelsOf<unsigned char>(left), (std::vector<unsigned char>{10, 11}));
}

} // namespace

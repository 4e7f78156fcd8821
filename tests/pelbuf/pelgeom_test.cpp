// Flips, transpose, sampling, expansion, averages, smoothing, border and median.
#include "std/pelbuf/pelgeom.h"

#include "tests/pelbuf/pelvalues.h"
#include "tests/pelbuf/pelops.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace {

// Small values moved to the pel's high byte, so a wrong pel size shows.
template <class T>
std::vector<T> high(std::initializer_list<int> values)
{
    std::vector<T> out;
    for (int v : values) out.push_back(static_cast<T>(static_cast<T>(v) << (8 * (sizeof(T) - 1))));
    return out;
}

template <class T>
void checkFlips()
{
    // 3x2 inside a larger buffer, at offset (5, 7).
    ycPelBuffer<T> big = bufferOf<T>(4, 3, high<T>({1, 2, 3, 90, 4, 5, 6, 91, 92, 93, 94, 95}), 5, 7);
    ycPelBuffer<T> src = big;
    src.window(5, 7, 3, 2);
    struct Case {
        const char* name;
        std::function<ycPelBuffer<T>(const ycPelBuffer_const<T>&)> op;
        ycPelRect window;
        std::vector<T> pels;
    } cases[] = {
        {"flipH", yfPelFlipH<T>, {5, 7, 3, 2}, high<T>({3, 2, 1, 6, 5, 4})},
        {"flipV", yfPelFlipV<T>, {5, 7, 3, 2}, high<T>({4, 5, 6, 1, 2, 3})},
        {"transpose", yfPelTranspose<T>, {7, 5, 2, 3}, high<T>({1, 4, 2, 5, 3, 6})},
    };
    for (const Case& c : cases) {
        const ycPelBuffer<T> out = c.op(src);
        EXPECT_EQ(out.window(), c.window) << c.name << " " << sizeof(T);
        EXPECT_EQ(pelsOf(out), c.pels) << c.name << " " << sizeof(T);
        EXPECT_NE(out.root(), src.root());
        EXPECT_EQ(src.window(), ycPelRect(5, 7, 3, 2));
    }
}

TEST(PelGeom, FlipsAndTransposeOfA3x2Window)
{
    checkFlips<unsigned char>();
    checkFlips<unsigned short>();
    checkFlips<std::uint32_t>();
    EXPECT_EQ(pelsOf(yfPelFlipV_U8(bufferOf<unsigned char>(1, 3, {1, 2, 3}))), (std::vector<unsigned char>{3, 2, 1}));
}

// A 5x5 source, v(x, y) = 10 y + x times `scale`, at offset (3, -3): whole
// 2x2 blocks at (0, 0), (2, 0), (0, 2), (2, 2); the last row and column are
// partial and left out.
template <class T>
ycPelBuffer<T> grid5(T scale)
{
    std::vector<T> pels;
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 5; ++x) pels.push_back(static_cast<T>((10 * y + x) * scale));
    }
    return bufferOf<T>(5, 5, pels, 3, -3);
}

TEST(PelGeom, SampleAndSpatialAverageOfA5x5)
{
    const auto src = grid5<unsigned char>(1);
    struct Sample {
        std::int32_t fx, fy;
        ycPelRect window;
        std::vector<unsigned char> pels;
    } samples[] = {
        {2, 2, {1, -2, 2, 2}, {0, 2, 20, 22}},
        {3, 1, {1, -3, 1, 5}, {0, 10, 20, 30, 40}},
        {1, 4, {3, -1, 5, 1}, {0, 1, 2, 3, 4}},
        {5, 5, {0, -1, 1, 1}, {0}},
    };
    for (const Sample& c : samples) {
        const auto out = yfPelSample(src, c.fx, c.fy);
        EXPECT_EQ(out.window(), c.window) << c.fx << "x" << c.fy;
        EXPECT_EQ(pelsOf(out), c.pels) << c.fx << "x" << c.fy;
    }

    // Block sums 22, 30, 102, 110 (times the scale).
    struct Average {
        std::uint32_t divisor;
        std::vector<std::uint32_t> u8, u16, u32;
    } averages[] = {
        // 5.5, 7.5, 25.5, 27.5 round up.
        {0, {6, 8, 26, 28}, {5500, 7500, 25500, 27500}, {275000000, 375000000, 1275000000, 1375000000}},
        {3, {7, 10, 34, 37}, {7333, 10000, 34000, 36667}, {366666667, 500000000, 1700000000, 1833333333}},
        // Saturated.
        {1, {22, 30, 102, 110}, {22000, 30000, 65535, 65535}, {1100000000, 1500000000, 4294967295u, 4294967295u}},
    };
    auto run = [](auto scale, std::uint32_t divisor) {
        const auto out = yfPelSpatialAvg(grid5(scale), 2, 2, divisor);
        EXPECT_EQ(out.window(), ycPelRect(1, -2, 2, 2));
        std::vector<std::uint32_t> v;
        for (auto p : pelsOf(out)) v.push_back(p);
        return v;
    };
    for (const Average& c : averages) {
        EXPECT_EQ(run(static_cast<unsigned char>(1), c.divisor), c.u8) << c.divisor;
        EXPECT_EQ(run(static_cast<unsigned short>(1000), c.divisor), c.u16) << c.divisor;
        // Block sums past 32 bits.
        EXPECT_EQ(run(std::uint32_t{50000000}, c.divisor), c.u32) << c.divisor;
    }
    EXPECT_EQ(src.window(), ycPelRect(3, -3, 5, 5));
}

TEST(PelGeom, ExpandReplicatesAndSampleUndoesIt)
{
    const auto out = yfPelExpand(bufferOf<unsigned char>(2, 1, {7, 9}, 1, 2), 3, 2);
    EXPECT_EQ(out.window(), ycPelRect(3, 4, 6, 2));
    EXPECT_EQ(pelsOf(out), (std::vector<unsigned char>{7, 7, 7, 9, 9, 9, 7, 7, 7, 9, 9, 9}));

    auto roundTrip = [](auto type) {
        using T = decltype(type);
        const auto src = bufferOf<T>(3, 2, pelValues<T>(6), -4, 5);
        const auto big = yfPelExpand(src, 2, 3);
        EXPECT_EQ(big.window(), ycPelRect(-8, 15, 6, 6));
        const auto back = yfPelSample(big, 2, 3);
        EXPECT_EQ(back.window(), src.window());
        EXPECT_EQ(pelsOf(back), pelsOf(src)) << sizeof(T);
    };
    roundTrip((unsigned char)0);
    roundTrip((unsigned short)0);
    roundTrip(std::uint32_t{});
    roundTrip(float{});
    roundTrip(ycPackedRGB16Pel{});
    roundTrip(ycPackedRGB32Pel{});
    roundTrip(ycPair<std::int32_t>{});
    roundTrip(ycPair<float>{});
}

TEST(PelGeom, BadParametersAndEmptyResults)
{
    const auto src = grid5<unsigned char>(1);
    const std::function<void()> bad[] = {
        [&] { yfPelSample(src, 0, 1); },       [&] { yfPelSample(src, 1, 0); },
        [&] { yfPelExpand(src, -1, 1); },      [&] { yfPelSpatialAvg(src, 1, 0, 0); },
        [&] { yfPelSmooth(src, 0, 3); },       [&] { yfPelExpand(src, 1 << 30, 1); },
    };
    for (const auto& f : bad) EXPECT_THROW(f(), ycPelFunc::BadParams);

    const ycPelBuffer<unsigned char> unbound;
    EXPECT_THROW(yfPelFlipH(unbound), ycPel::UnboundWindow);
    EXPECT_THROW(yfPelSample(unbound, 1, 1), ycPel::UnboundWindow);
    EXPECT_THROW(yfPelMedian3x3(unbound), ycPel::UnboundWindow);

    EXPECT_FALSE(yfPelSample(src, 6, 1).isBound());
    EXPECT_FALSE(yfPelSpatialAvg(src, 1, 6, 0).isBound());
    ycPelBuffer<unsigned char> empty = src;
    empty.subWindow(0, 0, 0, 5);
    EXPECT_FALSE(yfPelTranspose(empty).isBound());
    EXPECT_FALSE(yfPelInvert_U8(empty).isBound());
}

// The mean of each sx by sy box, by brute force.
std::vector<unsigned char> boxMeans(const std::vector<unsigned char>& p, int w, int h, int sx, int sy)
{
    std::vector<unsigned char> out;
    for (int y = 0; y + sy <= h; ++y) {
        for (int x = 0; x + sx <= w; ++x) {
            int sum = 0;
            for (int j = 0; j < sy; ++j) {
                for (int i = 0; i < sx; ++i) sum += p[static_cast<std::size_t>((y + j) * w + x + i)];
            }
            out.push_back(static_cast<unsigned char>((2 * sum + sx * sy) / (2 * sx * sy)));
        }
    }
    return out;
}

TEST(PelGeom, SmoothKeepsWholeBoxesRoundingHalvesUp)
{
    const auto src = bufferOf<unsigned char>(4, 3, {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23}, 2, 1);
    struct Case {
        int sx, sy;
        ycPelRect window;
        std::vector<unsigned char> pels;
    } cases[] = {
        {3, 3, {3, 2, 2, 1}, {11, 12}},
        {2, 2, {2, 1, 3, 2}, {6, 7, 8, 16, 17, 18}}, // 5.5, 6.5, 7.5, 15.5, ...
        {4, 1, {3, 1, 1, 3}, {2, 12, 22}},           // 1.5, 11.5, 21.5
        {1, 1, {2, 1, 4, 3}, {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23}},
    };
    for (const Case& c : cases) {
        const auto out = yfPelSmooth(src, c.sx, c.sy);
        EXPECT_EQ(out.window(), c.window) << c.sx << "x" << c.sy;
        EXPECT_EQ(pelsOf(out), c.pels) << c.sx << "x" << c.sy;
    }
    EXPECT_THROW(yfPelSmooth(src, 5, 1), ycPel::BadWindow);
    EXPECT_THROW(yfPelSmooth(src, 1, 4), ycPel::BadWindow);

    std::mt19937 rng(3);
    std::vector<unsigned char> noise(9 * 7);
    for (auto& v : noise) v = static_cast<unsigned char>(rng());
    const auto big = bufferOf<unsigned char>(9, 7, noise);
    for (int sx = 1; sx <= 9; ++sx) {
        for (int sy = 1; sy <= 7; ++sy) {
            EXPECT_EQ(pelsOf(yfPelSmooth(big, sx, sy)), boxMeans(noise, 9, 7, sx, sy)) << sx << "x" << sy;
        }
    }
    // Boxes on either side of 2^16 pels.
    std::vector<unsigned char> wide(260 * 258);
    for (auto& v : wide) v = static_cast<unsigned char>(rng());
    const auto huge = bufferOf<unsigned char>(260, 258, wide);
    for (const auto& [sx, sy] : {std::pair{255, 257}, std::pair{257, 256}}) {
        EXPECT_EQ(pelsOf(yfPelSmooth(huge, sx, sy)), boxMeans(wide, 260, 258, sx, sy)) << sx << "x" << sy;
    }
}

template <class T>
void checkBorder(T fill, T value)
{
    struct Case {
        ycPelRect window;
        std::vector<int> frame; // 1 where the value lands, in the 5x4 buffer
    } cases[] = {
        {{1, 1, 4, 3}, {0, 0, 0, 0, 0, /**/ 0, 1, 1, 1, 1, /**/ 0, 1, 0, 0, 1, /**/ 0, 1, 1, 1, 1}},
        {{1, 0, 1, 3}, {0, 1, 0, 0, 0, /**/ 0, 1, 0, 0, 0, /**/ 0, 1, 0, 0, 0, /**/ 0, 0, 0, 0, 0}},
        {{0, 2, 3, 1}, {0, 0, 0, 0, 0, /**/ 0, 0, 0, 0, 0, /**/ 1, 1, 1, 0, 0, /**/ 0, 0, 0, 0, 0}},
        {{2, 2, 0, 0}, std::vector<int>(20, 0)},
    };
    for (const Case& c : cases) {
        ycPelBuffer<T> all(5, 4);
        std::vector<T> before(20, fill);
        all.copyFromBuffer(before.data());
        ycPelBuffer<T> dst = all;
        dst.window(c.window);
        yfPelBorderSet(dst, value);
        std::vector<T> want;
        for (int f : c.frame) want.push_back(f ? value : fill);
        EXPECT_EQ(pelsOf(all), want) << c.window.x() << "," << c.window.y() << " " << c.window.width();
    }
    ycPelBuffer<T> unbound;
    EXPECT_THROW(yfPelBorderSet(unbound, value), ycPel::UnboundWindow);
}

TEST(PelGeom, BorderSetWritesTheFrameOfTheWindow)
{
    checkBorder<unsigned char>(7, 200);
    checkBorder<short>(-3, -30000);
}

TEST(PelGeom, MedianFramesTheCoreKernel)
{
    auto src = bufferOf<unsigned char>(5, 5,
                                        {0, 14, 5, 19, 10, /**/ 1, 15, 6, 20, 11, /**/ 2, 16, 7, 21, 12,
                                         /**/ 3, 17, 8, 22, 13, /**/ 4, 18, 9, 0, 14},
                                        2, 3);
    src.clientFromImageXform(ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(1, 1)));

    ycPelBuffer<unsigned char> narrow = src;
    narrow.subWindow(0, 0, 2, 5);
    EXPECT_THROW(yfPelMedian3x3(narrow), ycPel::BadWindow);

    // Unbound destination: 3x3 at the offset plus (1, 1).
    const auto out = yfPelMedian3x3(src);
    EXPECT_EQ(out.window(), ycPelRect(3, 4, 3, 3));
    EXPECT_EQ(pelsOf(out), (std::vector<unsigned char>{6, 15, 11, 7, 16, 12, 8, 16, 12}));
    EXPECT_EQ(out.clientFromImageXform(), src.clientFromImageXform());

    // Bound destinations: only the result rectangle is written.
    struct Case {
        ycPelRect dstWindow, result;
    } cases[] = {
        {{2, 3, 5, 5}, {3, 4, 3, 3}},
        {{4, 5, 6, 6}, {4, 5, 2, 2}},
        {{0, 0, 4, 5}, {3, 4, 1, 1}},
    };
    for (const Case& c : cases) {
        ycPelBuffer<unsigned char> dst(c.dstWindow);
        const std::vector<unsigned char> nines(
            static_cast<std::size_t>(c.dstWindow.width() * c.dstWindow.height()), 99);
        dst.copyFromBuffer(nines.data());
        ycPelBuffer<unsigned char> whole = dst;
        yfPelMedian3x3(src, dst);
        EXPECT_EQ(dst.window(), c.result);
        for (std::int32_t y = c.dstWindow.y(); y < c.dstWindow.y() + c.dstWindow.height(); ++y) {
            for (std::int32_t x = c.dstWindow.x(); x < c.dstWindow.x() + c.dstWindow.width(); ++x) {
                const bool inside = x >= c.result.x() && x < c.result.x() + c.result.width() && y >= c.result.y() &&
                                    y < c.result.y() + c.result.height();
                const unsigned char want = inside ? out.get(x, y) : static_cast<unsigned char>(99);
                EXPECT_EQ(whole.get(x, y), want) << x << "," << y;
            }
        }
    }
    EXPECT_EQ(src.window(), ycPelRect(2, 3, 5, 5));

    // A destination outside the result is left alone; one on the source's
    // pels is refused before its window moves.
    ycPelBuffer<unsigned char> far(ycPelRect(20, 20, 3, 3));
    yfPelMedian3x3(src, far);
    EXPECT_EQ(far.window(), ycPelRect(20, 20, 3, 3));
    ycPelBuffer<unsigned char> onSource = src;
    EXPECT_THROW(yfPelMedian3x3(src, onSource), ycPelFunc::Overlap);
    EXPECT_EQ(onSource.window(), src.window());
}

TEST(PelGeom, InvertMakesANewBufferOfTheWindow)
{
    auto src = bufferOf<unsigned char>(3, 1, {0, 100, 255}, -1, 4);
    const auto out = yfPelInvert_U8(src);
    EXPECT_EQ(out.window(), src.window());
    EXPECT_EQ(pelsOf(out), (std::vector<unsigned char>{255, 155, 0}));
}

// A pel made from source pels keeps their client coordinates: the mean of the
// client coordinates of the result pels holding a value is the client
// position of the source pel (or block centre) that value came from.
TEST(PelGeom, ClientCoordinatesSurviveRearrangement)
{
    std::vector<unsigned short> pels(20);
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned short>(i + 1);
    auto src = bufferOf<unsigned short>(5, 4, pels, 2, -1);
    const ycXform<2> client(ycMatrix<2>(2.0, 0.5, -0.3, 1.5), ycVector<2>(10.0, -4.0));
    src.clientFromImageXform(client);

    std::map<unsigned short, ycVector<2>> where;
    for (std::int32_t y = -1; y < 3; ++y) {
        for (std::int32_t x = 2; x < 7; ++x) where[src.get(x, y)] = client.mapPoint(ycVector<2>(x, y));
    }
    const std::pair<const char*, ycPelBuffer<unsigned short>> results[] = {
        {"flipH", yfPelFlipH(src)},          {"flipV", yfPelFlipV(src)},
        {"transpose", yfPelTranspose(src)},  {"sample", yfPelSample(src, 2, 3)},
        {"expand", yfPelExpand(src, 3, 2)},
    };
    for (const auto& [name, out] : results) {
        const ycXform<2> x = out.clientFromImageXform();
        std::map<unsigned short, std::pair<ycVector<2>, int>> seen;
        for (std::int32_t y = out.offset().y(); y < out.offset().y() + out.height(); ++y) {
            for (std::int32_t xi = out.offset().x(); xi < out.offset().x() + out.width(); ++xi) {
                auto& s = seen[out.get(xi, y)];
                s.first = s.first + x.mapPoint(ycVector<2>(xi, y));
                ++s.second;
            }
        }
        for (const auto& [value, sum] : seen) {
            const ycVector<2> mean = sum.first / static_cast<double>(sum.second);
            EXPECT_NEAR(mean.x(), where[value].x(), 1e-9) << name << " " << value;
            EXPECT_NEAR(mean.y(), where[value].y(), 1e-9) << name << " " << value;
        }
    }

    // A block average sits at its block's centre; an even box half a pel on.
    src.clientFromImageXform(ycXform<2>());
    const ycXform<2> avg = yfPelSpatialAvg(src, 2, 2, 0).clientFromImageXform();
    const ycVector<2> firstBlock = avg.mapPoint(ycVector<2>(1, -1));
    EXPECT_EQ(firstBlock.x(), 2.5);
    EXPECT_EQ(firstBlock.y(), -0.5);
    const auto grey = bufferOf<unsigned char>(4, 4, std::vector<unsigned char>(16));
    const ycXform<2> smooth = yfPelSmooth(grey, 2, 3).clientFromImageXform();
    EXPECT_EQ(smooth.mapPoint(ycVector<2>(0, 1)).x(), 0.5);
    EXPECT_EQ(smooth.mapPoint(ycVector<2>(0, 1)).y(), 1.0);
}

} // namespace

// Block averages against exact integer arithmetic, on factors and divisors
// on both sides of the multiply-and-shift limit.
TEST(PelGeom, SpatialAverageMatchesExactDivision)
{
    std::mt19937 rng(11);
    auto check = [&](auto zero, std::int32_t fx, std::int32_t fy, std::uint32_t divisor) {
        using T = decltype(zero);
        const std::int32_t w = 4 * fx - 1, h = 3 * fy - 1; // partial blocks left out
        std::vector<T> pels(static_cast<std::size_t>(w * h));
        for (T& p : pels) p = static_cast<T>(rng() | (rng() % 4 == 0 ? ~0u : 0u));
        const auto out = pelsOf(yfPelSpatialAvg(bufferOf<T>(w, h, pels), fx, fy, divisor));
        ASSERT_EQ(out.size(), 6u);
        const std::uint64_t n = divisor != 0 ? divisor : std::uint64_t(fx) * std::uint64_t(fy);
        for (std::int32_t k = 0; k < 6; ++k) {
            std::uint64_t sum = 0;
            for (std::int32_t j = 0; j < fy; ++j) {
                for (std::int32_t i = 0; i < fx; ++i) sum += pels[std::size_t((k / 3 * fy + j) * w + k % 3 * fx + i)];
            }
            const std::uint64_t want = std::min<std::uint64_t>((sum + n / 2) / n, std::numeric_limits<T>::max());
            ASSERT_EQ(out[std::size_t(k)], want) << sizeof(T) << " " << fx << "x" << fy << " / " << divisor;
        }
    };
    for (std::uint32_t divisor : {0u, 1u, 3u, 7u, 255u, 65537u, 4000000000u}) {
        for (auto [fx, fy] : {std::pair{1, 1}, {2, 2}, {3, 5}, {7, 1}, {16, 9}}) {
            check(static_cast<unsigned char>(0), fx, fy, divisor);
            check(static_cast<unsigned short>(0), fx, fy, divisor);
            check(std::uint32_t{0}, fx, fy, divisor);
        }
    }
}

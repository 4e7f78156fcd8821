// Copy and conversion, set and clear, equality of pel buffers.
#include "pelops.h"
#include "pelvalues.h"

#include "std/pelbuf/pelcopy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

template <class S, class D>
std::vector<D> converted(const std::vector<S>& pels)
{
    ycPelBuffer<D> dst;
    yfPelCopy(row(pels), dst);
    return pelsOf<D>(dst);
}

TEST(PelCopy, NarrowingTruncatesAndWideningZeroExtends)
{
    // Seven pels, so the core's row runs over whole vectors and a tail.
    EXPECT_EQ((converted<unsigned short, unsigned char>({0x1234, 0x00FF, 0xFFFF, 0x0100, 0, 0x80, 0x7F01})),
              (std::vector<unsigned char>{0x34, 0xFF, 0xFF, 0x00, 0, 0x80, 0x01}));
    EXPECT_EQ((converted<std::uint32_t, unsigned short>({0x12345678, 0xFFFF0000, 0x0001FFFF})),
              (std::vector<unsigned short>{0x5678, 0x0000, 0xFFFF}));
    EXPECT_EQ((converted<std::uint32_t, unsigned char>({0x12345678, 0xFFFFFF00, 0x1FF})),
              (std::vector<unsigned char>{0x78, 0x00, 0xFF}));
    EXPECT_EQ((converted<unsigned char, unsigned short>({0xFF, 0x80, 0})), (std::vector<unsigned short>{0xFF, 0x80, 0}));
    EXPECT_EQ((converted<unsigned char, std::uint32_t>({0xFF, 1})), (std::vector<std::uint32_t>{0xFF, 1}));
    EXPECT_EQ((converted<unsigned short, std::uint32_t>({0xFFFF, 0x8000})), (std::vector<std::uint32_t>{0xFFFF, 0x8000}));
    EXPECT_EQ((converted<std::uint32_t, std::uint32_t>({0xFFFFFFFF})), (std::vector<std::uint32_t>{0xFFFFFFFF}));
}

TEST(PelCopy, KernelStepsCoverEveryCount)
{
    // Four, two and one pel a step: every count up to 11 ends on a different mix.
    std::vector<std::uint32_t> src;
    for (std::uint32_t i = 0; i < 11; ++i) src.push_back(0xABCD0100u + i * 0x01010101u);
    for (std::int32_t n = 0; n <= 11; ++n) {
        std::vector<unsigned short> dst(12, 0xEEEE);
        yc_CopyPel<std::uint32_t, unsigned short> kernel;
        kernel.process(src.data(), dst.data(), n);
        for (std::int32_t i = 0; i < 12; ++i) {
            const unsigned short want = i < n ? static_cast<unsigned short>(src[i]) : 0xEEEE;
            EXPECT_EQ(dst[i], want) << "count " << n << " pel " << i;
        }
    }
}

template <class T>
class PelCopyEveryType : public ::testing::Test {};
TYPED_TEST_SUITE(PelCopyEveryType, AllPelTypes);

TYPED_TEST(PelCopyEveryType, CopiesTheCommonWindowAndTheTransform)
{
    using T = TypeParam;
    ycPelBuffer<T> src = bufferOf<T>(5, 3, pelValues<T>(15), 3, -2);
    src.clientFromImageXform(ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(1, 1)));

    const ycPelBuffer<T> copy = yfPelCopy<T>(src);
    EXPECT_EQ(copy.window(), src.window());
    EXPECT_NE(copy.root(), src.root());
    EXPECT_EQ(copy.clientFromImageXform(), src.clientFromImageXform());
    EXPECT_TRUE(yfPelEqual<T>(copy, src));

    // Into a bound destination at other image coordinates: only the common
    // window (x 4..6, y -1..0) is written, and the destination sees it.
    const std::vector<T> old = pelValues<T>(9, 100);
    ycPelBuffer<T> dst = bufferOf<T>(3, 3, old, 4, -1);
    ycPelBuffer<T> whole = dst;
    yfPelCopy(ycPelBuffer_const<T>(src), dst);
    EXPECT_EQ(dst.window(), ycPelRect(4, -1, 3, 2));
    EXPECT_EQ(src.window(), ycPelRect(3, -2, 5, 3));
    for (std::int32_t y = -1; y <= 1; ++y) {
        for (std::int32_t x = 4; x <= 6; ++x) {
            const T want = y <= 0 ? src.get(x, y) : old[static_cast<std::size_t>((y + 1) * 3 + (x - 4))];
            EXPECT_EQ(whole.get(x, y), want) << x << "," << y;
        }
    }
}

TEST(PelCopy, ThreePlanesTakeTheSourceTag)
{
    yc3PlanePelBuffer src(4, 2);
    src.colorSpace(ycColorSpaceDefs::HSI);
    const std::vector<yc3PlanePel> pels = pelValues<yc3PlanePel>(8);
    src.copyFromBuffer(pels.data());
    src.offset(1, 1);

    const yc3PlanePelBuffer copy = yfPelCopy(src);
    EXPECT_EQ(copy.colorSpace(), ycColorSpaceDefs::HSI);
    EXPECT_EQ(copy.window(), src.window());
    EXPECT_EQ(pelsOf<unsigned char>(copy.plane2()), pelsOf<unsigned char>(src.plane2()));

    yc3PlanePelBuffer dst(4, 2);
    dst.offset(1, 1);
    yfPelCopy(yc3PlanePelBuffer_const(src), dst);
    EXPECT_EQ(dst.colorSpace(), ycColorSpaceDefs::HSI);
    EXPECT_TRUE(yfPelEqual<yc3PlanePel>(dst, yc3PlanePelBuffer_const(src)));
}

TEST(PelSet, WritesTheWindowOnly)
{
    ycPelBuffer<unsigned char> b = bufferOf<unsigned char>(4, 3, std::vector<unsigned char>(12, 7));
    ycPelBuffer<unsigned char> inner = b;
    inner.subWindow(1, 1, 2, 2);
    yfPelSet_U8(inner, 200);
    EXPECT_EQ(pelsOf<unsigned char>(b), (std::vector<unsigned char>{7, 7, 7, 7, 7, 200, 200, 7, 7, 200, 200, 7}));
    yfPelClear(inner);
    EXPECT_EQ(b.get(1, 1), 0);
    EXPECT_EQ(b.get(0, 0), 7);

    ycPelBuffer<ycPair<float>> pairs(2, 2);
    yfPelSet(pairs, ycPair<float>(1.5f, -2.0f));
    EXPECT_EQ(pairs.get(1, 1), ycPair<float>(1.5f, -2.0f));
    yfPelClear(pairs);
    EXPECT_EQ(pairs.get(0, 1), ycPair<float>());

    ycPelBuffer<double> unbound;
    EXPECT_THROW(yfPelSet(unbound, 1.0), ycPel::UnboundWindow);
    EXPECT_THROW(yfPelClear(unbound), ycPel::UnboundWindow);
    EXPECT_NO_THROW(yf_PelClear(unbound));
    EXPECT_FALSE(unbound.isBound());
}

TEST(PelEqual, RulesOfEquality)
{
    const std::vector<unsigned short> pels{1, 2, 3, 4, 5, 6};
    const ycPelBuffer<unsigned short> a = bufferOf(3, 2, pels);
    const ycPelBuffer_const<unsigned short> same = bufferOf(3, 2, pels);
    const ycPelBuffer<unsigned short> moved = bufferOf(3, 2, pels, 1, 0);
    const ycPelBuffer<unsigned short> differs = bufferOf<unsigned short>(3, 2, {1, 2, 3, 4, 5, 7});
    ycPelBuffer<unsigned short> unbound;
    ycPelBuffer<unsigned short> emptyA = a;
    emptyA.subWindow(0, 0, 0, 0);
    ycPelBuffer<unsigned short> emptyB(3, 2);
    emptyB.subWindow(0, 0, 0, 0);

    struct Case {
        const char* what;
        const ycPelBuffer_const<unsigned short>& x;
        const ycPelBuffer_const<unsigned short>& y;
        bool equal;
    };
    const Case cases[] = {
        {"same pels, other root", a, same, true},
        {"same pels, other image rectangle", a, moved, false},
        {"one pel differs", a, differs, false},
        {"itself", a, a, true},
        {"unbound", a, unbound, false},
        {"both unbound", unbound, unbound, false},
        {"both empty at one place", emptyA, emptyB, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(yfPelEqual(c.x, c.y), c.equal) << c.what;
        EXPECT_EQ(yfPelEqual(c.y, c.x), c.equal) << c.what << " (swapped)";
    }

    // Reals compare as values.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(yfPelEqual<double>(row<double>({0.0, 1.0}), row<double>({-0.0, 1.0})));
    const ycPelBuffer<double> withNan = row<double>({nan});
    EXPECT_FALSE(yfPelEqual<double>(withNan, withNan));
    EXPECT_TRUE(yfPelEqual<ycPair<float>>(row<ycPair<float>>({{0.0f, 2.0f}}), row<ycPair<float>>({{-0.0f, 2.0f}})));
    EXPECT_FALSE(yfPelEqual<ycPair<float>>(row<ycPair<float>>({{1.0f, NAN}}), row<ycPair<float>>({{1.0f, NAN}})));
    // Packed pels compare every byte.
    EXPECT_FALSE(yfPelEqual<ycPackedRGB32Pel>(row<ycPackedRGB32Pel>({ycPackedRGB32Pel(1, 2, 3, 4)}),
                                              row<ycPackedRGB32Pel>({ycPackedRGB32Pel(1, 2, 3, 5)})));

    // Three planes, writable against read-only, one plane differing.
    yc3PlanePelBuffer p(2, 1);
    const yc3PlanePelBuffer q = yfPelCopy(p);
    EXPECT_TRUE(yfPelEqual<yc3PlanePel>(p, yc3PlanePelBuffer_const(q)));
    q.plane1().put(1, 0, 9);
    EXPECT_FALSE(yfPelEqual<yc3PlanePel>(yc3PlanePelBuffer_const(p), q));
}

} // namespace

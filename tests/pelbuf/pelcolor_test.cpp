// Colour packing and extraction.
#include "std/pelbuf/pelcolor.h"

#include "tests/pelbuf/pelops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

TEST(PelColor, PackingByteOrders)
{
    const auto r = bufferOf<unsigned char>(5, 1, {0x12, 0xFF, 0x00, 0x00, 0x07}, 3, 4);
    const auto g = bufferOf<unsigned char>(5, 1, {0x34, 0x00, 0xFF, 0x00, 0x03}, 3, 4);
    const auto b = bufferOf<unsigned char>(5, 1, {0x56, 0x00, 0x00, 0xFF, 0x07}, 3, 4);

    ycPelBuffer<ycPackedRGB32Pel> rgb;
    yfRGBPack(r, g, b, rgb, 0x78);
    ASSERT_EQ(rgb.window(), ycPelRect(3, 4, 5, 1));
    unsigned char memory[4];
    std::memcpy(memory, rgb.pointToOffset(), 4);
    EXPECT_EQ(Bytes(memory, memory + 4), (Bytes{0x56, 0x34, 0x12, 0x78}));
    EXPECT_EQ(rgb.get(3, 4).value(), 0x78123456u);

    ycPelBuffer<ycPackedRGB16Pel> rgb16;
    yfRGBPack(r, g, b, rgb16);
    std::vector<std::uint16_t> values;
    for (const ycPackedRGB16Pel& p : pelsOf(rgb16)) values.push_back(p.value());
    EXPECT_EQ(values, (std::vector<std::uint16_t>{0x11AA, 0xF800, 0x07E0, 0x001F, 0x0000}));

    // Channels count from red: bytes 2, 1, 0, 3.
    const std::pair<std::int32_t, Bytes> channels[] = {
        {0, {0x12, 0xFF, 0x00, 0x00, 0x07}},
        {1, {0x34, 0x00, 0xFF, 0x00, 0x03}},
        {2, {0x56, 0x00, 0x00, 0xFF, 0x07}},
        {3, {0x78, 0x78, 0x78, 0x78, 0x78}},
    };
    for (const auto& [channel, want] : channels) {
        ycPelBuffer<unsigned char> out;
        yfRGBExtract(rgb, channel, out);
        EXPECT_EQ(out.window(), rgb.window());
        EXPECT_EQ(pelsOf(out), want) << channel;
    }
    ycPelBuffer<unsigned char> out;
    EXPECT_THROW(yfRGBExtract(rgb, 4, out), ycPelFunc::BadParams);
    EXPECT_THROW(yfRGBExtract(rgb, -1, out), ycPelFunc::BadParams);

    ycPelBuffer<unsigned char> p0, p1, p2;
    yfRGBSeparateColorPlanes(rgb, p0, p1, p2);
    EXPECT_EQ(pelsOf(p0), pelsOf(r));
    EXPECT_EQ(pelsOf(p1), pelsOf(g));
    EXPECT_EQ(pelsOf(p2), pelsOf(b));
    EXPECT_EQ(p2.window(), b.window());

    // Through a three-plane buffer and back.
    yc3PlanePelBuffer planes;
    yfRGBSeparateColorPlanes(rgb, planes);
    EXPECT_EQ(planes.window(), rgb.window());
    EXPECT_EQ(planes.get(3, 4), yc3PlanePel(0x12, 0x34, 0x56));
    ycPelBuffer<ycPackedRGB32Pel> again;
    yfRGBPack(planes, again, 0x78);
    EXPECT_EQ(pelsOf(again), pelsOf(rgb));
}

TEST(PelColor, PackingWindows)
{
    const auto r = bufferOf<unsigned char>(2, 2, {1, 2, 3, 4}, 3, 4);
    const ycPelBuffer<unsigned char> unbound;
    ycPelBuffer<unsigned char> shifted = r;
    shifted.offset(4, 4);
    ycPelBuffer<unsigned char> smaller = r;
    smaller.subWindow(0, 0, 1, 2);

    ycPelBuffer<ycPackedRGB32Pel> dst;
    EXPECT_THROW(yfRGBPack(r, unbound, r, dst, 0), ycPel::UnboundWindow);
    EXPECT_THROW(yfRGBPack(r, r, shifted, dst, 0), ycPel::BadWindow);
    EXPECT_THROW(yfRGBPack(smaller, r, r, dst, 0), ycPel::BadWindow);
    EXPECT_FALSE(dst.isBound());

    // The same window is written in place; another one is replaced.
    ycPelBuffer<ycPackedRGB32Pel> same(ycPelRect(3, 4, 2, 2));
    const yc_PelRoot* root = same.root();
    yfRGBPack(r, r, r, same, 9);
    EXPECT_EQ(same.root(), root);
    EXPECT_EQ(same.get(4, 5), ycPackedRGB32Pel(4, 4, 4, 9));

    ycPelBuffer<ycPackedRGB32Pel> other(ycPelRect(0, 0, 8, 8));
    root = other.root();
    yfRGBPack(r, r, r, other, 9);
    EXPECT_NE(other.root(), root);
    EXPECT_EQ(other.window(), r.window());
    EXPECT_EQ(other.get(3, 4), ycPackedRGB32Pel(1, 1, 1, 9));
}

TEST(PelColor, WeightedExtractionRoundsHalvesUpAndClamps)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double cr, cg, cb, c4;
        ycPackedRGB32Pel pel;
        unsigned char want;
    } cases[] = {
        {0.299, 0.587, 0.114, 0.0, {255, 255, 255}, 255},
        {0.299, 0.587, 0.114, 0.0, {100, 150, 200}, 141}, // 140.75
        {0.5, 0.0, 0.0, 0.0, {5, 0, 0}, 3},                // 2.5 goes up
        {0.5, 0.0, 0.0, 0.0, {3, 0, 0}, 2},
        {-0.5, 0.0, 0.0, 0.0, {1, 0, 0}, 0},               // -0.5 goes up to 0
        {-1.0, 0.0, 0.0, 0.0, {10, 0, 0}, 0},
        {2.0, 0.0, 0.0, 0.0, {200, 0, 0}, 255},
        {0.0, 0.0, 0.0, 1.0, {1, 2, 3, 77}, 77},
        {0.25, 0.25, 0.25, 0.25, {10, 20, 30, 41}, 25},    // 25.25
        {nan, 1.0, 1.0, 0.0, {1, 1, 1}, 0},
        // Left to right: (1e16 - 1e16) + 0.5, where another order loses the half.
        {1e16, -1e16, 0.5, 0.0, {1, 1, 1}, 1},
    };
    for (const Case& c : cases) {
        const auto src = bufferOf<ycPackedRGB32Pel>(1, 1, {c.pel}, 2, 2);
        ycPelBuffer<unsigned char> four, three;
        yfRGBExtract(src, c.cr, c.cg, c.cb, c.c4, four);
        EXPECT_EQ(four.get(2, 2), c.want) << c.cr << " " << c.cg << " " << c.cb << " " << c.c4;
        if (c.c4 == 0.0) {
            yfRGBExtract(src, c.cr, c.cg, c.cb, three);
            EXPECT_EQ(three.get(2, 2), c.want) << c.cr << " " << c.cg << " " << c.cb;
        }
    }
}

TEST(PelColor, EightBitsOfASixteenBitImage)
{
    auto src = bufferOf<unsigned short>(2, 1, {0xABCD, 0x01FF}, -3, 7);
    src.clientFromImageXform(ycXform<2>(ycMatrix<2>(3, 0, 0, 3), ycVector<2>(0, 1)));
    const std::pair<std::int32_t, Bytes> cases[] = {
        {0, {0xCD, 0xFF}}, {4, {0xBC, 0x1F}}, {7, {0x57, 0x03}}, {8, {0xAB, 0x01}}};
    for (const auto& [k, want] : cases) {
        const auto out = yf_extract8BitImage(src, k);
        EXPECT_EQ(out.window(), src.window());
        EXPECT_EQ(pelsOf(out), want) << k;
        EXPECT_EQ(out.clientFromImageXform(), src.clientFromImageXform());
    }
    EXPECT_THROW(yf_extract8BitImage(src, 9), ycPelFunc::BadParams);
    EXPECT_THROW(yf_extract8BitImage(src, -1), ycPelFunc::BadParams);
}

} // namespace

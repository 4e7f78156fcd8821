// The camera-format conversions: hand-worked pixels, a per-pel formula
// written from the rules, and every target against the scalar reference.
#include "core/kernels/bayer.h"
#include "core/kernels/rgb24.h"
#include "core/kernels/yuv.h"
#include "core/yconvert.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace kerneltest;

namespace {

using Entry = int (*)(std::int32_t, std::int32_t, const std::uint8_t*, std::ptrdiff_t, std::uint8_t*, std::ptrdiff_t);
using RefRow = void (*)(const std::uint8_t*, std::uint8_t*, std::size_t);

// A conversion with the same arguments as the YUV ones (patterns and flags
// bound): `group` pixels in `groupBytes` source bytes, `dstPel` bytes out.
struct Conversion {
    const char* name;
    std::int32_t group, groupBytes, dstPel;
    Entry run;
};

template <int P>
int bayerRGB(std::int32_t w, std::int32_t h, const std::uint8_t* s, std::ptrdiff_t sr, std::uint8_t* d,
             std::ptrdiff_t dr)
{
    return yip_convertBayer8ToRGB(w, h, s, sr, d, dr, P);
}
template <int P>
int bayerGrey(std::int32_t w, std::int32_t h, const std::uint8_t* s, std::ptrdiff_t sr, std::uint8_t* d,
              std::ptrdiff_t dr)
{
    return yip_convertBayer8ToGreyscale(w, h, s, sr, d, dr, P);
}
template <int B>
int rgb24(std::int32_t w, std::int32_t h, const std::uint8_t* s, std::ptrdiff_t sr, std::uint8_t* d,
          std::ptrdiff_t dr)
{
    return yip_convertRGB24ToRGB(w, h, s, sr, d, dr, B);
}

const std::vector<Conversion>& conversions()
{
    static const std::vector<Conversion> all = {
        {"UYVY grey", 2, 4, 1, yip_convertUYVYToGreyscale},
        {"UYVY RGB", 2, 4, 4, yip_convertUYVYToRGB},
        {"UYYVYY grey", 4, 6, 1, yip_convertUYYVYYToGreyscale},
        {"UYYVYY RGB", 4, 6, 4, yip_convertUYYVYYToRGB},
        {"UYV grey", 1, 3, 1, yip_convertUYVToGreyscale},
        {"UYV RGB", 1, 3, 4, yip_convertUYVToRGB},
        {"RGB24", 1, 3, 4, rgb24<0>},
        {"BGR24", 1, 3, 4, rgb24<1>},
        {"Bayer RGGB RGB", 1, 1, 4, bayerRGB<YIP_BAYER_RGGB>},
        {"Bayer GRBG RGB", 1, 1, 4, bayerRGB<YIP_BAYER_GRBG>},
        {"Bayer GBRG RGB", 1, 1, 4, bayerRGB<YIP_BAYER_GBRG>},
        {"Bayer BGGR RGB", 1, 1, 4, bayerRGB<YIP_BAYER_BGGR>},
        {"Bayer RGGB grey", 1, 1, 1, bayerGrey<YIP_BAYER_RGGB>},
        {"Bayer GRBG grey", 1, 1, 1, bayerGrey<YIP_BAYER_GRBG>},
        {"Bayer GBRG grey", 1, 1, 1, bayerGrey<YIP_BAYER_GBRG>},
        {"Bayer BGGR grey", 1, 1, 1, bayerGrey<YIP_BAYER_BGGR>},
    };
    return all;
}

// The scalar reference of conversion `k` over a whole image.
void reference(std::size_t k, Image& s, Image& d)
{
    static const RefRow rows[] = {
        ycore::ref::UYVYToGreyRow,   ycore::ref::UYVYToRGBRow, ycore::ref::UYYVYYToGreyRow,
        ycore::ref::UYYVYYToRGBRow, ycore::ref::UYVToGreyRow,  ycore::ref::UYVToRGBRow,
    };
    const std::int32_t w = d.width(), h = d.height();
    for (std::int32_t y = 0; y < h; ++y) {
        const std::uint8_t* sr = s.row<std::uint8_t>(y);
        std::uint8_t* dr = d.row<std::uint8_t>(y);
        if (k < 6) {
            rows[k](sr, dr, std::size_t(w));
        } else if (k < 8) {
            ycore::ref::RGB24ToRGBRow(sr, dr, std::size_t(w), int(k - 6));
        } else {
            const int pattern = int(k % 4);
            const ycore::BayerRows m = {s.row<std::uint8_t>(ycore::bayerMirror(y - 1, h)), sr,
                                        s.row<std::uint8_t>(ycore::bayerMirror(y + 1, h))};
            if (k < 12) {
                ycore::ref::Bayer8ToRGBRow(m, dr, std::size_t(w), ycore::bayerRow(pattern, y));
            } else {
                ycore::ref::Bayer8ToGreyRow(m, dr, std::size_t(w), ycore::bayerRow(pattern, y));
            }
        }
    }
}

int call(const Conversion& c, Image& s, Image& d)
{
    return c.run(d.width(), d.height(), s.row<std::uint8_t>(0), s.get()->stride, d.row<std::uint8_t>(0),
                 d.get()->stride);
}

// --- the rules, written again per pel ------------------------------------------

std::array<int, 3> yuvRule(int y, int u, int v)
{
    const double c = y - 16, d = u - 128, e = v - 128;
    auto f = [](double x) { return std::clamp(int(std::floor(x / 256)), 0, 255); };
    return {f(298 * c + 409 * e + 128), f(298 * c - 100 * d - 208 * e + 128), f(298 * c + 516 * d + 128)};
}

// Colour 0 red, 1 green, 2 blue of site (x, y): each pattern's 2x2 tile,
// row by row.
int siteColour(int pattern, int x, int y)
{
    static const int colours[4][4] = {{0, 1, 1, 2}, {1, 0, 2, 1}, {1, 2, 0, 1}, {2, 1, 1, 0}};
    return colours[pattern][2 * (y & 1) + (x & 1)];
}

// Each colour of a pixel: its own sample, or the rounded mean of the samples
// of that colour among its eight neighbours, outside the image mirrored.
std::array<int, 3> bayerRule(Image& s, int pattern, int x, int y)
{
    const int w = s.width(), h = s.height();
    auto mirror = [](int c, int n) { return c < 0 ? std::min(1, n - 1) : c >= n ? std::max(n - 2, 0) : c; };
    std::array<int, 3> sum{}, count{}, out{};
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const int colour = siteColour(pattern, x + dx, y + dy);
            if (colour == siteColour(pattern, x, y)) continue;
            if (colour == 1 && dx != 0 && dy != 0) continue; // greens sit orthogonally
            sum[std::size_t(colour)] += s.at<std::uint8_t>(mirror(x + dx, w), mirror(y + dy, h));
            ++count[std::size_t(colour)];
        }
    }
    for (std::size_t c = 0; c < 3; ++c) {
        out[c] = int(c) == siteColour(pattern, x, y) ? s.at<std::uint8_t>(x, y)
                                                      : (sum[c] + count[c] / 2) / count[c];
    }
    return out;
}

int greyRule(const std::array<int, 3>& rgb) { return (77 * rgb[0] + 150 * rgb[1] + 29 * rgb[2] + 128) / 256; }

// What conversion `k` gives for pixel (x, y), as its destination bytes.
std::vector<int> rule(std::size_t k, Image& s, int x, int y)
{
    const auto b = [&](int i) { return int(s.at<std::uint8_t>(i, y)); };
    std::array<int, 3> rgb{};
    bool grey = false;
    if (k < 2) {
        const int g = x / 2 * 4;
        rgb = yuvRule(b(g + 1 + 2 * (x % 2)), b(g), b(g + 2));
        grey = k == 0;
        if (grey) return {b(g + 1 + 2 * (x % 2))};
    } else if (k < 4) {
        const int g = x / 4 * 6, yi = g + std::array<int, 4>{1, 2, 4, 5}[std::size_t(x % 4)];
        if (k == 2) return {b(yi)};
        rgb = yuvRule(b(yi), b(g), b(g + 3));
    } else if (k < 6) {
        if (k == 4) return {b(3 * x + 1)};
        rgb = yuvRule(b(3 * x + 1), b(3 * x), b(3 * x + 2));
    } else if (k < 8) {
        rgb = {b(3 * x), b(3 * x + 1), b(3 * x + 2)};
        if (k == 7) std::swap(rgb[0], rgb[2]);
    } else {
        rgb = bayerRule(s, int(k % 4), x, y);
        if (k >= 12) return {greyRule(rgb)};
    }
    return {rgb[2], rgb[1], rgb[0], 0};
}

// The source of conversion `c` for `w` pixels, rounded up to whole groups.
Image source(const Conversion& c, std::int32_t w, std::int32_t h, std::int32_t skip, std::int32_t pad)
{
    return Image(w / c.group * c.groupBytes, h, 1, skip, pad);
}

} // namespace

TEST(CoreCamera, HandWorkedPixels)
{
    struct Case {
        std::size_t k;
        std::int32_t w, h;
        std::vector<std::uint8_t> src;
        std::vector<std::uint8_t> want; // the whole destination
    } cases[] = {
        {0, 2, 1, {90, 100, 200, 16}, {100, 16}},
        {1, 2, 1, {90, 100, 200, 16}, {21, 54, 213, 0, 0, 0, 115, 0}},
        {1, 2, 1, {128, 16, 128, 235}, {0, 0, 0, 0, 255, 255, 255, 0}},
        {2, 4, 1, {90, 100, 16, 200, 235, 50}, {100, 16, 235, 50}},
        {3, 4, 1, {90, 100, 16, 200, 235, 50}, {21, 54, 213, 0, 0, 0, 115, 0, 178, 211, 255, 0, 0, 0, 155, 0}},
        {4, 1, 1, {90, 100, 200}, {100}},
        {5, 1, 1, {90, 100, 200}, {21, 54, 213, 0}},
        {6, 1, 1, {10, 20, 30}, {30, 20, 10, 0}},
        {7, 1, 1, {10, 20, 30}, {10, 20, 30, 0}},
    };
    for (const Case& c : cases) {
        const Conversion& conv = conversions()[c.k];
        Image s(std::int32_t(c.src.size()), c.h, 1), d(c.w, c.h, conv.dstPel);
        std::copy(c.src.begin(), c.src.end(), s.row<std::uint8_t>(0));
        ASSERT_EQ(call(conv, s, d), YSTD_OK) << conv.name;
        EXPECT_EQ(d.pels(), std::vector<unsigned char>(c.want.begin(), c.want.end())) << conv.name;
    }
}

TEST(CoreCamera, BayerSitesWorkedByHand)
{
    const std::uint8_t mosaic[4][4] = {{10, 200, 30, 220}, {60, 70, 80, 90}, {15, 210, 35, 230}, {100, 120, 140, 160}};
    // Red, green, blue at a few sites of each pattern: a corner (mirrored),
    // a site inside, a green site inside, and the far corner.
    struct Case {
        int pattern, x, y, r, g, b;
    } cases[] = {
        {YIP_BAYER_RGGB, 0, 0, 10, 130, 70},  {YIP_BAYER_RGGB, 1, 1, 23, 138, 70},
        {YIP_BAYER_RGGB, 2, 1, 33, 80, 80},   {YIP_BAYER_RGGB, 3, 3, 35, 185, 160},
        {YIP_BAYER_BGGR, 0, 0, 70, 130, 10},  {YIP_BAYER_BGGR, 1, 1, 70, 138, 23},
        {YIP_BAYER_BGGR, 2, 1, 80, 80, 33},   {YIP_BAYER_GRBG, 0, 0, 200, 10, 60},
        {YIP_BAYER_GRBG, 1, 1, 205, 70, 70},  {YIP_BAYER_GRBG, 2, 1, 215, 56, 80},
        {YIP_BAYER_GBRG, 0, 0, 60, 10, 200},  {YIP_BAYER_GBRG, 1, 1, 70, 70, 205},
        {YIP_BAYER_GBRG, 2, 1, 80, 56, 215},
    };
    Image s(4, 4, 1), rgb(4, 4, 4), grey(4, 4, 1);
    for (int y = 0; y < 4; ++y) std::copy(mosaic[y], mosaic[y] + 4, s.row<std::uint8_t>(y));
    for (const Case& c : cases) {
        ASSERT_EQ(yip_convertBayer8ToRGB(4, 4, s.row<std::uint8_t>(0), 4, rgb.row<std::uint8_t>(0), 16, c.pattern),
                  YSTD_OK);
        ASSERT_EQ(
            yip_convertBayer8ToGreyscale(4, 4, s.row<std::uint8_t>(0), 4, grey.row<std::uint8_t>(0), 4, c.pattern),
            YSTD_OK);
        const std::uint32_t want = std::uint32_t(c.b) | std::uint32_t(c.g) << 8 | std::uint32_t(c.r) << 16;
        EXPECT_EQ(rgb.at<std::uint32_t>(c.x, c.y), want) << c.pattern << " at " << c.x << "," << c.y;
        EXPECT_EQ(grey.at<std::uint8_t>(c.x, c.y), (77 * c.r + 150 * c.g + 29 * c.b + 128) >> 8);
    }
}

TEST(CoreCamera, ReferenceFollowsThePerPelRules)
{
    std::mt19937 rng(11);
    for (std::size_t k = 0; k < conversions().size(); ++k) {
        const Conversion& c = conversions()[k];
        for (const Shape& sh : awkwardShapes()) {
            const std::int32_t w = (sh.width + c.group - 1) / c.group * c.group;
            Image s = source(c, w, sh.height, sh.skip, sh.pad), d(w, sh.height, c.dstPel);
            s.fill(rng);
            reference(k, s, d);
            for (int y = 0; y < sh.height; ++y) {
                for (int x = 0; x < w; ++x) {
                    const std::vector<int> want = rule(k, s, x, y);
                    for (std::size_t i = 0; i < want.size(); ++i) {
                        ASSERT_EQ(d.at<std::uint8_t>(x * c.dstPel + int(i), y), want[i])
                            << c.name << " width " << w << " at " << x << "," << y << " byte " << i;
                    }
                }
            }
        }
    }
}

TEST(CoreCamera, EveryTargetMatchesTheReference)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(5);
        for (std::size_t k = 0; k < conversions().size(); ++k) {
            const Conversion& c = conversions()[k];
            for (const Shape& sh : awkwardShapes()) {
                for (std::int32_t extra : {0, c.group}) {
                    const std::int32_t w = (sh.width + c.group - 1) / c.group * c.group + extra;
                    Image s = source(c, w, sh.height, sh.skip, sh.pad);
                    Image d(w, sh.height, c.dstPel, sh.skip + 1, sh.pad);
                    s.fill(rng);
                    d.fill(rng);
                    Image want = d;
                    reference(k, s, want);
                    ASSERT_EQ(call(c, s, d), YSTD_OK);
                    ASSERT_EQ(d.bytes(), want.bytes()) << target << " " << c.name << " width " << w;
                }
            }
        }
    });
}

TEST(CoreCamera, EmptyImagesWriteNothing)
{
    for (const Conversion& c : conversions()) {
        EXPECT_EQ(c.run(0, 3, nullptr, 0, nullptr, 0), YSTD_OK) << c.name;
        EXPECT_EQ(c.run(c.group, 0, nullptr, 0, nullptr, 0), YSTD_OK) << c.name;
    }
}

TEST(CoreCamera, BadArgumentsWriteNothing)
{
    std::vector<std::uint8_t> s(64, 1), d(64, 7);
    auto yuv = [&](Entry f, std::int32_t w, std::int32_t h, const std::uint8_t* src, std::ptrdiff_t sr,
                   std::uint8_t* dst, std::ptrdiff_t dr) { return f(w, h, src, sr, dst, dr); };
    const std::vector<std::pair<const char*, int>> cases = {
        {"negative width", yuv(yip_convertUYVToRGB, -1, 1, s.data(), 3, d.data(), 4)},
        {"negative height", yuv(yip_convertUYVYToGreyscale, 2, -1, s.data(), 4, d.data(), 2)},
        {"null source", yuv(yip_convertUYVYToRGB, 2, 1, nullptr, 4, d.data(), 8)},
        {"null destination", yuv(yip_convertUYVToGreyscale, 2, 1, s.data(), 6, nullptr, 2)},
        {"odd UYVY width", yuv(yip_convertUYVYToRGB, 3, 1, s.data(), 8, d.data(), 12)},
        {"odd UYVY grey width", yuv(yip_convertUYVYToGreyscale, 1, 1, s.data(), 4, d.data(), 1)},
        {"UYYVYY width 6", yuv(yip_convertUYYVYYToRGB, 6, 1, s.data(), 12, d.data(), 24)},
        {"UYYVYY grey width 2", yuv(yip_convertUYYVYYToGreyscale, 2, 1, s.data(), 6, d.data(), 2)},
        {"short source rows", yuv(yip_convertUYVYToRGB, 4, 2, s.data(), 7, d.data(), 16)},
        {"short destination rows", yuv(yip_convertUYVToRGB, 2, 2, s.data(), 6, d.data(), 7)},
        {"short RGB24 rows", yip_convertRGB24ToRGB(2, 2, s.data(), 5, d.data(), 8, 0)},
        {"null RGB24 source", yip_convertRGB24ToRGB(1, 1, nullptr, 3, d.data(), 4, 1)},
        {"short Bayer rows", yip_convertBayer8ToRGB(4, 2, s.data(), 3, d.data(), 16, YIP_BAYER_RGGB)},
        {"short Bayer grey rows", yip_convertBayer8ToGreyscale(4, 2, s.data(), 4, d.data(), 3, YIP_BAYER_RGGB)},
        {"pattern -1", yip_convertBayer8ToRGB(2, 2, s.data(), 2, d.data(), 8, -1)},
        {"pattern 4", yip_convertBayer8ToGreyscale(2, 2, s.data(), 2, d.data(), 2, 4)},
    };
    for (const auto& [what, status] : cases) EXPECT_EQ(status, YSTD_ERR_BAD_ARGUMENT) << what;
    EXPECT_EQ(d, std::vector<std::uint8_t>(64, 7));
}

#include "core/kernels/reduce.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

#include <limits>

using namespace kerneltest;

namespace {

struct Reduce {
    int pelSize;
    int (*min)(const yimg_image*, std::uint32_t*);
    int (*max)(const yimg_image*, std::uint32_t*);
    int (*minMax)(const yimg_image*, std::uint32_t*, std::uint32_t*);
};
const Reduce reductions[] = {
    {1, yip_pelUnaryMin8, yip_pelUnaryMax8, yip_pelUnaryMinMax8},
    {2, yip_pelUnaryMin16, yip_pelUnaryMax16, yip_pelUnaryMinMax16},
    {4, yip_pelUnaryMin32, yip_pelUnaryMax32, yip_pelUnaryMinMax32},
};

// The reference over the window, through the row function of the pel size.
void expected(Image& im, int pelSize, std::uint32_t& lo, std::uint32_t& hi)
{
    lo = std::numeric_limits<std::uint32_t>::max();
    hi = 0;
    for (std::int32_t y = 0; y < im.height(); ++y) {
        const auto n = std::size_t(im.width());
        switch (pelSize) {
        case 1: ycore::ref::MinMax8Row(im.row<std::uint8_t>(y), n, &lo, &hi); break;
        case 2: ycore::ref::MinMax16Row(im.row<std::uint16_t>(y), n, &lo, &hi); break;
        default: ycore::ref::MinMax32Row(im.row<std::uint32_t>(y), n, &lo, &hi); break;
        }
    }
}

} // namespace

TEST(CoreKernels, ReductionsMatchReferenceOnEveryTarget)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(5);
        for (const Reduce& r : reductions) {
            for (const Shape& sh : awkwardShapes()) {
                Image s(sh.width, sh.height, r.pelSize, sh.skip, sh.pad * r.pelSize);
                s.fill(rng);
                // Now and then a flat window with one low pel anywhere and a high
                // one in the tail of a row, which a vector pass could miss.
                if (rng() % 2) {
                    for (std::int32_t y = 0; y < sh.height; ++y) {
                        for (std::int32_t x = 0; x < sh.width; ++x) putPel(s, x, y, 100);
                    }
                    putPel(s, std::int32_t(rng() % std::uint32_t(sh.width)), sh.height - 1, 3);
                    putPel(s, sh.width - 1, 0, 200);
                }
                std::uint32_t lo, hi, min = 7, max = 7, min2 = 7, max2 = 7;
                expected(s, r.pelSize, lo, hi);
                ASSERT_EQ(r.minMax(s.get(), &min, &max), YSTD_OK);
                ASSERT_EQ(r.min(s.get(), &min2), YSTD_OK);
                ASSERT_EQ(r.max(s.get(), &max2), YSTD_OK);
                EXPECT_EQ(std::vector<std::uint32_t>({min, max, min2, max2}), std::vector<std::uint32_t>({lo, hi, lo, hi}))
                    << target << " pel size " << r.pelSize << " width " << sh.width;
            }
        }
    });
}

TEST(CoreKernels, ReductionsOfHandPickedWindows)
{
    Image s8(40, 1, 1), s16(40, 1, 2), s32(40, 1, 4), empty(0, 3, 1), bad(40, 1, 2);
    for (std::int32_t x = 0; x < 40; ++x) {
        s8.set<std::uint8_t>(x, 0, std::uint8_t(100 + x));
        s16.set<std::uint16_t>(x, 0, std::uint16_t(60000 - x));
        s32.set<std::uint32_t>(x, 0, 0x80000000u + std::uint32_t(x) * 0x1000000u);
    }
    struct Case {
        const Reduce& r;
        yimg_image* s;
        int status;
        std::uint32_t min, max;
    } cases[] = {
        {reductions[0], s8.get(), YSTD_OK, 100, 139},
        {reductions[1], s16.get(), YSTD_OK, 59961, 60000},
        {reductions[2], s32.get(), YSTD_OK, 0x80000000u, 0xA7000000u},
        // An empty window leaves the outputs alone.
        {reductions[0], empty.get(), YSTD_ERR_BAD_ARGUMENT, 7, 7},
        {reductions[0], bad.get(), YSTD_ERR_BAD_IMAGE, 7, 7},
        {reductions[0], nullptr, YSTD_ERR_BAD_IMAGE, 7, 7},
    };
    for (const Case& c : cases) {
        std::uint32_t min = 7, max = 7;
        EXPECT_EQ(c.r.minMax(c.s, &min, &max), c.status);
        EXPECT_EQ(min, c.min);
        EXPECT_EQ(max, c.max);
        min = 7;
        EXPECT_EQ(c.r.min(c.s, &min), c.status);
        EXPECT_EQ(min, c.min);
    }
    EXPECT_EQ(yip_pelUnaryMinMax8(s8.get(), nullptr, nullptr), YSTD_ERR_BAD_ARGUMENT);
}

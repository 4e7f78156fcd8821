#include "core/kernels/median.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

TEST(CoreKernels, MedianOfKnownBlocks)
{
    struct Case {
        std::uint8_t block[9];
        std::uint8_t want;
    } cases[] = {
        {{9, 1, 8, 2, 7, 3, 6, 4, 5}, 5},
        {{0, 0, 0, 0, 255, 255, 255, 255, 255}, 255},
        {{255, 255, 255, 255, 0, 0, 0, 0, 0}, 0},
        {{7, 7, 7, 7, 7, 7, 7, 7, 7}, 7},
        {{1, 2, 3, 1, 2, 3, 1, 2, 3}, 2},
        {{200, 10, 10, 200, 200, 10, 90, 90, 90}, 90},
    };
    forEachTarget([&](const std::string& target) {
        for (const Case& c : cases) {
            Image s(3, 3, 1, 2, 1), d(1, 1, 1, 1, 0);
            for (int i = 0; i < 9; ++i) s.set<std::uint8_t>(i % 3, i / 3, c.block[i]);
            ASSERT_EQ(yip_pelMedian3x3_8(s.get(), d.get()), YSTD_OK);
            EXPECT_EQ(d.at<std::uint8_t>(0, 0), c.want) << target;
        }
        // A constant image stays constant, however wide.
        Image s(302, 7, 1), d(300, 5, 1);
        for (int y = 0; y < 7; ++y) {
            for (int x = 0; x < 302; ++x) s.set<std::uint8_t>(x, y, 173);
        }
        ASSERT_EQ(yip_pelMedian3x3_8(s.get(), d.get()), YSTD_OK);
        EXPECT_EQ(d.pels(), std::vector<unsigned char>(300 * 5, 173)) << target;
    });
}

TEST(CoreKernels, MedianMatchesReferenceOnEveryTarget)
{
    std::vector<Shape> shapes = awkwardShapes();
    for (Shape sh : std::vector<Shape>{{1, 1, 0, 0}, {7, 9, 1, 3}, {17, 33, 2, 0}, {100, 3, 0, 5}, {64, 4, 3, 3}}) {
        shapes.push_back(sh);
    }
    forEachTarget([&](const std::string& target) {
        std::mt19937 rng(9);
        for (int levels : {256, 3}) {
            for (const Shape& sh : shapes) {
                Image s(sh.width + 2, sh.height + 2, 1, sh.skip, sh.pad), d(sh.width, sh.height, 1, sh.pad % 5, sh.skip);
                s.fill(rng);
                // Few levels make ties everywhere.
                if (levels != 256) {
                    for (std::int32_t y = 0; y < s.height(); ++y) {
                        for (std::int32_t x = 0; x < s.width(); ++x) {
                            s.set<std::uint8_t>(x, y, std::uint8_t(s.at<std::uint8_t>(x, y) % levels));
                        }
                    }
                }
                d.fill(rng);
                Image want = d;
                ycore::ref::Median3x3(s.row<std::uint8_t>(0), s.get()->stride, want.row<std::uint8_t>(0),
                                      want.get()->stride, std::size_t(sh.width), std::size_t(sh.height));
                ASSERT_EQ(yip_pelMedian3x3_8(s.get(), d.get()), YSTD_OK);
                ASSERT_EQ(d.bytes(), want.bytes()) << target << " " << sh.width << "x" << sh.height;
            }
        }
    });
}

TEST(CoreKernels, MedianNeedsASourceTwoPelsLarger)
{
    Image s(6, 5, 1), d(4, 3, 1), small(4, 3, 1), off(5, 3, 1), wide(6, 5, 2), empty(0, 0, 1), two(2, 2, 1);
    struct Case {
        const yimg_image* s;
        yimg_image* d;
        int status;
    } cases[] = {
        {s.get(), d.get(), YSTD_OK},
        {two.get(), empty.get(), YSTD_OK},
        {small.get(), d.get(), YSTD_ERR_BAD_ARGUMENT},
        {s.get(), off.get(), YSTD_ERR_BAD_ARGUMENT},
        {wide.get(), d.get(), YSTD_ERR_BAD_IMAGE},
        {nullptr, d.get(), YSTD_ERR_BAD_IMAGE},
        {s.get(), nullptr, YSTD_ERR_BAD_IMAGE},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelMedian3x3_8(c.s, c.d), c.status);
}

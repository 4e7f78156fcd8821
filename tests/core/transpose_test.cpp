#include "core/kernels/transpose.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

TEST(CoreKernels, TransposeOfThreeByTwo)
{
    forEachTarget([](const std::string& target) {
        Image s(3, 2, 2, 1, 1), d(2, 3, 2, 0, 5);
        for (int i = 0; i < 6; ++i) s.set<std::uint16_t>(i % 3, i / 3, std::uint16_t(1000 + i));
        ASSERT_EQ(yip_pelTranspose(s.get(), d.get()), YSTD_OK);
        const std::uint16_t want[3][2] = {{1000, 1003}, {1001, 1004}, {1002, 1005}};
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 2; ++x) EXPECT_EQ(d.at<std::uint16_t>(x, y), want[y][x]) << target;
        }
    });
}

TEST(CoreKernels, TransposeMatchesReferenceOnEveryTarget)
{
    std::vector<Shape> shapes = awkwardShapes();
    // Sizes around and across the tiles.
    for (Shape sh : std::vector<Shape>{{1, 1, 0, 0},     {7, 9, 1, 3},    {17, 33, 2, 0},  {100, 3, 0, 5},
                                       {3, 100, 3, 1},   {8, 8, 0, 0},    {16, 16, 1, 0},  {32, 32, 0, 0},
                                       {33, 17, 0, 9},   {64, 65, 5, 2},  {130, 70, 0, 1}, {1, 300, 0, 0},
                                       // Around and across the blocks of a cache line square.
                                       {128, 128, 0, 0}, {191, 129, 3, 7}, {63, 200, 0, 1}, {200, 63, 1, 0}}) {
        shapes.push_back(sh);
    }
    forEachTarget([&](const std::string& target) {
        std::mt19937 rng(3);
        for (int p : {1, 2, 4, 8}) {
            for (const Shape& sh : shapes) {
                Image s(sh.width, sh.height, p, sh.skip, sh.pad), d(sh.height, sh.width, p, sh.pad % 4, sh.skip);
                s.fill(rng);
                d.fill(rng);
                Image want = d;
                ycore::ref::Transpose(s.row<std::uint8_t>(0), s.get()->stride, want.row<std::uint8_t>(0),
                                      want.get()->stride, std::size_t(sh.width), std::size_t(sh.height), p);
                ASSERT_EQ(yip_pelTranspose(s.get(), d.get()), YSTD_OK);
                ASSERT_EQ(d.bytes(), want.bytes()) << target << " pel size " << p << " " << sh.width << "x" << sh.height;
            }
        }
    });
}

// Large enough for the streaming stores, with destination rows not all
// 32-byte aligned: only the aligned ones stream.
TEST(CoreKernels, TransposeMatchesReferenceOnLargeWindows)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(5);
        Image s(1030, 1024, 8, 1, 0), d(1024, 1030, 8, 0, 16);
        s.fill(rng);
        d.fill(rng);
        Image want = d;
        ycore::ref::Transpose(s.row<std::uint8_t>(0), s.get()->stride, want.row<std::uint8_t>(0), want.get()->stride,
                              1030, 1024, 8);
        ASSERT_EQ(yip_pelTranspose(s.get(), d.get()), YSTD_OK);
        ASSERT_EQ(d.bytes(), want.bytes()) << target;
    });
}

TEST(CoreKernels, TransposeChecksItsDescriptors)
{
    Image a(4, 2, 1), b(2, 4, 1), same(4, 2, 1), odd(4, 2, 3), oddT(2, 4, 3), wide(2, 4, 2), square(3, 3, 1);
    struct Case {
        const yimg_image* s;
        yimg_image* d;
        int status;
    } cases[] = {
        {a.get(), b.get(), YSTD_OK},
        {nullptr, b.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), nullptr, YSTD_ERR_BAD_IMAGE},
        {odd.get(), oddT.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), wide.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), same.get(), YSTD_ERR_BAD_ARGUMENT},
        {square.get(), square.get(), YSTD_ERR_BAD_ARGUMENT},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelTranspose(c.s, c.d), c.status);
}

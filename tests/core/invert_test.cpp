#include "core/kernels/invert.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

TEST(CoreKernels, InvertMatchesReferenceOnEveryTarget)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(7);
        for (const Shape& sh : awkwardShapes()) {
            Image s(sh.width, sh.height, 1, sh.skip, sh.pad), d(sh.width, sh.height, 1, sh.skip + 1, sh.pad);
            s.fill(rng);
            d.fill(rng);
            Image want = d;
            for (std::int32_t y = 0; y < sh.height; ++y) {
                ycore::ref::Invert8Row(s.row<std::uint8_t>(y), want.row<std::uint8_t>(y), std::size_t(sh.width));
            }
            ASSERT_EQ(yip_pelInvert8(s.get(), d.get()), YSTD_OK);
            ASSERT_EQ(d.bytes(), want.bytes()) << target << " width " << sh.width;
        }
    });
}

TEST(CoreKernels, DescriptorsAreCheckedBeforeAnyPel)
{
    Image a(4, 2, 1), b(4, 2, 1), narrow(3, 2, 1), wide(4, 2, 2);
    yimg_image nullPels = *a.get();
    nullPels.pels = nullptr;
    yimg_image shortStride = *a.get();
    shortStride.stride = 3;
    yimg_image negative = *a.get();
    negative.width = -1;
    struct Case {
        const yimg_image* s;
        yimg_image* d;
        int status;
    } cases[] = {
        {a.get(), b.get(), YSTD_OK},
        {nullptr, b.get(), YSTD_ERR_BAD_IMAGE},
        {&nullPels, b.get(), YSTD_ERR_BAD_IMAGE},
        {&shortStride, b.get(), YSTD_ERR_BAD_IMAGE},
        {&negative, b.get(), YSTD_ERR_BAD_IMAGE},
        {wide.get(), b.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), narrow.get(), YSTD_ERR_BAD_ARGUMENT},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelInvert8(c.s, c.d), c.status);
}

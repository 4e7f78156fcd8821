#include "tests/core/kernels.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace kerneltest;

TEST(CoreKernels, ConvertKeepsLowBitsOrZeroExtends)
{
    struct Case {
        int from, to;
        std::uint32_t s, want;
    } cases[] = {
        {2, 1, 0x1234, 0x34},         {4, 2, 0x12345678, 0x5678}, {4, 1, 0x12345678, 0x78},
        {1, 2, 0xFF, 0xFF},           {1, 4, 0x80, 0x80},         {2, 4, 0xFFFF, 0xFFFF},
        {4, 4, 0xDEADBEEF, 0xDEADBEEF}, {1, 1, 0x7F, 0x7F},
    };
    forEachTarget([&](const std::string& target) {
        for (const Case& c : cases) {
            Image s(37, 1, c.from), d(37, 1, c.to);
            for (std::int32_t x = 0; x < 37; ++x) putPel(s, x, 0, c.s);
            ASSERT_EQ(yip_pelConvert(s.get(), d.get()), YSTD_OK);
            for (std::int32_t x = 0; x < 37; ++x) {
                ASSERT_EQ(getPel(d, x, 0), c.want) << target << " " << c.from << " -> " << c.to << " at " << x;
            }
        }
    });
}

TEST(CoreKernels, ConvertMatchesReferenceOnEveryTarget)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(3);
        for (int from : {1, 2, 4}) {
            for (int to : {1, 2, 4}) {
                for (const Shape& sh : awkwardShapes()) {
                    Image s(sh.width, sh.height, from, sh.skip, sh.pad * from);
                    Image d(sh.width, sh.height, to, sh.skip + 1, sh.pad * to);
                    s.fill(rng);
                    d.fill(rng);
                    Image want = d;
                    for (std::int32_t y = 0; y < sh.height; ++y) {
                        for (std::int32_t x = 0; x < sh.width; ++x) {
                            std::uint32_t v = 0;
                            std::memcpy(&v, s.row<unsigned char>(y) + x * from, std::size_t(from));
                            putPel(want, x, y, v);
                        }
                    }
                    ASSERT_EQ(yip_pelConvert(s.get(), d.get()), YSTD_OK);
                    ASSERT_EQ(d.bytes(), want.bytes()) << target << " " << from << " -> " << to << " width " << sh.width;
                }
            }
        }
    });
}

TEST(CoreKernels, ConvertChecksDescriptors)
{
    Image a(4, 2, 1), b(4, 2, 2), narrow(3, 2, 2), odd(4, 2, 3);
    struct Case {
        yimg_image *s, *d;
        int status;
    } cases[] = {
        {a.get(), b.get(), YSTD_OK},
        {a.get(), narrow.get(), YSTD_ERR_BAD_ARGUMENT},
        {odd.get(), b.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), odd.get(), YSTD_ERR_BAD_IMAGE},
        {nullptr, b.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), nullptr, YSTD_ERR_BAD_IMAGE},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelConvert(c.s, c.d), c.status);
}

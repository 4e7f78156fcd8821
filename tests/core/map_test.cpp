#include "core/kernels/map.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

TEST(CoreKernels, MapThroughKnownTables)
{
    std::uint8_t identity[256], reversing[256], constant[256];
    for (int i = 0; i < 256; ++i) {
        identity[i] = std::uint8_t(i);
        reversing[i] = std::uint8_t(255 - i);
        constant[i] = 42;
    }
    const std::uint8_t src[] = {0, 1, 127, 128, 254, 255};
    struct Case {
        const std::uint8_t* table;
        std::uint8_t want[6];
    } cases[] = {
        {identity, {0, 1, 127, 128, 254, 255}},
        {reversing, {255, 254, 128, 127, 1, 0}},
        {constant, {42, 42, 42, 42, 42, 42}},
    };
    forEachTarget([&](const std::string& target) {
        for (const Case& c : cases) {
            Image s(3, 2, 1), d(3, 2, 1, 1, 2);
            for (int i = 0; i < 6; ++i) s.set<std::uint8_t>(i % 3, i / 3, src[i]);
            ASSERT_EQ(yip_pelMap8(s.get(), d.get(), c.table), YSTD_OK);
            for (int i = 0; i < 6; ++i) EXPECT_EQ(d.at<std::uint8_t>(i % 3, i / 3), c.want[i]) << target << " pel " << i;
        }
    });
}

TEST(CoreKernels, MapMatchesReferenceOnEveryTarget)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(11);
        for (const Shape& sh : awkwardShapes()) {
            std::uint8_t table[256];
            for (auto& t : table) t = std::uint8_t(rng());
            Image s(sh.width, sh.height, 1, sh.skip, sh.pad), d(sh.width, sh.height, 1, sh.skip + 2, sh.pad + 1);
            s.fill(rng);
            d.fill(rng);
            Image want = d;
            for (std::int32_t y = 0; y < sh.height; ++y) {
                ycore::ref::Map8Row(s.row<std::uint8_t>(y), want.row<std::uint8_t>(y), std::size_t(sh.width), table);
            }
            ASSERT_EQ(yip_pelMap8(s.get(), d.get(), table), YSTD_OK);
            ASSERT_EQ(d.bytes(), want.bytes()) << target << " width " << sh.width;

            // In place, through the same window.
            ASSERT_EQ(yip_pelMap8(s.get(), s.get(), table), YSTD_OK);
            ASSERT_EQ(s.pels(), d.pels()) << target << " in place, width " << sh.width;
        }
    });
}

TEST(CoreKernels, MapRejectsMissingTable)
{
    Image s(4, 2, 1), d(4, 2, 1), wide(4, 2, 2);
    std::uint8_t table[256] = {};
    EXPECT_EQ(yip_pelMap8(s.get(), d.get(), nullptr), YSTD_ERR_BAD_ARGUMENT);
    EXPECT_EQ(yip_pelMap8(wide.get(), d.get(), table), YSTD_ERR_BAD_IMAGE);
}

#include "core/kernels/flip.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

using namespace kerneltest;

namespace {

template <class T>
void expectOddWidthFlip(const std::string& target)
{
    Image s(5, 2, sizeof(T), 1, 3), d(5, 2, sizeof(T), 2, 1);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 5; ++x) s.set<T>(x, y, T(10 * y + x + 1));
    }
    ASSERT_EQ(yip_pelFlipH(s.get(), d.get()), YSTD_OK);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 5; ++x) EXPECT_EQ(d.at<T>(x, y), T(10 * y + 5 - x)) << target << " size " << sizeof(T);
    }
}

} // namespace

TEST(CoreKernels, FlipOfOddWidth)
{
    forEachTarget([](const std::string& target) {
        expectOddWidthFlip<std::uint8_t>(target);
        expectOddWidthFlip<std::uint16_t>(target);
        expectOddWidthFlip<std::uint32_t>(target);
        expectOddWidthFlip<std::uint64_t>(target);
    });
}

TEST(CoreKernels, FlipMatchesReferenceOnEveryTarget)
{
    forEachTarget([](const std::string& target) {
        std::mt19937 rng(5);
        for (int p : {1, 2, 4, 8}) {
            for (const Shape& sh : awkwardShapes()) {
                Image s(sh.width, sh.height, p, sh.skip, sh.pad), d(sh.width, sh.height, p, sh.skip + 1, sh.pad + 3);
                s.fill(rng);
                d.fill(rng);
                Image want = d;
                for (std::int32_t y = 0; y < sh.height; ++y) {
                    ycore::ref::FlipHRow(s.row<std::uint8_t>(y), want.row<std::uint8_t>(y), std::size_t(sh.width), p);
                }
                ASSERT_EQ(yip_pelFlipH(s.get(), d.get()), YSTD_OK);
                ASSERT_EQ(d.bytes(), want.bytes()) << target << " pel size " << p << " width " << sh.width;
            }
        }
    });
}

TEST(CoreKernels, FlipChecksItsDescriptors)
{
    Image a(4, 2, 2), b(4, 2, 2), odd(4, 2, 3), odd2(4, 2, 3), narrow(3, 2, 2), bytes(4, 2, 1);
    struct Case {
        const yimg_image* s;
        yimg_image* d;
        int status;
    } cases[] = {
        {a.get(), b.get(), YSTD_OK},
        {nullptr, b.get(), YSTD_ERR_BAD_IMAGE},
        {odd.get(), odd2.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), bytes.get(), YSTD_ERR_BAD_IMAGE},
        {a.get(), narrow.get(), YSTD_ERR_BAD_ARGUMENT},
        {a.get(), a.get(), YSTD_ERR_BAD_ARGUMENT},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelFlipH(c.s, c.d), c.status);
}

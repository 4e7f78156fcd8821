#include "core/kernels/weighted.h"
#include "core/yconvert.h"
#include "tests/core/kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace kerneltest;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

std::uint32_t pel(int r, int g, int b, int x) { return std::uint32_t(b | g << 8 | r << 16 | x << 24); }

} // namespace

TEST(CoreWeighted, RoundsHalvesUpAndClamps)
{
    struct Case {
        double cr, cg, cb, c4;
        std::uint32_t p;
        int want;
    } cases[] = {
        {0.299, 0.587, 0.114, 0, pel(255, 255, 255, 9), 255},
        {0.299, 0.587, 0.114, 0, pel(10, 20, 30, 0), 18}, // 18.15
        {0.5, 0, 0, 0, pel(1, 0, 0, 0), 1},               // 0.5 rounds up
        {0.5, 0, 0, 0, pel(3, 0, 0, 0), 2},               // 1.5 too
        {0, 0, 0, 0.25, pel(0, 0, 0, 2), 1},              // the fourth byte counts
        {0, 1, 0, 0, pel(0, 77, 0, 0), 77},               // green alone
        {0, 0, 1, 0, pel(0, 0, 77, 0), 77},               // blue alone
        {-1, 0, 0, 0, pel(5, 0, 0, 0), 0},
        {-0.001, 0, 0, 0, pel(255, 0, 0, 0), 0},
        {2, 0, 0, 0, pel(200, 0, 0, 0), 255},
        {kInf, 0, 0, 0, pel(1, 0, 0, 0), 255},
        {kInf, 0, 0, 0, pel(0, 0, 0, 0), 0}, // inf * 0 is NaN
        {kNaN, 1, 1, 1, pel(9, 9, 9, 9), 0},
        {1e308, 1e308, 0, 0, pel(255, 255, 0, 0), 255}, // the sum overflows to inf
        {0.1, 0.2, 0.3, 0.4, pel(255, 255, 255, 255), 255},
    };
    forEachTarget([&](const std::string& target) {
        for (const Case& c : cases) {
            Image s(37, 2, 4), d(37, 2, 1);
            for (std::int32_t y = 0; y < 2; ++y) {
                for (std::int32_t x = 0; x < 37; ++x) putPel(s, x, y, c.p);
            }
            ASSERT_EQ(yip_pelAdd3Weighted8(s.get(), d.get(), c.cr, c.cg, c.cb, c.c4), YSTD_OK);
            for (std::int32_t x = 0; x < 37; ++x) {
                ASSERT_EQ(getPel(d, x, 1), std::uint32_t(c.want)) << target << " " << c.cr << " at " << x;
            }
        }
    });
}

TEST(CoreWeighted, EveryTargetMatchesTheReferenceAndTheRule)
{
    const ycore::ref::Weights weights[] = {
        {0.299, 0.587, 0.114, 0}, {1.0 / 3, 1.0 / 3, 1.0 / 3, 0}, {0.5, 0.25, 0.125, 0.0625},
        {-0.7, 1.9, 0.3, -0.01},  {1e-17, 1, 1e17, 0},         {kNaN, 0, 0, 0},
    };
    forEachTarget([&](const std::string& target) {
        std::mt19937 rng(9);
        for (const ycore::ref::Weights& w : weights) {
            for (const Shape& sh : awkwardShapes()) {
                Image s(sh.width, sh.height, 4, sh.skip, sh.pad), d(sh.width, sh.height, 1, sh.skip + 2, sh.pad);
                s.fill(rng);
                d.fill(rng);
                Image want = d;
                for (std::int32_t y = 0; y < sh.height; ++y) {
                    ycore::ref::Weighted8Row(s.row<std::uint8_t>(y), want.row<std::uint8_t>(y),
                                             std::size_t(sh.width), w);
                }
                ASSERT_EQ(yip_pelAdd3Weighted8(s.get(), d.get(), w.r, w.g, w.b, w.x), YSTD_OK);
                ASSERT_EQ(d.bytes(), want.bytes()) << target << " width " << sh.width;
                // The rule itself, on the last row.
                const std::int32_t y = sh.height - 1;
                for (std::int32_t x = 0; x < sh.width; ++x) {
                    const std::uint32_t p = getPel(s, x, y);
                    const double v = w.r * double(p >> 16 & 0xFF) + w.g * double(p >> 8 & 0xFF) +
                                     w.b * double(p & 0xFF) + w.x * double(p >> 24);
                    const double f = std::isnan(v) ? 0 : std::clamp(std::floor(v + 0.5), 0.0, 255.0);
                    ASSERT_EQ(getPel(d, x, y), std::uint32_t(f)) << x;
                }
            }
        }
    });
}

TEST(CoreWeighted, DescriptorsAreChecked)
{
    Image s(4, 2, 4), d(4, 2, 1), narrow(3, 2, 1), grey(4, 2, 1), wide(4, 2, 4);
    yimg_image nullPels = *s.get();
    nullPels.pels = nullptr;
    struct Case {
        const yimg_image* s;
        yimg_image* d;
        int status;
    } cases[] = {
        {s.get(), d.get(), YSTD_OK},
        {nullptr, d.get(), YSTD_ERR_BAD_IMAGE},
        {&nullPels, d.get(), YSTD_ERR_BAD_IMAGE},
        {grey.get(), d.get(), YSTD_ERR_BAD_IMAGE},
        {s.get(), wide.get(), YSTD_ERR_BAD_IMAGE},
        {s.get(), narrow.get(), YSTD_ERR_BAD_ARGUMENT},
    };
    for (const Case& c : cases) EXPECT_EQ(yip_pelAdd3Weighted8(c.s, c.d, 1, 0, 0, 0), c.status);
}

// Three bytes a pixel to packed 32-bit pels.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/rgb24.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/rgb24.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void RGB24ToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n, int blueFirst)
{
    const hn::ScalableTag<std::uint8_t> t;
    const std::size_t N = hn::Lanes(t);
    const auto zero = hn::Zero(t);
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        hn::Vec<decltype(t)> a, g, c;
        hn::LoadInterleaved3(t, s + 3 * i, a, g, c);
        if (blueFirst) {
            hn::StoreInterleaved4(a, g, c, zero, t, d + 4 * i);
        } else {
            hn::StoreInterleaved4(c, g, a, zero, t, d + 4 * i);
        }
    }
    ref::RGB24ToRGBRow(s + 3 * i, d + 4 * i, n - i, blueFirst);
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/camera.h"
#include "core/kernels/dispatch.h"
#include "core/kernels/rgb24.h"
#include "core/yconvert.h"

namespace ycore {
YCORE_EXPORT(RGB24ToRGBRow);
}

extern "C" int yip_convertRGB24ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                     uint8_t* dst, ptrdiff_t dstRow, int blueFirst)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, 3, 1}, {dst, dstRow, 4, 1}); st != YSTD_OK) return st;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        YCORE_ROW(RGB24ToRGBRow)(rowAt(src, srcRow, y), rowAt(dst, dstRow, y), std::size_t(width), blueFirst != 0);
    }
    return YSTD_OK;
}
#endif

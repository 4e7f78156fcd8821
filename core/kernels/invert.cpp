// d = 255 - s for 8-bit pels.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/invert.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void Invert8Row(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const hn::ScalableTag<std::uint8_t> t;
    const std::size_t N = hn::Lanes(t);
    const auto ones = hn::Set(t, 0xFF);
    std::size_t i = 0;
    for (; i + N <= n; i += N) hn::StoreU(hn::Xor(hn::LoadU(t, s + i), ones), t, d + i);
    for (; i < n; ++i) d[i] = static_cast<std::uint8_t>(255 - s[i]);
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/image.h"
#include "core/kernels/invert.h"

namespace ycore {
YCORE_EXPORT(Invert8Row);
}

extern "C" int yip_pelInvert8(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    if (int st = checkSame({s, d}, 1); st != YSTD_OK) return st;
    const Rows rows = rowsOf({s, d});
    for (std::int32_t y = 0; y < rows.count; ++y) {
        YCORE_ROW(Invert8Row)(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), rows.length);
    }
    return YSTD_OK;
}
#endif

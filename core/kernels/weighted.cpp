// The weighted sum of the bytes of packed 32-bit pels, into 8 bits.
//
// The vector path keeps the reference's double arithmetic step for step:
// products, then sums left to right, never fused, so it gives the same bits.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/weighted.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/weighted.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

void Weighted8Row(const std::uint8_t* s, std::uint8_t* d, std::size_t n, const ref::Weights& w)
{
#if HWY_TARGET == HWY_SCALAR
    ref::Weighted8Row(s, d, n, w);
#else
    // Pels in a full vector of 32-bit lanes, sums in two of doubles, and one
    // narrowing to bytes for both.
    const hn::ScalableTag<double> t;
    const hn::Repartition<std::int32_t, decltype(t)> t32;
    const hn::Half<decltype(t32)> th;
    const hn::Rebind<std::uint8_t, decltype(t32)> t8;
    const std::size_t N = hn::Lanes(t32);
    const auto cr = hn::Set(t, w.r), cg = hn::Set(t, w.g), cb = hn::Set(t, w.b), cx = hn::Set(t, w.x);
    const auto half = hn::Set(t, 0.5), one = hn::Set(t, 1.0), top = hn::Set(t, 255.0);
    const auto byte = hn::Set(t32, 0xFF);
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        const auto p = hn::LoadU(t32, reinterpret_cast<const std::int32_t*>(s + 4 * i));
        const auto r = hn::And(hn::ShiftRight<16>(p), byte), g = hn::And(hn::ShiftRight<8>(p), byte);
        const auto b = hn::And(p, byte), x = hn::And(hn::ShiftRight<24>(p), byte);
        const auto sum = [&](auto part) {
            auto v = hn::Mul(cr, hn::PromoteTo(t, part(r)));
            v = hn::Add(v, hn::Mul(cg, hn::PromoteTo(t, part(g))));
            v = hn::Add(v, hn::Mul(cb, hn::PromoteTo(t, part(b))));
            v = hn::Add(hn::Add(v, hn::Mul(cx, hn::PromoteTo(t, part(x)))), half);
            // Below 1 or NaN gives 0; between 1 and 255 truncation is the floor.
            return hn::DemoteTo(th, hn::IfThenElseZero(hn::Ge(v, one), hn::Min(v, top)));
        };
        const auto lo = sum([&](auto v) { return hn::LowerHalf(th, v); });
        const auto hi = sum([&](auto v) { return hn::UpperHalf(th, v); });
        hn::StoreU(hn::DemoteTo(t8, hn::Combine(t32, hi, lo)), t8, d + i);
    }
    ref::Weighted8Row(s + 4 * i, d + i, n - i, w);
#endif
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/image.h"
#include "core/kernels/weighted.h"
#include "core/yconvert.h"

namespace ycore {
YCORE_EXPORT(Weighted8Row);
}

extern "C" int yip_pelAdd3Weighted8(const yimg_image* s, yimg_image* d, double cr, double cg, double cb, double c4)
{
    using namespace ycore;
    if (int st = checkImage(s, 4); st != YSTD_OK) return st;
    if (int st = checkImage(d, 1); st != YSTD_OK) return st;
    if (s->width != d->width || s->height != d->height) return YSTD_ERR_BAD_ARGUMENT;
    const ref::Weights w = {cr, cg, cb, c4};
    const Rows rows = rowsOf({s, d});
    for (std::int32_t y = 0; y < rows.count; ++y) {
        YCORE_ROW(Weighted8Row)(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), rows.length, w);
    }
    return YSTD_OK;
}
#endif

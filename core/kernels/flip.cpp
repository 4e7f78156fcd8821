// Mirror of the columns, for pels of 1, 2, 4 and 8 bytes: whole vectors are
// loaded from the end of the source row, reversed and stored from the start.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/flip.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/pelsize.h"

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
hn::Vec<D> ReverseLanes(D t, hn::Vec<D> v)
{
    if constexpr (sizeof(hn::TFromD<D>) == 1) {
        // No byte Reverse here: reverse the bytes of each 64-bit lane, then
        // the 64-bit lanes.
        const hn::Repartition<std::uint64_t, D> t64;
        const auto within = hn::Xor(hn::Iota(t, 0), hn::Set(t, 7));
        return hn::BitCast(t, hn::Reverse(t64, hn::BitCast(t64, hn::TableLookupBytes(v, within))));
    } else {
        return hn::Reverse(t, v);
    }
}

template <class T>
void FlipRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> t;
    const std::size_t N = hn::Lanes(t);
    for (; i + N <= n; i += N) {
        const auto v = hn::LoadU(t, reinterpret_cast<const T*>(s + (n - i - N) * sizeof(T)));
        hn::StoreU(ReverseLanes(t, v), t, reinterpret_cast<T*>(d + i * sizeof(T)));
    }
#endif
    for (; i < n; ++i) std::memcpy(d + i * sizeof(T), s + (n - 1 - i) * sizeof(T), sizeof(T));
}

void FlipHRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n, int pelSize)
{
    withPelType(pelSize, [&](auto pel) {
        using T = decltype(pel);
        FlipRow<T>(s, d, n);
    });
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/flip.h"
#include "core/kernels/image.h"
#include "core/kernels/pelsize.h"

namespace ycore {
YCORE_EXPORT(FlipHRow);
}

extern "C" int yip_pelFlipH(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    const int p = movablePelSize(s);
    if (p == 0) return YSTD_ERR_BAD_IMAGE;
    if (int st = checkSame({s, d}, p); st != YSTD_OK) return st;
    if (s->width == 0 || s->height == 0) return YSTD_OK;
    if (s->pels == d->pels) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < s->height; ++y) {
        YCORE_ROW(FlipHRow)(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), std::size_t(s->width), p);
    }
    return YSTD_OK;
}
#endif

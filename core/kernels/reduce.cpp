// The smallest and largest pel of a window.
#include "core/kernels/reduce.h"

#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/reduce.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The smallest (kMax false) or largest lane of v. 1.0.3 folds 8-bit lanes
// within 128 bits only, so those first fold into 16-bit lanes.
template <bool kMax, class D, class V>
std::uint32_t Extreme(D d, V v)
{
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(hn::TFromD<D>) == 1) {
        const auto pick = [](auto x, auto y) { return kMax ? hn::Max(x, y) : hn::Min(x, y); };
        const hn::Half<D> dh;
        const hn::RepartitionToWide<D> dw;
        return Extreme<kMax>(dw, pick(hn::PromoteTo(dw, hn::LowerHalf(dh, v)), hn::PromoteTo(dw, hn::UpperHalf(dh, v))));
    } else
#endif
    {
        return hn::GetLane(kMax ? hn::MaxOfLanes(d, v) : hn::MinOfLanes(d, v));
    }
}

// Lane-wise minimum and maximum over the whole vectors, folded across lanes
// once per row.
template <class T>
void MinMaxRow(const T* s, std::size_t n, std::uint32_t* lo, std::uint32_t* hi)
{
    const hn::ScalableTag<T> t;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    if (n >= N) {
        auto vlo = hn::LoadU(t, s), vhi = vlo;
        for (i = N; i + N <= n; i += N) {
            const auto v = hn::LoadU(t, s + i);
            vlo = hn::Min(vlo, v);
            vhi = hn::Max(vhi, v);
        }
        *lo = std::min(*lo, Extreme<false>(t, vlo));
        *hi = std::max(*hi, Extreme<true>(t, vhi));
    }
    if (i < n) ref::MinMaxRow(s + i, n - i, lo, hi);
}

YCORE_REDUCE_ROWS

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"

#include "core/kernels/image.h"

#include <limits>

namespace {

template <class T, class Row>
int minMax(const yimg_image* s, std::uint32_t* min, std::uint32_t* max, Row row)
{
    using namespace ycore;
    if (int st = checkImage(s, int(sizeof(T))); st != YSTD_OK) return st;
    if (s->width == 0 || s->height == 0) return YSTD_ERR_BAD_ARGUMENT;
    std::uint32_t lo = std::numeric_limits<std::uint32_t>::max(), hi = 0;
    const Rows rows = rowsOf({s});
    for (std::int32_t y = 0; y < rows.count; ++y) row(rowOf<const T>(s, y), rows.length, &lo, &hi);
    *min = lo;
    *max = hi;
    return YSTD_OK;
}

} // namespace

#define YCORE_REDUCE_ENTRIES(Sfx, T)                                                                        \
    namespace ycore {                                                                                       \
    YCORE_EXPORT(MinMax##Sfx##Row);                                                                         \
    }                                                                                                       \
    extern "C" int yip_pelUnaryMinMax##Sfx(const yimg_image* s, std::uint32_t* min, std::uint32_t* max)    \
    {                                                                                                       \
        using namespace ycore;                                                                              \
        if (min == nullptr || max == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                 \
        return minMax<T>(s, min, max, [](const T* r, std::size_t n, std::uint32_t* lo, std::uint32_t* hi) { \
            YCORE_ROW(MinMax##Sfx##Row)(r, n, lo, hi);                                                      \
        });                                                                                                 \
    }                                                                                                       \
    extern "C" int yip_pelUnaryMin##Sfx(const yimg_image* s, std::uint32_t* min)                           \
    {                                                                                                       \
        if (min == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                                   \
        std::uint32_t max = 0;                                                                              \
        return yip_pelUnaryMinMax##Sfx(s, min, &max);                                                       \
    }                                                                                                       \
    extern "C" int yip_pelUnaryMax##Sfx(const yimg_image* s, std::uint32_t* max)                           \
    {                                                                                                       \
        if (max == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                                   \
        std::uint32_t min = 0;                                                                              \
        return yip_pelUnaryMinMax##Sfx(s, &min, max);                                                       \
    }

YCORE_REDUCE_ENTRIES(8, std::uint8_t)
YCORE_REDUCE_ENTRIES(16, std::uint16_t)
YCORE_REDUCE_ENTRIES(32, std::uint32_t)
#endif

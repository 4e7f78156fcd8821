// Median of each 3x3 neighbourhood, 8-bit.
//
// With each column of three sorted into (lo, mid, hi), the median of nine is
// med3(max of the three lo, med3 of the three mid, min of the three hi).
// Two output rows are made together: their columns share two source rows,
// whose pair is sorted once.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/median.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/median.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class V>
HWY_INLINE V Med3(V a, V b, V c)
{
    return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

template <class V>
struct Column {
    V lo, mid, hi;
};

// The column of `a` over the sorted pair (plo, phi).
template <class V>
HWY_INLINE Column<V> Sorted(V a, V plo, V phi)
{
    return {hn::Min(a, plo), hn::Max(plo, hn::Min(a, phi)), hn::Max(a, phi)};
}

template <class V>
HWY_INLINE V MedianOf(const Column<V>& c0, const Column<V>& c1, const Column<V>& c2)
{
    return Med3(hn::Max(hn::Max(c0.lo, c1.lo), c2.lo), Med3(c0.mid, c1.mid, c2.mid),
                hn::Min(hn::Min(c0.hi, c1.hi), c2.hi));
}

// Output rows from r1 (and from r2 when r3 is given) at x.
template <class D>
HWY_INLINE void MedianAt(D t, const std::uint8_t* r0, const std::uint8_t* r1, const std::uint8_t* r2,
                         const std::uint8_t* r3, std::uint8_t* d0, std::uint8_t* d1, std::size_t x)
{
    using V = hn::Vec<D>;
    Column<V> a[3], b[3];
    for (std::size_t k = 0; k < 3; ++k) {
        const V p = hn::LoadU(t, r1 + x + k), q = hn::LoadU(t, r2 + x + k);
        const V plo = hn::Min(p, q), phi = hn::Max(p, q);
        a[k] = Sorted(hn::LoadU(t, r0 + x + k), plo, phi);
        if (r3 != nullptr) b[k] = Sorted(hn::LoadU(t, r3 + x + k), plo, phi);
    }
    hn::StoreU(MedianOf(a[0], a[1], a[2]), t, d0 + x);
    if (r3 != nullptr) hn::StoreU(MedianOf(b[0], b[1], b[2]), t, d1 + x);
}

void Median3x3(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
               std::size_t h)
{
    const hn::ScalableTag<std::uint8_t> t;
    const std::size_t N = hn::Lanes(t);
    if (w < N) return ref::Median3x3(s, ss, d, ds, w, h);
    for (std::size_t y = 0; y < h; y += 2) {
        const std::uint8_t* r = s + std::ptrdiff_t(y) * ss;
        std::uint8_t* d0 = d + std::ptrdiff_t(y) * ds;
        const bool two = y + 1 < h;
        const std::uint8_t* r3 = two ? r + 3 * ss : nullptr;
        std::uint8_t* d1 = two ? d0 + ds : nullptr;
        // The last vector is placed to end at the row's end: it writes some
        // pels again, with the same values.
        for (std::size_t x = 0;; x += N) {
            if (x + N > w) x = w - N;
            if (two) {
                MedianAt(t, r, r + ss, r + 2 * ss, r3, d0, d1, x);
            } else {
                MedianAt(t, r, r + ss, r + 2 * ss, nullptr, d0, nullptr, x);
            }
            if (x + N == w) break;
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/image.h"
#include "core/kernels/median.h"

namespace ycore {
YCORE_EXPORT(Median3x3);
}

extern "C" int yip_pelMedian3x3_8(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    if (int st = checkImage(s, 1); st != YSTD_OK) return st;
    if (int st = checkImage(d, 1); st != YSTD_OK) return st;
    if (s->width != d->width + 2 || s->height != d->height + 2) return YSTD_ERR_BAD_ARGUMENT;
    if (d->width == 0 || d->height == 0) return YSTD_OK;
    YCORE_ROW(Median3x3)(static_cast<const std::uint8_t*>(s->pels), s->stride, static_cast<std::uint8_t*>(d->pels),
                         d->stride, std::size_t(d->width), std::size_t(d->height));
    return YSTD_OK;
}
#endif

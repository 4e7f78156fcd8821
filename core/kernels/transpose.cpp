// d(x, y) = s(y, x) for pels of 1, 2, 4 and 8 bytes.
//
// The source is walked in strips one cache line wide, top to bottom, so each
// destination row is written along its length and each line fetched is used
// whole; this measured faster than square blocks on power-of-two strides.
// Inside a strip, tiles of 16 bytes by 16 / pel size rows are transposed in
// registers; the pels beyond the last whole tile go through the scalar
// reference.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/transpose.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/pelsize.h"

#include "core/kernels/transpose.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
// Stores the 16-byte blocks of v at d, d + step, d + 2 step, ...
template <class D>
HWY_INLINE void StoreBlocks(D t, hn::Vec<D> v, std::uint8_t* d, std::ptrdiff_t step)
{
    using T = hn::TFromD<D>;
    if constexpr (hn::MaxLanes(t) * sizeof(T) <= 16) {
        hn::StoreU(v, t, reinterpret_cast<T*>(d));
    } else {
        const hn::Half<D> th;
        constexpr std::ptrdiff_t blocks = hn::MaxLanes(th) * sizeof(T) / 16;
        StoreBlocks(th, hn::LowerHalf(th, v), d, step);
        StoreBlocks(th, hn::UpperHalf(th, v), d + blocks * step, step);
    }
}

// K rows of as many 16-byte tiles of K pels as a vector holds, side by side.
// Interleaving row i with row i + K/2, K/2 lanes at a time, rotates the bits
// of (row, column) within each tile by one; log2(K) rounds swap them.
template <class D>
HWY_INLINE void TransposeTiles(D t, const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds)
{
    using T = hn::TFromD<D>;
    constexpr std::size_t K = 16 / sizeof(T);
    hn::Vec<D> r[K], o[K];
    for (std::size_t i = 0; i < K; ++i) r[i] = hn::LoadU(t, reinterpret_cast<const T*>(s + std::ptrdiff_t(i) * ss));
    for (std::size_t bit = 1; bit < K; bit *= 2) {
        for (std::size_t i = 0; i < K / 2; ++i) {
            o[2 * i] = hn::InterleaveLower(t, r[i], r[i + K / 2]);
            o[2 * i + 1] = hn::InterleaveUpper(t, r[i], r[i + K / 2]);
        }
        for (std::size_t i = 0; i < K; ++i) r[i] = o[i];
    }
    for (std::size_t i = 0; i < K; ++i) StoreBlocks(t, r[i], d + std::ptrdiff_t(i) * ds, std::ptrdiff_t(K) * ds);
}
#endif

template <class T>
void TransposeT(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
                std::size_t h)
{
    std::size_t wt = 0, ht = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> t;
    const hn::Full128<T> t1;
    constexpr std::size_t K = 16 / sizeof(T), G = hn::MaxLanes(t), B = 64 / sizeof(T);
    const std::size_t wg = w / G * G;
    wt = w / K * K;
    ht = h / K * K;
    // The tiles of one strip, columns [x0, x1).
    const auto strip = [&](std::size_t x0, std::size_t x1, auto tag) {
        constexpr std::size_t step = hn::MaxLanes(tag);
        for (std::size_t y = 0; y < ht; y += K) {
            for (std::size_t x = x0; x < x1; x += step) {
                TransposeTiles(tag, s + std::ptrdiff_t(y) * ss + x * sizeof(T), ss,
                               d + std::ptrdiff_t(x) * ds + y * sizeof(T), ds);
            }
        }
    };
    constexpr std::size_t width = std::max(B, G);
    for (std::size_t x0 = 0; x0 < wg; x0 += width) strip(x0, std::min(x0 + width, wg), t);
    strip(wg, wt, t1);
#endif
    // Columns past the last tile, then rows past it under the tiled columns.
    ref::Transpose(s + wt * sizeof(T), ss, d + std::ptrdiff_t(wt) * ds, ds, w - wt, h, sizeof(T));
    ref::Transpose(s + std::ptrdiff_t(ht) * ss, ss, d + ht * sizeof(T), ds, wt, h - ht, sizeof(T));
}

void Transpose(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
               std::size_t h, int pelSize)
{
    withPelType(pelSize, [&](auto pel) {
        using T = decltype(pel);
        TransposeT<T>(s, ss, d, ds, w, h);
    });
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/image.h"
#include "core/kernels/pelsize.h"
#include "core/kernels/transpose.h"

namespace ycore {
YCORE_EXPORT(Transpose);
}

extern "C" int yip_pelTranspose(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    const int p = movablePelSize(s);
    if (p == 0) return YSTD_ERR_BAD_IMAGE;
    if (int st = checkImage(s, p); st != YSTD_OK) return st;
    if (int st = checkImage(d, p); st != YSTD_OK) return st;
    if (d->width != s->height || d->height != s->width) return YSTD_ERR_BAD_ARGUMENT;
    if (s->width == 0 || s->height == 0) return YSTD_OK;
    if (s->pels == d->pels) return YSTD_ERR_BAD_ARGUMENT;
    YCORE_ROW(Transpose)(static_cast<const std::uint8_t*>(s->pels), s->stride, static_cast<std::uint8_t*>(d->pels),
                         d->stride, std::size_t(s->width), std::size_t(s->height), p);
    return YSTD_OK;
}
#endif

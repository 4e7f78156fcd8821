// d(x, y) = s(y, x) for pels of 1, 2, 4 and 8 bytes.
//
// Square blocks one cache line wide are transposed into a scratch block in
// tiles of 16 bytes by 16 / pel size rows, in registers, and copied out a
// whole destination line at a time. What whole blocks leave is walked in
// strips one cache line wide, top to bottom, tile by tile; the pels beyond
// the last whole tile go through the scalar reference.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/transpose.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/pelsize.h"

#include "core/kernels/transpose.h"

#include "hwy/cache_control.h"

#include <algorithm>
#include <cstdint>

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

// Tiles in strips one cache line wide, then the scalar reference past the
// last whole tile: for windows too narrow or short for whole blocks.
template <class T>
void TransposeTiled(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
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

// Copies the P lines of a scratch block out to the destination rows; a
// streaming store, which needs its address aligned to the vector, writes a
// line without fetching it first.
template <class D>
HWY_INLINE void StoreBlock(D tb, const std::uint8_t* block, std::size_t P, std::uint8_t* d, std::ptrdiff_t ds,
                           bool stream)
{
    constexpr std::size_t L = hn::MaxLanes(tb);
    for (std::size_t i = 0; i < P; ++i) {
        std::uint8_t* row = d + std::ptrdiff_t(i) * ds;
        if (stream && reinterpret_cast<std::uintptr_t>(row) % L == 0) {
            for (std::size_t j = 0; j < 64; j += L) hn::Stream(hn::Load(tb, block + i * 64 + j), tb, row + j);
        } else {
            for (std::size_t j = 0; j < 64; j += L) hn::StoreU(hn::Load(tb, block + i * 64 + j), tb, row + j);
        }
    }
}

template <class T>
void TransposeT(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
                std::size_t h)
{
    std::size_t wb = 0, hb = 0;
#if HWY_TARGET != HWY_SCALAR
    // Blocks of P rows by one cache line, tiled into a scratch block and
    // copied out a whole line at a time: on a power-of-two stride the rows of
    // a block share a few cache sets, and writing the destination 16 bytes at
    // a time evicted its lines before they were whole (2.3 times slower at
    // 2048 by 2048).
    constexpr std::size_t P = 64 / sizeof(T), K = 16 / sizeof(T);
    const hn::CappedTag<T, P> t;
    constexpr std::size_t G = hn::MaxLanes(t);
    alignas(64) std::uint8_t block[P * 64];
    wb = w / P * P;
    hb = h / P * P;
    // Past the caches, streaming stores and walking the source along its rows
    // (each block then reads P whole lines of P pages that the next blocks
    // reuse) measured twice as fast; below, they only slow the next reader.
    const bool large = w * h * sizeof(T) >= (std::size_t(8) << 20);
    const auto tile = [&](std::size_t x0, std::size_t y0) {
        const std::uint8_t* sb = s + std::ptrdiff_t(y0) * ss + x0 * sizeof(T);
        for (std::size_t y = 0; y < P; y += K) {
            for (std::size_t x = 0; x < P; x += G) {
                TransposeTiles(t, sb + std::ptrdiff_t(y) * ss + x * sizeof(T), ss, block + x * 64 + y * sizeof(T), 64);
            }
        }
        std::uint8_t* db = d + std::ptrdiff_t(x0) * ds + y0 * sizeof(T);
        // Stream 32 bytes at a time: rows of pel buffers are aligned to 32 only.
        if (large) {
            StoreBlock(hn::CappedTag<std::uint8_t, 32>(), block, P, db, ds, true);
        } else {
            StoreBlock(hn::CappedTag<std::uint8_t, 64>(), block, P, db, ds, false);
        }
    };
    if (large) {
        for (std::size_t y0 = 0; y0 < hb; y0 += P) {
            for (std::size_t x0 = 0; x0 < wb; x0 += P) tile(x0, y0);
        }
        hwy::FlushStream();
    } else {
        for (std::size_t x0 = 0; x0 < wb; x0 += P) {
            for (std::size_t y0 = 0; y0 < hb; y0 += P) tile(x0, y0);
        }
    }
#endif
    // The columns past the last block, then the rows past it under the blocks.
    TransposeTiled<T>(s + wb * sizeof(T), ss, d + std::ptrdiff_t(wb) * ds, ds, w - wb, h);
    TransposeTiled<T>(s + std::ptrdiff_t(hb) * ss, ss, d + hb * sizeof(T), ds, wb, h - hb);
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

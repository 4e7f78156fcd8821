// Pixel operations that move pels about: flips, transpose, sampling,
// expansion, block averages, smoothing, the border, the 3x3 median, and the
// 8-bit inversion.
//
// Every operation here copies its source view first, so the caller's source
// keeps its window, and throws ycPel::UnboundWindow for an unbound source.
// Those that return a buffer return a new one (rows aligned to 32 bytes); an
// empty result (an empty source window, a factor larger than the window) is
// an unbound buffer. Factors and sizes below 1 are ycPelFunc::BadParams, and
// so is a result whose image rectangle would leave the 32-bit range.
//
// Where the result sits, and its client transform. Pel (x, y) stands for the
// point (x, y) of its image coordinates: pel centres lie on whole numbers.
// Each result gets the source's client transform composed with the linear map
// from result image coordinates to source image coordinates, so a feature
// keeps its client coordinates: client(result, p) == client(source, q) where
// the result's pel p was made from (or centred on) the source's pel q. With
// (x0, y0) the source's offset, w by h its window, and fx, fy the factors:
//
//   operation       result size                  result offset
//   flips           w by h                       (x0, y0)
//   transpose       h by w                       (y0, x0)
//   sample          w / fx by h / fy             (floor(x0 / fx), floor(y0 / fy))
//   spatial avg     w / fx by h / fy             as sample
//   expand          w * fx by h * fy             (x0 * fx, y0 * fy)
//   smooth          w - sx + 1 by h - sy + 1     (x0 + (sx - 1) / 2, y0 + (sy - 1) / 2)
//   median          w - 2 by h - 2               (x0 + 1, y0 + 1)
//
// (divisions of sizes truncate). The maps, per axis, from result coordinate r
// (r0 the result's offset) to source coordinate s:
//   flip            s = 2 x0 + w - 1 - r         (the mirrored axis only)
//   transpose       (s_x, s_y) = (r_y, r_x)
//   sample          s = x0 + fx (r - r0)
//   spatial avg     s = x0 + fx (r - r0) + (fx - 1) / 2     (the block's centre)
//   expand          s = x0 + (r - r0 - (fx - 1) / 2) / fx   (inverse of the above)
//   smooth          s = r, plus one half when the size is even
// and the median keeps image coordinates.
//
// Rules:
//   sample        result pel (i, j) is source pel (x0 + i fx, y0 + j fy):
//                 every fx-th pel from the window's first;
//   expand        each source pel becomes an fx by fy block;
//   spatial avg   the sum of each whole fx by fy block divided by the
//                 divisor, rounded to nearest with halves up, saturated to
//                 the pel type; a divisor of 0 means fx * fy. Partial blocks
//                 at the right and bottom edges are left out. Sums are 64-bit;
//   smooth        the mean of each sx by sy box that lies wholly in the
//                 source, rounded to nearest with halves up (computed as
//                 separable running sums, exactly). Result pel (x, y) is the
//                 box whose top-left pel is (x - (sx - 1) / 2, y - (sy - 1) / 2):
//                 centred on (x, y) for odd sizes, and half a pel right of
//                 (below) it for even ones. A source smaller than the box is
//                 ycPel::BadWindow, as for the median;
//   border set    the first and last row and column of the window get the
//                 value; an empty window does nothing, an unbound one is
//                 ycPel::UnboundWindow.
//
// The 3x3 median (8-bit, computed by the core):
//   1. the source must be at least 3 by 3, else ycPel::BadWindow;
//   2. an unbound destination becomes a new (w - 2) by (h - 2) buffer at the
//      source's offset plus (1, 1), and the whole source is filtered;
//   3. a bound destination: the result rectangle is the source window less
//      one pel on each side, intersected with the destination's window; when
//      it is empty nothing is done, else the destination's window becomes the
//      result rectangle. Destination pels outside it are not written. A
//      destination that shares pels with the source pels read is
//      ycPelFunc::Overlap, before any window changes.
// The destination gets the source's client transform.
#ifndef TLVSTD_PELBUF_PELGEOM_H
#define TLVSTD_PELBUF_PELGEOM_H

#include "std/pelbuf/pelfunc.h"

#include <cstdint>

template <ycPelType T>
ycPelBuffer<T> yfPelFlipH(const ycPelBuffer_const<T>& src);
template <ycPelType T>
ycPelBuffer<T> yfPelFlipV(const ycPelBuffer_const<T>& src);
template <ycPelType T>
ycPelBuffer<T> yfPelTranspose(const ycPelBuffer_const<T>& src);
TLVSTD_API ycPelBuffer<unsigned char> yfPelFlipV_U8(const ycPelBuffer_const<unsigned char>& src);

template <ycPelType T>
ycPelBuffer<T> yfPelSample(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor);
template <ycPelType T>
ycPelBuffer<T> yfPelExpand(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor);
template <ycPelType T>
ycPelBuffer<T> yfPelSpatialAvg(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor,
                               std::uint32_t divisor);
TLVSTD_API ycPelBuffer<unsigned char> yfPelSmooth(const ycPelBuffer_const<unsigned char>& src, int xSize, int ySize);

template <ycPelType T>
void yfPelBorderSet(ycPelBuffer<T>& dst, T value);

TLVSTD_API ycPelBuffer<unsigned char> yfPelInvert_U8(const ycPelBuffer_const<unsigned char>& src);

TLVSTD_API void yfPelMedian3x3(const ycPelBuffer_const<unsigned char>& src, ycPelBuffer<unsigned char>& dst);
TLVSTD_API ycPelBuffer<unsigned char> yfPelMedian3x3(const ycPelBuffer_const<unsigned char>& src);

// The instantiations, declared here and defined in pelgeom.cpp; `S` is what
// precedes each one.
#define TLVSTD_PELGEOM_FLIPS(S, T)                                  \
    S ycPelBuffer<T> yfPelFlipH<T>(const ycPelBuffer_const<T>&);    \
    S ycPelBuffer<T> yfPelFlipV<T>(const ycPelBuffer_const<T>&);    \
    S ycPelBuffer<T> yfPelTranspose<T>(const ycPelBuffer_const<T>&);
#define TLVSTD_PELGEOM_SCALE(S, T)                                                                 \
    S ycPelBuffer<T> yfPelSample<T>(const ycPelBuffer_const<T>&, std::int32_t, std::int32_t);     \
    S ycPelBuffer<T> yfPelExpand<T>(const ycPelBuffer_const<T>&, std::int32_t, std::int32_t);
#define TLVSTD_PELGEOM_AVG(S, T) \
    S ycPelBuffer<T> yfPelSpatialAvg<T>(const ycPelBuffer_const<T>&, std::int32_t, std::int32_t, std::uint32_t);
#define TLVSTD_PELGEOM_INSTANCES(S)                                                    \
    TLVSTD_PELGEOM_FLIPS(S, unsigned char)                                             \
    TLVSTD_PELGEOM_FLIPS(S, unsigned short)                                            \
    TLVSTD_PELGEOM_FLIPS(S, std::uint32_t)                                             \
    TLVSTD_PELGEOM_SCALE(S, unsigned char)                                             \
    TLVSTD_PELGEOM_SCALE(S, unsigned short)                                            \
    TLVSTD_PELGEOM_SCALE(S, std::uint32_t)                                             \
    TLVSTD_PELGEOM_SCALE(S, float)                                                     \
    TLVSTD_PELGEOM_SCALE(S, ycPackedRGB16Pel)                                          \
    TLVSTD_PELGEOM_SCALE(S, ycPackedRGB32Pel)                                          \
    TLVSTD_PELGEOM_SCALE(S, ycPair<std::int32_t>)                                      \
    TLVSTD_PELGEOM_SCALE(S, ycPair<float>)                                             \
    TLVSTD_PELGEOM_AVG(S, unsigned char)                                               \
    TLVSTD_PELGEOM_AVG(S, unsigned short)                                              \
    TLVSTD_PELGEOM_AVG(S, std::uint32_t)                                               \
    S void yfPelBorderSet<unsigned char>(ycPelBuffer<unsigned char>&, unsigned char); \
    S void yfPelBorderSet<short>(ycPelBuffer<short>&, short);
TLVSTD_PELGEOM_INSTANCES(extern template TLVSTD_API)

#endif

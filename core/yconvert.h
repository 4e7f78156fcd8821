/* tlkcore10: conversions of camera pixel formats.
 *
 * Each conversion takes the image's width and height in pixels, the first
 * byte of the source and the distance in bytes from one source row to the
 * next, then the destination and its row distance in bytes. It returns a
 * status of ycore.h: YSTD_ERR_BAD_ARGUMENT for a negative size, a null
 * pointer under a non-empty image, a row distance shorter than a row, a
 * width the format cannot hold (odd for UYVY, not a multiple of four for
 * UYYVYY) or an unknown pattern. Nothing is written then.
 *
 * Colour results are packed 32-bit pels: bytes blue, green, red and a fourth
 * byte of 0, in that order in memory.
 *
 * Grey from a YUV format is the Y bytes as they are. YUV to RGB uses the
 * BT.601 video-range integer form, with C = Y - 16, D = U - 128, E = V - 128:
 *   R = clamp((298 C + 409 E + 128) >> 8)
 *   G = clamp((298 C - 100 D - 208 E + 128) >> 8)
 *   B = clamp((298 C + 516 D + 128) >> 8)
 * where >> is arithmetic and clamp limits to [0, 255]. UYVY holds U, Y0, V, Y1
 * for two pixels; UYYVYY holds U, Y0, Y1, V, Y2, Y3 for four; UYV holds U, Y,
 * V for one.
 *
 * The Bayer conversions and the RGB24 one are described with their
 * implementation (core/kernels/bayer.h, core/kernels/rgb24.h).
 *
 * Every conversion has a scalar path, the reference, and vector paths chosen
 * at run time; they give the same bytes.
 */
#ifndef TLKCORE_YCONVERT_H
#define TLKCORE_YCONVERT_H

#include "core/ycore.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define YIP_CONVERT(name)                                                                              \
    TLKCORE_API int name##ToGreyscale(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow, \
                                      uint8_t* dst, ptrdiff_t dstRow);                                  \
    TLKCORE_API int name##ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow, uint8_t* dst, \
                                ptrdiff_t dstRow);
YIP_CONVERT(yip_convertUYVY)
YIP_CONVERT(yip_convertUYYVYY)
YIP_CONVERT(yip_convertUYV)
#undef YIP_CONVERT

/* The colour of the mosaic's first two pixels of its first row, and of the
   second row: RGGB is red, green over green, blue. */
enum { YIP_BAYER_RGGB = 0, YIP_BAYER_GRBG = 1, YIP_BAYER_GBRG = 2, YIP_BAYER_BGGR = 3 };

TLKCORE_API int yip_convertBayer8ToGreyscale(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                             uint8_t* dst, ptrdiff_t dstRow, int pattern);
TLKCORE_API int yip_convertBayer8ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                       uint8_t* dst, ptrdiff_t dstRow, int pattern);

/* Three bytes a pixel to packed 32-bit pels: red first, or blue first when
   `blueFirst` is non-zero. */
TLKCORE_API int yip_convertRGB24ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                      uint8_t* dst, ptrdiff_t dstRow, int blueFirst);

/* An 8-bit image from packed 32-bit pels: clamp(round(cr R + cg G + cb B +
   c4 X)) with the sum evaluated left to right in double precision without
   fused multiply-adds, halves rounded up, and clamped to [0, 255] (NaN gives
   0). The descriptors of ypel.h: s of 4-byte pels, d of 1-byte pels. */
struct yimg_image;
TLKCORE_API int yip_pelAdd3Weighted8(const struct yimg_image* s, struct yimg_image* d, double cr, double cg,
                                     double cb, double c4);

#ifdef __cplusplus
}
#endif

#endif

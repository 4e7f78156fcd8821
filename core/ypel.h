/* tlkcore10: pel kernels over image descriptors.
 *
 * Each kernel takes descriptors of equal-sized windows and returns a status of
 * ycore.h. A kernel checks its descriptors before it touches a pel: a null
 * descriptor, a negative size, a pel size that is not the kernel's, a null
 * pointer under a non-empty window, or a row distance shorter than a row is
 * YSTD_ERR_BAD_IMAGE; windows of different sizes or a parameter outside its
 * range is YSTD_ERR_BAD_ARGUMENT. An empty window (width or height 0) is
 * accepted and writes nothing.
 *
 * A destination may be the very same window as a source (same first pel,
 * same row distance); any other overlap of destination and source gives
 * unspecified pels.
 *
 * Every kernel has a scalar path, the reference, and a vector path compiled
 * for several processor targets; the best one the processor runs is chosen
 * at run time. Both give the same pels, bit for bit.
 *
 * Pel types by suffix: 8 unsigned 8-bit, 16 unsigned 16-bit, S16 signed
 * 16-bit, 32 unsigned 32-bit. Arithmetic is done wide enough never to wrap
 * (the product of two 32-bit pels in 64 bits), the shift is arithmetic
 * (toward minus infinity), and the result saturates to the destination's
 * range:
 *   Add      d = sat((a + b) >> shift)
 *   Sub      d = sat((a - b) >> shift)
 *   Mult     d = sat((a * b) >> shift)
 *   MultAdd  d = sat(d + ((a * b) >> shift))
 *   Min/Max  d = min(a, b) / max(a, b)
 * shift lies in [0, 31], else YSTD_ERR_BAD_ARGUMENT.
 */
#ifndef TLKCORE_YPEL_H
#define TLKCORE_YPEL_H

#include "core/ycore.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The window of an image: its first pel, its size, the distance in bytes from
   one row to the next, and the bytes of one pel. */
typedef struct yimg_image {
    void* pels;
    int32_t width;
    int32_t height;
    ptrdiff_t stride;
    int32_t pelSize;
} yimg_image;

#define YIP_BINARY(name)                                                                                  \
    TLKCORE_API int name##8(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift);          \
    TLKCORE_API int name##16(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift);         \
    TLKCORE_API int name##S16(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift);        \
    TLKCORE_API int name##32(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift);
YIP_BINARY(yip_pelAdd)
YIP_BINARY(yip_pelSub)
YIP_BINARY(yip_pelMult)
YIP_BINARY(yip_pelMultAdd)
#undef YIP_BINARY

/* Pel-wise minimum and maximum. */
#define YIP_PELWISE(name)                                                                      \
    TLKCORE_API int name##8(const yimg_image* a, const yimg_image* b, yimg_image* d);          \
    TLKCORE_API int name##16(const yimg_image* a, const yimg_image* b, yimg_image* d);         \
    TLKCORE_API int name##32(const yimg_image* a, const yimg_image* b, yimg_image* d);
YIP_PELWISE(yip_pelMin)
YIP_PELWISE(yip_pelMax)
#undef YIP_PELWISE

/* The smallest and largest pel of a window; an empty window is
   YSTD_ERR_BAD_ARGUMENT and leaves the outputs alone. */
#define YIP_REDUCE(bits)                                                                      \
    TLKCORE_API int yip_pelUnaryMin##bits(const yimg_image* s, uint32_t* min);                \
    TLKCORE_API int yip_pelUnaryMax##bits(const yimg_image* s, uint32_t* max);                \
    TLKCORE_API int yip_pelUnaryMinMax##bits(const yimg_image* s, uint32_t* min, uint32_t* max);
YIP_REDUCE(8)
YIP_REDUCE(16)
YIP_REDUCE(32)
#undef YIP_REDUCE

/* Unsigned conversion between pel sizes 1, 2 and 4 (taken from the
   descriptors): narrowing keeps the low bits, widening zero-extends, equal
   sizes copy. */
TLKCORE_API int yip_pelConvert(const yimg_image* s, yimg_image* d);

/* d = 255 - s, 8-bit. */
TLKCORE_API int yip_pelInvert8(const yimg_image* s, yimg_image* d);

/* d = table[s], 8-bit to 8-bit through 256 entries. */
TLKCORE_API int yip_pelMap8(const yimg_image* s, yimg_image* d, const uint8_t* table);

/* Mirror of the columns (d's column x is s's column width-1-x), for pel sizes
   1, 2, 4 and 8. d may not be s. */
TLKCORE_API int yip_pelFlipH(const yimg_image* s, yimg_image* d);

/* d is width s.height by height s.width, with d(x, y) = s(y, x), for pel sizes
   1, 2, 4 and 8. */
TLKCORE_API int yip_pelTranspose(const yimg_image* s, yimg_image* d);

/* Median of each 3x3 neighbourhood, 8-bit: s is two pels wider and higher
   than d, and d(x, y) is the median of s(x..x+2, y..y+2). */
TLKCORE_API int yip_pelMedian3x3_8(const yimg_image* s, yimg_image* d);

/* The vector target the dispatch chooses on this processor ("scalar" when the
   library was built without vector paths). */
TLKCORE_API const char* yip_target(void);

#ifdef __cplusplus
}
#endif

#endif

// Colour pixel operations: packing three 8-bit planes into packed colour
// pels, and taking 8-bit images back out of them.
//
// A packed 32-bit pel (peltypes.h) holds blue, green, red and a fourth byte,
// bytes 0 to 3 in memory. Channel numbers count from red:
//   channel 0 = byte 2 (red), 1 = byte 1 (green), 2 = byte 0 (blue),
//   3 = byte 3 (the fourth byte).
// A packed 16-bit pel here is 5-6-5: red's top 5 bits, green's top 6 and
// blue's top 5, red most significant: (r >> 3) << 11 | (g >> 2) << 5 | b >> 3.
//
// Every operation copies its source views first, so the caller's sources
// keep their windows; destinations follow the rules of pelfunc.h unless said
// otherwise, and get the (first) source's client transform.
//
// yfRGBPack(r, g, b, dst, ...): the three planes must be bound
// (ycPel::UnboundWindow) and have the same window in image coordinates, else
// ycPel::BadWindow. A destination whose window is not that window (an
// unbound one included) is replaced by a new buffer of it; otherwise the
// destination is written in place. Empty planes leave a bound destination
// with an empty window and an unbound one unbound. The three-plane form packs
// planes 0, 1 and 2 as red, green and blue, whatever the colour-space tag.
//
// yfRGBSeparateColorPlanes(src, p0, p1, p2): red to p0, green to p1, blue to
// p2 (bytes 2, 1, 0). The three-plane form writes the same into the planes of
// one colour buffer; a new one is tagged RGB.
//
// yfRGBExtract(src, channel, dst): the channel's byte; a channel outside
// [0, 3] is ycPelFunc::BadParams.
//
// yfRGBExtract(src, cr, cg, cb, dst) and (src, cr, cg, cb, c4, dst):
//   dst = clamp(floor(cr*R + cg*G + cb*B [+ c4*X] + 0.5))
// with R, G, B, X the channels 0 to 3, the sum taken left to right in double
// (no fused multiply-add), rounded to nearest with halves up, and clamped to
// [0, 255]; a NaN gives 0.
//
// yf_extract8BitImage(src, k): a new 8-bit image of (v >> k) & 0xFF for each
// 16-bit pel v, so k = 8 takes the high byte and k = 0 the low one; k outside
// [0, 8] is ycPelFunc::BadParams. An empty source gives an unbound buffer.
#ifndef TLVSTD_PELBUF_PELCOLOR_H
#define TLVSTD_PELBUF_PELCOLOR_H

#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelfunc.h"

#include <cstdint>

TLVSTD_API void yfRGBPack(const ycPelBuffer_const<unsigned char>& r, const ycPelBuffer_const<unsigned char>& g,
                          const ycPelBuffer_const<unsigned char>& b,
                          ycPelBuffer<ycPackedRGB32Pel>& dst, unsigned char fourth);
TLVSTD_API void yfRGBPack(const ycPelBuffer_const<unsigned char>& r, const ycPelBuffer_const<unsigned char>& g,
                          const ycPelBuffer_const<unsigned char>& b,
                          ycPelBuffer<ycPackedRGB16Pel>& dst);
TLVSTD_API void yfRGBPack(const yc3PlanePelBuffer_const& src, ycPelBuffer<ycPackedRGB32Pel>& dst,
                          unsigned char fourth);

TLVSTD_API void yfRGBSeparateColorPlanes(const ycPelBuffer_const<ycPackedRGB32Pel>& src,
                                         ycPelBuffer<unsigned char>& plane0, ycPelBuffer<unsigned char>& plane1,
                                         ycPelBuffer<unsigned char>& plane2);
TLVSTD_API void yfRGBSeparateColorPlanes(const ycPelBuffer_const<ycPackedRGB32Pel>& src, yc3PlanePelBuffer& dst);

TLVSTD_API void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, std::int32_t channel,
                             ycPelBuffer<unsigned char>& dst);
TLVSTD_API void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, double cr, double cg, double cb,
                             ycPelBuffer<unsigned char>& dst);
TLVSTD_API void yfRGBExtract(const ycPelBuffer_const<ycPackedRGB32Pel>& src, double cr, double cg, double cb,
                             double c4, ycPelBuffer<unsigned char>& dst);

TLVSTD_API ycPelBuffer<unsigned char> yf_extract8BitImage(const ycPelBuffer_const<unsigned short>& src,
                                                          std::int32_t k);

#endif

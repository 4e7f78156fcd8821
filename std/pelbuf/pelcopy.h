// Pixel operations: copy and conversion, set and clear, equality.
//
// Every operation follows the framework of pelfunc.h: sources are copied
// views (the caller's windows stay), operands meet on their common window in
// image coordinates, an unbound destination is allocated over that window at
// the source's image coordinates, and a non-empty result takes the source's
// client transform.
//
// Copy, yfPelCopy(src, dst):
//   - same pel type, for all thirteen: the pels of the common window, row by
//     row; a three-plane colour buffer copies plane by plane and the
//     destination takes the source's colour-space tag;
//   - between unsigned 8, 16 and 32-bit pels (all nine pairs): narrowing
//     keeps the low-order bits (0x1234 to 8 bits is 0x34, never 0xFF) and
//     widening zero-extends. The truncation is deliberate: code that wants
//     saturation divides or maps first.
// yfPelCopy(src) returns a new buffer holding the source window, at the same
// image rectangle and with the same client transform; an empty source window
// gives an unbound buffer.
//
// Set and clear: yfPelSet(dst, value) writes value to every pel of dst's
// window, yfPelClear(dst) writes the zero pel (T{}), yfPelSet_U8 is the 8-bit
// form. dst must be bound (ycPel::UnboundWindow); yf_PelClear is the
// library's own form, which does nothing to an unbound buffer. Three-plane
// buffers are set plane by plane through their plane buffers.
//
// Equality, yfPelEqual(a, b): true when both are bound, their windows are the
// same rectangle in image coordinates, and every pel of a equals the pel of b
// at the same image coordinates. Integer and packed pels compare their bytes;
// float, double and ycPair<float> compare values with ==, so -0.0 equals 0.0
// and a NaN pel is never equal, not even to itself. The colour-space tag of
// a three-plane buffer is not compared, nor is the client transform. An
// unbound buffer is equal to nothing.
#ifndef TLVSTD_PELBUF_PELCOPY_H
#define TLVSTD_PELBUF_PELCOPY_H

#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelfunc.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

// The unsigned pel types that convert into one another.
template <class T>
concept yc_UnsignedPelType = yc_OneOf<T, unsigned char, unsigned short, std::uint32_t>;

// Conversion copy of one row: the low-order bits when narrowing, zero
// extension when widening, four pels a step, then two, then one. The same
// type copies the row's bytes (for three planes, each plane's).
template <ycPelType S, ycPelType D>
    requires std::is_same_v<S, D> || (yc_UnsignedPelType<S> && yc_UnsignedPelType<D>)
class yc_CopyPel : public yc_Kernel_1s1d<S, D> {
public:
    void process(yc_PelPtr_const<S> src, yc_PelPtr<D> dst, std::int32_t count) override
    {
        if constexpr (std::is_same_v<S, yc3PlanePel>) {
            std::memcpy(dst.plane0, src.plane0, static_cast<std::size_t>(count));
            std::memcpy(dst.plane1, src.plane1, static_cast<std::size_t>(count));
            std::memcpy(dst.plane2, src.plane2, static_cast<std::size_t>(count));
        } else if constexpr (std::is_same_v<S, D>) {
            std::memcpy(dst, src, static_cast<std::size_t>(count) * sizeof(S));
        } else {
            std::int32_t i = 0;
            for (; i + 4 <= count; i += 4) {
                dst[i] = static_cast<D>(src[i]);
                dst[i + 1] = static_cast<D>(src[i + 1]);
                dst[i + 2] = static_cast<D>(src[i + 2]);
                dst[i + 3] = static_cast<D>(src[i + 3]);
            }
            if (i + 2 <= count) {
                dst[i] = static_cast<D>(src[i]);
                dst[i + 1] = static_cast<D>(src[i + 1]);
                i += 2;
            }
            if (i < count) dst[i] = static_cast<D>(src[i]);
        }
    }
};

// Same type (all thirteen) or a conversion between unsigned 8, 16 and 32-bit
// pels.
template <ycPelType S, ycPelType D>
    requires std::is_same_v<S, D> || (yc_UnsignedPelType<S> && yc_UnsignedPelType<D>)
TLVSTD_API void yfPelCopy(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst);

template <ycPelType T>
TLVSTD_API ycPelBuffer<T> yfPelCopy(const ycPelBuffer_const<T>& src);

// Three planes with their colour-space tag.
TLVSTD_API void yfPelCopy(const yc3PlanePelBuffer_const& src, yc3PlanePelBuffer& dst);
TLVSTD_API void yfPelCopy(const yc3PlanePelBuffer& src, yc3PlanePelBuffer& dst);
TLVSTD_API yc3PlanePelBuffer yfPelCopy(const yc3PlanePelBuffer_const& src);
TLVSTD_API yc3PlanePelBuffer yfPelCopy(const yc3PlanePelBuffer& src);

template <yc_SingleArrayPelType T>
TLVSTD_API void yfPelSet(ycPelBuffer<T>& dst, const std::type_identity_t<T>& value);

template <yc_SingleArrayPelType T>
TLVSTD_API void yfPelClear(ycPelBuffer<T>& dst);

template <yc_SingleArrayPelType T>
TLVSTD_API void yf_PelClear(ycPelBuffer<T>& dst);

TLVSTD_API void yfPelSet_U8(ycPelBuffer<unsigned char>& dst, unsigned char value);

template <ycPelType T>
TLVSTD_API bool yfPelEqual(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b);

#endif

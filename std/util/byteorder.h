// Byte order.
//
// Archives name their byte order by a number: 0 is most significant byte
// first (big-endian), 1 least significant first (little-endian). Values are
// put into and taken out of bytes with explicit shifts, so the encoding never
// depends on the machine; the machine's own order only tells whether bulk
// copies of pixel rows need swapping.
#ifndef TLVSTD_UTIL_BYTEORDER_H
#define TLVSTD_UTIL_BYTEORDER_H

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <type_traits>

static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big,
              "mixed-endian machines are not supported");

// The machine's own ordering: 0 big-endian, 1 little-endian.
constexpr int yf_MachineOrdering() { return std::endian::native == std::endian::big ? 0 : 1; }

// The unsigned integer of the same width as T.
template <class T>
using yc_UnsignedOf = std::conditional_t<sizeof(T) == 1, std::uint8_t,
                      std::conditional_t<sizeof(T) == 2, std::uint16_t,
                      std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

template <std::unsigned_integral U>
constexpr U yfByteSwap(U v)
{
    U out = 0;
    for (std::size_t i = 0; i < sizeof(U); ++i) {
        out = static_cast<U>((out << 8) | (v & 0xFF));
        v = static_cast<U>(v >> 8);
    }
    return out;
}

// Copies `count` values of W bytes each from `from` to `to`, reversing the
// bytes of each. The buffers must not overlap. A plain loop over the
// compiler's swap, so that it becomes vector shuffles.
template <std::size_t W>
inline void yfByteSwapRow(unsigned char* to, const unsigned char* from, std::size_t count)
{
    static_assert(W == 2 || W == 4 || W == 8);
    using U = yc_UnsignedOf<unsigned char[W]>;
    for (std::size_t i = 0; i < count; ++i) {
        U v;
        std::memcpy(&v, from + i * W, W);
#if defined(__GNUC__) || defined(__clang__)
        if constexpr (W == 2) v = __builtin_bswap16(v);
        else if constexpr (W == 4) v = __builtin_bswap32(v);
        else v = __builtin_bswap64(v);
#else
        v = yfByteSwap(v);
#endif
        std::memcpy(to + i * W, &v, W);
    }
}

// Writes the bits of `v` to `p` in the given ordering.
template <std::unsigned_integral U>
inline void yfPutOrdered(unsigned char* p, U v, int ordering)
{
    for (std::size_t i = 0; i < sizeof(U); ++i) {
        std::size_t shift = 8 * (ordering == 0 ? sizeof(U) - 1 - i : i);
        p[i] = static_cast<unsigned char>(v >> shift);
    }
}

template <std::unsigned_integral U>
inline U yfGetOrdered(const unsigned char* p, int ordering)
{
    U v = 0;
    for (std::size_t i = 0; i < sizeof(U); ++i) {
        std::size_t shift = 8 * (ordering == 0 ? sizeof(U) - 1 - i : i);
        v = static_cast<U>(v | static_cast<U>(static_cast<U>(p[i]) << shift));
    }
    return v;
}

// The bit pattern of a trivially copyable value as an unsigned integer, and back.
template <class T>
inline yc_UnsignedOf<T> yfBitsOf(const T& v)
{
    static_assert(std::is_trivially_copyable_v<T> && (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8));
    yc_UnsignedOf<T> bits;
    std::memcpy(&bits, &v, sizeof(T));
    return bits;
}

template <class T>
inline T yfFromBits(yc_UnsignedOf<T> bits)
{
    T v;
    std::memcpy(&v, &bits, sizeof(T));
    return v;
}

#endif

// Scalar references of the element-wise arithmetic: every result is computed
// in 64 bits, shifted, then clamped to the pel type.
#ifndef TLKCORE_KERNELS_ARITH_H
#define TLKCORE_KERNELS_ARITH_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace ycore::ref {

// A product of two 32-bit unsigned pels needs all 64 unsigned bits.
template <class T>
using Wide = std::conditional_t<std::is_unsigned_v<T> && sizeof(T) == 4, std::uint64_t, std::int64_t>;

template <class T, class W>
T saturate(W v)
{
    using L = std::numeric_limits<T>;
    if constexpr (std::is_signed_v<W>) {
        if (v < W{L::min()}) return L::min();
    }
    return v > W(L::max()) ? L::max() : T(v);
}

template <class T>
void AddRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = saturate<T>((std::int64_t{a[i]} + b[i]) >> shift);
}

template <class T>
void SubRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = saturate<T>((std::int64_t{a[i]} - b[i]) >> shift);
}

template <class T>
void MultRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = saturate<T>((Wide<T>{a[i]} * b[i]) >> shift);
}

template <class T>
void MultAddRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    // Cannot overflow: (2^32-1)^2 + 2^32-1 < 2^64.
    for (std::size_t i = 0; i < n; ++i) d[i] = saturate<T>(Wide<T>{d[i]} + ((Wide<T>{a[i]} * b[i]) >> shift));
}

template <class T>
void MinRow(const T* a, const T* b, T* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = std::min(a[i], b[i]);
}

template <class T>
void MaxRow(const T* a, const T* b, T* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = std::max(a[i], b[i]);
}

} // namespace ycore::ref

// Named row functions over the templates of the enclosing namespace (one name
// per pel type, which the dispatch tables need); expanded in ycore::ref and in
// each vector target's namespace.
#define YCORE_SHIFT_ROW(Op, Sfx, T)                                                    \
    inline void Op##Sfx##Row(const T* a, const T* b, T* d, std::size_t n, int shift)   \
    {                                                                                  \
        Op##Row<T>(a, b, d, n, shift);                                                 \
    }
#define YCORE_PLAIN_ROW(Op, Sfx, T)                                                    \
    inline void Op##Sfx##Row(const T* a, const T* b, T* d, std::size_t n)              \
    {                                                                                  \
        Op##Row<T>(a, b, d, n);                                                        \
    }

// X(Op, Sfx, T) for each pel type of an operation with a shift (SHIFTED) and
// without (PLAIN).
#define YCORE_SHIFT_TYPES(X, Op)                                                       \
    X(Op, 8, std::uint8_t) X(Op, 16, std::uint16_t) X(Op, S16, std::int16_t) X(Op, 32, std::uint32_t)
#define YCORE_PLAIN_TYPES(X, Op) X(Op, 8, std::uint8_t) X(Op, 16, std::uint16_t) X(Op, 32, std::uint32_t)
#define YCORE_ARITH_KERNELS(SHIFTED, PLAIN)                                            \
    YCORE_SHIFT_TYPES(SHIFTED, Add)                                                    \
    YCORE_SHIFT_TYPES(SHIFTED, Sub)                                                    \
    YCORE_SHIFT_TYPES(SHIFTED, Mult)                                                   \
    YCORE_SHIFT_TYPES(SHIFTED, MultAdd)                                                \
    YCORE_PLAIN_TYPES(PLAIN, Min)                                                      \
    YCORE_PLAIN_TYPES(PLAIN, Max)

namespace ycore::ref {
YCORE_ARITH_KERNELS(YCORE_SHIFT_ROW, YCORE_PLAIN_ROW)
} // namespace ycore::ref

#endif

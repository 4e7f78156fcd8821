// Scalar reference of the unsigned conversion between pel sizes: narrowing
// keeps the low bits, widening zero-extends.
#ifndef TLKCORE_KERNELS_CONVERT_H
#define TLKCORE_KERNELS_CONVERT_H

#include <cstddef>
#include <cstdint>

namespace ycore::ref {

template <class From, class To>
void ConvertRow(const From* s, To* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = static_cast<To>(s[i]);
}

} // namespace ycore::ref

#define YCORE_CONVERT_ROW(F, T, From, To)                                       \
    inline void Convert##F##to##T##Row(const From* s, To* d, std::size_t n)     \
    {                                                                           \
        ConvertRow<From, To>(s, d, n);                                          \
    }
// Every pair of distinct sizes; equal sizes are a copy.
#define YCORE_CONVERT_ROWS(X)                                                   \
    X(8, 16, std::uint8_t, std::uint16_t)                                       \
    X(8, 32, std::uint8_t, std::uint32_t)                                       \
    X(16, 32, std::uint16_t, std::uint32_t)                                     \
    X(16, 8, std::uint16_t, std::uint8_t)                                       \
    X(32, 8, std::uint32_t, std::uint8_t)                                       \
    X(32, 16, std::uint32_t, std::uint16_t)

namespace ycore::ref {
YCORE_CONVERT_ROWS(YCORE_CONVERT_ROW)
} // namespace ycore::ref

#endif

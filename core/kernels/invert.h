// Scalar reference of the 8-bit inversion.
#ifndef TLKCORE_KERNELS_INVERT_H
#define TLKCORE_KERNELS_INVERT_H

#include <cstddef>
#include <cstdint>

namespace ycore::ref {

inline void Invert8Row(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = static_cast<std::uint8_t>(255 - s[i]);
}

} // namespace ycore::ref

#endif

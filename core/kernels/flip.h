// Scalar reference of the horizontal flip.
#ifndef TLKCORE_KERNELS_FLIP_H
#define TLKCORE_KERNELS_FLIP_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ycore::ref {

// One row of n pels of pelSize bytes (1, 2, 4 or 8), mirrored.
inline void FlipHRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n, int pelSize)
{
    const auto p = std::size_t(pelSize);
    for (std::size_t i = 0; i < n; ++i) std::memcpy(d + i * p, s + (n - 1 - i) * p, p);
}

} // namespace ycore::ref

#endif

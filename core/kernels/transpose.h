// Scalar reference of the transpose.
#ifndef TLKCORE_KERNELS_TRANSPOSE_H
#define TLKCORE_KERNELS_TRANSPOSE_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ycore::ref {

// s is w by h pels of pelSize bytes (1, 2, 4 or 8), d is h by w; strides in
// bytes. d(x, y) = s(y, x).
inline void Transpose(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
                      std::size_t h, int pelSize)
{
    const auto p = std::size_t(pelSize);
    for (std::size_t y = 0; y < h; ++y) {
        for (std::size_t x = 0; x < w; ++x) {
            std::memcpy(d + std::ptrdiff_t(x) * ds + y * p, s + std::ptrdiff_t(y) * ss + x * p, p);
        }
    }
}

} // namespace ycore::ref

#endif

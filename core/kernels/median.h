// Scalar reference of the 8-bit 3x3 median.
#ifndef TLKCORE_KERNELS_MEDIAN_H
#define TLKCORE_KERNELS_MEDIAN_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ycore::ref {

// d is w by h, s is w + 2 by h + 2; strides in bytes. Sorts all nine pels so
// that the reference shares nothing with the vector method it checks.
inline void Median3x3(const std::uint8_t* s, std::ptrdiff_t ss, std::uint8_t* d, std::ptrdiff_t ds, std::size_t w,
                      std::size_t h)
{
    for (std::size_t y = 0; y < h; ++y) {
        const std::uint8_t* r = s + std::ptrdiff_t(y) * ss;
        for (std::size_t x = 0; x < w; ++x) {
            std::uint8_t v[9];
            for (int k = 0; k < 9; ++k) v[k] = r[(k / 3) * ss + std::ptrdiff_t(x) + k % 3];
            std::nth_element(v, v + 4, v + 9);
            d[std::ptrdiff_t(y) * ds + std::ptrdiff_t(x)] = v[4];
        }
    }
}

} // namespace ycore::ref

#endif

// Scalar reference of three bytes a pixel to packed 32-bit pels (blue,
// green, red, 0 in memory). The source holds red, green, blue, or blue,
// green, red when blueFirst is set, so that both orders share one function.
#ifndef TLKCORE_KERNELS_RGB24_H
#define TLKCORE_KERNELS_RGB24_H

#include <cstddef>
#include <cstdint>

namespace ycore::ref {

inline void RGB24ToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n, int blueFirst)
{
    const std::size_t r = blueFirst ? 2 : 0, b = 2 - r;
    for (std::size_t i = 0; i < n; ++i, s += 3, d += 4) {
        d[0] = s[b];
        d[1] = s[1];
        d[2] = s[r];
        d[3] = 0;
    }
}

} // namespace ycore::ref

#endif

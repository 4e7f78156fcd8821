// The pel sizes of the kernels that only move pels (flip, transpose): any
// pel of 1, 2, 4 or 8 bytes, moved as an unsigned integer of that size.
#ifndef TLKCORE_KERNELS_PELSIZE_H
#define TLKCORE_KERNELS_PELSIZE_H

#include "core/ypel.h"

#include <cstdint>

namespace ycore {

// The pel size of `im` when it is one of those, else 0.
inline int movablePelSize(const yimg_image* im)
{
    if (im == nullptr) return 0;
    const int p = im->pelSize;
    return p == 1 || p == 2 || p == 4 || p == 8 ? p : 0;
}

// Calls f with a value of the unsigned type of pelSize bytes (1, 2, 4 or 8).
template <class F>
void withPelType(int pelSize, F&& f)
{
    switch (pelSize) {
    case 1: return f(std::uint8_t{});
    case 2: return f(std::uint16_t{});
    case 4: return f(std::uint32_t{});
    default: return f(std::uint64_t{});
    }
}

} // namespace ycore

#endif

// Scalar reference of the 8-bit table map.
#ifndef TLKCORE_KERNELS_MAP_H
#define TLKCORE_KERNELS_MAP_H

#include <cstddef>
#include <cstdint>

namespace ycore::ref {

inline void Map8Row(const std::uint8_t* s, std::uint8_t* d, std::size_t n, const std::uint8_t* table)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = table[s[i]];
}

} // namespace ycore::ref

#endif

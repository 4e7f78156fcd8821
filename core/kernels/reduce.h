// Scalar reference of the smallest and largest pel of a row.
#ifndef TLKCORE_KERNELS_REDUCE_H
#define TLKCORE_KERNELS_REDUCE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ycore::ref {

// Folds the n > 0 pels of s into lo and hi.
template <class T>
void MinMaxRow(const T* s, std::size_t n, std::uint32_t* lo, std::uint32_t* hi)
{
    T l = s[0], h = s[0];
    for (std::size_t i = 1; i < n; ++i) {
        l = std::min(l, s[i]);
        h = std::max(h, s[i]);
    }
    *lo = std::min<std::uint32_t>(*lo, l);
    *hi = std::max<std::uint32_t>(*hi, h);
}

} // namespace ycore::ref

#define YCORE_REDUCE_ROW(Sfx, T)                                                                 \
    inline void MinMax##Sfx##Row(const T* s, std::size_t n, std::uint32_t* lo, std::uint32_t* hi) \
    {                                                                                            \
        MinMaxRow<T>(s, n, lo, hi);                                                              \
    }
#define YCORE_REDUCE_ROWS                                                                        \
    YCORE_REDUCE_ROW(8, std::uint8_t)                                                            \
    YCORE_REDUCE_ROW(16, std::uint16_t)                                                          \
    YCORE_REDUCE_ROW(32, std::uint32_t)

namespace ycore::ref {
YCORE_REDUCE_ROWS
} // namespace ycore::ref

#endif

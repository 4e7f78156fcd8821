// The smallest and largest pel of a window.
#include "core/kernels/reduce.h"

#include "core/kernels/image.h"

#include <limits>

namespace {

template <class T, class Row>
int minMax(const yimg_image* s, std::uint32_t* min, std::uint32_t* max, Row row)
{
    using namespace ycore;
    if (int st = checkImage(s, int(sizeof(T))); st != YSTD_OK) return st;
    if (s->width == 0 || s->height == 0) return YSTD_ERR_BAD_ARGUMENT;
    std::uint32_t lo = std::numeric_limits<std::uint32_t>::max(), hi = 0;
    for (std::int32_t y = 0; y < s->height; ++y) row(rowOf<const T>(s, y), std::size_t(s->width), &lo, &hi);
    *min = lo;
    *max = hi;
    return YSTD_OK;
}

} // namespace

#define YCORE_REDUCE_ENTRIES(Sfx, T)                                                                        \
    extern "C" int yip_pelUnaryMinMax##Sfx(const yimg_image* s, std::uint32_t* min, std::uint32_t* max)    \
    {                                                                                                       \
        if (min == nullptr || max == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                 \
        return minMax<T>(s, min, max, [](const T* r, std::size_t n, std::uint32_t* lo, std::uint32_t* hi) { \
            ycore::ref::MinMax##Sfx##Row(r, n, lo, hi);                                                     \
        });                                                                                                 \
    }                                                                                                       \
    extern "C" int yip_pelUnaryMin##Sfx(const yimg_image* s, std::uint32_t* min)                           \
    {                                                                                                       \
        if (min == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                                   \
        std::uint32_t max = 0;                                                                              \
        return yip_pelUnaryMinMax##Sfx(s, min, &max);                                                       \
    }                                                                                                       \
    extern "C" int yip_pelUnaryMax##Sfx(const yimg_image* s, std::uint32_t* max)                           \
    {                                                                                                       \
        if (max == nullptr) return YSTD_ERR_BAD_ARGUMENT;                                                   \
        std::uint32_t min = 0;                                                                              \
        return yip_pelUnaryMinMax##Sfx(s, &min, max);                                                       \
    }

YCORE_REDUCE_ENTRIES(8, std::uint8_t)
YCORE_REDUCE_ENTRIES(16, std::uint16_t)
YCORE_REDUCE_ENTRIES(32, std::uint32_t)

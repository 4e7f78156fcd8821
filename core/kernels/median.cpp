// Median of each 3x3 neighbourhood, 8-bit.
#include "core/kernels/image.h"
#include "core/kernels/median.h"

extern "C" int yip_pelMedian3x3_8(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    if (int st = checkImage(s, 1); st != YSTD_OK) return st;
    if (int st = checkImage(d, 1); st != YSTD_OK) return st;
    if (s->width != d->width + 2 || s->height != d->height + 2) return YSTD_ERR_BAD_ARGUMENT;
    if (d->width == 0 || d->height == 0) return YSTD_OK;
    ref::Median3x3(static_cast<const std::uint8_t*>(s->pels), s->stride, static_cast<std::uint8_t*>(d->pels),
                   d->stride, std::size_t(d->width), std::size_t(d->height));
    return YSTD_OK;
}

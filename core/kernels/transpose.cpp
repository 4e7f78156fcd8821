// d(x, y) = s(y, x) for pels of 1, 2, 4 and 8 bytes.
#include "core/kernels/image.h"
#include "core/kernels/transpose.h"

extern "C" int yip_pelTranspose(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    if (s == nullptr) return YSTD_ERR_BAD_IMAGE;
    const int p = s->pelSize;
    if (p != 1 && p != 2 && p != 4 && p != 8) return YSTD_ERR_BAD_IMAGE;
    if (int st = checkImage(s, p); st != YSTD_OK) return st;
    if (int st = checkImage(d, p); st != YSTD_OK) return st;
    if (d->width != s->height || d->height != s->width) return YSTD_ERR_BAD_ARGUMENT;
    if (s->width == 0 || s->height == 0) return YSTD_OK;
    if (s->pels == d->pels) return YSTD_ERR_BAD_ARGUMENT;
    ref::Transpose(static_cast<const std::uint8_t*>(s->pels), s->stride, static_cast<std::uint8_t*>(d->pels),
                   d->stride, std::size_t(s->width), std::size_t(s->height), p);
    return YSTD_OK;
}

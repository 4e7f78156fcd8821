// Mirror of the columns, for pels of 1, 2, 4 and 8 bytes.
#include "core/kernels/flip.h"
#include "core/kernels/image.h"

extern "C" int yip_pelFlipH(const yimg_image* s, yimg_image* d)
{
    using namespace ycore;
    if (s == nullptr) return YSTD_ERR_BAD_IMAGE;
    const int p = s->pelSize;
    if (p != 1 && p != 2 && p != 4 && p != 8) return YSTD_ERR_BAD_IMAGE;
    if (int st = checkSame({s, d}, p); st != YSTD_OK) return st;
    if (s->width == 0 || s->height == 0) return YSTD_OK;
    if (s->pels == d->pels) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < s->height; ++y) {
        ref::FlipHRow(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), std::size_t(s->width), p);
    }
    return YSTD_OK;
}

// The weighted sum of the bytes of packed 32-bit pels, into 8 bits.
#include "core/kernels/image.h"
#include "core/kernels/weighted.h"
#include "core/yconvert.h"

extern "C" int yip_pelAdd3Weighted8(const yimg_image* s, yimg_image* d, double cr, double cg, double cb, double c4)
{
    using namespace ycore;
    if (int st = checkImage(s, 4); st != YSTD_OK) return st;
    if (int st = checkImage(d, 1); st != YSTD_OK) return st;
    if (s->width != d->width || s->height != d->height) return YSTD_ERR_BAD_ARGUMENT;
    const ref::Weights w = {cr, cg, cb, c4};
    const Rows rows = rowsOf({s, d});
    for (std::int32_t y = 0; y < rows.count; ++y) {
        ref::Weighted8Row(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), rows.length, w);
    }
    return YSTD_OK;
}

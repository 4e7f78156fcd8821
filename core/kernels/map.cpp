// d = table[s] for 8-bit pels.
#include "core/kernels/image.h"
#include "core/kernels/map.h"

extern "C" int yip_pelMap8(const yimg_image* s, yimg_image* d, const std::uint8_t* table)
{
    using namespace ycore;
    if (int st = checkSame({s, d}, 1); st != YSTD_OK) return st;
    if (table == nullptr) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < s->height; ++y) {
        ref::Map8Row(rowOf<const std::uint8_t>(s, y), rowOf<std::uint8_t>(d, y), std::size_t(s->width), table);
    }
    return YSTD_OK;
}

// Three bytes a pixel to packed 32-bit pels.
#include "core/kernels/camera.h"
#include "core/kernels/rgb24.h"
#include "core/yconvert.h"

extern "C" int yip_convertRGB24ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                     uint8_t* dst, ptrdiff_t dstRow, int blueFirst)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, 3, 1}, {dst, dstRow, 4, 1}); st != YSTD_OK) return st;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        ref::RGB24ToRGBRow(rowAt(src, srcRow, y), rowAt(dst, dstRow, y), std::size_t(width), blueFirst != 0);
    }
    return YSTD_OK;
}

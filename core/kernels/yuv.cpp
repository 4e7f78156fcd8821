// YUV camera formats to grey (their Y bytes) and to packed 32-bit colour.
#include "core/kernels/camera.h"
#include "core/kernels/yuv.h"
#include "core/yconvert.h"

namespace {

using RowFn = void (*)(const std::uint8_t*, std::uint8_t*, std::size_t);

// `group` pixels share `groupBytes` source bytes; the width must be whole
// groups.
int convert(std::int32_t width, std::int32_t height, const std::uint8_t* src, std::ptrdiff_t srcRow,
            std::uint8_t* dst, std::ptrdiff_t dstRow, std::int32_t group, std::int32_t groupBytes,
            std::int32_t dstPel, RowFn row)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, groupBytes, group}, {dst, dstRow, dstPel, 1});
        st != YSTD_OK) {
        return st;
    }
    if (width % group != 0) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        row(rowAt(src, srcRow, y), rowAt(dst, dstRow, y), std::size_t(width));
    }
    return YSTD_OK;
}

} // namespace

#define YCORE_YUV(Name, group, groupBytes)                                                                       \
    extern "C" int yip_convert##Name##ToGreyscale(int32_t width, int32_t height, const uint8_t* src,            \
                                                  ptrdiff_t srcRow, uint8_t* dst, ptrdiff_t dstRow)             \
    {                                                                                                            \
        return convert(width, height, src, srcRow, dst, dstRow, group, groupBytes, 1,                            \
                       [](const std::uint8_t* s, std::uint8_t* d, std::size_t n) {                               \
                           ycore::ref::Name##ToGreyRow(s, d, n);                                                 \
                       });                                                                                       \
    }                                                                                                            \
    extern "C" int yip_convert##Name##ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow, \
                                            uint8_t* dst, ptrdiff_t dstRow)                                      \
    {                                                                                                            \
        return convert(width, height, src, srcRow, dst, dstRow, group, groupBytes, 4,                            \
                       [](const std::uint8_t* s, std::uint8_t* d, std::size_t n) {                               \
                           ycore::ref::Name##ToRGBRow(s, d, n);                                                  \
                       });                                                                                       \
    }
YCORE_YUV(UYVY, 2, 4)
YCORE_YUV(UYYVYY, 4, 6)
YCORE_YUV(UYV, 1, 3)

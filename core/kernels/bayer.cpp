// 8-bit Bayer mosaics to grey and to packed 32-bit colour.
#include "core/kernels/bayer.h"
#include "core/kernels/camera.h"
#include "core/yconvert.h"

namespace {

using RowFn = void (*)(const ycore::BayerRows&, std::uint8_t*, std::size_t, ycore::BayerRow);

int convert(std::int32_t width, std::int32_t height, const std::uint8_t* src, std::ptrdiff_t srcRow,
            std::uint8_t* dst, std::ptrdiff_t dstRow, int pattern, std::int32_t dstPel, RowFn row)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, 1, 1}, {dst, dstRow, dstPel, 1}); st != YSTD_OK) {
        return st;
    }
    if (pattern < YIP_BAYER_RGGB || pattern > YIP_BAYER_BGGR) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        const BayerRows m = {rowAt(src, srcRow, bayerMirror(y - 1, height)), rowAt(src, srcRow, y),
                             rowAt(src, srcRow, bayerMirror(y + 1, height))};
        row(m, rowAt(dst, dstRow, y), std::size_t(width), bayerRow(pattern, y));
    }
    return YSTD_OK;
}

} // namespace

extern "C" int yip_convertBayer8ToGreyscale(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                            uint8_t* dst, ptrdiff_t dstRow, int pattern)
{
    return convert(width, height, src, srcRow, dst, dstRow, pattern, 1, ycore::ref::Bayer8ToGreyRow);
}

extern "C" int yip_convertBayer8ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                      uint8_t* dst, ptrdiff_t dstRow, int pattern)
{
    return convert(width, height, src, srcRow, dst, dstRow, pattern, 4, ycore::ref::Bayer8ToRGBRow);
}

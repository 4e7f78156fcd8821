// Checking image descriptors and walking their rows: what every kernel entry
// point does before and around its row function.
#ifndef TLKCORE_KERNELS_IMAGE_H
#define TLKCORE_KERNELS_IMAGE_H

#include "core/ypel.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace ycore {

// YSTD_OK when `im` describes a readable window of `pelSize`-byte pels.
inline int checkImage(const yimg_image* im, int pelSize)
{
    if (im == nullptr || im->width < 0 || im->height < 0 || im->pelSize != pelSize) return YSTD_ERR_BAD_IMAGE;
    if (im->width == 0 || im->height == 0) return YSTD_OK;
    if (im->pels == nullptr) return YSTD_ERR_BAD_IMAGE;
    const std::ptrdiff_t row = std::ptrdiff_t{im->width} * pelSize;
    if (im->height > 1 && im->stride < row) return YSTD_ERR_BAD_IMAGE;
    return YSTD_OK;
}

// Checks every image for `pelSize` and that all have the size of the first.
inline int checkSame(std::initializer_list<const yimg_image*> images, int pelSize)
{
    for (const yimg_image* im : images) {
        if (int s = checkImage(im, pelSize); s != YSTD_OK) return s;
    }
    const yimg_image* first = *images.begin();
    for (const yimg_image* im : images) {
        if (im->width != first->width || im->height != first->height) return YSTD_ERR_BAD_ARGUMENT;
    }
    return YSTD_OK;
}

// How to walk equal-sized windows for an element-wise kernel: row by row,
// or, when no window has padding between its rows, as one long row, which
// saves a call and a vector tail per row.
struct Rows {
    std::int32_t count;
    std::size_t length;
};
inline Rows rowsOf(std::initializer_list<const yimg_image*> images)
{
    const yimg_image* first = *images.begin();
    bool dense = true;
    for (const yimg_image* im : images) {
        dense = dense && (im->height <= 1 || im->stride == std::ptrdiff_t{im->width} * im->pelSize);
    }
    if (dense && first->height > 1) return {1, std::size_t(first->width) * std::size_t(first->height)};
    return {first->height, std::size_t(first->width)};
}

template <class T>
T* rowOf(const yimg_image* im, std::int32_t y)
{
    return reinterpret_cast<T*>(static_cast<unsigned char*>(im->pels) + y * im->stride);
}

} // namespace ycore

#endif

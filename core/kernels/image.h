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

template <class T>
T* rowOf(const yimg_image* im, std::int32_t y)
{
    return reinterpret_cast<T*>(static_cast<unsigned char*>(im->pels) + y * im->stride);
}

} // namespace ycore

#endif

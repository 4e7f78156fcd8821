// Argument checks shared by the camera-format conversions of yconvert.h.
#ifndef TLKCORE_KERNELS_CAMERA_H
#define TLKCORE_KERNELS_CAMERA_H

#include "core/ycore.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace ycore {

// A source or destination: its first byte, its row distance and its bytes a
// pixel as the fraction num / den (UYVY holds two pixels in four bytes).
struct Plane {
    const void* p;
    std::ptrdiff_t row;
    std::ptrdiff_t num, den;
};
// YSTD_OK when a conversion may run: sizes not negative and, under a
// non-empty image, both pointers set and each row distance a row at least.
inline int checkConvert(std::int32_t width, std::int32_t height, Plane s, Plane d)
{
    if (width < 0 || height < 0) return YSTD_ERR_BAD_ARGUMENT;
    if (width == 0 || height == 0) return YSTD_OK;
    for (const Plane& pl : {s, d}) {
        if (pl.p == nullptr) return YSTD_ERR_BAD_ARGUMENT;
        if (height > 1 && pl.row < std::ptrdiff_t{width} * pl.num / pl.den) return YSTD_ERR_BAD_ARGUMENT;
    }
    return YSTD_OK;
}

inline const std::uint8_t* rowAt(const std::uint8_t* p, std::ptrdiff_t row, std::int32_t y) { return p + y * row; }
inline std::uint8_t* rowAt(std::uint8_t* p, std::ptrdiff_t row, std::int32_t y) { return p + y * row; }

} // namespace ycore

#endif

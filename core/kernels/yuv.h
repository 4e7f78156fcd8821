// Scalar reference of the YUV conversions: grey is the Y bytes, colour the
// BT.601 video-range integer rule written in core/yconvert.h.
#ifndef TLKCORE_KERNELS_YUV_H
#define TLKCORE_KERNELS_YUV_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ycore::ref {

inline std::uint8_t clampByte(std::int32_t v) { return static_cast<std::uint8_t>(std::clamp(v, 0, 255)); }

// One pixel as bytes blue, green, red, 0.
inline void yuvPixel(std::int32_t y, std::int32_t u, std::int32_t v, std::uint8_t* d)
{
    const std::int32_t c = y - 16, du = u - 128, ev = v - 128;
    d[0] = clampByte((298 * c + 516 * du + 128) >> 8);
    d[1] = clampByte((298 * c - 100 * du - 208 * ev + 128) >> 8);
    d[2] = clampByte((298 * c + 409 * ev + 128) >> 8);
    d[3] = 0;
}

// n is the number of pixels: even for UYVY, a multiple of four for UYYVYY.
inline void UYVYToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = s[2 * i + 1];
}
inline void UYVYToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; i += 2, s += 4, d += 8) {
        yuvPixel(s[1], s[0], s[2], d);
        yuvPixel(s[3], s[0], s[2], d + 4);
    }
}
inline void UYYVYYToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; i += 4, s += 6, d += 4) {
        d[0] = s[1];
        d[1] = s[2];
        d[2] = s[4];
        d[3] = s[5];
    }
}
inline void UYYVYYToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; i += 4, s += 6, d += 16) {
        yuvPixel(s[1], s[0], s[3], d);
        yuvPixel(s[2], s[0], s[3], d + 4);
        yuvPixel(s[4], s[0], s[3], d + 8);
        yuvPixel(s[5], s[0], s[3], d + 12);
    }
}
inline void UYVToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) d[i] = s[3 * i + 1];
}
inline void UYVToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) yuvPixel(s[3 * i + 1], s[3 * i], s[3 * i + 2], d + 4 * i);
}

} // namespace ycore::ref

#endif

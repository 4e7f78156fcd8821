// Colour spaces of three-plane images.
//
// A three-plane buffer carries a tag saying what its planes hold. The tags:
//
//   tag       value   planes 0, 1, 2                 three-plane
//   Unknown   0       not said                       refused
//   Grey      1       one grey channel               refused
//   RGB       2       red, green, blue               accepted (the default)
//   HSI       3       hue, saturation, intensity     accepted
//   YUV       4       luma and two colour differences accepted
//
// A tag that a three-plane buffer refuses throws BadColorSpace, whose text
// names the tag. Archives carry the value as a 32-bit integer.
#ifndef TLVSTD_PELBUF_COLORSPACE_H
#define TLVSTD_PELBUF_COLORSPACE_H

#include "std/except/except.h"

#include <cstdint>

class ycColorSpaceDefs {
public:
    enum ColorSpace : std::int32_t { Unknown = 0, Grey = 1, RGB = 2, HSI = 3, YUV = 4 };

    static constexpr bool isThreePlane(ColorSpace c) { return c == RGB || c == HSI || c == YUV; }
    static constexpr const wchar_t* name(ColorSpace c)
    {
        switch (c) {
        case Unknown: return L"Unknown";
        case Grey: return L"Grey";
        case RGB: return L"RGB";
        case HSI: return L"HSI";
        case YUV: return L"YUV";
        }
        return L"unnamed";
    }

    ymErrorGroup(ycExceptionWithString);
    ymError(BadColorSpace, Errors);
};

#endif

// Colour spaces of three-plane images.
#ifndef TLVSTD_PELBUF_COLORSPACE_H
#define TLVSTD_PELBUF_COLORSPACE_H

#include "std/except/except.h"

class ycColorSpaceDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadColorSpace, Errors);
};

#endif

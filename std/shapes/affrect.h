// Failures of affine rectangles (a group of their own, not shape errors).
#ifndef TLVSTD_SHAPES_AFFRECT_H
#define TLVSTD_SHAPES_AFFRECT_H

#include "std/except/except.h"

class ycAffineRectangle {
public:
    ymErrorGroup(ycException);
    ymError(BadLength, Errors);
    ymError(BadSkew, Errors);
};

#endif

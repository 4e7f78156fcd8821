// Failures of two-dimensional maps.
#ifndef TLVSTD_MATH_MAP2D_H
#define TLVSTD_MATH_MAP2D_H

#include "std/except/except.h"

class yc2DMap {
public:
    ymErrorGroup(ycException);
    ymError(notValid, Errors);
};

class yc2DLinearMap {
public:
    ymErrorGroup(ycException);
    ymError(notValidFit, Errors);
};

#endif

// Failures of two-dimensional transforms.
#ifndef TLVSTD_MATH_XFBASE_H
#define TLVSTD_MATH_XFBASE_H

#include "std/except/except.h"

class yc2XformDefs {
public:
    ymErrorGroup(ycException);
    ymError(NotImplemented, Errors);
};

#endif

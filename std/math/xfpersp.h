// Failures of perspective transforms.
#ifndef TLVSTD_MATH_XFPERSP_H
#define TLVSTD_MATH_XFPERSP_H

#include "std/except/except.h"

class yc2XformPerspectiveDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NumericalError, Errors);
};

#endif

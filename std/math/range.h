// Failures of ranges.
#ifndef TLVSTD_MATH_RANGE_H
#define TLVSTD_MATH_RANGE_H

#include "std/except/except.h"

class ycRangeDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotPartialRange, Errors);
};

#endif

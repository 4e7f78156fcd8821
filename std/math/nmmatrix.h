// Failures of general matrices. The small numbers are the group's own.
#ifndef TLVSTD_MATH_NMMATRIX_H
#define TLVSTD_MATH_NMMATRIX_H

#include "std/except/except.h"

class ycNMMatrix {
public:
    ymErrorGroup(ycException);
    ymError(sizeErr, Errors);
    ymError(unstableErr, Errors);
};

#endif

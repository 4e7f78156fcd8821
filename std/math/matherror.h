// Failures shared by the numeric classes.
#ifndef TLVSTD_MATH_MATHERROR_H
#define TLVSTD_MATH_MATHERROR_H

#include "std/except/except.h"

class ycMathError {
public:
    ymErrorGroup(ycException);
    ymError(Singular, Errors);
    ymError(NullVector, Errors);
    ymError(DivisionByZero, Errors);
};

#endif

// Failures of polynomial root finding.
#ifndef TLVSTD_MATH_POLYROOT_H
#define TLVSTD_MATH_POLYROOT_H

#include "std/except/except.h"

class ycPolynomialRootFinder {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

#endif

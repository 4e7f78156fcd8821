// Failures of least-squares point-to-point fitting.
#ifndef TLVSTD_MATH_LSFIT_H
#define TLVSTD_MATH_LSFIT_H

#include "std/except/except.h"

class ycLSPointToPointFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
    ymError(BadArgErr, Errors);
};

#endif

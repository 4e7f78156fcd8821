// Failures of robust fitting.
#ifndef TLVSTD_MATH_ROBUSTFIT_H
#define TLVSTD_MATH_ROBUSTFIT_H

#include "std/except/except.h"

class ycRobustFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycAdaptiveRANSACDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(FailedToFitModel, Errors);
    ymError(InsufficientDataPoints, Errors);
};

#endif

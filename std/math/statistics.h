// Failures of statistics.
#ifndef TLVSTD_MATH_STATISTICS_H
#define TLVSTD_MATH_STATISTICS_H

#include "std/except/except.h"

class ycStatistics {
public:
    ymErrorGroup(ycException);
    ymError(NoSamples, Errors);
};

class ycHistoStats {
public:
    ymErrorGroup(ycException);
    ymError(Overflow, Errors);
};

#endif

// Failures of progress reporting.
#ifndef TLVSTD_UTIL_PROGRESS_H
#define TLVSTD_UTIL_PROGRESS_H

#include "std/except/except.h"

class ycProgressDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

#endif

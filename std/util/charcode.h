// Failures of character code conversion.
#ifndef TLVSTD_UTIL_CHARCODE_H
#define TLVSTD_UTIL_CHARCODE_H

#include "std/except/except.h"

class ycCharCodeDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NotRepresentable, Errors);
};

#endif

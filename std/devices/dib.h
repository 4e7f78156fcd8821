// Failures of device-independent bitmaps.
#ifndef TLVSTD_DEVICES_DIB_H
#define TLVSTD_DEVICES_DIB_H

#include "std/except/except.h"

class ycDIB {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadFormat, Errors);
    ymError(ReadError, Errors);
    ymError(WriteError, Errors);
    ymError(NoDibData, Errors);
};

#endif

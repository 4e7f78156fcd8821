// Failures of acquired images.
#ifndef TLVSTD_PELBUF_ACQIMAGE_H
#define TLVSTD_PELBUF_ACQIMAGE_H

#include "std/except/except.h"

class ycAcqImage {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NotSupported, Errors);
};

#endif

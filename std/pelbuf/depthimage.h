// Failures of depth images.
#ifndef TLVSTD_PELBUF_DEPTHIMAGE_H
#define TLVSTD_PELBUF_DEPTHIMAGE_H

#include "std/except/except.h"

class ycDepthImageDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotInitialized, Errors);
};

#endif

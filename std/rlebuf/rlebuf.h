// Failures of run-length encoded images.
#ifndef TLVSTD_RLEBUF_RLEBUF_H
#define TLVSTD_RLEBUF_RLEBUF_H

#include "std/except/except.h"

class ycRLEBuffer {
public:
    ymErrorGroup(ycException);
    ymError(Degenerate, Errors);
};

#endif

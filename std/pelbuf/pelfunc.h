// Failures of pixel operations.
#ifndef TLVSTD_PELBUF_PELFUNC_H
#define TLVSTD_PELBUF_PELFUNC_H

#include "std/except/except.h"

class ycPelFunc {
public:
    ymErrorGroup(ycException);
    ymError(Range, Errors);
    ymError(Overlap, Errors);
    ymError(BadParams, Errors);
};

#endif

// Failures of pixel rectangles.
#ifndef TLVSTD_PELBUF_PELRECT_H
#define TLVSTD_PELBUF_PELRECT_H

#include "std/except/except.h"

class ycRectErrors {
public:
    ymErrorGroup(ycException);
    ymError(NoOverlap, Errors);
    ymError(NegativeSize, Errors);
};

#endif

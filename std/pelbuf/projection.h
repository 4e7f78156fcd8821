// Failures of image projections.
#ifndef TLVSTD_PELBUF_PROJECTION_H
#define TLVSTD_PELBUF_PROJECTION_H

#include "std/except/except.h"

class yc_ProjectionMethod {
public:
    ymErrorGroup(ycException);
    ymError(ClippedProjection, Errors);
    ymError(ZeroSubsamplingFactor, Errors);
    ymError(BadProjectionRegion, Errors);
};

#endif

// Failures of image sampling and warping.
#ifndef TLVSTD_MATH_WARP_H
#define TLVSTD_MATH_WARP_H

#include "std/except/except.h"

class ycAffineSamplingParams {
public:
    ymErrorGroup(ycException);
    ymError(BadNumSamples, Errors);
    ymError(NotImplemented, Errors);
};

class ycAffTransDefs {
public:
    ymErrorGroup(ycException);
    ymError(UnboundWindow, Errors);
    ymError(Clipped, Errors);
};

class ycSampledImageWarpDefs {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

class ycAffProjImgDefs {
public:
    ymErrorGroup(ycException);
    ymError(UnboundWindow, Errors);
    ymError(Clipped, Errors);
    ymError(BadWeightImage, Errors);
    ymError(NotImplemented, Errors);
};

class ycImageWarpDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(BadWindow, Errors);
    ymError(NotTrained, Errors);
};

class ycImageWarp1DDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(BadWindow, Errors);
    ymError(NotTrained, Errors);
    ymError(InappropriateXform, Errors);
};

#endif

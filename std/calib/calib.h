// Failures of calibration.
#ifndef TLVSTD_CALIB_CALIB_H
#define TLVSTD_CALIB_CALIB_H

#include "std/except/except.h"

class yc2XformCalib2Defs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(MapsToInfinity, Errors);
    ymError(NumericalError, Errors);
    ymError(InsufficientPoints, Errors);
    ymError(NotImplemented, Errors);
};

class ycCalibCorrespondenceDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(NegativeWeight, Errors);
};

class ycLineScanDistortionCorrectionDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(BadImage, Errors);
    ymError(NotTrained, Errors);
    ymError(MismatchedRanges, Errors);
};

#endif

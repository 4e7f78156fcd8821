// Failures of the line, circle, ellipse and general fitters. The small numbers of ycLSGeneralFitter are the group's own.
#ifndef TLVSTD_CFIT_FITTERS_H
#define TLVSTD_CFIT_FITTERS_H

#include "std/except/except.h"

class ycLSPointToLineFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
    ymError(BadArgErr, Errors);
};

class ycLSCircleFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
};

class ycLSLineFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
};

class ycCircleFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycLineFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycEllipseFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

class ycPointFitDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotImplemented, Errors);
};

class ycLSGeneralFitter {
public:
    ymErrorGroup(ycException);
    ymError(unstableErr, Errors);
    ymError(badArgErr, Errors);
};

#endif

// Failures of shared resources, threads and time-outs. BrokenLock's number is 0.
#ifndef TLVSTD_WORKMGR_RESOURCE_H
#define TLVSTD_WORKMGR_RESOURCE_H

#include "std/except/except.h"

class yc_Resource {
public:
    ymErrorGroup(ycException);
    ymError(Timeout, Errors);
    ymError(NamedObjectExists, Errors);
    ymError(NameConflict, Errors);
    ymError(CreateFailed, Errors);
    ymError(BrokenLock, Errors);
};

class ycThreadID {
public:
    ymErrorGroup(ycException);
    ymError(CouldNotRegister, Errors);
    ymError(CreateFailed, Errors);
};

class ycTimeout {
public:
    ymError(Expired, ycException);
    ymError(InternalExpired, Expired);
    ymError(Cancel, Expired);
};

#endif

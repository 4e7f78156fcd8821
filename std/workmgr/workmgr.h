// Failures of the worker-thread manager.
#ifndef TLVSTD_WORKMGR_WORKMGR_H
#define TLVSTD_WORKMGR_WORKMGR_H

#include "std/except/except.h"

class ycWorkerThreadManagerDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

#endif

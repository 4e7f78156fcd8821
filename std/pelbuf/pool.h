// Failures of pel-root pools.
#ifndef TLVSTD_PELBUF_POOL_H
#define TLVSTD_PELBUF_POOL_H

#include "std/except/except.h"

class ycPelRootPool {
public:
    ymErrorGroup(ycException);
    ymError(NotSupported, Errors);
    ymError(Outstanding, Errors);
};

#endif

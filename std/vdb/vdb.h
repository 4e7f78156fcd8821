// Failures of recording archives.
#ifndef TLVSTD_VDB_VDB_H
#define TLVSTD_VDB_VDB_H

#include "std/except/except.h"

class ycVDBRecordBase {
public:
    ymErrorGroup(ycException);
    ymError(NoResult, Errors);
};

#endif

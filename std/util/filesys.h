// Failures of file system selection.
#ifndef TLVSTD_UTIL_FILESYS_H
#define TLVSTD_UTIL_FILESYS_H

#include "std/except/except.h"

class ycFileSystemSelect {
public:
    ymErrorGroup(ycException);
    ymError(UnsupportedFileSystem, Errors);
};

#endif

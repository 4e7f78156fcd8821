// Failures of remote objects and fast image transfer.
#ifndef TLVSTD_RPC_REMOTE_H
#define TLVSTD_RPC_REMOTE_H

#include "std/except/except.h"

class ycRemoteObject {
public:
    ymErrorGroup(ycException);
    ymError(ObjectMismatch, Errors);
};

class yc_FastImageTransfer {
public:
    ymErrorGroup(ycException);
    ymError(TransferFailed, Errors);
};

#endif

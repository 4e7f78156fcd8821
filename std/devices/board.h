// Failures of frame-grabber boards and accelerators.
#ifndef TLVSTD_DEVICES_BOARD_H
#define TLVSTD_DEVICES_BOARD_H

#include "std/except/except.h"

class ycBoard {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(StaticInitDisorder, Errors);
    ymError(NotSupported, Errors);
    ymError(HardwareNotResponding, Errors);
    ymError(Timeout, Errors);
    ymError(HardwareInUse, Errors);
    ymError(HardwareNotInitialized, Errors);
    ymError(FpgaLoadFailure, Errors);
    ymError(BadEERAMContents, Errors);
    ymError(MultiProcessAccessFailed, Errors);
};

class ycAccelerator {
public:
    ymErrorGroup(ycException);
    ymError(BadFile, Errors);
    ymError(BootFailure, Errors);
    ymError(ConnectionBroken, Errors);
};

#endif

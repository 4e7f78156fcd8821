// Failures of parallel and serial ports and pointing devices.
#ifndef TLVSTD_DEVICES_IO_H
#define TLVSTD_DEVICES_IO_H

#include "std/except/except.h"

class ycParallelIO {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(CannotEnable, Errors);
    ymError(NotEnabled, Errors);
    ymError(NotImplemented, Errors);
    ymError(Unspecified, Errors);
};

class ycSerialIO {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
    ymError(NotSupported, Errors);
    ymError(CannotInit, Errors);
    ymError(ReadFail, Errors);
    ymError(WriteFail, Errors);
};

class ycPointingDevice {
public:
    ymErrorGroup(ycException);
    ymError(NoDevice, Errors);
    ymError(NotDetected, Errors);
    ymError(UnSupported, Errors);
};

#endif

// Failures of TCP and UDP connections.
#ifndef TLVSTD_TRANSPORT_IP_H
#define TLVSTD_TRANSPORT_IP_H

#include "std/except/except.h"

class ycTcpip {
public:
    ymErrorGroup(ycException);
    ymError(AccessFailed, Errors);
    ymError(ConnectionBroken, Errors);
    ymError(Timeout, Errors);
    ymError(NotSupported, Errors);
};

class ycUdpip {
public:
    ymErrorGroup(ycException);
    ymError(AccessFailed, Errors);
    ymError(BufferNotEmpty, Errors);
    ymError(ConnectionBroken, Errors);
    ymError(InvalidParameter, Errors);
    ymError(Timeout, Errors);
    ymError(NotSupported, Errors);
};

#endif

// Remote objects and fast image transfer.
//
// ycRemoteObject is the identity part of an object that may stand for one held
// by another process: whether it is local or remote, whether remote calls are
// enabled for it, its handle on the remote side and the communicator that
// reaches that side. An object made here is local; only the remote-call layer
// makes remote ones.
#ifndef TLVSTD_PELBUF_REMOTE_H
#define TLVSTD_PELBUF_REMOTE_H

#include "std/except/except.h"

#include <cstdint>

class ycCommunicator;

class TLVSTD_API ycRemoteObject {
public:
    ymErrorGroup(ycException);
    ymError(ObjectMismatch, Errors);

    bool isLocal() const { return !remote_; }
    bool isRemote() const { return remote_; }
    bool remoteCallsEnabled() const { return remoteCalls_; }
    std::uint32_t remoteHandle() const { return handle_; }
    ycCommunicator* communicator() const { return communicator_; }

protected:
    ycRemoteObject() = default;
    // The proxy of the object with `handle` on the side `communicator` reaches.
    ycRemoteObject(ycCommunicator& communicator, std::uint32_t handle)
        : remote_(true), remoteCalls_(true), handle_(handle), communicator_(&communicator)
    {
    }
    ~ycRemoteObject() = default;
    ycRemoteObject(const ycRemoteObject&) = default;
    ycRemoteObject& operator=(const ycRemoteObject&) = default;

    void enableRemoteCalls(bool on) { remoteCalls_ = on; }

private:
    bool remote_ = false;
    bool remoteCalls_ = false;
    std::uint32_t handle_ = 0;
    ycCommunicator* communicator_ = nullptr;
};

class yc_FastImageTransfer {
public:
    ymErrorGroup(ycException);
    ymError(TransferFailed, Errors);
};

#endif

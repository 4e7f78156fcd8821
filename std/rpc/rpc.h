// Failures of remote procedure calls.
#ifndef TLVSTD_RPC_RPC_H
#define TLVSTD_RPC_RPC_H

#include "std/except/except.h"

class ycRPC {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(ObjectMismatch, Errors);
    // A failure reported by a server as a number (and a text): errorNumber()
    // is that number. The number is not persisted; a loaded RuntimeError has
    // the default number 0x10003401.
    class TLVSTD_API RuntimeError : public Errors {
    public:
        using ycErrorBase = Errors;
        RuntimeError() : Errors(std::wstring()) {}
        RuntimeError(std::int32_t code, const std::wstring& info) : Errors(info), code_(code) {}
        std::int32_t errorNumber() const override { return code_; }
        void suicideAndRethrow() override;

    protected:
        void dispatchSerialize(ycArchive& ar) override;

    private:
        std::int32_t code_ = 0x10003401;
    };
    ymError(UnknownCommunicator, Errors);
    ymError(UnsupportedFunction, Errors);
    ymError(CouldNotStartService, Errors);
    ymError(NestedRPC, Errors);
};

class ycRPCHandler {
public:
    ymError(DuplicateHandler, ycRPC::Errors);
};

#endif

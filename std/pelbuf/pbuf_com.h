// Failures of pel buffers.
#ifndef TLVSTD_PELBUF_PBUF_COM_H
#define TLVSTD_PELBUF_PBUF_COM_H

#include "std/except/except.h"

class ycPel {
public:
    ymErrorGroup(ycException);
    ymError(UnboundWindow, Errors);
    ymError(BadWindow, Errors);
    ymError(DisjointWindows, Errors);
    // Pixel access outside the window. The coordinates are for the catcher;
    // they are not persisted and the message is the default text.
    class TLVSTD_API BadCoord : public Errors {
    public:
        using ycErrorBase = Errors;
        BadCoord() = default;
        BadCoord(std::int32_t x, std::int32_t y) : x_(x), y_(y) {}
        std::int32_t x() const { return x_; }
        std::int32_t y() const { return y_; }
        std::int32_t errorNumber() const override;
        void suicideAndRethrow() override;

    protected:
        void dispatchSerialize(ycArchive& ar) override;

    private:
        std::int32_t x_ = 0;
        std::int32_t y_ = 0;
    };
    ymError(Unknown, Errors);
    ymError(NonlinearXform, Errors);
};

class ycPelbufHelper1 {
public:
    ymError(ycPelbufTrigger, ycException);
};

#endif

// Statuses of the core mapped to exceptions.
//
// The core reports failures as negative statuses. One table (status.cpp) says
// what each one means here: no memory becomes std::bad_alloc, a bad argument
// becomes the calling operation's own error class (the template argument), an
// unsupported operation ycUnsupportedHW, anything else ycUnknownError with the
// status as its code.
#ifndef TLVSTD_EXCEPT_STATUS_H
#define TLVSTD_EXCEPT_STATUS_H

#include "std/except/except.h"

#include <cstdint>
#include <new>
#include <type_traits>

enum class yeFailure { none, noMemory, badArgument, unsupported, other };

TLVSTD_API yeFailure yf_FailureOf(std::int32_t status);

template <class BadArgument = ycUnknownError>
void yfThrowExceptionOnFailure(std::int32_t status)
{
    switch (yf_FailureOf(status)) {
    case yeFailure::none:
        return;
    case yeFailure::noMemory:
        throw std::bad_alloc();
    case yeFailure::unsupported:
        throw ycUnsupportedHW();
    case yeFailure::badArgument:
        if constexpr (!std::is_same_v<BadArgument, ycUnknownError>) throw BadArgument();
        [[fallthrough]];
    case yeFailure::other:
        break;
    }
    throw ycUnknownError(status);
}

#endif

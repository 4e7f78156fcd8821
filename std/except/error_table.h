// The pieces of a module's error table (its errors.cpp): each module lists its
// concrete error classes with their numbers and its group bases, then
//
//     MODULE_ERROR_CLASSES(ymDefineError)
//     MODULE_ERROR_GROUPS(ymDefineErrorLevel)
//
// and registers the classes from its registration function with
//
//     MODULE_ERROR_CLASSES(ymRegisterError)
//
// The numbers are part of the interface and never change.
#ifndef TLVSTD_EXCEPT_ERROR_TABLE_H
#define TLVSTD_EXCEPT_ERROR_TABLE_H

#include "std/except/except.h"
#include "std/except/registry.h"

#include <cstdint>

// A member or group level without fields: a version byte, then the base.
#define ymDefineErrorLevel(T)                                                          \
    void T::dispatchSerialize(ycArchive& ar)                                           \
    {                                                                                  \
        serializeLevel(ar, this, 0, [&](std::uint8_t version) {                        \
            if (version != 0) unknownVersion(#T, 0);                                   \
            this->T::ycErrorBase::dispatchSerialize(ar);                               \
        });                                                                            \
    }

#define ymDefineErrorRethrow(T)                                                        \
    void T::suicideAndRethrow()                                                        \
    {                                                                                  \
        T copy(*this);                                                                 \
        delete this;                                                                   \
        throw copy;                                                                    \
    }

#define ymDefineError(T, number)                                                       \
    ymDefineErrorLevel(T)                                                              \
    ymDefineErrorRethrow(T)                                                            \
    std::int32_t T::errorNumber() const { return number; }

// Inside a function with a `yc_TypeRegistry& registry`.
#define ymRegisterError(T, number) registry.add<T>(#T);

#endif

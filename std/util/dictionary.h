// Failures of dictionaries and string literals.
#ifndef TLVSTD_UTIL_DICTIONARY_H
#define TLVSTD_UTIL_DICTIONARY_H

#include "std/except/except.h"

class ycDictionary {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

class ycStringLiteral {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

#endif

// Failures of polynomial transforms.
#ifndef TLVSTD_MATH_XFPOLY_H
#define TLVSTD_MATH_XFPOLY_H

#include "std/math/xfbase.h"
#include "std/except/except.h"

class yc2XformPoly {
public:
    ymError(BadParams, yc2XformDefs::Errors);
    ymError(IllDefined, yc2XformDefs::Errors);
};

#endif

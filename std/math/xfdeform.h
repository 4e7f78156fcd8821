// Failures of deformation transforms.
#ifndef TLVSTD_MATH_XFDEFORM_H
#define TLVSTD_MATH_XFDEFORM_H

#include "std/except/except.h"

class yc2XformDeformDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
};

#endif

// The error table of the math module, and its registration: errors and
// transforms.
#include "std/except/error_table.h"
#include "std/math/lsfit.h"
#include "std/math/matherror.h"
#include "std/math/polyroot.h"
#include "std/math/range.h"
#include "std/math/xfbase.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"

#define MATH_ERROR_CLASSES(X)                              \
    X(ycMathError::Singular, 0x10000f00)                   \
    X(ycMathError::NullVector, 0x10000f01)                 \
    X(ycMathError::DivisionByZero, 0x10000f02)             \
    X(ycRangeDefs::BadParams, 0x10000f20)                  \
    X(ycRangeDefs::NotPartialRange, 0x10000f21)            \
    X(yc2XformDefs::NotImplemented, 0x10000f30)            \
    X(yc2XformPoly::BadParams, 0x10000f38)                 \
    X(yc2XformPoly::IllDefined, 0x10000f39)                \
    X(yc2XformPerspectiveDefs::BadParams, 0x10003930)      \
    X(yc2XformPerspectiveDefs::NumericalError, 0x10003932) \
    X(ycLSPointToPointFitter::UnstableErr, 0x10003600)     \
    X(ycLSPointToPointFitter::BadArgErr, 0x10003601)       \
    X(ycPolynomialRootFinder::BadParams, 0x10006000)

#define MATH_ERROR_GROUPS(X)           \
    X(ycMathError::Errors)             \
    X(ycRangeDefs::Errors)             \
    X(yc2XformDefs::Errors)            \
    X(yc2XformPerspectiveDefs::Errors) \
    X(ycLSPointToPointFitter::Errors)  \
    X(ycPolynomialRootFinder::Errors)

MATH_ERROR_CLASSES(ymDefineError)
MATH_ERROR_GROUPS(ymDefineErrorLevel)

void yf_RegisterMathClasses(yc_TypeRegistry& registry)
{
    MATH_ERROR_CLASSES(ymRegisterError)
    yf_RegisterXformClasses(registry);
}

// The tolerance test and the rounding helpers on plain doubles.
//
// yfRealEq(a, b, eps) is !(|a - b| > eps): equality within eps is inclusive,
// and when a - b or eps is NaN the comparison is unordered and the answer is
// true. A NaN difference therefore never counts as "not equal"; callers that
// must reject NaN test for it themselves. There is no default tolerance: every
// caller passes its own. The vector, matrix, angle and transform forms live
// beside their types.
//
// yfFrac(x) is x - floor(x), so x == yfIFloor(x) + yfFrac(x) for values in the
// 32-bit range; it lies in [0, 1) up to rounding (a tiny negative x gives 1.0).
// yfIFloor and yfICeil saturate: NaN or a result outside the 32-bit range
// gives INT32_MIN, the same on every compiler.
#ifndef TLVSTD_MATH_SCALAR_H
#define TLVSTD_MATH_SCALAR_H

#include "std/util/numeric.h"

#include <cmath>
#include <cstdint>
#include <limits>

inline bool yfRealEq(double a, double b, double eps)
{
    return !(std::fabs(a - b) > eps);
}

inline double yfFrac(double x)
{
    return x - std::floor(x);
}

inline std::int32_t yfIFloor(double x)
{
    return yf_ToInt32Sat(std::floor(x));
}

inline std::int32_t yfICeil(double x)
{
    return yf_ToInt32Sat(std::ceil(x));
}

constexpr double yfQuietNaN()
{
    return std::numeric_limits<double>::quiet_NaN();
}

#endif

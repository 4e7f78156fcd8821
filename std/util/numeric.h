// Conversions of doubles to integers that are defined for every input.
//
// A NaN or a value outside the target's range gives the target's minimum (the
// x86 "integer indefinite" result), so results are the same on every compiler
// and no conversion is undefined. Finite values in range truncate toward zero,
// as a C++ cast does.
#ifndef TLVSTD_UTIL_NUMERIC_H
#define TLVSTD_UTIL_NUMERIC_H

#include <cstdint>
#include <limits>

constexpr std::int64_t yf_ToInt64Sat(double v)
{
    // 2^63 is exact in double; every double below it in magnitude fits.
    constexpr double kLimit = 9223372036854775808.0;
    if (!(v >= -kLimit && v < kLimit)) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(v);
}

constexpr std::int32_t yf_ToInt32Sat(double v)
{
    if (!(v > -2147483649.0 && v < 2147483648.0)) return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(v);
}

#endif

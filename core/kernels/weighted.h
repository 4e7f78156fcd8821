// Scalar reference of the weighted sum of the four bytes of packed 32-bit
// pels (blue, green, red, fourth in memory) into 8 bits, the rule written in
// core/yconvert.h.
#ifndef TLKCORE_KERNELS_WEIGHTED_H
#define TLKCORE_KERNELS_WEIGHTED_H

#include <cstddef>
#include <cstdint>

namespace ycore::ref {

struct Weights {
    double r, g, b, x;
};

// floor(v + 0.5) clamped: below 1 (or NaN) it is at most 0, and between 1
// and 255 truncation is the floor.
inline std::uint8_t roundWeighted(double v)
{
    const double t = v + 0.5;
    return !(t >= 1.0) ? 0 : t >= 255.0 ? 255 : static_cast<std::uint8_t>(t);
}

inline void Weighted8Row(const std::uint8_t* s, std::uint8_t* d, std::size_t n, const Weights& w)
{
    for (std::size_t i = 0; i < n; ++i, s += 4) {
        d[i] = roundWeighted(w.r * s[2] + w.g * s[1] + w.b * s[0] + w.x * s[3]);
    }
}

} // namespace ycore::ref

#endif

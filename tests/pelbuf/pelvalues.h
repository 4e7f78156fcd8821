// Distinct pel values of every pel type, for filling and comparing roots.
#ifndef TLVSTD_TESTS_PELBUF_PELVALUES_H
#define TLVSTD_TESTS_PELBUF_PELVALUES_H

#include "std/pelbuf/pelroot.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using AllPelTypes = ::testing::Types<unsigned char, signed char, short, unsigned short, ycPackedRGB16Pel, std::int32_t,
                                     std::uint32_t, float, ycPackedRGB32Pel, double, ycPair<std::int32_t>,
                                     ycPair<float>, yc3PlanePel>;

// The i-th test value: every byte of the pel depends on i, and signed types
// take negative values.
template <class T>
T pelValue(int i)
{
    const auto u = static_cast<std::uint32_t>(i) * 2654435761u;
    if constexpr (std::is_same_v<T, ycPackedRGB16Pel>) {
        return ycPackedRGB16Pel(static_cast<std::uint16_t>(u >> 8));
    } else if constexpr (std::is_same_v<T, ycPackedRGB32Pel>) {
        return ycPackedRGB32Pel(u);
    } else if constexpr (std::is_same_v<T, yc3PlanePel>) {
        return yc3PlanePel(static_cast<unsigned char>(u), static_cast<unsigned char>(u >> 8),
                           static_cast<unsigned char>(u >> 16));
    } else if constexpr (std::is_same_v<T, ycPair<std::int32_t>>) {
        return {static_cast<std::int32_t>(u), -i};
    } else if constexpr (std::is_same_v<T, ycPair<float>>) {
        return {static_cast<float>(i) * 0.5f, -static_cast<float>(u >> 8)};
    } else if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(static_cast<std::int32_t>(u)) / 3;
    } else {
        return static_cast<T>(u >> (32 - 8 * sizeof(T)));
    }
}

template <class T>
std::vector<T> pelValues(std::size_t count, int first = 1)
{
    std::vector<T> out;
    for (std::size_t i = 0; i < count; ++i) out.push_back(pelValue<T>(first + static_cast<int>(i)));
    return out;
}

// Pel size used for padding: one byte per plane for three-plane pels.
template <class T>
constexpr std::size_t paddingPelSize()
{
    return std::is_same_v<T, yc3PlanePel> ? 1 : sizeof(T);
}

template <class T>
ycPelRect whole(const ycPelRoot<T>& root)
{
    return ycPelRect(0, 0, root.width(), root.height());
}

#endif

// Small buffers with given pels, for the pixel-operation tests.
#ifndef TLVSTD_TESTS_PELBUF_PELOPS_H
#define TLVSTD_TESTS_PELBUF_PELOPS_H

#include "std/pelbuf/pelbuf.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

// A width x height buffer holding `pels` row by row, its first pel at image
// coordinates (x, y). Rows are padded (alignment 8) so row distance matters.
template <class T>
ycPelBuffer<T> pelsAt(std::int32_t width, std::int32_t height, const std::vector<T>& pels, std::int32_t x = 0,
                      std::int32_t y = 0)
{
    ycPelBuffer<T> b(width, height, 8);
    if (!pels.empty()) b.copyFromBuffer(pels.data());
    b.offset(x, y);
    return b;
}

// One row of pels.
template <class T>
ycPelBuffer<T> row(const std::vector<T>& pels)
{
    return pelsAt(static_cast<std::int32_t>(pels.size()), 1, pels);
}

template <class T>
std::vector<T> pelsOf(const ycPelBuffer_const<T>& b)
{
    std::vector<T> out(static_cast<std::size_t>(b.width()) * static_cast<std::size_t>(b.height()));
    if (!out.empty()) b.copyToBuffer(out.data());
    return out;
}

#endif

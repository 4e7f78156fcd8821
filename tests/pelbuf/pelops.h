// Small pel buffers from dense pel lists, and back, for the pixel-operation
// tests.
#ifndef TLVSTD_TESTS_PELBUF_PELOPS_H
#define TLVSTD_TESTS_PELBUF_PELOPS_H

#include "std/pelbuf/pelbuf.h"

#include <cstdint>
#include <vector>

// A w by h buffer at offset (x0, y0) holding `pels` row by row; rows padded
// to 4 bytes, so a row-length mistake shows.
template <class T>
ycPelBuffer<T> bufferOf(std::int32_t w, std::int32_t h, const std::vector<T>& pels, std::int32_t x0 = 0,
                        std::int32_t y0 = 0)
{
    ycPelBuffer<T> b(ycPelRect(x0, y0, w, h), 4);
    b.copyFromBuffer(pels.data());
    return b;
}

// One row of pels at offset (0, 0).
template <class T>
ycPelBuffer<T> row(const std::vector<T>& pels)
{
    return bufferOf(static_cast<std::int32_t>(pels.size()), 1, pels);
}

// The window's pels row by row; none for an unbound buffer.
template <class T>
std::vector<T> pelsOf(const ycPelBuffer_const<T>& b)
{
    if (!b.isBound()) return {};
    std::vector<T> out(static_cast<std::size_t>(b.width()) * static_cast<std::size_t>(b.height()));
    b.copyToBuffer(out.data());
    return out;
}

#endif

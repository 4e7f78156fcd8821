// Scalar reference of the 8-bit Bayer conversions.
//
// The pattern names the colours of the first two pixels of the first row and
// of the second row (core/yconvert.h); the mosaic repeats it every two rows
// and columns. Each pixel gets its missing colours by bilinear interpolation:
// - at a red or blue site, green is the rounded mean of the four orthogonal
//   neighbours, (a + b + c + d + 2) >> 2, and the other of red and blue the
//   rounded mean of the four diagonal ones;
// - at a green site, the colour of its row's other sites is the rounded mean
//   of its left and right neighbours, (a + b + 1) >> 1, and the remaining
//   colour that of its upper and lower ones.
// Outside the image the mosaic is mirrored about the edge pixels: coordinate
// -1 reads 1 and coordinate `width` reads width - 2, which keeps the colour
// of every site. Along a side of a single pixel (width or height 1) the
// pixel mirrors onto itself, so there the missing neighbours read the pixel
// itself.
//
// Grey is (77 R + 150 G + 29 B + 128) >> 8 of the demosaicked pixel; colour
// is packed 32-bit pels, bytes blue, green, red, 0.
#ifndef TLKCORE_KERNELS_BAYER_H
#define TLKCORE_KERNELS_BAYER_H

#include <cstddef>
#include <cstdint>

namespace ycore {

// What a row of the mosaic holds: red or blue beside its greens, and whether
// its first pixel is green.
struct BayerRow {
    bool red;
    bool greenFirst;
};

// The row `y` of a mosaic of pattern `pattern` (0 to 3, as in yconvert.h).
inline BayerRow bayerRow(int pattern, std::int32_t y)
{
    const bool odd = (y & 1) != 0;
    const bool red0 = pattern == 0 || pattern == 1;
    const bool green0 = pattern == 1 || pattern == 2;
    return {red0 != odd, green0 != odd};
}

// The three source rows around row y, mirrored at the top and bottom.
struct BayerRows {
    const std::uint8_t* up;
    const std::uint8_t* mid;
    const std::uint8_t* down;
};

inline std::int32_t bayerMirror(std::int32_t c, std::int32_t n)
{
    if (c < 0) return n > 1 ? 1 : 0;
    if (c >= n) return n > 1 ? n - 2 : 0;
    return c;
}

inline std::uint8_t bayerGrey(std::uint32_t r, std::uint32_t g, std::uint32_t b)
{
    return static_cast<std::uint8_t>((77 * r + 150 * g + 29 * b + 128) >> 8);
}

namespace ref {

// Red, green and blue of pixel x of the row `m`, with `n` pixels a row.
inline void bayerPixel(const BayerRows& m, std::size_t n, std::size_t x, BayerRow row, std::uint32_t rgb[3])
{
    const std::int32_t w = static_cast<std::int32_t>(n), xi = static_cast<std::int32_t>(x);
    const std::size_t l = std::size_t(bayerMirror(xi - 1, w)), r = std::size_t(bayerMirror(xi + 1, w));
    const std::uint32_t c = m.mid[x];
    const std::uint32_t h = m.mid[l] + m.mid[r], v = m.up[x] + m.down[x];
    // own: the colour of the row's non-green sites; other: the remaining one.
    std::uint32_t own, green, other;
    if (((x & 1) == 0) == row.greenFirst) {
        green = c;
        own = (h + 1) >> 1;
        other = (v + 1) >> 1;
    } else {
        own = c;
        green = (h + v + 2) >> 2;
        other = (m.up[l] + m.up[r] + m.down[l] + m.down[r] + 2) >> 2;
    }
    rgb[0] = row.red ? own : other;
    rgb[1] = green;
    rgb[2] = row.red ? other : own;
}

// Pixel x of a row into d, a row of packed pels or of grey.
inline void Bayer8ToRGBPixel(const BayerRows& m, std::uint8_t* d, std::size_t n, std::size_t x, BayerRow row)
{
    std::uint32_t rgb[3];
    bayerPixel(m, n, x, row, rgb);
    d[4 * x] = static_cast<std::uint8_t>(rgb[2]);
    d[4 * x + 1] = static_cast<std::uint8_t>(rgb[1]);
    d[4 * x + 2] = static_cast<std::uint8_t>(rgb[0]);
    d[4 * x + 3] = 0;
}
inline void Bayer8ToGreyPixel(const BayerRows& m, std::uint8_t* d, std::size_t n, std::size_t x, BayerRow row)
{
    std::uint32_t rgb[3];
    bayerPixel(m, n, x, row, rgb);
    d[x] = bayerGrey(rgb[0], rgb[1], rgb[2]);
}

inline void Bayer8ToRGBRow(const BayerRows& m, std::uint8_t* d, std::size_t n, BayerRow row)
{
    for (std::size_t x = 0; x < n; ++x) Bayer8ToRGBPixel(m, d, n, x, row);
}
inline void Bayer8ToGreyRow(const BayerRows& m, std::uint8_t* d, std::size_t n, BayerRow row)
{
    for (std::size_t x = 0; x < n; ++x) Bayer8ToGreyPixel(m, d, n, x, row);
}

} // namespace ref
} // namespace ycore

#endif

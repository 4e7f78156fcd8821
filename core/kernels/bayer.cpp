// 8-bit Bayer mosaics to grey and to packed 32-bit colour.
//
// The vector path does the columns whose neighbours all lie inside the row,
// in 16-bit lanes: each lane works out both a green site's and a red or blue
// site's means and keeps the one its column needs. The edge columns are
// scalar.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/bayer.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/bayer.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::ScalableTag<std::uint16_t>;
using V16 = hn::Vec<D16>;
using D8 = hn::Rebind<std::uint8_t, D16>;

struct Colours {
    V16 r, g, b;
};

// The pixels from column x on; `green` marks the lanes of green sites.
HWY_INLINE Colours demosaic(const BayerRows& m, std::size_t x, hn::Mask<D16> green, bool red)
{
    const D16 d;
    const D8 d8;
    const auto at = [&](const std::uint8_t* p) { return hn::PromoteTo(d, hn::LoadU(d8, p)); };
    const V16 c = at(m.mid + x);
    const V16 h = hn::Add(at(m.mid + x - 1), at(m.mid + x + 1));
    const V16 v = hn::Add(at(m.up + x), at(m.down + x));
    const V16 diag = hn::Add(hn::Add(at(m.up + x - 1), at(m.up + x + 1)), hn::Add(at(m.down + x - 1), at(m.down + x + 1)));
    const V16 one = hn::Set(d, 1), two = hn::Set(d, 2);
    const V16 own = hn::IfThenElse(green, hn::ShiftRight<1>(hn::Add(h, one)), c);
    const V16 other = hn::IfThenElse(green, hn::ShiftRight<1>(hn::Add(v, one)), hn::ShiftRight<2>(hn::Add(diag, two)));
    const V16 g = hn::IfThenElse(green, c, hn::ShiftRight<2>(hn::Add(hn::Add(h, v), two)));
    return red ? Colours{own, g, other} : Colours{other, g, own};
}

// Runs `vec(x, greenLanes)` over the inner columns and `edge(x)` over the
// others.
template <class Vec, class Edge>
HWY_INLINE void bayerColumns(std::size_t n, BayerRow row, Vec&& vec, Edge&& edge)
{
    const D16 d;
    const std::size_t N = hn::Lanes(d);
    std::size_t x = 0;
    // One lane (the scalar target) would not keep the parity.
    if (N % 2 == 0 && n >= N + 2) {
        edge(x++);
        // Lane i is column x + i, odd x + i even: green where that parity is
        // the row's green one. N is even, so the lanes keep their parity.
        const auto odd = hn::And(hn::Iota(d, 1), hn::Set(d, 1));
        const auto green = hn::Eq(odd, hn::Set(d, row.greenFirst ? 0 : 1));
        for (; x + N + 1 <= n; x += N) vec(x, green);
    }
    for (; x < n; ++x) edge(x);
}

void Bayer8ToRGBRow(const BayerRows& m, std::uint8_t* d, std::size_t n, BayerRow row)
{
    const D16 t;
    bayerColumns(
        n, row,
        [&](std::size_t x, hn::Mask<D16> green) {
            const Colours c = demosaic(m, x, green, row.red);
            hn::StoreInterleaved2(hn::Or(c.b, hn::ShiftLeft<8>(c.g)), c.r, t,
                                  reinterpret_cast<std::uint16_t*>(d + 4 * x));
        },
        [&](std::size_t x) { ref::Bayer8ToRGBPixel(m, d, n, x, row); });
}

void Bayer8ToGreyRow(const BayerRows& m, std::uint8_t* d, std::size_t n, BayerRow row)
{
    const D16 t;
    const D8 t8;
    bayerColumns(
        n, row,
        [&](std::size_t x, hn::Mask<D16> green) {
            const Colours c = demosaic(m, x, green, row.red);
            V16 y = hn::Add(hn::Mul(c.r, hn::Set(t, 77)), hn::Mul(c.g, hn::Set(t, 150)));
            y = hn::Add(hn::Add(y, hn::Mul(c.b, hn::Set(t, 29))), hn::Set(t, 128));
            const hn::RebindToSigned<D16> ts;
            hn::StoreU(hn::DemoteTo(t8, hn::BitCast(ts, hn::ShiftRight<8>(y))), t8, d + x);
        },
        [&](std::size_t x) { ref::Bayer8ToGreyPixel(m, d, n, x, row); });
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/bayer.h"
#include "core/kernels/camera.h"
#include "core/kernels/dispatch.h"
#include "core/yconvert.h"

namespace ycore {
YCORE_EXPORT(Bayer8ToRGBRow);
YCORE_EXPORT(Bayer8ToGreyRow);
} // namespace ycore

namespace {

using RowFn = void (*)(const ycore::BayerRows&, std::uint8_t*, std::size_t, ycore::BayerRow);

int convert(std::int32_t width, std::int32_t height, const std::uint8_t* src, std::ptrdiff_t srcRow,
            std::uint8_t* dst, std::ptrdiff_t dstRow, int pattern, std::int32_t dstPel, RowFn row)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, 1, 1}, {dst, dstRow, dstPel, 1}); st != YSTD_OK) {
        return st;
    }
    if (pattern < YIP_BAYER_RGGB || pattern > YIP_BAYER_BGGR) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        const BayerRows m = {rowAt(src, srcRow, bayerMirror(y - 1, height)), rowAt(src, srcRow, y),
                             rowAt(src, srcRow, bayerMirror(y + 1, height))};
        row(m, rowAt(dst, dstRow, y), std::size_t(width), bayerRow(pattern, y));
    }
    return YSTD_OK;
}

} // namespace

extern "C" int yip_convertBayer8ToGreyscale(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                            uint8_t* dst, ptrdiff_t dstRow, int pattern)
{
    return convert(width, height, src, srcRow, dst, dstRow, pattern, 1,
                   [](const ycore::BayerRows& m, std::uint8_t* d, std::size_t n, ycore::BayerRow row) {
                       using namespace ycore;
                       YCORE_ROW(Bayer8ToGreyRow)(m, d, n, row);
                   });
}

extern "C" int yip_convertBayer8ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow,
                                      uint8_t* dst, ptrdiff_t dstRow, int pattern)
{
    return convert(width, height, src, srcRow, dst, dstRow, pattern, 4,
                   [](const ycore::BayerRows& m, std::uint8_t* d, std::size_t n, ycore::BayerRow row) {
                       using namespace ycore;
                       YCORE_ROW(Bayer8ToRGBRow)(m, d, n, row);
                   });
}
#endif

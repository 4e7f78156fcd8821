// YUV camera formats to grey (their Y bytes) and to packed 32-bit colour.
//
// The vector colour path works in 16-bit lanes. The rule's sums need 18 bits,
// so it divides each by 8 first, exactly: with x = 8q + r (0 <= r < 8 the
// part the coefficients leave), x >> 8 = (q + (r >> 3)) >> 5, and q stays
// within [-8836, 17110] over every Y, U and V.
#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/yuv.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/kernels/yuv.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::ScalableTag<std::int16_t>;
using V16 = hn::Vec<D16>;
using DU16 = hn::RebindToUnsigned<D16>;
using D8 = hn::Rebind<std::uint8_t, D16>; // as many bytes as D16 has lanes
using DU8 = hn::ScalableTag<std::uint8_t>;

// Blue | green << 8 and red of pixels with the given Y, U and V.
HWY_INLINE void yuvToRGB(V16 y, V16 u, V16 v, hn::Vec<DU16>& bg, hn::Vec<DU16>& r)
{
    const D16 d;
    const V16 zero = hn::Zero(d), top = hn::Set(d, 255);
    const V16 c = hn::Sub(y, hn::Set(d, 16)), du = hn::Sub(u, hn::Set(d, 128)), ev = hn::Sub(v, hn::Set(d, 128));
    const V16 c37 = hn::Add(hn::Mul(c, hn::Set(d, 37)), hn::Set(d, 16));
    const V16 du2 = hn::Add(du, du);
    V16 rr = hn::Add(hn::Add(c37, hn::Mul(ev, hn::Set(d, 51))), hn::ShiftRight<3>(hn::Add(hn::Add(c, c), ev)));
    V16 gg = hn::Sub(c37, hn::Add(hn::Mul(du, hn::Set(d, 12)), hn::Mul(ev, hn::Set(d, 26))));
    gg = hn::Add(gg, hn::ShiftRight<2>(hn::Sub(c, du2)));
    V16 bb = hn::Add(hn::Add(c37, hn::ShiftLeft<6>(du)), hn::ShiftRight<2>(hn::Add(c, du2)));
    rr = hn::Min(hn::Max(hn::ShiftRight<5>(rr), zero), top);
    gg = hn::Min(hn::Max(hn::ShiftRight<5>(gg), zero), top);
    bb = hn::Min(hn::Max(hn::ShiftRight<5>(bb), zero), top);
    const DU16 du16;
    bg = hn::BitCast(du16, hn::Or(bb, hn::ShiftLeft<8>(gg)));
    r = hn::BitCast(du16, rr);
}

HWY_INLINE V16 widen(hn::Vec<D8> v) { return hn::PromoteTo(D16(), v); }
HWY_INLINE V16 lowByte(hn::Vec<DU16> v) { return hn::BitCast(D16(), hn::And(v, hn::Set(DU16(), 0xFF))); }
HWY_INLINE V16 highByte(hn::Vec<DU16> v) { return hn::BitCast(D16(), hn::ShiftRight<8>(v)); }

std::uint16_t* words(std::uint8_t* p) { return reinterpret_cast<std::uint16_t*>(p); }
const std::uint16_t* words(const std::uint8_t* p) { return reinterpret_cast<const std::uint16_t*>(p); }

void UYVYToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const DU8 t;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        hn::Vec<DU8> uv, y;
        hn::LoadInterleaved2(t, s + 2 * i, uv, y);
        hn::StoreU(y, t, d + i);
    }
    ref::UYVYToGreyRow(s + 2 * i, d + i, n - i);
}

void UYVYToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const D8 t;
    const DU16 du;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + 2 * N <= n; i += 2 * N) {
        hn::Vec<D8> u, y0, v, y1;
        hn::LoadInterleaved4(t, s + 2 * i, u, y0, v, y1);
        hn::Vec<DU16> bg0, r0, bg1, r1;
        yuvToRGB(widen(y0), widen(u), widen(v), bg0, r0);
        yuvToRGB(widen(y1), widen(u), widen(v), bg1, r1);
        hn::StoreInterleaved4(bg0, r0, bg1, r1, du, words(d + 4 * i));
    }
    ref::UYVYToRGBRow(s + 2 * i, d + 4 * i, n - i);
}

// A group U Y0 Y1 V Y2 Y3 is three little-endian words: U | Y0 << 8,
// Y1 | V << 8 and Y2 | Y3 << 8.
void UYYVYYToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const DU16 t;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + 4 * N <= n; i += 4 * N) {
        hn::Vec<DU16> a, b, c;
        hn::LoadInterleaved3(t, words(s + i / 4 * 6), a, b, c);
        hn::StoreInterleaved2(hn::Or(hn::ShiftRight<8>(a), hn::ShiftLeft<8>(b)), c, t, words(d + i));
    }
    ref::UYYVYYToGreyRow(s + i / 4 * 6, d + i, n - i);
}

void UYYVYYToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
#if HWY_TARGET == HWY_SCALAR
    // One lane has no halves to widen.
    ref::UYYVYYToRGBRow(s, d, n);
#else
    const DU16 t;
    const hn::Half<DU16> th;
    const hn::RepartitionToWide<DU16> t32;
    const std::size_t N = hn::Lanes(t), NW = hn::Lanes(t32);
    std::size_t i = 0;
    for (; i + 4 * N <= n; i += 4 * N) {
        hn::Vec<DU16> a, b, c;
        hn::LoadInterleaved3(t, words(s + i / 4 * 6), a, b, c);
        const V16 u = lowByte(a), v = highByte(b);
        hn::Vec<DU16> bg[4], r[4];
        yuvToRGB(highByte(a), u, v, bg[0], r[0]);
        yuvToRGB(lowByte(b), u, v, bg[1], r[1]);
        yuvToRGB(lowByte(c), u, v, bg[2], r[2]);
        yuvToRGB(highByte(c), u, v, bg[3], r[3]);
        // The four pixels of each group as 32-bit pels, lower groups first.
        hn::Vec<decltype(t32)> lo[4], hi[4];
        for (int k = 0; k < 4; ++k) {
            lo[k] = hn::Or(hn::PromoteTo(t32, hn::LowerHalf(th, bg[k])),
                           hn::ShiftLeft<16>(hn::PromoteTo(t32, hn::LowerHalf(th, r[k]))));
            hi[k] = hn::Or(hn::PromoteTo(t32, hn::UpperHalf(th, bg[k])),
                           hn::ShiftLeft<16>(hn::PromoteTo(t32, hn::UpperHalf(th, r[k]))));
        }
        auto* out = reinterpret_cast<std::uint32_t*>(d + 4 * i);
        hn::StoreInterleaved4(lo[0], lo[1], lo[2], lo[3], t32, out);
        hn::StoreInterleaved4(hi[0], hi[1], hi[2], hi[3], t32, out + 4 * NW);
    }
    ref::UYYVYYToRGBRow(s + i / 4 * 6, d + 4 * i, n - i);
#endif
}

void UYVToGreyRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const DU8 t;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        hn::Vec<DU8> u, y, v;
        hn::LoadInterleaved3(t, s + 3 * i, u, y, v);
        hn::StoreU(y, t, d + i);
    }
    ref::UYVToGreyRow(s + 3 * i, d + i, n - i);
}

void UYVToRGBRow(const std::uint8_t* s, std::uint8_t* d, std::size_t n)
{
    const D8 t;
    const DU16 du;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        hn::Vec<D8> u, y, v;
        hn::LoadInterleaved3(t, s + 3 * i, u, y, v);
        hn::Vec<DU16> bg, r;
        yuvToRGB(widen(y), widen(u), widen(v), bg, r);
        hn::StoreInterleaved2(bg, r, du, words(d + 4 * i));
    }
    ref::UYVToRGBRow(s + 3 * i, d + 4 * i, n - i);
}

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/camera.h"
#include "core/kernels/dispatch.h"
#include "core/kernels/yuv.h"
#include "core/yconvert.h"

namespace ycore {
YCORE_EXPORT(UYVYToGreyRow);
YCORE_EXPORT(UYVYToRGBRow);
YCORE_EXPORT(UYYVYYToGreyRow);
YCORE_EXPORT(UYYVYYToRGBRow);
YCORE_EXPORT(UYVToGreyRow);
YCORE_EXPORT(UYVToRGBRow);
} // namespace ycore

namespace {

using RowFn = void (*)(const std::uint8_t*, std::uint8_t*, std::size_t);

// `group` pixels share `groupBytes` source bytes; the width must be whole
// groups.
int convert(std::int32_t width, std::int32_t height, const std::uint8_t* src, std::ptrdiff_t srcRow,
            std::uint8_t* dst, std::ptrdiff_t dstRow, std::int32_t group, std::int32_t groupBytes,
            std::int32_t dstPel, RowFn row)
{
    using namespace ycore;
    if (int st = checkConvert(width, height, {src, srcRow, groupBytes, group}, {dst, dstRow, dstPel, 1});
        st != YSTD_OK) {
        return st;
    }
    if (width % group != 0) return YSTD_ERR_BAD_ARGUMENT;
    for (std::int32_t y = 0; y < height && width > 0; ++y) {
        row(rowAt(src, srcRow, y), rowAt(dst, dstRow, y), std::size_t(width));
    }
    return YSTD_OK;
}

} // namespace

#define YCORE_YUV(Name, group, groupBytes)                                                                       \
    extern "C" int yip_convert##Name##ToGreyscale(int32_t width, int32_t height, const uint8_t* src,            \
                                                  ptrdiff_t srcRow, uint8_t* dst, ptrdiff_t dstRow)             \
    {                                                                                                            \
        return convert(width, height, src, srcRow, dst, dstRow, group, groupBytes, 1,                            \
                       [](const std::uint8_t* s, std::uint8_t* d, std::size_t n) {                               \
                           using namespace ycore;                                                                \
                           YCORE_ROW(Name##ToGreyRow)(s, d, n);                                                  \
                       });                                                                                       \
    }                                                                                                            \
    extern "C" int yip_convert##Name##ToRGB(int32_t width, int32_t height, const uint8_t* src, ptrdiff_t srcRow, \
                                            uint8_t* dst, ptrdiff_t dstRow)                                      \
    {                                                                                                            \
        return convert(width, height, src, srcRow, dst, dstRow, group, groupBytes, 4,                            \
                       [](const std::uint8_t* s, std::uint8_t* d, std::size_t n) {                               \
                           using namespace ycore;                                                                \
                           YCORE_ROW(Name##ToRGBRow)(s, d, n);                                                   \
                       });                                                                                       \
    }
YCORE_YUV(UYVY, 2, 4)
YCORE_YUV(UYYVYY, 4, 6)
YCORE_YUV(UYV, 1, 3)
#endif

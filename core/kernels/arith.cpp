// Element-wise arithmetic, minimum and maximum of two windows.
#include "core/kernels/arith.h"

#if YCORE_SIMD
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/kernels/arith.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ycore {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// v >> k for any k in [0, 31]: a lane shift as wide as the lane is undefined
// on some targets, so unsigned lanes empty out and signed ones keep the sign.
template <class V>
V ShrAny(V v, int k)
{
    using T = hn::TFromV<V>;
    constexpr int bits = int(sizeof(T)) * 8;
    if constexpr (hwy::IsSigned<T>()) {
        return hn::ShiftRightSame(v, k < bits ? k : bits - 1);
    } else {
        return k < bits ? hn::ShiftRightSame(v, k) : hn::Zero(hn::DFromV<V>());
    }
}

// Highway saturates 8- and 16-bit lanes only; 32-bit ones clamp by hand.
template <class V>
V SatAdd(V a, V b)
{
    if constexpr (sizeof(hn::TFromV<V>) == 4) {
        return hn::Add(hn::Min(a, hn::Not(b)), b);
    } else {
        return hn::SaturatedAdd(a, b);
    }
}
template <class V>
V SatSub(V a, V b)
{
    if constexpr (sizeof(hn::TFromV<V>) == 4) {
        return hn::Sub(hn::Max(a, b), b);
    } else {
        return hn::SaturatedSub(a, b);
    }
}

// floor((a + b) / 2) and floor((a - b) / 2) in the lane's own width, so a
// shifted sum or difference needs no widening and never saturates.
template <class V>
V HalfSum(V a, V b)
{
    const auto one = hn::Set(hn::DFromV<V>(), 1);
    return hn::Add(hn::Add(hn::ShiftRight<1>(a), hn::ShiftRight<1>(b)), hn::And(hn::And(a, b), one));
}
template <class V>
V HalfDiff(V a, V b)
{
    const auto one = hn::Set(hn::DFromV<V>(), 1);
    return hn::Sub(hn::Sub(hn::ShiftRight<1>(a), hn::ShiftRight<1>(b)), hn::AndNot(a, hn::And(b, one)));
}

// Applies op to whole vectors of a and b into d; returns the pels done.
template <class T, class Op>
std::size_t EachVector(const T* a, const T* b, T* d, std::size_t n, Op op)
{
    const hn::ScalableTag<T> t;
    const std::size_t N = hn::Lanes(t);
    std::size_t i = 0;
    for (; i + N <= n; i += N) hn::StoreU(op(hn::LoadU(t, a + i), hn::LoadU(t, b + i)), t, d + i);
    return i;
}

template <class T>
void AddRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    const std::size_t i = shift == 0 ? EachVector(a, b, d, n, [](auto x, auto y) { return SatAdd(x, y); })
                                     : EachVector(a, b, d, n, [shift](auto x, auto y) {
                                           return ShrAny(HalfSum(x, y), shift - 1);
                                       });
    ref::AddRow(a + i, b + i, d + i, n - i, shift);
}

template <class T>
void SubRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    std::size_t i = 0;
    if (shift == 0) {
        i = EachVector(a, b, d, n, [](auto x, auto y) { return SatSub(x, y); });
    } else if constexpr (hwy::IsSigned<T>()) {
        i = EachVector(a, b, d, n, [shift](auto x, auto y) { return ShrAny(HalfDiff(x, y), shift - 1); });
    } else {
        // A negative difference shifts to a negative number, which saturates to 0.
        i = EachVector(a, b, d, n, [shift](auto x, auto y) { return ShrAny(SatSub(x, y), shift); });
    }
    ref::SubRow(a + i, b + i, d + i, n - i, shift);
}

// Back from the wide lanes to T, saturating; the wide lanes of unsigned pels
// are unsigned, which DemoteTo does not take, so they clamp first.
template <class DT, class VW>
auto Narrow(DT dt, VW v)
{
    using T = hn::TFromD<DT>;
    using W = hn::TFromV<VW>;
    if constexpr (hwy::IsSigned<W>()) {
        return hn::DemoteTo(dt, v);
    } else {
        const hn::DFromV<VW> dw;
        const hn::RebindToSigned<decltype(dw)> di;
        return hn::DemoteTo(dt, hn::BitCast(di, hn::Min(v, hn::Set(dw, W(hwy::LimitsMax<T>())))));
    }
}

// Products of 8- and 16-bit pels in lanes twice as wide; a 32-bit product
// needs 64 bits, and 1.0.3 only has MulEven for that, which would take a
// shuffle per vector: those rows stay scalar.
#if HWY_TARGET != HWY_SCALAR
// 8-bit products in the 16-bit lanes the bytes already sit in, even bytes
// and odd bytes apart: without the shuffles of promoting and demoting, this
// measured 1.4 times as fast as the widened path.
template <bool kAdd>
std::size_t MultBytes(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* d, std::size_t n, int shift)
{
    const hn::ScalableTag<std::uint16_t> dw;
    const hn::Repartition<std::uint8_t, decltype(dw)> dt;
    const auto low = hn::Set(dw, 0xFF);
    const std::size_t N = hn::Lanes(dt);
    // Both products fit in 16 bits, and so do they plus a pel.
    const auto one = [&](auto x, auto y, auto z) {
        auto v = ShrAny(hn::Mul(x, y), shift);
        if constexpr (kAdd) v = hn::Add(v, z);
        return hn::Min(v, low);
    };
    std::size_t i = 0;
    for (; i + N <= n; i += N) {
        const auto va = hn::BitCast(dw, hn::LoadU(dt, a + i)), vb = hn::BitCast(dw, hn::LoadU(dt, b + i));
        const auto vd = kAdd ? hn::BitCast(dw, hn::LoadU(dt, d + i)) : hn::Zero(dw);
        const auto even = one(hn::And(va, low), hn::And(vb, low), hn::And(vd, low));
        const auto odd = one(hn::ShiftRight<8>(va), hn::ShiftRight<8>(vb), hn::ShiftRight<8>(vd));
        hn::StoreU(hn::BitCast(dt, hn::Or(even, hn::ShiftLeft<8>(odd))), dt, d + i);
    }
    return i;
}
#endif

template <class T, bool kAdd>
void MultRows(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(T) == 1) {
        i = MultBytes<kAdd>(a, b, d, n, shift);
    } else
#endif
    if constexpr (sizeof(T) < 4) {
        const hn::ScalableTag<hwy::MakeWide<T>> dw;
        const hn::Rebind<T, decltype(dw)> dt;
        const std::size_t N = hn::Lanes(dw);
        for (; i + N <= n; i += N) {
            auto v = ShrAny(hn::Mul(hn::PromoteTo(dw, hn::LoadU(dt, a + i)), hn::PromoteTo(dw, hn::LoadU(dt, b + i))),
                            shift);
            if constexpr (kAdd) v = hn::Add(v, hn::PromoteTo(dw, hn::LoadU(dt, d + i)));
            hn::StoreU(Narrow(dt, v), dt, d + i);
        }
    }
    if constexpr (kAdd) {
        ref::MultAddRow(a + i, b + i, d + i, n - i, shift);
    } else {
        ref::MultRow(a + i, b + i, d + i, n - i, shift);
    }
}

template <class T>
void MultRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    MultRows<T, false>(a, b, d, n, shift);
}

template <class T>
void MultAddRow(const T* a, const T* b, T* d, std::size_t n, int shift)
{
    MultRows<T, true>(a, b, d, n, shift);
}

template <class T>
void MinRow(const T* a, const T* b, T* d, std::size_t n)
{
    const std::size_t i = EachVector(a, b, d, n, [](auto x, auto y) { return hn::Min(x, y); });
    ref::MinRow(a + i, b + i, d + i, n - i);
}

template <class T>
void MaxRow(const T* a, const T* b, T* d, std::size_t n)
{
    const std::size_t i = EachVector(a, b, d, n, [](auto x, auto y) { return hn::Max(x, y); });
    ref::MaxRow(a + i, b + i, d + i, n - i);
}

YCORE_ARITH_KERNELS(YCORE_SHIFT_ROW, YCORE_PLAIN_ROW)

} // namespace HWY_NAMESPACE
} // namespace ycore
HWY_AFTER_NAMESPACE();
#endif

#if !YCORE_SIMD || HWY_ONCE
#include "core/kernels/dispatch.h"
#include "core/kernels/image.h"

namespace {

template <class T, class Row>
int binary(const yimg_image* a, const yimg_image* b, yimg_image* d, Row row)
{
    using namespace ycore;
    if (int st = checkSame({a, b, d}, int(sizeof(T))); st != YSTD_OK) return st;
    const Rows rows = rowsOf({a, b, d});
    for (std::int32_t y = 0; y < rows.count; ++y) {
        row(rowOf<const T>(a, y), rowOf<const T>(b, y), rowOf<T>(d, y), rows.length);
    }
    return YSTD_OK;
}

} // namespace

#define YCORE_SHIFT_ENTRY(Op, Sfx, T)                                                                    \
    namespace ycore {                                                                                    \
    YCORE_EXPORT(Op##Sfx##Row);                                                                          \
    }                                                                                                    \
    extern "C" int yip_pel##Op##Sfx(const yimg_image* a, const yimg_image* b, yimg_image* d, int shift) \
    {                                                                                                    \
        using namespace ycore;                                                                           \
        if (shift < 0 || shift > 31) return YSTD_ERR_BAD_ARGUMENT;                                       \
        return binary<T>(a, b, d, [shift](const T* ra, const T* rb, T* rd, std::size_t n) {              \
            YCORE_ROW(Op##Sfx##Row)(ra, rb, rd, n, shift);                                               \
        });                                                                                              \
    }
#define YCORE_PLAIN_ENTRY(Op, Sfx, T)                                                                    \
    namespace ycore {                                                                                    \
    YCORE_EXPORT(Op##Sfx##Row);                                                                          \
    }                                                                                                    \
    extern "C" int yip_pel##Op##Sfx(const yimg_image* a, const yimg_image* b, yimg_image* d)            \
    {                                                                                                    \
        using namespace ycore;                                                                           \
        return binary<T>(a, b, d, [](const T* ra, const T* rb, T* rd, std::size_t n) {                   \
            YCORE_ROW(Op##Sfx##Row)(ra, rb, rd, n);                                                      \
        });                                                                                              \
    }

YCORE_ARITH_KERNELS(YCORE_SHIFT_ENTRY, YCORE_PLAIN_ENTRY)
#endif

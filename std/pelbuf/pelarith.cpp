#include "std/pelbuf/pelarith.h"

#include "std/pelbuf/pelcopy.h"

#include <array>
#include <cmath>
#include <concepts>
#include <limits>
#include <vector>

namespace {

template <class D, std::integral W>
D saturate(W v)
{
    constexpr W lo = std::numeric_limits<D>::min();
    constexpr W hi = std::numeric_limits<D>::max();
    return static_cast<D>(v < lo ? lo : v > hi ? hi : v);
}

// Defined for NaN and infinities, which the float-cast sanitiser would refuse.
template <class D>
D saturate(double v)
{
    constexpr double hi = static_cast<double>(std::numeric_limits<D>::max());
    if (!(v > 0.0)) return 0;
    return v >= hi ? std::numeric_limits<D>::max() : static_cast<D>(v);
}

// --- arithmetic ------------------------------------------------------------------

using CoreBinary = int (*)(const yimg_image*, const yimg_image*, yimg_image*, int);

// The core's kernels of one pel type, in the order of yc_PelOp.
template <class T>
struct CoreArith;
template <>
struct CoreArith<unsigned char> {
    static constexpr CoreBinary ops[] = {yip_pelAdd8, yip_pelSub8, yip_pelMult8, yip_pelMultAdd8};
};
template <>
struct CoreArith<unsigned short> {
    static constexpr CoreBinary ops[] = {yip_pelAdd16, yip_pelSub16, yip_pelMult16, yip_pelMultAdd16};
};
template <>
struct CoreArith<short> {
    static constexpr CoreBinary ops[] = {yip_pelAddS16, yip_pelSubS16, yip_pelMultS16, yip_pelMultAddS16};
};
template <>
struct CoreArith<std::uint32_t> {
    static constexpr CoreBinary ops[] = {yip_pelAdd32, yip_pelSub32, yip_pelMult32, yip_pelMultAdd32};
};

// The core's rule for sources of two widths, which the core does not take.
// Into 16 bits every result fits 32-bit arithmetic, which vectorises.
template <yc_PelOp Op, class S1, class S2, class D>
class MixedArith : public yc_Kernel_2s1d<S1, S2, D> {
public:
    explicit MixedArith(std::int32_t shift) : shift_(shift) {}

    void process(const S1* a, const S2* b, D* d, std::int32_t count) override
    {
        for (std::int32_t i = 0; i < count; ++i) d[i] = saturate<D>(combine(a[i], b[i], d[i]));
    }

private:
    using Wide = std::conditional_t<sizeof(D) <= 2, std::int32_t, std::int64_t>;

    Wide combine(Wide a, Wide b, Wide d) const
    {
        switch (Op) {
        case yc_PelOp::Add: return (a + b) >> shift_;
        case yc_PelOp::Sub: return (a - b) >> shift_;
        case yc_PelOp::Mult: return (a * b) >> shift_;
        case yc_PelOp::MultAdd: break;
        }
        return d + ((a * b) >> shift_);
    }

    std::int32_t shift_;
};

// --- minimum and maximum -------------------------------------------------------

template <class T>
struct PelRange {
    T min;
    T max;
};

template <class T>
PelRange<T> rangeOf(const ycPelBuffer_const<T>& src)
{
    if (!src.isBound()) throw ycPel::UnboundWindow();
    if (src.window().isEmpty()) throw ycPel::BadWindow();
    if constexpr (std::is_unsigned_v<T>) {
        constexpr auto core = sizeof(T) == 1   ? yip_pelUnaryMinMax8
                              : sizeof(T) == 2 ? yip_pelUnaryMinMax16
                                               : yip_pelUnaryMinMax32;
        const yimg_image im = yf_PelImage(src);
        std::uint32_t lo = 0;
        std::uint32_t hi = 0;
        yf_PelCheck(core(&im, &lo, &hi));
        return {static_cast<T>(lo), static_cast<T>(hi)};
    } else {
        yc_MinmaxPel<T> kernel;
        yf_PelApply_1s(src, kernel);
        return {kernel.min(), kernel.max()};
    }
}

template <class T>
constexpr auto pelWise(bool max)
{
    if constexpr (sizeof(T) == 1) return max ? yip_pelMax8 : yip_pelMin8;
    else if constexpr (sizeof(T) == 2) return max ? yip_pelMax16 : yip_pelMin16;
    else return max ? yip_pelMax32 : yip_pelMin32;
}

template <class T>
ycPelBuffer<T> pelWiseExtreme(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b, bool max)
{
    ycPelBuffer_const<T> s1 = a;
    ycPelBuffer_const<T> s2 = b;
    ycPelBuffer<T> dst;
    yf_PelApplyCore_2s1d(s1, s2, dst, pelWise<T>(max));
    return dst;
}

// --- division ------------------------------------------------------------------

double quotient(double v, double divisor, bool round)
{
    const double q = v / divisor;
    if (!round) return std::trunc(q);
    const double f = std::floor(q);
    return q - f >= 0.5 ? f + 1.0 : f;
}

// A divisor 2^k (k up to 32) through shifts, which give the same pels; else
// through a table of every source value, built once, when there are far
// more pels than values (always for 8-bit sources); else pel by pel.
template <class S, class D>
class DivideByVal : public yc_Kernel_1s1d<S, D> {
public:
    DivideByVal(double divisor, bool round, std::int64_t pels) : divisor_(divisor), round_(round)
    {
        int e = 0;
        if (std::frexp(divisor, &e) == 0.5 && e >= 1 && e <= 33) {
            shift_ = e - 1;
            half_ = round && shift_ > 0 ? std::int64_t{1} << (shift_ - 1) : 0;
        }
        if constexpr (sizeof(S) <= 2) {
            constexpr std::int64_t values = std::int64_t{1} << (8 * sizeof(S));
            if (sizeof(S) == 1 || (shift_ < 0 && pels >= 4 * values)) {
                table_.resize(static_cast<std::size_t>(values));
                for (std::int64_t v = 0; v < values; ++v) table_[static_cast<std::size_t>(v)] = one(static_cast<S>(v));
            }
        }
    }

    void process(const S* src, D* dst, std::int32_t count) override
    {
        if (!table_.empty()) {
            for (std::int32_t i = 0; i < count; ++i) dst[i] = table_[static_cast<std::size_t>(src[i])];
        } else {
            for (std::int32_t i = 0; i < count; ++i) dst[i] = one(src[i]);
        }
    }

private:
    D one(S v) const
    {
        if (shift_ >= 0) return saturate<D>((std::int64_t{v} + half_) >> shift_);
        return saturate<D>(quotient(v, divisor_, round_));
    }

    double divisor_;
    bool round_;
    int shift_ = -1;
    std::int64_t half_ = 0;
    std::vector<D> table_;
};

constexpr const char* kSourceName = ycSource::pelfunc;

} // namespace

template <yc_PelOp Op, ycPelType S1, ycPelType S2, ycPelType D>
    requires yc_PelArithTypes<S1, S2, D>
void yf_PelArith(const ycPelBuffer_const<S1>& a, const ycPelBuffer_const<S2>& b, ycPelBuffer<D>& dst,
                 std::int32_t shift)
{
    if (shift < 0 || shift > 31) throw ycPelFunc::BadParams();
    ycPelBuffer_const<S1> s1 = a;
    ycPelBuffer_const<S2> s2 = b;
    if (Op == yc_PelOp::MultAdd && !dst.isBound()) {
        // Adding into a new destination starts from 0.
        yf_PelAllocAt(dst, yfPelPrepare_2s1d(s1, s2, dst));
        yf_PelClear(dst);
    }
    if constexpr (std::is_same_v<S1, S2>) {
        constexpr CoreBinary core = CoreArith<D>::ops[static_cast<int>(Op)];
        yf_PelApplyCore_2s1d(s1, s2, dst, [shift](const yimg_image* x, const yimg_image* y, yimg_image* d) {
            return core(x, y, d, shift);
        });
    } else {
        MixedArith<Op, S1, S2, D> kernel(shift);
        yf_PelApply_2s1d(s1, s2, dst, kernel);
    }
}

template <yc_PelMinMaxType T>
T yfPelMin(const ycPelBuffer_const<T>& src)
{
    return rangeOf(src).min;
}

template <yc_PelMinMaxType T>
T yfPelMax(const ycPelBuffer_const<T>& src)
{
    return rangeOf(src).max;
}

template <yc_PelWiseMinMaxType T>
ycPelBuffer<T> yfPelMin(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b)
{
    return pelWiseExtreme(a, b, false);
}

template <yc_PelWiseMinMaxType T>
ycPelBuffer<T> yfPelMax(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b)
{
    return pelWiseExtreme(a, b, true);
}

template <ycPelType S, ycPelType D>
    requires yc_PelDivideTypes<S, D>
void yfPelDivideByVal(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, double divisor, bool round)
{
    ymAssert(divisor != 0.0);
    if (divisor == 0.0) return;
    if (!std::isfinite(divisor)) throw ycPelFunc::BadParams();
    ycPelBuffer_const<S> s = src;
    DivideByVal<S, D> kernel(divisor, round, std::int64_t{s.width()} * s.height());
    yf_PelApply_1s1d(s, dst, kernel);
}

template <ycPelType S, ycPelType D>
    requires yc_PelDivideTypes<S, D>
ycPelBuffer<D> yfPelDivideByVal(const ycPelBuffer_const<S>& src, double divisor)
{
    ycPelBuffer<D> dst;
    yfPelDivideByVal(src, dst, divisor, true);
    return dst;
}

template <ycPelType S, ycPelType D>
    requires std::same_as<S, unsigned short> && yc_OneOf<D, unsigned char, unsigned short>
void yfPelIntDivideByVal(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, std::int32_t divisor, bool round)
{
    if (divisor < 0) throw ycPelFunc::BadParams();
    // A whole divisor below 2^31 gives the same quotients in double.
    yfPelDivideByVal(src, dst, static_cast<double>(divisor), round);
}

template <ycPelType S, ycPelType D>
    requires std::same_as<S, unsigned char> && std::same_as<D, std::uint32_t>
void yfPelSquareAccum(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, std::int32_t scale)
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t v = 0; v < 256; ++v) table[v] = v * v * static_cast<std::uint32_t>(scale);
    ycPelBuffer_const<S> s = src;
    yc_PelSquareAccum<S, D> kernel(table.data(), !dst.isBound());
    yf_PelApply_1s1d(s, dst, kernel);
}

template <ycPelType S, ycPelType D>
    requires yc_OneOf<S, unsigned char, unsigned short> && yc_OneOf<D, unsigned char, unsigned short>
void yfPelMap(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, const yc_MapTable_clamp<S, D>& table)
{
    // Worked on copies, so a refused strict map leaves dst's window too.
    ycPelBuffer_const<S> s = src;
    ycPelBuffer<D> d = dst;
    const ycPelRect common = yfPelPrepare_1s1d(s, d);
    if (table.strict() && !common.isEmpty()) {
        const PelRange<S> r = rangeOf(s);
        if (!table.contains(r.min) || !table.contains(r.max)) throw ycPelFunc::Range();
    }
    if constexpr (sizeof(S) == 1 && sizeof(D) == 1) {
        std::array<std::uint8_t, 256> bytes{};
        for (int v = 0; v < 256; ++v) bytes[static_cast<std::size_t>(v)] = table.map(static_cast<S>(v));
        yf_PelApplyCore_1s1d(s, d, [&bytes](const yimg_image* x, yimg_image* y) {
            return yip_pelMap8(x, y, bytes.data());
        });
    } else {
        yc_MapPel<S, D, yc_MapTable_clamp<S, D>> kernel(table);
        yf_PelApply_1s1d(s, d, kernel);
    }
    dst = d;
}

#define TLVSTD_PELARITH_OPS(S1, S2, D)                                                                              \
    template TLVSTD_INSTANCE_API void yf_PelArith<yc_PelOp::Add, S1, S2, D>(                                       \
        const ycPelBuffer_const<S1>&, const ycPelBuffer_const<S2>&, ycPelBuffer<D>&, std::int32_t);                \
    template TLVSTD_INSTANCE_API void yf_PelArith<yc_PelOp::Sub, S1, S2, D>(                                       \
        const ycPelBuffer_const<S1>&, const ycPelBuffer_const<S2>&, ycPelBuffer<D>&, std::int32_t);                \
    template TLVSTD_INSTANCE_API void yf_PelArith<yc_PelOp::Mult, S1, S2, D>(                                      \
        const ycPelBuffer_const<S1>&, const ycPelBuffer_const<S2>&, ycPelBuffer<D>&, std::int32_t);                \
    template TLVSTD_INSTANCE_API void yf_PelArith<yc_PelOp::MultAdd, S1, S2, D>(                                   \
        const ycPelBuffer_const<S1>&, const ycPelBuffer_const<S2>&, ycPelBuffer<D>&, std::int32_t);
TLVSTD_PELARITH_OPS(unsigned char, unsigned char, unsigned char)
TLVSTD_PELARITH_OPS(unsigned short, unsigned short, unsigned short)
TLVSTD_PELARITH_OPS(short, short, short)
TLVSTD_PELARITH_OPS(std::uint32_t, std::uint32_t, std::uint32_t)
TLVSTD_PELARITH_OPS(unsigned char, unsigned short, unsigned short)
TLVSTD_PELARITH_OPS(unsigned short, unsigned char, unsigned short)
TLVSTD_PELARITH_OPS(unsigned char, std::uint32_t, std::uint32_t)
TLVSTD_PELARITH_OPS(std::uint32_t, unsigned char, std::uint32_t)
#undef TLVSTD_PELARITH_OPS

#define TLVSTD_PELARITH_MINMAX(T)                                         \
    template TLVSTD_INSTANCE_API T yfPelMin<T>(const ycPelBuffer_const<T>&); \
    template TLVSTD_INSTANCE_API T yfPelMax<T>(const ycPelBuffer_const<T>&);
#define TLVSTD_PELARITH_PELWISE(T)                                                                            \
    template TLVSTD_INSTANCE_API ycPelBuffer<T> yfPelMin<T>(const ycPelBuffer_const<T>&, const ycPelBuffer_const<T>&); \
    template TLVSTD_INSTANCE_API ycPelBuffer<T> yfPelMax<T>(const ycPelBuffer_const<T>&, const ycPelBuffer_const<T>&);
TLVSTD_PELARITH_MINMAX(unsigned char)
TLVSTD_PELARITH_MINMAX(unsigned short)
TLVSTD_PELARITH_MINMAX(std::uint32_t)
TLVSTD_PELARITH_MINMAX(std::int32_t)
TLVSTD_PELARITH_PELWISE(unsigned char)
TLVSTD_PELARITH_PELWISE(unsigned short)
TLVSTD_PELARITH_PELWISE(std::uint32_t)
#undef TLVSTD_PELARITH_MINMAX
#undef TLVSTD_PELARITH_PELWISE

#define TLVSTD_PELARITH_DIVIDE(S, D)                                                                                \
    template TLVSTD_INSTANCE_API void yfPelDivideByVal<S, D>(const ycPelBuffer_const<S>&, ycPelBuffer<D>&, double, \
                                                             bool);                                               \
    template TLVSTD_INSTANCE_API ycPelBuffer<D> yfPelDivideByVal<S, D>(const ycPelBuffer_const<S>&, double);
#define TLVSTD_PELARITH_DIVIDE_INTO(S) \
    TLVSTD_PELARITH_DIVIDE(S, unsigned char) TLVSTD_PELARITH_DIVIDE(S, unsigned short) TLVSTD_PELARITH_DIVIDE(S, std::uint32_t)
TLVSTD_PELARITH_DIVIDE_INTO(unsigned char)
TLVSTD_PELARITH_DIVIDE_INTO(unsigned short)
TLVSTD_PELARITH_DIVIDE_INTO(std::uint32_t)
TLVSTD_PELARITH_DIVIDE_INTO(std::int32_t)
#undef TLVSTD_PELARITH_DIVIDE_INTO
#undef TLVSTD_PELARITH_DIVIDE

template TLVSTD_INSTANCE_API void yfPelIntDivideByVal<unsigned short, unsigned char>(
    const ycPelBuffer_const<unsigned short>&, ycPelBuffer<unsigned char>&, std::int32_t, bool);
template TLVSTD_INSTANCE_API void yfPelIntDivideByVal<unsigned short, unsigned short>(
    const ycPelBuffer_const<unsigned short>&, ycPelBuffer<unsigned short>&, std::int32_t, bool);
template TLVSTD_INSTANCE_API void yfPelSquareAccum<unsigned char, std::uint32_t>(
    const ycPelBuffer_const<unsigned char>&, ycPelBuffer<std::uint32_t>&, std::int32_t);

#define TLVSTD_PELARITH_MAP(S, D)                                                                              \
    template TLVSTD_INSTANCE_API void yfPelMap<S, D>(const ycPelBuffer_const<S>&, ycPelBuffer<D>&, \
                                                     const yc_MapTable_clamp<S, D>&);
TLVSTD_PELARITH_MAP(unsigned char, unsigned char)
TLVSTD_PELARITH_MAP(unsigned char, unsigned short)
TLVSTD_PELARITH_MAP(unsigned short, unsigned char)
TLVSTD_PELARITH_MAP(unsigned short, unsigned short)
#undef TLVSTD_PELARITH_MAP

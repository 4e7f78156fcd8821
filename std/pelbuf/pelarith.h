// Pixel operations: arithmetic, minimum and maximum, division by a value,
// square-accumulate and table maps.
//
// Windows follow pelfunc.h: sources are copied views (the caller's windows
// stay), operands meet on their common window in image coordinates, an
// unbound destination is allocated over it at the first source's image
// coordinates, and a non-empty result takes the first source's client
// transform. Parameters are checked before any window or pel changes.
//
// Arithmetic, yfPelAdd / Sub / Mult / MultAdd (a, b, dst[, shift]) and the
// forms (a, b[, shift]) that return a new buffer of the wider source type.
// Pel types: u8, u16, u32 and s16 with all three alike, and a u8 source with
// a u16 or u32 one (either order) into the wider type. Every type follows
// the rule of the core's kernels (core/ypel.h): the operation in wide
// arithmetic, an arithmetic shift right by `shift` (toward minus infinity),
// then saturation to the destination's range:
//   Add      d = sat((a + b) >> shift)
//   Sub      d = sat((a - b) >> shift)
//   Mult     d = sat((a * b) >> shift)
//   MultAdd  d = sat(d + ((a * b) >> shift))
// MultAdd adds into the destination; an unbound one is allocated and starts
// from 0. A shift outside [0, 31] is ycPelFunc::BadParams.
//
// Minimum and maximum. yfPelMin(src) and yfPelMax(src) return the smallest
// and largest pel of the window (u8, u16, u32, s32); an unbound buffer is
// ycPel::UnboundWindow and an empty window ycPel::BadWindow. yfPelMin(a, b)
// and yfPelMax(a, b) return a new buffer of the common window holding the
// pel-wise minimum or maximum (u8, u16, u32).
//
// Division by a value, yfPelDivideByVal<S, D> (S u8, u16, u32 or s32; D u8,
// u16 or u32): each pel becomes pel / divisor, the quotient taken in double;
// `round` true rounds it to the nearest integer with halves going up (2.5 to
// 3), false truncates it toward zero; the forms without `round` round. The
// result saturates to D's range, so a negative quotient gives 0. A divisor of
// 0 is an assertion and the call then changes nothing; a NaN or infinite
// divisor is ycPelFunc::BadParams. Powers of two go through shifts, and
// 8-bit sources and large 16-bit windows through a table of every quotient,
// built once per call: the pels are the same. yfPelIntDivideByVal (u16 to
// u8 or u16) takes a whole divisor, with the same rule; a negative one is
// BadParams.
//
// Square-accumulate, yfPelSquareAccum<unsigned char, std::uint32_t>(src, dst,
// scale): each destination pel gets v * v * scale of its source pel v, in
// unsigned 32-bit arithmetic that wraps. A bound destination is added to; an
// unbound one is allocated and set.
//
// Table maps, yfPelMap(src, dst, table) with a yc_MapTable_clamp: each source
// value is clamped into the table's range [low, high] and the destination
// pel is the table's entry for it. A strict table refuses values outside the
// range: the source window is scanned first, and ycPelFunc::Range is thrown
// before any pel or window of the destination changes. u8 to u8, u8 to u16,
// u16 to u8 and u16 to u16.
#ifndef TLVSTD_PELBUF_PELARITH_H
#define TLVSTD_PELBUF_PELARITH_H

#include "std/pelbuf/pelfunc.h"
#include "std/util/assert.h"

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <vector>

// --- arithmetic ----------------------------------------------------------------

enum class yc_PelOp { Add, Sub, Mult, MultAdd };

template <class S1, class S2, class D>
concept yc_PelArithTypes =
    (std::same_as<S1, S2> && std::same_as<S2, D> && yc_OneOf<D, unsigned char, unsigned short, std::uint32_t, short>) ||
    (std::same_as<S1, unsigned char> && std::same_as<S2, D> && yc_OneOf<D, unsigned short, std::uint32_t>) ||
    (std::same_as<S2, unsigned char> && std::same_as<S1, D> && yc_OneOf<D, unsigned short, std::uint32_t>);

// The pel type of the forms that return a buffer: the wider source's.
template <class S1, class S2>
using yc_PelArithResult = std::conditional_t<(sizeof(S1) >= sizeof(S2)), S1, S2>;

// The four operations in one; the named forms below call it.
template <yc_PelOp Op, ycPelType S1, ycPelType S2, ycPelType D>
    requires yc_PelArithTypes<S1, S2, D>
TLVSTD_API void yf_PelArith(const ycPelBuffer_const<S1>& a, const ycPelBuffer_const<S2>& b, ycPelBuffer<D>& dst,
                            std::int32_t shift);

#define ym_PelArithForms(name, op)                                                                            \
    template <ycPelType S1, ycPelType S2, ycPelType D>                                                        \
        requires yc_PelArithTypes<S1, S2, D>                                                                  \
    void name(const ycPelBuffer_const<S1>& a, const ycPelBuffer_const<S2>& b, ycPelBuffer<D>& dst,           \
              std::int32_t shift = 0)                                                                         \
    {                                                                                                         \
        yf_PelArith<yc_PelOp::op>(a, b, dst, shift);                                                          \
    }                                                                                                         \
    template <ycPelType S1, ycPelType S2>                                                                     \
        requires yc_PelArithTypes<S1, S2, yc_PelArithResult<S1, S2>>                                          \
    ycPelBuffer<yc_PelArithResult<S1, S2>> name(const ycPelBuffer_const<S1>& a, const ycPelBuffer_const<S2>& b, \
                                                std::int32_t shift = 0)                                       \
    {                                                                                                         \
        ycPelBuffer<yc_PelArithResult<S1, S2>> dst;                                                           \
        yf_PelArith<yc_PelOp::op>(a, b, dst, shift);                                                          \
        return dst;                                                                                           \
    }
ym_PelArithForms(yfPelAdd, Add)
ym_PelArithForms(yfPelSub, Sub)
ym_PelArithForms(yfPelMult, Mult)
ym_PelArithForms(yfPelMultAdd, MultAdd)
#undef ym_PelArithForms

// --- minimum and maximum -------------------------------------------------------

// The running minimum and maximum of the rows it is given: the first pel
// starts both, and a pel replaces them only when strictly less or greater.
template <ycPelType T>
class yc_MinmaxPel : public yc_Kernel_1s<T> {
public:
    void process(const T* src, std::int32_t count) override
    {
        std::int32_t i = 0;
        if (!started_ && count > 0) {
            min_ = max_ = src[0];
            started_ = true;
            i = 1;
        }
        for (; i + 2 <= count; i += 2) {
            take(src[i]);
            take(src[i + 1]);
        }
        if (i < count) take(src[i]);
    }
    bool started() const { return started_; }
    T min() const { return min_; }
    T max() const { return max_; }

private:
    void take(T v)
    {
        if (v < min_) min_ = v;
        if (v > max_) max_ = v;
    }

    T min_{};
    T max_{};
    bool started_ = false;
};

template <class T>
concept yc_PelMinMaxType = yc_OneOf<T, unsigned char, unsigned short, std::uint32_t, std::int32_t>;
template <class T>
concept yc_PelWiseMinMaxType = yc_OneOf<T, unsigned char, unsigned short, std::uint32_t>;

template <yc_PelMinMaxType T>
TLVSTD_API T yfPelMin(const ycPelBuffer_const<T>& src);
template <yc_PelMinMaxType T>
TLVSTD_API T yfPelMax(const ycPelBuffer_const<T>& src);
template <yc_PelWiseMinMaxType T>
TLVSTD_API ycPelBuffer<T> yfPelMin(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b);
template <yc_PelWiseMinMaxType T>
TLVSTD_API ycPelBuffer<T> yfPelMax(const ycPelBuffer_const<T>& a, const ycPelBuffer_const<T>& b);

// --- division by a value -------------------------------------------------------

template <class S, class D>
concept yc_PelDivideTypes = yc_OneOf<S, unsigned char, unsigned short, std::uint32_t, std::int32_t> &&
                            yc_OneOf<D, unsigned char, unsigned short, std::uint32_t>;

template <ycPelType S, ycPelType D>
    requires yc_PelDivideTypes<S, D>
TLVSTD_API void yfPelDivideByVal(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, double divisor,
                                 bool round = true);
template <ycPelType S, ycPelType D>
    requires yc_PelDivideTypes<S, D>
TLVSTD_API ycPelBuffer<D> yfPelDivideByVal(const ycPelBuffer_const<S>& src, double divisor);

template <ycPelType S, ycPelType D>
    requires std::same_as<S, unsigned short> && yc_OneOf<D, unsigned char, unsigned short>
TLVSTD_API void yfPelIntDivideByVal(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, std::int32_t divisor,
                                    bool round);

// --- square-accumulate ---------------------------------------------------------

// d = table[s] (set) or d += table[s], wrapping; the 256-entry table belongs
// to the caller. Without a table every row is an assertion and nothing is
// written.
template <ycPelType S, ycPelType D>
    requires std::same_as<S, unsigned char> && std::same_as<D, std::uint32_t>
class yc_PelSquareAccum : public yc_Kernel_1s1d<S, D> {
public:
    explicit yc_PelSquareAccum(const D* table = nullptr, bool set = false) : table_(table), set_(set) {}

    void process(const S* src, D* dst, std::int32_t count) override
    {
        ymAssert(table_ != nullptr);
        if (table_ == nullptr) return;
        for (std::int32_t i = 0; i < count; ++i) dst[i] = set_ ? table_[src[i]] : dst[i] + table_[src[i]];
    }

private:
    static constexpr const char* kSourceName = ycSource::pelfunc;

    const D* table_;
    bool set_;
};

template <ycPelType S, ycPelType D>
    requires std::same_as<S, unsigned char> && std::same_as<D, std::uint32_t>
TLVSTD_API void yfPelSquareAccum(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, std::int32_t scale);

// --- table maps ----------------------------------------------------------------

// Entries of D for the source values low to high (all D{} at first). A range
// with low > high is ycPelFunc::BadParams, and so is an entry asked for
// outside it.
template <ycPelType S, ycPelType D>
class yc_MapTable_clamp {
public:
    yc_MapTable_clamp(S low, S high, bool strict = false) : low_(low), high_(high), strict_(strict)
    {
        if (low > high) throw ycPelFunc::BadParams();
        entries_.resize(static_cast<std::size_t>(high - low) + 1);
    }

    S low() const { return low_; }
    S high() const { return high_; }
    bool strict() const { return strict_; }
    bool contains(S v) const { return v >= low_ && v <= high_; }

    D& operator[](S v) { return entries_[index(v)]; }
    const D& operator[](S v) const { return entries_[index(v)]; }
    // The entry of v clamped into [low, high].
    D map(S v) const { return entries_[static_cast<std::size_t>((v < low_ ? low_ : v > high_ ? high_ : v) - low_)]; }

private:
    std::size_t index(S v) const
    {
        if (!contains(v)) throw ycPelFunc::BadParams();
        return static_cast<std::size_t>(v - low_);
    }

    S low_;
    S high_;
    bool strict_;
    std::vector<D> entries_;
};

// Maps rows through a table with low(), high(), strict(), contains() and
// map() as yc_MapTable_clamp has; a strict table throws ycPelFunc::Range at
// a value outside its range. Two pels a step.
template <ycPelType S, ycPelType D, class Table>
class yc_MapPel : public yc_Kernel_1s1d<S, D> {
public:
    explicit yc_MapPel(const Table& table) : table_(table) {}

    void process(const S* src, D* dst, std::int32_t count) override
    {
        std::int32_t i = 0;
        for (; i + 2 <= count; i += 2) {
            dst[i] = lookup(src[i]);
            dst[i + 1] = lookup(src[i + 1]);
        }
        if (i < count) dst[i] = lookup(src[i]);
    }

private:
    D lookup(S v) const
    {
        if (table_.strict() && !table_.contains(v)) throw ycPelFunc::Range();
        return table_.map(v);
    }

    const Table& table_;
};

template <ycPelType S, ycPelType D>
    requires yc_OneOf<S, unsigned char, unsigned short> && yc_OneOf<D, unsigned char, unsigned short>
TLVSTD_API void yfPelMap(const ycPelBuffer_const<S>& src, ycPelBuffer<D>& dst, const yc_MapTable_clamp<S, D>& table);

#endif

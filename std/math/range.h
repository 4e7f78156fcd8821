// Intervals: ycRange on the real line and ycAngleRange on the circle.
//
// A range is partial (a closed interval [start, end]), empty or full; only a
// partial range has meaningful ends, and asking an empty or full one for
// start(), end() or middle() throws ycRangeDefs::NotPartialRange. The kind
// and the default constructors set both ends to 0. An unknown kind value is
// an assertion ("std/math/range").
//
// ycRange(start, end) throws BadParams "start > end" when start > end; a
// one-point range start == end is valid. length() of the full range is the
// largest double. isWithin includes both ends.
//
// Interval arithmetic (P partial [s, e], E empty, F full); every result is a
// new range:
//   intersect(r)   E if this is E; r if this is F; E if r is E; this if r is
//                  F; else [max(s, r.s), min(e, r.e)], E when the ends cross.
//   translate(d)   [s + d, e + d]; E and F unchanged.
//   scale(f)       [s f, e f], ends swapped when f < 0; E unchanged; F stays F
//                  except that F scaled by 0 is the point [0, 0].
//   dilate(r)      the sum {x + y}: [s + r.s, e + r.e]; E if either is E,
//                  else F if either is F.
//   erode(r)       the x with x + r inside this: [s - r.s, e - r.e], E when
//                  the ends cross. Eroding by E gives F (every x qualifies,
//                  vacuously); otherwise E stays E, F stays F, and P eroded
//                  by F is E.
//   someOverlap(r, tol)  P and P: r.s <= e + tol and s <= r.e + tol (so ends
//                  within tol of each other count); false when either is E;
//                  true when either is F and the other is not E.
//
// ycAngleRange(start, end, allowPoint): with allowPoint false, start >= end
// throws BadParams "start >= end"; with it true, start > end throws "start >
// end". A range of a full turn or more (end - start >= 2 pi) becomes the full
// range; otherwise the ends are kept as given, not normalised. isWithin(a)
// measures a from start modulo a turn: norm(a - start) <= end - start.
// length(): end - start, 0 or 2 pi. middle() is (start + end) / 2 of a
// partial range. dilate(r) adds the ends like ycRange::dilate and becomes
// full when the sum spans a full turn or more.
//
// NaN ends are not rejected; they make isWithin false.
#ifndef TLVSTD_MATH_RANGE_H
#define TLVSTD_MATH_RANGE_H

#include "std/except/except.h"
#include "std/math/angle.h"
#include "std/util/assert.h"

#include <cstdint>
#include <limits>

class ycRangeDefs {
public:
    enum Range : std::int32_t { partial = 0, empty = 1, full = 2 };

    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NotPartialRange, Errors);
};

// What ycRange and ycAngleRange share: the kind and the two ends, the
// accessors that only a partial range answers, and the case analysis on the
// kind. Each derived range compares only with its own kind.
template <class Derived, class T>
class yc_RangeBase : public ycRangeDefs {
public:
    Range kind() const { return kind_; }
    T start() const
    {
        checkPartialRange();
        return start_;
    }
    T end() const
    {
        checkPartialRange();
        return end_;
    }
    T middle() const
    {
        checkPartialRange();
        return (start_ + end_) * 0.5;
    }

    friend bool operator==(const Derived& a, const Derived& b)
    {
        return a.kind_ == b.kind_ && (a.kind_ != partial || (a.start_ == b.start_ && a.end_ == b.end_));
    }

protected:
    constexpr yc_RangeBase() = default;

    // inPartial decides for a partial range; empty holds nothing, full all.
    template <class InPartial>
    bool within(InPartial inPartial) const
    {
        switch (kind_) {
        case partial: return inPartial();
        case full: return true;
        case empty: return false;
        }
        badKind();
        return false;
    }
    T lengthOr(T fullLength) const
    {
        switch (kind_) {
        case partial: return end_ - start_;
        case empty: return T{};
        case full: return fullLength;
        }
        badKind();
        return T{};
    }
    void checkPartialRange() const
    {
        if (kind_ != partial) throw NotPartialRange(L"not a partial range");
    }

    Range kind_ = empty;
    T start_{};
    T end_{};

private:
    static constexpr const char* kSourceName = ycSource::range;
    void badKind() const { ymAssert(false); }
};

class TLVSTD_API ycRange : public yc_RangeBase<ycRange, double> {
public:
    constexpr ycRange() = default;
    ycRange(double start, double end);
    explicit ycRange(Range kind);
    static ycRange FullRange() { return ycRange(full); }
    static ycRange EmptyRange() { return ycRange(); }

    double length() const { return lengthOr(std::numeric_limits<double>::max()); }
    bool isWithin(double x) const
    {
        return within([&] { return start_ <= x && x <= end_; });
    }

    ycRange intersect(const ycRange& r) const;
    ycRange translate(double d) const;
    ycRange scale(double f) const;
    ycRange dilate(const ycRange& r) const;
    ycRange erode(const ycRange& r) const;
    bool someOverlap(const ycRange& r, double tolerance) const;

private:
    // A partial range without the order check, for results known to be ordered.
    static ycRange make(double start, double end);
};

class TLVSTD_API ycAngleRange : public yc_RangeBase<ycAngleRange, ycRadian> {
public:
    constexpr ycAngleRange() = default;
    ycAngleRange(ycRadian start, ycRadian end, bool allowPoint);
    explicit ycAngleRange(Range kind);
    static ycAngleRange FullAngleRange() { return ycAngleRange(full); }
    static ycAngleRange EmptyAngleRange() { return ycAngleRange(); }

    ycRadian length() const { return lengthOr(ycRadian(yc_kTwoPi)); }
    bool isWithin(ycRadian a) const
    {
        return within([&] { return (a - start_).norm() <= end_ - start_; });
    }
    ycAngleRange dilate(const ycAngleRange& r) const;
};

static_assert(sizeof(ycRange) == 24 && sizeof(ycAngleRange) == 24);

#endif

#include "std/math/range.h"

#include <algorithm>

namespace {
constexpr const char* kSourceName = ycSource::range;

// Known kinds pass; another is an assertion and becomes empty.
ycRangeDefs::Range checkedKind(ycRangeDefs::Range kind)
{
    bool known = kind == ycRangeDefs::partial || kind == ycRangeDefs::empty || kind == ycRangeDefs::full;
    ymAssert(known);
    return known ? kind : ycRangeDefs::empty;
}
} // namespace

// --- ycRange -------------------------------------------------------------------

ycRange::ycRange(double start, double end)
{
    if (start > end) throw BadParams(L"start > end");
    *this = make(start, end);
}

ycRange::ycRange(Range kind)
{
    kind_ = checkedKind(kind);
}

ycRange ycRange::make(double start, double end)
{
    ycRange r;
    r.kind_ = partial;
    r.start_ = start;
    r.end_ = end;
    return r;
}

ycRange ycRange::intersect(const ycRange& r) const
{
    if (kind_ == empty) return ycRange();
    if (kind_ == full) return r;
    if (r.kind_ == empty) return ycRange();
    if (r.kind_ == full) return *this;
    double lo = std::max(start_, r.start_);
    double hi = std::min(end_, r.end_);
    if (lo > hi) return ycRange();
    return make(lo, hi);
}

ycRange ycRange::translate(double d) const
{
    if (kind_ != partial) return *this;
    return make(start_ + d, end_ + d);
}

ycRange ycRange::scale(double f) const
{
    if (kind_ == full && f == 0.0) return make(0.0, 0.0);
    if (kind_ != partial) return *this;
    if (f < 0.0) return make(end_ * f, start_ * f);
    return make(start_ * f, end_ * f);
}

ycRange ycRange::dilate(const ycRange& r) const
{
    if (kind_ == empty || r.kind_ == empty) return ycRange();
    if (kind_ == full || r.kind_ == full) return FullRange();
    return make(start_ + r.start_, end_ + r.end_);
}

ycRange ycRange::erode(const ycRange& r) const
{
    if (r.kind_ == empty) return FullRange();
    if (kind_ != partial) return *this;
    if (r.kind_ == full) return ycRange();
    double lo = start_ - r.start_;
    double hi = end_ - r.end_;
    if (lo > hi) return ycRange();
    return make(lo, hi);
}

bool ycRange::someOverlap(const ycRange& r, double tolerance) const
{
    if (kind_ == empty || r.kind_ == empty) return false;
    if (kind_ == full || r.kind_ == full) return true;
    return r.start_ <= end_ + tolerance && start_ <= r.end_ + tolerance;
}

// --- ycAngleRange --------------------------------------------------------------

ycAngleRange::ycAngleRange(ycRadian start, ycRadian end, bool allowPoint)
{
    if (allowPoint) {
        if (start > end) throw BadParams(L"start > end");
    } else if (start >= end) {
        throw BadParams(L"start >= end");
    }
    if ((end - start).plain() >= yc_kTwoPi) {
        kind_ = full;
        return;
    }
    kind_ = partial;
    start_ = start;
    end_ = end;
}

ycAngleRange::ycAngleRange(Range kind)
{
    kind_ = checkedKind(kind);
}

ycAngleRange ycAngleRange::dilate(const ycAngleRange& r) const
{
    if (kind_ == empty || r.kind_ == empty) return ycAngleRange();
    if (kind_ == full || r.kind_ == full) return FullAngleRange();
    // The sum of two ordered ranges is ordered, so a one-point result is allowed.
    return ycAngleRange(start_ + r.start_, end_ + r.end_, true);
}

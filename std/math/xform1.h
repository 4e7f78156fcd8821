// The one-dimensional transform x -> scale * x + offset.
//
// A * B applies B first: its scale is scaleA * scaleB and its offset
// scaleA * offsetB + offsetA. A transform is singular when its scale is
// exactly 0.0; inverse(), invMapPoint() and invMapVector() of a singular
// transform throw ycMathError::Singular.
#ifndef TLVSTD_MATH_XFORM1_H
#define TLVSTD_MATH_XFORM1_H

#include "std/math/matherror.h"
#include "std/math/scalar.h"

#include <type_traits>

class yc1Xform {
public:
    // The identity.
    constexpr yc1Xform() = default;
    constexpr yc1Xform(double scale, double offset) : scale_(scale), offset_(offset) {}

    constexpr double scale() const { return scale_; }
    constexpr double offset() const { return offset_; }
    constexpr void scale(double s) { scale_ = s; }
    constexpr void offset(double o) { offset_ = o; }

    constexpr double mapPoint(double x) const { return scale_ * x + offset_; }
    constexpr double mapVector(double dx) const { return scale_ * dx; }
    double invMapPoint(double x) const { return inverse().mapPoint(x); }
    double invMapVector(double dx) const { return inverse().mapVector(dx); }

    constexpr yc1Xform compose(const yc1Xform& b) const { return *this * b; }
    yc1Xform inverse() const
    {
        if (isSingular()) throw ycMathError::Singular();
        return yc1Xform(1.0 / scale_, -offset_ / scale_);
    }
    constexpr bool isSingular() const { return scale_ == 0.0; }
    constexpr bool isIdentity() const { return scale_ == 1.0 && offset_ == 0.0; }

    friend constexpr double operator*(const yc1Xform& t, double x) { return t.mapPoint(x); }
    friend constexpr yc1Xform operator*(const yc1Xform& a, const yc1Xform& b)
    {
        return yc1Xform(a.scale_ * b.scale_, a.scale_ * b.offset_ + a.offset_);
    }
    friend constexpr bool operator==(const yc1Xform&, const yc1Xform&) = default;

private:
    double scale_ = 1.0;
    double offset_ = 0.0;
};

static_assert(sizeof(yc1Xform) == 16 && std::is_trivially_copyable_v<yc1Xform>);

// Scale, then offset, by the scalar rule.
inline bool yfRealEq(const yc1Xform& a, const yc1Xform& b, double eps)
{
    return yfRealEq(a.scale(), b.scale(), eps) && yfRealEq(a.offset(), b.offset(), eps);
}

#endif

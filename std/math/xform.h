// Value transforms: ycXform<2> and ycXform<3> (affine, p -> M p + t) and
// yc2Rigid (rotation by an angle, then translation).
//
// A * B applies B first. For ycXform: matrix M_A M_B, translation
// M_A t_B + t_A. A transform is singular when its matrix is (determinant
// exactly 0.0); inverse(), invMapPoint(), invMapVector() and the decomposition
// accessors of a singular transform throw ycMathError::Singular. The inverse
// has matrix M^-1 and translation -M^-1 t.
//
// yc2Rigid keeps its angle in degrees together with the sine and cosine of
// that angle in radians, recomputed whenever the angle changes (and on
// loading). Comparison within a tolerance looks at the translation, the
// cosine and the sine, never the angle, so angles a whole turn apart compare
// equal; == compares translation and angle exactly.
//
// Archive forms, each beginning with version byte 0 (another version throws
// ycArchive::UnknownVersion naming "std/math/xform"):
//   ycXform<2>, ycXform<3>  translation and matrix in their own forms, then a
//                           bool that is true for the identity (written from
//                           the value, ignored on loading)
//   yc2Rigid                angle in degrees (one double), translation
#ifndef TLVSTD_MATH_XFORM_H
#define TLVSTD_MATH_XFORM_H

#include "std/archive/archive.h"
#include "std/math/angle.h"
#include "std/math/matherror.h"
#include "std/math/matrix.h"
#include "std/math/scalar.h"
#include "std/math/vector.h"

#include <cmath>
#include <type_traits>

template <int N>
class ycXform;

// What ycXform<2> and ycXform<3> share: the translation and the matrix, and
// every operation that treats them alike.
template <int N>
class yc_AffineXform {
public:
    constexpr yc_AffineXform() = default;
    constexpr yc_AffineXform(const ycMatrix<N>& m, const ycVector<N>& trans) : t_(trans), m_(m) {}

    constexpr const ycMatrix<N>& matrix() const { return m_; }
    constexpr void matrix(const ycMatrix<N>& m) { m_ = m; }
    constexpr const ycVector<N>& trans() const { return t_; }
    constexpr void trans(const ycVector<N>& t) { t_ = t; }

    double xScale() const { return m_.xScale(); }
    double yScale() const { return m_.yScale(); }

    constexpr ycVector<N> mapPoint(const ycVector<N>& p) const { return m_ * p + t_; }
    constexpr ycVector<N> mapVector(const ycVector<N>& v) const { return m_ * v; }
    ycVector<N> invMapPoint(const ycVector<N>& p) const { return inverse().mapPoint(p); }
    ycVector<N> invMapVector(const ycVector<N>& v) const { return m_.inverse() * v; }
    // Volumes, in three dimensions.
    double mapArea(double a) const { return a * std::fabs(m_.determinant()); }
    double invMapArea(double a) const { return a / std::fabs(m_.determinant()); }

    constexpr ycXform<N> compose(const ycXform<N>& b) const { return ycXform<N>(m_ * b.m_, m_ * b.t_ + t_); }
    ycXform<N> inverse() const
    {
        ycMatrix<N> mi = m_.inverse();
        return ycXform<N>(mi, -(mi * t_));
    }

    constexpr bool isIdentity() const { return t_.isNull() && m_.isIdentity(); }
    constexpr bool isSingular() const { return m_.isSingular(); }

    friend constexpr ycVector<N> operator*(const ycXform<N>& x, const ycVector<N>& p) { return x.mapPoint(p); }
    friend constexpr ycXform<N> operator*(const ycXform<N>& a, const ycXform<N>& b) { return a.compose(b); }
    friend constexpr bool operator==(const ycXform<N>& a, const ycXform<N>& b)
    {
        return a.t_ == b.t_ && a.m_ == b.m_;
    }

protected:
    ycVector<N> t_;
    ycMatrix<N> m_;
};

template <>
class TLVSTD_API ycXform<2> : public yc_AffineXform<2> {
public:
    using yc_AffineXform::yc_AffineXform;
    // The identity.
    constexpr ycXform() = default;
    ycXform(const ycVector<2>& trans, ycRadian xRot, ycRadian yRot, double xScale, double yScale)
        : yc_AffineXform(ycMatrix<2>(xRot, yRot, xScale, yScale), trans)
    {
    }
    ycXform(const ycVector<2>& trans, double scale, double aspect, ycRadian shear, ycRadian rotation)
        : yc_AffineXform(ycMatrix<2>(scale, aspect, shear, rotation), trans)
    {
    }

    ycRadian xRot() const { return m_.xRot(); }
    ycRadian yRot() const { return m_.yRot(); }
    double scale() const { return m_.scale(); }
    double aspect() const { return m_.aspect(); }
    ycRadian shear() const { return m_.shear(); }
    ycRadian rotation() const { return m_.rotation(); }
};

template <>
class TLVSTD_API ycXform<3> : public yc_AffineXform<3> {
public:
    using yc_AffineXform::yc_AffineXform;
    // The identity.
    constexpr ycXform() = default;

    double zScale() const { return m_.zScale(); }
};

static_assert(sizeof(ycXform<2>) == 56 && sizeof(ycXform<3>) == 104);
static_assert(std::is_trivially_copyable_v<ycXform<2>> && std::is_trivially_copyable_v<ycXform<3>>);

class TLVSTD_API yc2Rigid {
public:
    // Angle 0, no translation.
    constexpr yc2Rigid() = default;
    yc2Rigid(const ycDegree& angle, const ycVector<2>& trans) : t_(trans) { this->angle(angle); }

    constexpr ycDegree angle() const { return angle_; }
    void angle(const ycDegree& a)
    {
        angle_ = a;
        ycRadian r = a;
        sin_ = std::sin(r.plain());
        cos_ = std::cos(r.plain());
    }
    constexpr const ycVector<2>& trans() const { return t_; }
    constexpr void trans(const ycVector<2>& t) { t_ = t; }
    constexpr double cosAngle() const { return cos_; }
    constexpr double sinAngle() const { return sin_; }

    constexpr ycVector<2> mapVector(const ycVector<2>& v) const
    {
        return ycVector<2>(cos_ * v.x() - sin_ * v.y(), sin_ * v.x() + cos_ * v.y());
    }
    constexpr ycVector<2> mapPoint(const ycVector<2>& p) const { return mapVector(p) + t_; }
    // R^T (p - t): no inverse transform is built, so nothing is recomputed.
    constexpr ycVector<2> invMapVector(const ycVector<2>& v) const
    {
        return ycVector<2>(cos_ * v.x() + sin_ * v.y(), -sin_ * v.x() + cos_ * v.y());
    }
    constexpr ycVector<2> invMapPoint(const ycVector<2>& p) const { return invMapVector(p - t_); }
    ycRadian mapAngle(ycRadian a) const { return a + ycRadian(angle_); }
    ycRadian invMapAngle(ycRadian a) const { return a - ycRadian(angle_); }

    yc2Rigid compose(const yc2Rigid& b) const { return *this * b; }
    ycXform<2> compose(const ycXform<2>& b) const { return *this * b; }
    yc2Rigid inverse() const
    {
        double tx = t_.x();
        double ty = t_.y();
        return yc2Rigid(-angle_, ycVector<2>(-cos_ * tx - sin_ * ty, sin_ * tx - cos_ * ty));
    }
    ycXform<2> linear() const { return ycXform<2>(ycMatrix<2>(cos_, -sin_, sin_, cos_), t_); }
    constexpr bool isIdentity() const { return angle_.plain() == 0.0 && t_.isNull(); }

    friend constexpr ycVector<2> operator*(const yc2Rigid& r, const ycVector<2>& p) { return r.mapPoint(p); }
    friend yc2Rigid operator*(const yc2Rigid& a, const yc2Rigid& b)
    {
        return yc2Rigid(a.angle_ + b.angle_, a.mapVector(b.t_) + a.t_);
    }
    friend ycXform<2> operator*(const yc2Rigid& a, const ycXform<2>& b) { return a.linear() * b; }
    friend ycXform<2> operator*(const ycXform<2>& a, const yc2Rigid& b) { return a * b.linear(); }
    friend constexpr bool operator==(const yc2Rigid& a, const yc2Rigid& b)
    {
        return a.t_ == b.t_ && a.angle_ == b.angle_;
    }

private:
    friend TLVSTD_API ycArchive& operator||(ycArchive& ar, yc2Rigid& r);

    ycVector<2> t_;
    ycDegree angle_;
    double sin_ = 0.0;
    double cos_ = 1.0;
};

template <int N>
bool yfRealEq(const ycXform<N>& a, const ycXform<N>& b, double eps)
{
    return yfRealEq(a.trans(), b.trans(), eps) && yfRealEq(a.matrix(), b.matrix(), eps);
}

inline bool yfRealEq(const yc2Rigid& a, const yc2Rigid& b, double eps)
{
    return yfRealEq(a.trans(), b.trans(), eps) && yfRealEq(a.cosAngle(), b.cosAngle(), eps) &&
           yfRealEq(a.sinAngle(), b.sinAngle(), eps);
}

TLVSTD_API ycArchive& operator||(ycArchive& ar, ycXform<2>& x);
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycXform<3>& x);
TLVSTD_API ycArchive& operator||(ycArchive& ar, yc2Rigid& r);

#endif

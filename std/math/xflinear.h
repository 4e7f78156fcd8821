// The linear (affine) member of the transform family: p -> M p + t, with the
// meanings of ycXform<2>, to which it converts both ways.
//
// Composition (composeBase, this o R):
//   R linear            a new yc2XformLinear, this * R.linearXform((0, 0))
//   R polynomial        a copy of R with this folded into its coefficients
//                       (leftCompose), so a polynomial stays a polynomial
//   anything else       a yc2XformComposed of this and R
// linearXform(at) is a copy of this whatever `at`; inverseBase() and inverse()
// of a singular transform throw ycMathError::Singular.
//
// Archive form (below the yc2XformBase level): version byte 0, translation
// and matrix in their value forms. Canonical name "yc2XformLinear".
#ifndef TLVSTD_MATH_XFLINEAR_H
#define TLVSTD_MATH_XFLINEAR_H

#include "std/math/xfbase.h"
#include "std/math/xform.h"

class TLVSTD_API yc2XformLinear : public yc2XformBase {
public:
    // The identity.
    yc2XformLinear() = default;
    yc2XformLinear(const ycMatrix<2>& m, const ycVector<2>& trans) : x_(m, trans) {}
    yc2XformLinear(const ycVector<2>& trans, ycRadian xRot, ycRadian yRot, double xScale, double yScale)
        : x_(trans, xRot, yRot, xScale, yScale)
    {
    }
    yc2XformLinear(const ycVector<2>& trans, double scale, double aspect, ycRadian shear, ycRadian rotation)
        : x_(trans, scale, aspect, shear, rotation)
    {
    }
    // Explicit, so that mixed products of the two pick the value type's rule.
    explicit yc2XformLinear(const ycXform<2>& x) : x_(x) {}
    yc2XformLinear(const yc2XformLinear&) = default;
    ~yc2XformLinear() override;

    yc2XformLinear& operator=(const yc2XformLinear&) = default;
    yc2XformLinear& operator=(const ycXform<2>& x)
    {
        mutating();
        x_ = x;
        return *this;
    }
    operator const ycXform<2>&() const { return x_; }
    const ycXform<2>& xform() const { return x_; }

    const ycMatrix<2>& matrix() const { return x_.matrix(); }
    void matrix(const ycMatrix<2>& m)
    {
        mutating();
        x_.matrix(m);
    }
    const ycVector<2>& trans() const { return x_.trans(); }
    void trans(const ycVector<2>& t)
    {
        mutating();
        x_.trans(t);
    }

    ycRadian xRot() const { return x_.xRot(); }
    ycRadian yRot() const { return x_.yRot(); }
    double xScale() const { return x_.xScale(); }
    double yScale() const { return x_.yScale(); }
    double scale() const { return x_.scale(); }
    double aspect() const { return x_.aspect(); }
    ycRadian shear() const { return x_.shear(); }
    ycRadian rotation() const { return x_.rotation(); }
    bool isIdentity() const { return x_.isIdentity(); }
    bool isSingular() const { return x_.isSingular(); }

    ycVector<2> mapPoint(const ycVector<2>& p) const override { return x_.mapPoint(p); }
    ycVector<2> mapVector(const ycVector<2>& v) const { return x_.mapVector(v); }
    ycVector<2> invMapPoint(const ycVector<2>& p) const { return x_.invMapPoint(p); }
    ycVector<2> invMapVector(const ycVector<2>& v) const { return x_.invMapVector(v); }
    double mapArea(double a) const { return x_.mapArea(a); }
    double invMapArea(double a) const { return x_.invMapArea(a); }

    yc2XformLinear compose(const yc2XformLinear& b) const { return yc2XformLinear(x_ * b.x_); }
    yc2XformLinear inverse() const { return yc2XformLinear(x_.inverse()); }

    bool isLinear() const override { return true; }
    yc2XformLinear linearXform(const ycVector<2>& at) const override;
    ycPtrHandle<yc2XformBase> composeBase(const yc2XformBase& rhs) const override;
    ycPtrHandle<yc2XformBase> inverseBase() const override;
    ycPtrHandle<yc2XformBase> clone() const override;

    friend yc2XformLinear operator*(const yc2XformLinear& a, const yc2XformLinear& b) { return a.compose(b); }
    friend bool operator==(const yc2XformLinear& a, const yc2XformLinear& b) { return a.x_ == b.x_; }

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    void serialize_(ycArchive& ar, std::uint8_t version) override;

    ycXform<2> x_;
};

// Translations, then matrices.
inline bool yfRealEq(const yc2XformLinear& a, const yc2XformLinear& b, double eps)
{
    return yfRealEq(a.xform(), b.xform(), eps);
}

#endif

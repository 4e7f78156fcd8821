// The polynomial member of the transform family.
//
// Each output coordinate is a polynomial of total degree `degree` (1 to
// kMaxDegree) in x and y. Coefficients are listed by total degree k = 0, 1,
// ..., degree, and within one k by falling powers of x:
//     1,  x, y,  x^2, x y, y^2,  x^3, x^2 y, x y^2, y^3, ...
// so there are (degree + 1)(degree + 2) / 2 of them for each coordinate. A
// degree outside the range, a coefficient list of another length or a
// coefficient that is not finite throws yc2XformPoly::BadParams. The default
// is the identity of degree 1.
//
// isLinear() is true when every coefficient of degree 2 or more is exactly
// 0.0. linearXform(at) is the Jacobian at `at` with the translation that
// makes it agree with the transform there. leftCompose(L) applies L to the
// outputs (the coefficients mix through L's matrix, L's translation joins the
// constants); composeBase folds a linear right-hand side into the
// coefficients by substitution, and gives a yc2XformComposed otherwise.
// inverseBase() of a linear polynomial is the inverse of degree 1
// (yc2XformPoly::IllDefined when that is singular); the inverse of a non-linear
// polynomial is no polynomial, and asking for it throws
// yc2XformDefs::NotImplemented. So does the constructor that would fit the
// polynomial to point correspondences.
//
// Archive form (below the yc2XformBase level): version byte 0, the degree as
// a 32-bit integer, then the x and the y coefficients as doubles. A stored
// polynomial the constructor would refuse throws BadParams on loading and
// leaves the object as it was. Canonical name "yc2XformPoly".
#ifndef TLVSTD_MATH_XFPOLY_H
#define TLVSTD_MATH_XFPOLY_H

#include "std/except/except.h"
#include "std/math/xfbase.h"

#include <cstdint>
#include <vector>

class TLVSTD_API yc2XformPoly : public yc2XformBase {
public:
    ymError(BadParams, yc2XformDefs::Errors);
    ymError(IllDefined, yc2XformDefs::Errors);

    static constexpr int kMaxDegree = 16;
    static constexpr std::size_t coefficientCount(int degree)
    {
        return static_cast<std::size_t>(degree + 1) * static_cast<std::size_t>(degree + 2) / 2;
    }

    // The identity, of degree 1.
    yc2XformPoly();
    yc2XformPoly(int degree, std::vector<double> xCoefficients, std::vector<double> yCoefficients);
    // The affine map x, as a polynomial of the given degree.
    yc2XformPoly(int degree, const ycXform<2>& x);
    // Fitting to correspondences is not offered: throws yc2XformDefs::NotImplemented.
    yc2XformPoly(const std::vector<ycVector<2>>& from, const std::vector<ycVector<2>>& to, int degree);
    yc2XformPoly(const yc2XformPoly&) = default;
    yc2XformPoly& operator=(const yc2XformPoly&) = default;
    ~yc2XformPoly() override;

    int degree() const { return degree_; }
    const std::vector<double>& xCoefficients() const { return cx_; }
    const std::vector<double>& yCoefficients() const { return cy_; }

    // This becomes L o this.
    void leftCompose(const ycXform<2>& l);

    ycVector<2> mapPoint(const ycVector<2>& p) const override;
    bool isLinear() const override;
    yc2XformLinear linearXform(const ycVector<2>& at) const override;
    ycPtrHandle<yc2XformBase> composeBase(const yc2XformBase& rhs) const override;
    ycPtrHandle<yc2XformBase> inverseBase() const override;
    ycPtrHandle<yc2XformBase> clone() const override;

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    static constexpr const char* kSourceName = "std/math/xfpoly";

    void serialize_(ycArchive& ar, std::uint8_t version) override;
    static void check(int degree, const std::vector<double>& cx, const std::vector<double>& cy);

    std::int32_t degree_ = 1;
    std::vector<double> cx_;
    std::vector<double> cy_;
};

#endif

// The perspective member of the transform family: a plane homography.
//
// A 3x3 matrix H maps p = (x, y) to (u / w, v / w), where (u, v, w) = H (x, y, 1).
// H must have finite elements and a determinant other than exactly 0.0
// (yc2XformPerspectiveDefs::BadParams); H and any non-zero multiple of it are
// the same transform. A point whose w is exactly 0.0 maps to infinity:
// mapPoint throws yc2XformPerspectiveDefs::NumericalError there, and so does
// linearXform.
//
// isLinear() is true only when the bottom row is (0, 0, w) exactly, that is
// when the transform is affine. linearXform(at) is the Jacobian at `at`, with
// the translation that makes it agree with the transform at `at`.
// inverseBase() is the perspective transform of H^-1 (BadParams when that
// matrix is not finite). composeBase(R) folds a linear or perspective R into
// H when the product stays regular; other right-hand sides (and a singular
// linear one) give a yc2XformComposed. Note that a linear transform composed
// with a perspective one (linear on the left) stays a sequence: only the
// perspective side folds.
//
// Archive form (below the yc2XformBase level): version byte 0, then the nine
// elements of H row by row as doubles. A stored matrix that is not acceptable
// throws BadParams on loading and leaves the object as it was. Canonical
// name "yc2XformPerspective".
#ifndef TLVSTD_MATH_XFPERSP_H
#define TLVSTD_MATH_XFPERSP_H

#include "std/except/except.h"
#include "std/math/matrix.h"
#include "std/math/xfbase.h"

class yc2XformPerspectiveDefs {
public:
    ymErrorGroup(ycExceptionWithString);
    ymError(BadParams, Errors);
    ymError(NumericalError, Errors);
};

class TLVSTD_API yc2XformPerspective : public yc2XformBase, public yc2XformPerspectiveDefs {
public:
    // The identity.
    yc2XformPerspective() = default;
    explicit yc2XformPerspective(const ycMatrix<3>& h);
    // The same affine map, as a perspective transform.
    explicit yc2XformPerspective(const ycXform<2>& x);
    yc2XformPerspective(const yc2XformPerspective&) = default;
    yc2XformPerspective& operator=(const yc2XformPerspective&) = default;
    ~yc2XformPerspective() override;

    const ycMatrix<3>& matrix() const { return h_; }
    void matrix(const ycMatrix<3>& h);

    ycVector<2> mapPoint(const ycVector<2>& p) const override;
    bool isLinear() const override;
    yc2XformLinear linearXform(const ycVector<2>& at) const override;
    ycPtrHandle<yc2XformBase> composeBase(const yc2XformBase& rhs) const override;
    ycPtrHandle<yc2XformBase> inverseBase() const override;
    ycPtrHandle<yc2XformBase> clone() const override;

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    static constexpr const char* kSourceName = "std/math/xfpersp";

    void serialize_(ycArchive& ar, std::uint8_t version) override;
    // Throws BadParams unless h is acceptable.
    static void check(const ycMatrix<3>& h);

    ycMatrix<3> h_;
};

#endif

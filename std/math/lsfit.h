// Least-squares point-to-point fitting.
//
// ycLSPointToPointFitter finds the transform T with T(b) ~ a over pairs of
// target points a = (x1, y1) and source points b = (x2, y2), for four models:
//   fit(3)  rigid: rotation and translation
//   fit(4)  similarity: rotation, uniform scale, translation
//   fit(5)  rotation, two axis scales and translation (M = R diag(sx, sy):
//           the columns of M are orthogonal)
//   fit(6)  affine
// It never stores the points: it keeps the count and fourteen running sums,
// so points can be streamed in with update(), memory stays constant, and the
// residual of any transform, error(T) = sum |a - T(b)|^2, comes from the same
// sums. A failed fit leaves the sums as they were, so more points may be
// added and the fit tried again.
//
// Failures: a degree of freedom other than 3..6, or lists of different
// lengths, is BadArgErr; too few pairs (2 for rigid and similarity, 3 for the
// others), a division whose denominator is not larger than 1e-15 times its
// numerator, a rigid fit whose cross sums are both within 1e-15 of zero, or a
// five-parameter quadratic without a real root, is UnstableErr.
#ifndef TLVSTD_MATH_LSFIT_H
#define TLVSTD_MATH_LSFIT_H

#include "std/except/except.h"
#include "std/math/vector.h"
#include "std/math/xform.h"

#include <cstdint>
#include <vector>

class TLVSTD_API ycLSPointToPointFitter {
public:
    ymErrorGroup(ycException);
    ymError(UnstableErr, Errors);
    ymError(BadArgErr, Errors);

    ycLSPointToPointFitter() = default;
    ycLSPointToPointFitter(const std::vector<ycVector<2>>& targets, const std::vector<ycVector<2>>& sources);

    // Adds the pair (a target, b source).
    void update(const ycVector<2>& a, const ycVector<2>& b)
    {
        const double x1 = a.x(), y1 = a.y(), x2 = b.x(), y2 = b.y();
        ++n_;
        s_.x1 += x1;
        s_.y1 += y1;
        s_.x1x1 += x1 * x1;
        s_.y1y1 += y1 * y1;
        s_.x1y1 += x1 * y1;
        s_.x2 += x2;
        s_.y2 += y2;
        s_.x2x2 += x2 * x2;
        s_.y2y2 += y2 * y2;
        s_.x2y2 += x2 * y2;
        s_.x1x2 += x1 * x2;
        s_.x1y2 += x1 * y2;
        s_.y1x2 += y1 * x2;
        s_.y1y2 += y1 * y2;
    }
    void reset() { *this = ycLSPointToPointFitter(); }

    std::int32_t count() const { return n_; }
    ycXform<2> fit(int dof) const;
    double error(const ycXform<2>& t) const;

    // The fitter of the same pairs with every target mapped through `t`.
    friend TLVSTD_API ycLSPointToPointFitter operator*(const ycXform<2>& t, const ycLSPointToPointFitter& f);

private:
    struct Sums {
        double x1 = 0, y1 = 0, x1x1 = 0, y1y1 = 0, x1y1 = 0;
        double x2 = 0, y2 = 0, x2x2 = 0, y2y2 = 0, x2y2 = 0;
        double x1x2 = 0, x1y2 = 0, y1x2 = 0, y1y2 = 0;
    };
    // Second moments of the sources and cross moments, about the means.
    struct Centred {
        double sxx, sxy, syy, pxx, pxy, qyx, qyy;
    };

    ycXform<2> rigid() const;
    ycXform<2> similarity() const;
    ycXform<2> fiveParameter() const;
    ycXform<2> affine() const;
    Centred centred() const;
    ycXform<2> withTranslation(double m00, double m01, double m10, double m11) const;

    std::int32_t n_ = 0;
    Sums s_;
};

#endif

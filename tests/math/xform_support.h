// Shared pieces of the transform tests: random members of the family and
// numerical checks against them.
#ifndef TLVSTD_TESTS_MATH_XFORM_SUPPORT_H
#define TLVSTD_TESTS_MATH_XFORM_SUPPORT_H

#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

using Handle = ycPtrHandle<yc2XformBase>;
using Map = std::function<ycVector<2>(const ycVector<2>&)>;

inline double uniform(std::mt19937& rng, double lo, double hi)
{
    return std::uniform_real_distribution<double>(lo, hi)(rng);
}

inline ycVector<2> randomPoint(std::mt19937& rng, double r = 2.0)
{
    return ycVector<2>(uniform(rng, -r, r), uniform(rng, -r, r));
}

// Well conditioned: a rotation and scaling with a little shear.
inline ycXform<2> randomAffine(std::mt19937& rng)
{
    return ycXform<2>(randomPoint(rng, 5.0), uniform(rng, 0.5, 2.0), uniform(rng, 0.7, 1.4),
                      ycRadian(uniform(rng, -0.3, 0.3)), ycRadian(uniform(rng, -3.0, 3.0)));
}

inline Handle randomLinear(std::mt19937& rng)
{
    return Handle(new yc2XformLinear(randomAffine(rng)));
}

// A mild homography: w stays near 1 on the points the tests use.
inline Handle randomPerspective(std::mt19937& rng)
{
    ycXform<2> a = randomAffine(rng);
    const ycMatrix<2>& m = a.matrix();
    ycMatrix<3> h(m.element(0, 0), m.element(0, 1), a.trans().x(), m.element(1, 0), m.element(1, 1), a.trans().y(),
                  uniform(rng, -0.05, 0.05), uniform(rng, -0.05, 0.05), uniform(rng, 0.8, 1.2));
    return Handle(new yc2XformPerspective(h));
}

inline Handle randomPoly(std::mt19937& rng, int degree = 3)
{
    yc2XformPoly base(degree, randomAffine(rng));
    std::vector<double> cx = base.xCoefficients();
    std::vector<double> cy = base.yCoefficients();
    for (std::size_t n = 3; n < cx.size(); ++n) {
        cx[n] = uniform(rng, -0.02, 0.02);
        cy[n] = uniform(rng, -0.02, 0.02);
    }
    return Handle(new yc2XformPoly(degree, cx, cy));
}

inline ::testing::AssertionResult near(const ycVector<2>& a, const ycVector<2>& b, double tol)
{
    if (yfRealEq(a, b, tol) && std::isfinite(a.x()) && std::isfinite(a.y())) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.x() << ", " << a.y() << ") vs (" << b.x() << ", " << b.y()
                                         << ")";
}

// The first-order expansion of f at `at` by central differences.
inline ycXform<2> numericLinearization(const Map& f, const ycVector<2>& at)
{
    const double h = 1e-6;
    ycVector<2> dx = (f(at + ycVector<2>(h, 0)) - f(at - ycVector<2>(h, 0))) / (2 * h);
    ycVector<2> dy = (f(at + ycVector<2>(0, h)) - f(at - ycVector<2>(0, h))) / (2 * h);
    ycMatrix<2> j(dx.x(), dy.x(), dx.y(), dy.y());
    return ycXform<2>(j, f(at) - j * at);
}

// x agrees with f: mapping on random points and, at each, the linear form.
inline void expectAgrees(const yc2XformBase& x, const Map& f, std::mt19937& rng, const char* what)
{
    SCOPED_TRACE(what);
    for (int i = 0; i < 20; ++i) {
        ycVector<2> p = randomPoint(rng);
        EXPECT_TRUE(near(x.mapPoint(p), f(p), 1e-9));
        yc2XformLinear lin = x.linearXform(p);
        EXPECT_TRUE(near(lin.mapPoint(p), f(p), 1e-9));
        ycXform<2> num = numericLinearization(f, p);
        EXPECT_TRUE(yfRealEq(lin.matrix(), num.matrix(), 1e-6));
    }
}

#endif

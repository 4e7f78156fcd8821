#include "std/math/matrix.h"
#include "std/math/xform1.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

namespace {

using M2 = ycMatrix<2>;
using M3 = ycMatrix<3>;
using V2 = ycVector<2>;
using V3 = ycVector<3>;

double sumAbs(const M2& m)
{
    return std::fabs(m.element(0, 0)) + std::fabs(m.element(0, 1)) + std::fabs(m.element(1, 0)) +
           std::fabs(m.element(1, 1));
}

// Built by either decomposition constructor, a matrix gives its parameters
// back; and any non-singular matrix, every other one nearly singular, rebuilds
// from its decomposition. The (scale, aspect, shear, rotation) form loses
// accuracy as the matrix nears singularity, roughly by its condition.
TEST(Matrix, DecompositionRoundTrips)
{
    std::mt19937_64 rng(20240611), rngAny(7);
    std::uniform_real_distribution<double> angle(-3.14, 3.14), size(0.05, 20.0), shear(-1.5, 1.5);
    std::uniform_real_distribution<double> e(-10.0, 10.0), tiny(-1e-9, 1e-9);
    for (int i = 0; i < 4000; ++i) {
        if (i < 2000) {
            double xr = angle(rng), yr = angle(rng), xs = size(rng), ys = size(rng);
            M2 m{ycRadian(xr), ycRadian(yr), xs, ys};
            EXPECT_NEAR(m.xRot().plain(), xr, 1e-14);
            EXPECT_NEAR(m.yRot().plain(), yr, 1e-14);
            EXPECT_NEAR(m.xScale() / xs, 1.0, 1e-15);
            EXPECT_NEAR(m.yScale() / ys, 1.0, 1e-15);
            double s = size(rng), k = (i % 2 ? -1 : 1) * size(rng), h = shear(rng), r = angle(rng);
            M2 n{s, k, ycRadian(h), ycRadian(r)};
            EXPECT_NEAR(n.scale() / s, 1.0, 1e-15);
            EXPECT_NEAR(n.aspect() / k, 1.0, 1e-13);
            EXPECT_NEAR(n.shear().plain(), h, 1e-13);
            EXPECT_NEAR(n.rotation().plain(), r, 1e-14);
        }
        double a = e(rngAny), b = e(rngAny), c = e(rngAny);
        double d = i % 2 ? e(rngAny) : b * c / a + tiny(rngAny);
        M2 m(a, b, c, d);
        if (m.isSingular()) continue;
        double cond = sumAbs(m) * sumAbs(m) / std::fabs(m.determinant());
        M2 byAxes(m.xRot(), m.yRot(), m.xScale(), m.yScale());
        M2 byShear(m.scale(), m.aspect(), m.shear(), m.rotation());
        EXPECT_TRUE(yfRealEq(byAxes, m, 1e-14 * sumAbs(m))) << a << " " << b << " " << c << " " << d;
        EXPECT_TRUE(yfRealEq(byShear, m, 1e-15 * cond * sumAbs(m))) << a << " " << b << " " << c << " " << d;
    }
    EXPECT_NEAR(M2(ycDegree(30.0), ycDegree(30.0), 2.0, 3.0).shear().plain(), 0.0, 1e-15); // equal axes rotations
}

TEST(Matrix, SingularMeansADeterminantOfExactlyZero)
{
    const M2 singular(1, 2, 2, 4);
    const M3 singular3(1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_TRUE(singular.isSingular());
    const std::function<void()> calls[] = {
        [&] { (void)singular.inverse(); }, [&] { (void)singular.xRot(); },     [&] { (void)singular.yRot(); },
        [&] { (void)singular.xScale(); },  [&] { (void)singular.yScale(); },   [&] { (void)singular.scale(); },
        [&] { (void)singular.aspect(); },  [&] { (void)singular.shear(); },    [&] { (void)singular.rotation(); },
        [&] { (void)(M2() / singular); },  [&] { (void)singular3.inverse(); }, [&] { (void)singular3.xScale(); },
    };
    for (const auto& call : calls) EXPECT_THROW(call(), ycMathError::Singular);

    // Nearly singular inverts to large values; a determinant that underflows is zero.
    M2 near(1, 1, 1, 1 + DBL_EPSILON);
    EXPECT_FALSE(near.isSingular());
    EXPECT_NEAR(near.inverse().element(0, 0) * DBL_EPSILON, 1.0, 1e-15);
    EXPECT_TRUE(M2(1e-200, 0, 0, 1e-200).isSingular());

    // Dividing by zero is not checked.
    M2 inf = M2() / 0.0;
    EXPECT_EQ(inf.element(0, 0), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(inf.element(0, 1)));
}

TEST(Matrix, EveryMutationKeepsTheDeterminantTrue)
{
    const M2 base(1, 2, 3, 5); // determinant -1; every operation below changes it
    const M2 other(2, -1, 0.5, 3);
    const std::function<void(M2&)> ops[] = {
        [](M2& m) { m.element(1, 0, 7.0); },    [&](M2& m) { m += other; },
        [&](M2& m) { m -= other; },             [](M2& m) { m *= 3.0; },
        [](M2& m) { m /= 4.0; },                [&](M2& m) { m *= other; },
        [&](M2& m) { m /= other; },             [&](M2& m) { m = m * other; },
        [](M2& m) { m = m.inverse() * 3.0; },   [](M2& m) { m = -m + M2(); },
        [](M2& m) { m = m.transpose() * 2.0; }, [](M2& m) { m = M2(ycRadian(1), ycRadian(2), 3, 4); },
        [](M2& m) { m = M2(ymath_matrix{4, 3, 2, 7}); },
        [](M2& m) { m = M2(2.0, 0.5, ycRadian(0.3), ycRadian(-2)); },
    };
    for (std::size_t i = 0; i < std::size(ops); ++i) {
        M2 m = base;
        ops[i](m);
        EXPECT_NO_THROW(m.repInvariant()) << "operation " << i;
        EXPECT_NE(m.determinant(), base.determinant()) << "operation " << i;
    }

    M3 n(1, 2, 3, 4, 5, 6, 7, 8, 10);
    EXPECT_EQ(n.determinant(), -3.0);
    n.element(2, 2, 9.0);
    EXPECT_EQ(n.determinant(), 0.0);
    n = (-(n + M3()) * M3(2, 0, 0, 0, 3, 0, 0, 0, 4)).inverse().transpose() / 2.0;
    EXPECT_NO_THROW(n.repInvariant());
}

TEST(Matrix, EveryMutationKeepsTheDeterminantTrueIn3D)
{
    const M3 base(1, 2, 3, 4, 5, 6, 7, 8, 10); // determinant -3
    const M3 other(2, 0, 1, -1, 3, 0, 0.5, 0, 4);
    const std::function<void(M3&)> ops[] = {
        [](M3& m) { m.element(2, 1, 0.0); }, [&](M3& m) { m += other; },   [&](M3& m) { m -= other; },
        [](M3& m) { m *= 3.0; },              [](M3& m) { m /= 4.0; },      [&](M3& m) { m *= other; },
        [&](M3& m) { m /= other; },           [](M3& m) { m = m.inverse(); }, [](M3& m) { m = -m * 2.0; },
        [](M3& m) { m = m.transpose() + M3(); },
    };
    for (std::size_t i = 0; i < std::size(ops); ++i) {
        M3 m = base;
        ops[i](m);
        EXPECT_NO_THROW(m.repInvariant()) << "operation " << i;
        EXPECT_NE(m.determinant(), base.determinant()) << "operation " << i;
    }
    EXPECT_EQ(base.transpose(), M3(1, 4, 7, 2, 5, 8, 3, 6, 10));
    EXPECT_EQ(base.transpose().determinant(), -3.0);
    EXPECT_EQ(-base, base * -1.0);
    EXPECT_EQ(M3().determinant(), 1.0);
    EXPECT_EQ(base.xScale(), std::sqrt(1.0 + 16.0 + 49.0));
    EXPECT_EQ(base.yScale(), std::sqrt(4.0 + 25.0 + 64.0));
    // Row and column products with a general matrix, written out.
    V3 w(1, -1, 2);
    EXPECT_EQ(base * w, V3(1 - 2 + 6, 4 - 5 + 12, 7 - 8 + 20));
    EXPECT_EQ(w *= base, V3(1 - 4 + 14, 2 - 5 + 16, 3 - 6 + 20));
}

// The arithmetic stays usable in constant expressions.
static_assert(M2(1, 2, 3, 4) * M2(5, 6, 7, 8) == M2(19, 22, 43, 50) && M2(1, 2, 3, 4).determinant() == -2.0);
static_assert(M3().isIdentity() && (M3() * 2.0).determinant() == 8.0 && M2(1, 2, 3, 4).transpose() == M2(1, 3, 2, 4));
static_assert(M2(0, -1, 1, 0) * V2(1, 0) == V2(0, 1));

TEST(Matrix, ProductsInversesAndIndices)
{
    // M * v takes columns, v *= M rows.
    const M2 m(1, 2, 3, 4);
    const M3 n(1, 2, 3, 4, 5, 6, 7, 8, 10);
    V2 v(1, 0);
    V3 w(1, 0, 0);
    EXPECT_EQ(m * v, V2(1, 3));
    EXPECT_EQ(n * w, V3(1, 4, 7));
    EXPECT_EQ(v *= m, V2(1, 2));
    EXPECT_EQ(w *= n, V3(1, 2, 3));
    EXPECT_EQ(m * M2(5, 6, 7, 8), M2(19, 22, 43, 50));
    EXPECT_EQ(n.zScale(), std::sqrt(9.0 + 36.0 + 100.0));
    EXPECT_TRUE(M3().isIdentity());
    EXPECT_FALSE(M3(1, 0, 0, 0, 1, 0, 0, 1e-300, 1).isIdentity());
    const ymath_matrix raw = m;
    EXPECT_TRUE(raw.c == 3.0 && M2(raw).determinant() == -2.0);

    std::mt19937_64 rng(99);
    std::uniform_real_distribution<double> e(-5.0, 5.0);
    for (int i = 0; i < 500; ++i) {
        M2 a(e(rng), e(rng), e(rng), e(rng));
        M3 b(e(rng), e(rng), e(rng), e(rng), e(rng), e(rng), e(rng), e(rng), e(rng));
        double tol2 = 1e-14 * sumAbs(a) * sumAbs(a) / std::fabs(a.determinant());
        EXPECT_TRUE(yfRealEq(a * a.inverse(), M2(), tol2));
        EXPECT_TRUE(yfRealEq(a / a, M2(), tol2));
        EXPECT_TRUE(yfRealEq(b.inverse() * b, M3(), 1e-13 * 1000 / std::fabs(b.determinant())));
    }

    M2 k = m;
    EXPECT_THROW(k.element(2, 0), ycAssertFailure);
    EXPECT_THROW(k.element(0, -1, 9.0), ycAssertFailure);
    EXPECT_THROW(M3().element(0, 3), ycAssertFailure);
    EXPECT_TRUE(k == m && k.determinant() == -2.0);
}

TEST(Xform1, ComposesAppliesRightFirstAndInvertsExactlyWhenScaleIsNonZero)
{
    const yc1Xform a(2.0, 1.0), b(-3.0, 4.0);
    EXPECT_EQ(a.compose(b).mapPoint(5.0), a.mapPoint(b.mapPoint(5.0)));
    EXPECT_EQ(a * b, yc1Xform(-6.0, 9.0));
    EXPECT_EQ(a.invMapPoint(a * 7.0), 7.0);
    EXPECT_EQ(b.mapVector(1.0), -3.0);
    EXPECT_TRUE((a * a.inverse()).isIdentity());
    EXPECT_THROW(yc1Xform(0.0, 1.0).invMapPoint(1.0), ycMathError::Singular);
    EXPECT_NO_THROW(yc1Xform(1e-300, 1.0).inverse());
    EXPECT_TRUE(yfRealEq(a, yc1Xform(2.0625, 0.9375), 0.0625));
    EXPECT_FALSE(yfRealEq(a, yc1Xform(2.0, 1.125), 0.0625));
}

} // namespace

// Point-to-point fitting against exact data, against independent
// least-squares solutions on noisy data, and every failure.
#include "std/math/lsfit.h"
#include "std/math/polyroot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace {

using V = ycVector<2>;
using Pairs = std::vector<std::pair<V, V>>; // (target, source)
using L = long double;

ycLSPointToPointFitter fitterOf(const Pairs& pairs)
{
    ycLSPointToPointFitter f;
    for (const auto& [a, b] : pairs) f.update(a, b);
    return f;
}

double pointResidual(const Pairs& pairs, const ycXform<2>& t)
{
    L sum = 0;
    for (const auto& [a, b] : pairs) {
        V d = a - t.mapPoint(b);
        sum += static_cast<L>(d.x()) * d.x() + static_cast<L>(d.y()) * d.y();
    }
    return static_cast<double>(sum);
}

// Elements within `rel` of the larger of 1 and the largest matrix element,
// translation within `rel` of the larger of 1 and its length.
void expectNear(const ycXform<2>& got, const ycXform<2>& want, double rel)
{
    const ycMatrix<2>& g = got.matrix();
    const ycMatrix<2>& w = want.matrix();
    double scale = 1.0;
    for (int i = 0; i < 4; ++i) scale = std::max(scale, std::fabs(w.element(i / 2, i % 2)));
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(g.element(i / 2, i % 2), w.element(i / 2, i % 2), rel * scale) << i;
    double tScale = std::max(1.0, want.trans().len());
    EXPECT_NEAR(got.trans().x(), want.trans().x(), rel * tScale);
    EXPECT_NEAR(got.trans().y(), want.trans().y(), rel * tScale);
}

ycXform<2> rotScale(double degrees, double sx, double sy, V t)
{
    const double r = degrees * yc_kDegToRad;
    return ycXform<2>(ycMatrix<2>(std::cos(r), -std::sin(r), std::sin(r), std::cos(r)) * ycMatrix<2>(sx, 0, 0, sy), t);
}

TEST(SolveQuadratic, RootOrderAndDegenerateCases)
{
    struct Row { double a, b, c; int count; double r1, r2; } rows[] = {
        {1, -3, 2, 2, 1, 2}, {1, 3, 2, 2, -1, -2}, // smaller magnitude first
        {-1, 0, 4, 2, -2, 2},                      // b == 0 takes sign +1
        {1, -2, 1, 1, 1, 1}, {1, 0, 0, 1, 0, 0},   // double root
        {2, 0, 1, 0, 9, 9},                        // no real root: outputs untouched
        {0, 2, -4, 1, 2, 2}, {0, 0, 1, 0, 9, 9},   // linear
    };
    for (const Row& row : rows) {
        double r1 = 9, r2 = 9;
        EXPECT_EQ(yfSolveQuadratic(row.a, row.b, row.c, r1, r2), row.count) << row.a << " " << row.b << " " << row.c;
        EXPECT_DOUBLE_EQ(r1, row.r1);
        EXPECT_DOUBLE_EQ(r2, row.r2);
    }
    // No cancellation: x^2 + 1e8 x + 1 has a root near -1e-8, found to full precision.
    double r1 = 0, r2 = 0;
    yfSolveQuadratic(1, 1e8, 1, r1, r2);
    EXPECT_NEAR(r1, -1.0000000000000000e-8, 1e-24);
    EXPECT_NEAR(r2, -1e8, 1e-6);
}

TEST(PointToPointFit, ExactDataRecoversEachModel)
{
    const std::vector<V> sources = {{0, 0}, {4, 1}, {-2, 3}, {5, -6}, {1, 7}};
    std::vector<V> grid; // symmetric: the quadratic's leading coefficient is nearly zero
    for (int i = 0; i < 9; ++i) grid.emplace_back(i % 3 - 1, i / 3 - 1);
    struct Row { int dof; ycXform<2> truth; std::vector<V> sources; } rows[] = {
        {3, yc2Rigid(ycDegree(30), V(3, -1)).linear(), sources},
        {4, rotScale(-75, 2.5, 2.5, V(-4, 2)), sources},
        {5, rotScale(40, 1.5, 0.25, V(1, 8)), sources},
        {5, rotScale(30, 2, 0.5, V(3, -1)), grid},
        {6, ycXform<2>(ycMatrix<2>(1.5, 0.3, -0.7, 0.9), V(10, 20)), sources},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.dof);
        ycLSPointToPointFitter f;
        for (const V& b : row.sources) f.update(row.truth.mapPoint(b), b);
        expectNear(f.fit(row.dof), row.truth, 1e-12);
        EXPECT_NEAR(f.error(f.fit(row.dof)), 0.0, 1e-9); // the sums cancel to rounding
    }
    // A pure translation with two pairs.
    ycLSPointToPointFitter f = fitterOf({{V(3, 4), V(0, 0)}, {V(4, 4), V(1, 0)}});
    for (int dof : {3, 4}) expectNear(f.fit(dof), ycXform<2>(ycMatrix<2>(), V(3, 4)), 1e-15);
}

// Independent solutions, by another method than the fitter's sums: the
// normal equations of the points themselves, in long double. Each equation
// is a row of coefficients of the unknowns and the value the row should give.
template <std::size_t N>
using Equations = std::vector<std::pair<std::array<L, N>, L>>;

template <std::size_t N>
std::array<double, N> leastSquares(const Equations<N>& eqs)
{
    L m[N][N + 1] = {};
    for (const auto& [row, value] : eqs) {
        for (std::size_t i = 0; i < N; ++i) {
            for (std::size_t j = 0; j < N; ++j) m[i][j] += row[i] * row[j];
            m[i][N] += row[i] * value;
        }
    }
    for (std::size_t c = 0; c < N; ++c) { // positive definite: no pivoting needed
        for (std::size_t r = 0; r < N; ++r) {
            const L k = r == c ? 0 : m[r][c] / m[c][c];
            for (std::size_t j = c; j <= N; ++j) m[r][j] -= k * m[c][j];
        }
    }
    std::array<double, N> x;
    for (std::size_t i = 0; i < N; ++i) x[i] = static_cast<double>(m[i][N] / m[i][i]);
    return x;
}

// 3 and 4: a x - b y + tx, b x + a y + ty; the rigid rotation is the
// similarity's at unit length, about the centroids. 6: affine. 5: for a fixed
// angle, two straight-line regressions of R^T a on b; the angle is where the
// residual's derivative changes sign near the best of a fine scan.
ycXform<2> independentFit(const Pairs& p, int dof)
{
    Equations<4> eq4;
    Equations<6> eq6;
    V ma, mb;
    for (const auto& [a, b] : p) {
        eq4.push_back({{b.x(), -b.y(), 1, 0}, a.x()});
        eq4.push_back({{b.y(), b.x(), 0, 1}, a.y()});
        eq6.push_back({{b.x(), b.y(), 1, 0, 0, 0}, a.x()});
        eq6.push_back({{0, 0, 0, b.x(), b.y(), 1}, a.y()});
        ma += a / static_cast<double>(p.size());
        mb += b / static_cast<double>(p.size());
    }
    if (dof == 6) {
        const auto x = leastSquares(eq6);
        return ycXform<2>(ycMatrix<2>(x[0], x[1], x[3], x[4]), V(x[2], x[5]));
    }
    if (dof < 5) {
        const auto [c, s, tx, ty] = leastSquares(eq4);
        const double k = dof == 3 ? 1 / std::hypot(c, s) : 1;
        const ycMatrix<2> m(k * c, -k * s, k * s, k * c);
        return ycXform<2>(m, dof == 3 ? ma - m * mb : V(tx, ty));
    }
    L cov[2][2] = {}, var[2] = {}; // centred: cov[i][j] of source coordinate i with target coordinate j
    for (const auto& [a, b] : p) {
        const L da[2] = {a.x() - ma.x(), a.y() - ma.y()}, db[2] = {b.x() - mb.x(), b.y() - mb.y()};
        for (int i = 0; i < 2; ++i) {
            var[i] += db[i] * db[i];
            for (int j = 0; j < 2; ++j) cov[i][j] += db[i] * da[j];
        }
    }
    auto best = [&](double theta) {
        const double c = std::cos(theta), s = std::sin(theta);
        const double sx = static_cast<double>((c * cov[0][0] + s * cov[0][1]) / var[0]);
        const double sy = static_cast<double>((c * cov[1][1] - s * cov[1][0]) / var[1]);
        const ycMatrix<2> m = ycMatrix<2>(c, -s, s, c) * ycMatrix<2>(sx, 0, 0, sy);
        return ycXform<2>(m, ma - m * mb);
    };
    auto residual = [&](double theta) { return pointResidual(p, best(theta)); };
    const double step = yc_kPi / 720;
    double bestTheta = 0, bestValue = residual(0);
    for (double t = step; t < yc_kPi; t += step) {
        if (double v = residual(t); v < bestValue) bestValue = v, bestTheta = t;
    }
    double lo = bestTheta - step, hi = bestTheta + step;
    for (int i = 0; i < 100; ++i) {
        const double mid = 0.5 * (lo + hi);
        (residual(mid + 1e-6) > residual(mid - 1e-6) ? hi : lo) = mid;
    }
    return best(0.5 * (lo + hi));
}

TEST(PointToPointFit, NoisyDataAgreesWithIndependentSolutions)
{
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> coord(-100, 100), angle(-180, 180), scale(0.3, 3);
    std::normal_distribution<double> noise(0, 0.5);
    for (int trial = 0; trial < 40; ++trial) {
        SCOPED_TRACE(trial);
        ycXform<2> truth = rotScale(angle(rng), scale(rng), scale(rng), V(coord(rng), coord(rng)));
        Pairs pairs;
        for (int i = 0; i < 30; ++i) {
            V b(coord(rng), coord(rng));
            pairs.emplace_back(truth.mapPoint(b) + V(noise(rng), noise(rng)), b);
        }
        ycLSPointToPointFitter f = fitterOf(pairs);
        double e[4];
        for (int k = 0; k < 4; ++k) {
            SCOPED_TRACE(k + 3);
            const ycXform<2> fit = f.fit(k + 3);
            const ycXform<2> independent = independentFit(pairs, k + 3);
            expectNear(fit, independent, k == 2 ? 1e-8 : 1e-9);
            e[k] = f.error(fit);
            const double byPoints = pointResidual(pairs, fit);
            EXPECT_NEAR(e[k], byPoints, 1e-9 * byPoints);
            EXPECT_NEAR(byPoints, pointResidual(pairs, independent), 1e-9 * byPoints);
        }
        const ycMatrix<2> m5 = f.fit(5).matrix(); // orthogonal columns
        EXPECT_NEAR(m5.element(0, 0) * m5.element(0, 1) + m5.element(1, 0) * m5.element(1, 1), 0.0, 1e-9);
        for (int k = 1; k < 4; ++k) EXPECT_LE(e[k], e[k - 1] * (1 + 1e-12)) << k; // more freedom, no larger error
    }
}

// Mapping the targets through a transform, by the sums or point by point.
TEST(PointToPointFit, MappingTheSumsIsMappingThePoints)
{
    const Pairs pairs = {{V(1, 2), V(0, 1)}, {V(-3, 5), V(2, 2)}, {V(7, -1), V(-4, 3)}, {V(0.5, 0.25), V(1, -1)}};
    const ycXform<2> moved(ycMatrix<2>(2, 1, -1, 3), V(4, -5)), t(ycMatrix<2>(0.8, -0.3, 0.2, 1.1), V(0.5, -2));
    Pairs movedPairs;
    for (const auto& [a, b] : pairs) movedPairs.emplace_back(moved.mapPoint(a), b);
    ycLSPointToPointFitter byPoints = fitterOf(movedPairs), bySums = moved * fitterOf(pairs);
    for (int dof = 3; dof <= 6; ++dof) expectNear(bySums.fit(dof), byPoints.fit(dof), 1e-12);
    EXPECT_NEAR(bySums.error(t), byPoints.error(t), 1e-9);
    EXPECT_NEAR(byPoints.error(t), pointResidual(movedPairs, t), 1e-9);
    byPoints.reset();
    EXPECT_EQ(byPoints.count(), 0);
}

TEST(PointToPointFit, FailuresLeaveTheSumsAlone)
{
    using Unstable = ycLSPointToPointFitter::UnstableErr;
    using BadArg = ycLSPointToPointFitter::BadArgErr;
    EXPECT_THROW(ycLSPointToPointFitter({V(0, 0)}, {}), BadArg);
    ycLSPointToPointFitter none;
    for (int dof : {2, 7, 0, -1}) EXPECT_THROW(none.fit(dof), BadArg);

    ycLSPointToPointFitter one({V(1, 1)}, {V(0, 0)});
    // Identical sources: no rotation, scale or shape can be told.
    ycLSPointToPointFitter same({V(1, 1), V(2, 3), V(4, 0)}, {V(5, 5), V(5, 5), V(5, 5)});
    for (int dof = 3; dof <= 6; ++dof) {
        EXPECT_THROW(one.fit(dof), Unstable) << dof;
        EXPECT_THROW(same.fit(dof), Unstable) << dof;
    }
    // Collinear sources: the affine fit cannot tell the second axis.
    ycLSPointToPointFitter line({V(1, 1), V(2, 3), V(4, 0)}, {V(0, 0), V(1, 1), V(2, 2)});
    EXPECT_THROW(line.fit(6), Unstable);
    EXPECT_NO_THROW(line.fit(4));

    // After a failure the fitter takes more points and succeeds.
    one.update(V(2, 1), V(1, 0));
    expectNear(one.fit(3), ycXform<2>(ycMatrix<2>(), V(1, 1)), 1e-15);
}

} // namespace

// Point-to-point fitting against exact data, against independent
// least-squares solutions on noisy data, and every failure.
#include "std/math/lsfit.h"
#include "std/math/polyroot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <random>

namespace {

using V = ycVector<2>;
using Pairs = std::vector<std::pair<V, V>>; // (target, source)

ycLSPointToPointFitter fitterOf(const Pairs& pairs)
{
    ycLSPointToPointFitter f;
    for (const auto& [a, b] : pairs) f.update(a, b);
    return f;
}

double pointResidual(const Pairs& pairs, const ycXform<2>& t)
{
    long double sum = 0;
    for (const auto& [a, b] : pairs) {
        V d = a - t.mapPoint(b);
        sum += static_cast<long double>(d.x()) * d.x() + static_cast<long double>(d.y()) * d.y();
    }
    return static_cast<double>(sum);
}

void expectNear(const ycXform<2>& got, const ycXform<2>& want, double rel)
{
    double scale = 1.0;
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) scale = std::max(scale, std::fabs(want.matrix().element(r, c)));
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c)
            EXPECT_NEAR(got.matrix().element(r, c), want.matrix().element(r, c), rel * scale) << r << c;
    double tScale = std::max(1.0, want.trans().len());
    EXPECT_NEAR(got.trans().x(), want.trans().x(), rel * tScale);
    EXPECT_NEAR(got.trans().y(), want.trans().y(), rel * tScale);
}

ycXform<2> rotScale(double degrees, double sx, double sy, V t)
{
    double r = degrees * yc_kDegToRad;
    ycMatrix<2> rot(std::cos(r), -std::sin(r), std::sin(r), std::cos(r));
    return ycXform<2>(rot * ycMatrix<2>(sx, 0, 0, sy), t);
}

Pairs mapped(const ycXform<2>& t, const std::vector<V>& sources)
{
    Pairs out;
    for (const V& b : sources) out.emplace_back(t.mapPoint(b), b);
    return out;
}

std::vector<V> grid3()
{
    std::vector<V> g;
    for (int y = -1; y <= 1; ++y)
        for (int x = -1; x <= 1; ++x) g.emplace_back(x, y);
    return g;
}

TEST(SolveQuadratic, RootOrderAndDegenerateCases)
{
    struct Row {
        double a, b, c;
        int count;
        double r1, r2;
    } rows[] = {
        {1, -3, 2, 2, 1, 2},        // smaller magnitude first
        {1, 3, 2, 2, -1, -2},
        {-1, 0, 4, 2, -2, 2},       // b == 0 takes sign +1
        {1, -2, 1, 1, 1, 1},        // double root
        {1, 0, 0, 1, 0, 0},
        {2, 0, 1, 0, 9, 9},         // no real root: outputs untouched
        {0, 2, -4, 1, 2, 2},        // linear
        {0, 0, 1, 0, 9, 9},
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
    std::vector<V> sources = {{0, 0}, {4, 1}, {-2, 3}, {5, -6}, {1, 7}};
    struct Row {
        int dof;
        ycXform<2> truth;
        std::vector<V> sources;
    } rows[] = {
        {3, yc2Rigid(ycDegree(30), V(3, -1)).linear(), sources},
        {4, rotScale(-75, 2.5, 2.5, V(-4, 2)), sources},
        {5, rotScale(40, 1.5, 0.25, V(1, 8)), sources},
        // Symmetric grid: the quadratic's leading coefficient is nearly zero.
        {5, rotScale(30, 2, 0.5, V(3, -1)), grid3()},
        {6, ycXform<2>(ycMatrix<2>(1.5, 0.3, -0.7, 0.9), V(10, 20)), sources},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.dof);
        ycLSPointToPointFitter f = fitterOf(mapped(row.truth, row.sources));
        expectNear(f.fit(row.dof), row.truth, 1e-12);
        EXPECT_NEAR(f.error(f.fit(row.dof)), 0.0, 1e-9); // the sums cancel to rounding
    }
    // A pure translation with two pairs.
    ycLSPointToPointFitter f = fitterOf({{V(3, 4), V(0, 0)}, {V(4, 4), V(1, 0)}});
    for (int dof : {3, 4}) expectNear(f.fit(dof), ycXform<2>(ycMatrix<2>(), V(3, 4)), 1e-15);
}

// Independent solutions, each by another method than the fitter's sums.
ycXform<2> procrustes(const Pairs& p, bool withScale)
{
    std::complex<long double> m1, m2;
    for (const auto& [a, b] : p) {
        m1 += std::complex<long double>(a.x(), a.y());
        m2 += std::complex<long double>(b.x(), b.y());
    }
    m1 /= static_cast<long double>(p.size());
    m2 /= static_cast<long double>(p.size());
    std::complex<long double> num;
    long double den = 0;
    for (const auto& [a, b] : p) {
        auto za = std::complex<long double>(a.x(), a.y()) - m1;
        auto zb = std::complex<long double>(b.x(), b.y()) - m2;
        num += za * std::conj(zb);
        den += std::norm(zb);
    }
    std::complex<long double> w = withScale ? num / den : num / std::abs(num);
    std::complex<long double> t = m1 - w * m2;
    return ycXform<2>(ycMatrix<2>(static_cast<double>(w.real()), static_cast<double>(-w.imag()),
                                  static_cast<double>(w.imag()), static_cast<double>(w.real())),
                      V(static_cast<double>(t.real()), static_cast<double>(t.imag())));
}

// Affine by the normal equations of each output coordinate.
ycXform<2> normalEquations(const Pairs& p)
{
    long double g[3][3] = {}, hx[3] = {}, hy[3] = {};
    for (const auto& [a, b] : p) {
        long double row[3] = {b.x(), b.y(), 1};
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) g[i][j] += row[i] * row[j];
            hx[i] += row[i] * a.x();
            hy[i] += row[i] * a.y();
        }
    }
    auto solve = [&](const long double (&h)[3]) {
        long double m[3][4];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) m[i][j] = g[i][j];
            m[i][3] = h[i];
        }
        for (int c = 0; c < 3; ++c) {
            int pivot = c;
            for (int r = c + 1; r < 3; ++r)
                if (std::fabs(m[r][c]) > std::fabs(m[pivot][c])) pivot = r;
            std::swap(m[c], m[pivot]);
            for (int r = 0; r < 3; ++r) {
                if (r == c) continue;
                long double k = m[r][c] / m[c][c];
                for (int j = c; j < 4; ++j) m[r][j] -= k * m[c][j];
            }
        }
        return std::array<double, 3>{static_cast<double>(m[0][3] / m[0][0]), static_cast<double>(m[1][3] / m[1][1]),
                                     static_cast<double>(m[2][3] / m[2][2])};
    };
    auto x = solve(hx), y = solve(hy);
    return ycXform<2>(ycMatrix<2>(x[0], x[1], y[0], y[1]), V(x[2], y[2]));
}

// Rotation and two axis scales: for a fixed angle the rest is two straight-line
// regressions; the angle is where the residual's derivative changes sign.
ycXform<2> searchFiveParameter(const Pairs& p)
{
    auto best = [&](double theta) {
        double c = std::cos(theta), s = std::sin(theta);
        long double sb[2] = {}, sbb[2] = {}, su[2] = {}, sbu[2] = {};
        for (const auto& [a, b] : p) {
            long double u[2] = {c * a.x() + s * a.y(), -s * a.x() + c * a.y()}; // R^T a
            long double bb[2] = {b.x(), b.y()};
            for (int k = 0; k < 2; ++k) {
                sb[k] += bb[k];
                sbb[k] += bb[k] * bb[k];
                su[k] += u[k];
                sbu[k] += bb[k] * u[k];
            }
        }
        long double n = static_cast<long double>(p.size()), scale[2], off[2];
        for (int k = 0; k < 2; ++k) {
            scale[k] = (n * sbu[k] - sb[k] * su[k]) / (n * sbb[k] - sb[k] * sb[k]);
            off[k] = (su[k] - scale[k] * sb[k]) / n;
        }
        ycMatrix<2> rot(c, -s, s, c);
        ycXform<2> x(rot * ycMatrix<2>(static_cast<double>(scale[0]), 0, 0, static_cast<double>(scale[1])),
                     rot * V(static_cast<double>(off[0]), static_cast<double>(off[1])));
        return x;
    };
    auto residual = [&](double theta) { return pointResidual(p, best(theta)); };
    double lo = 0, step = yc_kPi / 720, bestTheta = 0, bestValue = residual(0);
    for (double t = step; t < yc_kPi; t += step) {
        double v = residual(t);
        if (v < bestValue) bestValue = v, bestTheta = t;
    }
    auto slope = [&](double t) { return (residual(t + 1e-6) - residual(t - 1e-6)) / 2e-6; };
    lo = bestTheta - step;
    double hi = bestTheta + step;
    for (int i = 0; i < 100; ++i) {
        double mid = 0.5 * (lo + hi);
        (slope(mid) > 0 ? hi : lo) = mid;
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
        const ycXform<2> fits[] = {f.fit(3), f.fit(4), f.fit(5), f.fit(6)};
        const ycXform<2> independent[] = {procrustes(pairs, false), procrustes(pairs, true),
                                          searchFiveParameter(pairs), normalEquations(pairs)};
        for (int k = 0; k < 4; ++k) {
            SCOPED_TRACE(k + 3);
            expectNear(fits[k], independent[k], k == 2 ? 1e-8 : 1e-9);
            double byPoints = pointResidual(pairs, fits[k]);
            EXPECT_NEAR(f.error(fits[k]), byPoints, 1e-9 * byPoints);
            EXPECT_NEAR(byPoints, pointResidual(pairs, independent[k]), 1e-9 * byPoints);
        }
        const ycMatrix<2>& m5 = fits[2].matrix();
        EXPECT_NEAR(m5.element(0, 0) * m5.element(0, 1) + m5.element(1, 0) * m5.element(1, 1), 0.0, 1e-9);
        double e[4];
        for (int k = 0; k < 4; ++k) e[k] = f.error(fits[k]);
        EXPECT_LE(e[3], e[2] * (1 + 1e-12));
        EXPECT_LE(e[2], e[1] * (1 + 1e-12));
        EXPECT_LE(e[1], e[0] * (1 + 1e-12));
    }
}

TEST(PointToPointFit, ResidualAndMappingFromTheSums)
{
    Pairs pairs = {{V(1, 2), V(0, 1)}, {V(-3, 5), V(2, 2)}, {V(7, -1), V(-4, 3)}, {V(0.5, 0.25), V(1, -1)}};
    ycLSPointToPointFitter f = fitterOf(pairs);
    ycXform<2> t(ycMatrix<2>(0.8, -0.3, 0.2, 1.1), V(0.5, -2));
    EXPECT_NEAR(f.error(t), pointResidual(pairs, t), 1e-12);

    // Mapping the targets through a transform, by the sums or point by point.
    ycXform<2> moved(ycMatrix<2>(2, 1, -1, 3), V(4, -5));
    Pairs movedPairs;
    for (const auto& [a, b] : pairs) movedPairs.emplace_back(moved.mapPoint(a), b);
    ycLSPointToPointFitter byPoints = fitterOf(movedPairs), bySums = moved * f;
    for (int dof = 3; dof <= 6; ++dof) expectNear(bySums.fit(dof), byPoints.fit(dof), 1e-12);
    EXPECT_NEAR(bySums.error(t), byPoints.error(t), 1e-9);

    ycLSPointToPointFitter copy = f;
    copy.update(V(9, 9), V(1, 1));
    EXPECT_EQ(copy.count(), 5);
    EXPECT_EQ(f.count(), 4);
    copy = f;
    expectNear(copy.fit(6), f.fit(6), 0);
    copy.reset();
    EXPECT_EQ(copy.count(), 0);
}

TEST(PointToPointFit, FailuresLeaveTheSumsAlone)
{
    using Unstable = ycLSPointToPointFitter::UnstableErr;
    using BadArg = ycLSPointToPointFitter::BadArgErr;
    EXPECT_THROW(ycLSPointToPointFitter({V(0, 0)}, {}), BadArg);
    ycLSPointToPointFitter none;
    for (int dof : {2, 7, 0, -1}) EXPECT_THROW(none.fit(dof), BadArg);

    ycLSPointToPointFitter one({V(1, 1)}, {V(0, 0)});
    for (int dof = 3; dof <= 6; ++dof) EXPECT_THROW(one.fit(dof), Unstable) << dof;

    // Identical sources: no rotation, scale or shape can be told.
    ycLSPointToPointFitter same({V(1, 1), V(2, 3), V(4, 0)}, {V(5, 5), V(5, 5), V(5, 5)});
    for (int dof = 3; dof <= 6; ++dof) EXPECT_THROW(same.fit(dof), Unstable) << dof;
    // Collinear sources: the affine fit cannot tell the second axis.
    ycLSPointToPointFitter line({V(1, 1), V(2, 3), V(4, 0)}, {V(0, 0), V(1, 1), V(2, 2)});
    EXPECT_THROW(line.fit(6), Unstable);
    EXPECT_NO_THROW(line.fit(4));

    // After a failure the fitter takes more points and succeeds.
    one.update(V(2, 1), V(1, 0));
    expectNear(one.fit(3), ycXform<2>(ycMatrix<2>(), V(1, 1)), 1e-15);
}

} // namespace

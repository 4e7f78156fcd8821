// Vector and matrix arithmetic through the value types, against the same
// arithmetic written out on plain doubles. The value types should cost
// nothing: each pair of benchmarks should run at the same speed.
#include "std/math/matrix.h"
#include "std/math/vector.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kPoints = 4096;

struct Points {
    std::vector<double> x, y, u, v;
    Points()
    {
        std::mt19937_64 rng(1);
        std::uniform_real_distribution<double> d(-100.0, 100.0);
        for (int i = 0; i < kPoints; ++i) {
            x.push_back(d(rng));
            y.push_back(d(rng));
            u.push_back(d(rng));
            v.push_back(d(rng));
        }
    }
};

const Points& points()
{
    static const Points p;
    return p;
}

std::vector<ycVector<2>> vectors(const std::vector<double>& x, const std::vector<double>& y)
{
    std::vector<ycVector<2>> out;
    for (std::size_t i = 0; i < x.size(); ++i) out.emplace_back(x[i], y[i]);
    return out;
}

// The same points as x0 y0 x1 y1 ..., the layout of a vector of ycVector<2>.
std::vector<double> interleaved(const std::vector<double>& x, const std::vector<double>& y)
{
    std::vector<double> out;
    for (std::size_t i = 0; i < x.size(); ++i) out.insert(out.end(), {x[i], y[i]});
    return out;
}

// Mapping points: q = M p + t.
void MapPointsValues(benchmark::State& state)
{
    const auto p = vectors(points().x, points().y);
    const ycMatrix<2> m(0.8, -0.6, 0.6, 0.8);
    const ycVector<2> t(3.0, -4.0);
    std::vector<ycVector<2>> q(p.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < p.size(); ++i) q[i] = m * p[i] + t;
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void MapPointsPlain(benchmark::State& state)
{
    const auto p = interleaved(points().x, points().y);
    const double a = 0.8, b = -0.6, c = 0.6, d = 0.8, tx = 3.0, ty = -4.0;
    std::vector<double> q(2 * kPoints);
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i) {
            double x = p[2 * i], y = p[2 * i + 1];
            q[2 * i] = a * x + b * y + tx;
            q[2 * i + 1] = c * x + d * y + ty;
        }
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// Vector expressions reduced to a scalar: sum of (p - w).(p + w) / 2 + p x w.
void VectorOpsValues(benchmark::State& state)
{
    const auto p = vectors(points().x, points().y);
    const auto w = vectors(points().u, points().v);
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t i = 0; i < p.size(); ++i) sum += ((p[i] - w[i]) * (p[i] + w[i])) * 0.5 + p[i].cross(w[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void VectorOpsPlain(benchmark::State& state)
{
    const auto p = interleaved(points().x, points().y);
    const auto w = interleaved(points().u, points().v);
    for (auto _ : state) {
        double sum = 0.0;
        for (int i = 0; i < kPoints; ++i) {
            double px = p[2 * i], py = p[2 * i + 1], wx = w[2 * i], wy = w[2 * i + 1];
            double dx = px - wx, dy = py - wy;
            double ex = px + wx, ey = py + wy;
            sum += (dx * ex + dy * ey) * 0.5 + (px * wy - py * wx);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// Normalising vectors and taking lengths.
void UnitLengthValues(benchmark::State& state)
{
    const auto p = vectors(points().x, points().y);
    std::vector<ycVector<2>> q(p.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < p.size(); ++i) q[i] = p[i].unit() * p[i].distance(q[i]);
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void UnitLengthPlain(benchmark::State& state)
{
    const auto p = interleaved(points().x, points().y);
    std::vector<double> q(2 * kPoints);
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i) {
            double x = p[2 * i], y = p[2 * i + 1];
            double r = 1.0 / std::sqrt(x * x + y * y);
            double dx = x - q[2 * i], dy = y - q[2 * i + 1];
            double l = std::sqrt(dx * dx + dy * dy);
            q[2 * i] = x * r * l;
            q[2 * i + 1] = y * r * l;
        }
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// A chain of products. The matrix keeps its determinant, so the plain version
// computes it too (without it the plain loop does 2 of 14 operations less).
void ComposeValues(benchmark::State& state)
{
    std::vector<ycMatrix<2>> r;
    for (int i = 0; i < kPoints; ++i) r.emplace_back(ycRadian(points().x[i]), ycRadian(points().x[i]), 1.0, 1.0);
    for (auto _ : state) {
        ycMatrix<2> m;
        for (const auto& ri : r) m = m * ri;
        benchmark::DoNotOptimize(m);
        benchmark::DoNotOptimize(m.determinant());
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void ComposePlain(benchmark::State& state)
{
    std::vector<double> r;
    for (int i = 0; i < kPoints; ++i) {
        double c = std::cos(points().x[i]), s = std::sin(points().x[i]);
        r.insert(r.end(), {c, -s, s, c});
    }
    for (auto _ : state) {
        double a = 1, b = 0, c = 0, d = 1, det = 1;
        for (int i = 0; i < kPoints; ++i) {
            const double* q = &r[4 * i];
            double na = a * q[0] + b * q[2], nb = a * q[1] + b * q[3];
            double nc = c * q[0] + d * q[2], nd = c * q[1] + d * q[3];
            a = na;
            b = nb;
            c = nc;
            d = nd;
            det = a * d - b * c;
        }
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(c);
        benchmark::DoNotOptimize(d);
        benchmark::DoNotOptimize(det);
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

// Inverting and applying: q = M^-1 p for a different M each time.
void InverseMapValues(benchmark::State& state)
{
    const auto p = vectors(points().x, points().y);
    std::vector<ycMatrix<2>> m;
    for (int i = 0; i < kPoints; ++i) m.emplace_back(points().x[i], points().y[i], points().u[i], points().v[i]);
    std::vector<ycVector<2>> q(p.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < p.size(); ++i) q[i] = m[i].inverse() * p[i];
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

void InverseMapPlain(benchmark::State& state)
{
    const auto& s = points();
    const auto p = interleaved(s.x, s.y);
    // The elements and the determinant, as the matrix keeps them.
    std::vector<double> m;
    for (int i = 0; i < kPoints; ++i) m.insert(m.end(), {s.x[i], s.y[i], s.u[i], s.v[i], s.x[i] * s.v[i] - s.y[i] * s.u[i]});
    std::vector<double> q(2 * kPoints);
    for (auto _ : state) {
        for (int i = 0; i < kPoints; ++i) {
            const double* e = &m[5 * i];
            if (e[4] == 0.0) throw ycMathError::Singular();
            double t = 1.0 / e[4];
            double a = e[3] * t, b = -e[1] * t, c = -e[2] * t, d = e[0] * t;
            double x = p[2 * i], y = p[2 * i + 1];
            q[2 * i] = a * x + b * y;
            q[2 * i + 1] = c * x + d * y;
        }
        benchmark::DoNotOptimize(q.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
}

BENCHMARK(MapPointsValues);
BENCHMARK(MapPointsPlain);
BENCHMARK(VectorOpsValues);
BENCHMARK(VectorOpsPlain);
BENCHMARK(UnitLengthValues);
BENCHMARK(UnitLengthPlain);
BENCHMARK(ComposeValues);
BENCHMARK(ComposePlain);
BENCHMARK(InverseMapValues);
BENCHMARK(InverseMapPlain);

} // namespace

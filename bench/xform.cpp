// Mapping points through transforms, in points per second: the value
// transform, the linear member through its virtual mapPoint, a sequence of
// three linear members (folded into one affine map when built), and a
// perspective member, each beside the same arithmetic written by hand on
// bare doubles.
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xform.h"
#include "std/math/xfpersp.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

constexpr std::size_t kPoints = 4096;

struct Affine {
    double a, b, c, d, tx, ty;
};

const Affine kAffines[3] = {
    {0.9, -0.3, 0.3, 0.9, 5.0, -2.0},
    {1.5, 0.1, 0.0, 0.7, -1.0, 3.0},
    {0.5, 0.5, -0.5, 0.5, 0.25, 0.75},
};
const double kHomography[9] = {0.9, -0.3, 5.0, 0.3, 0.9, -2.0, 0.001, 0.002, 1.0};

ycXform<2> valueOf(const Affine& f)
{
    return ycXform<2>(ycMatrix<2>(f.a, f.b, f.c, f.d), ycVector<2>(f.tx, f.ty));
}

const std::vector<ycVector<2>>& points()
{
    static const std::vector<ycVector<2>> pts = [] {
        std::vector<ycVector<2>> v(kPoints);
        for (std::size_t i = 0; i < kPoints; ++i) v[i] = ycVector<2>(double(i % 64), double(i / 64));
        return v;
    }();
    return pts;
}

void report(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
}

// The base pointer passes through an opaque barrier, so the compiler cannot
// see the dynamic type and calls through the virtual table.
const yc2XformBase* opaque(const yc2XformBase* x)
{
    benchmark::DoNotOptimize(x);
    return x;
}

template <class F>
void run(benchmark::State& state, F map)
{
    const auto& in = points();
    std::vector<ycVector<2>> out(kPoints);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kPoints; ++i) out[i] = map(in[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    report(state);
}

ycVector<2> byHand(const Affine& f, const ycVector<2>& p)
{
    double x = p.x();
    double y = p.y();
    return ycVector<2>(f.a * x + f.b * y + f.tx, f.c * x + f.d * y + f.ty);
}

void BM_HandAffine(benchmark::State& state)
{
    Affine f = kAffines[0];
    run(state, [&](const ycVector<2>& p) { return byHand(f, p); });
}

void BM_Xform2(benchmark::State& state)
{
    ycXform<2> x = valueOf(kAffines[0]);
    run(state, [&](const ycVector<2>& p) { return x * p; });
}

void BM_LinearVirtual(benchmark::State& state)
{
    ycPtrHandle<yc2XformBase> h(new yc2XformLinear(valueOf(kAffines[0])));
    const yc2XformBase* x = opaque(h.get());
    run(state, [&](const ycVector<2>& p) { return x->mapPoint(p); });
}

void BM_HandThreeAffine(benchmark::State& state)
{
    Affine f0 = kAffines[0], f1 = kAffines[1], f2 = kAffines[2];
    run(state, [&](const ycVector<2>& p) { return byHand(f0, byHand(f1, byHand(f2, p))); });
}

void BM_ComposedThreeLinear(benchmark::State& state)
{
    yc2XformLinear l0(valueOf(kAffines[0])), l1(valueOf(kAffines[1])), l2(valueOf(kAffines[2]));
    auto* seq = new yc2XformComposed(l0, l1, true, true);
    seq->postCompose(l2, true);
    ycPtrHandle<yc2XformBase> h(seq);
    const yc2XformBase* x = opaque(h.get());
    run(state, [&](const ycVector<2>& p) { return x->mapPoint(p); });
}

void BM_HandPerspective(benchmark::State& state)
{
    double h[9];
    for (int i = 0; i < 9; ++i) h[i] = kHomography[i];
    run(state, [&](const ycVector<2>& p) {
        double x = p.x();
        double y = p.y();
        double w = h[6] * x + h[7] * y + h[8];
        return ycVector<2>((h[0] * x + h[1] * y + h[2]) / w, (h[3] * x + h[4] * y + h[5]) / w);
    });
}

void BM_PerspectiveVirtual(benchmark::State& state)
{
    const double* k = kHomography;
    ycPtrHandle<yc2XformBase> h(
        new yc2XformPerspective(ycMatrix<3>(k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7], k[8])));
    const yc2XformBase* x = opaque(h.get());
    run(state, [&](const ycVector<2>& p) { return x->mapPoint(p); });
}

} // namespace

BENCHMARK(BM_HandAffine);
BENCHMARK(BM_Xform2);
BENCHMARK(BM_LinearVirtual);
BENCHMARK(BM_HandThreeAffine);
BENCHMARK(BM_ComposedThreeLinear);
BENCHMARK(BM_HandPerspective);
BENCHMARK(BM_PerspectiveVirtual);

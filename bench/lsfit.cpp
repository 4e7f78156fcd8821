// Accumulating point pairs in the fitter against the same fourteen
// multiply-adds written by hand.
#include "std/math/lsfit.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

const std::vector<ycVector<2>>& points()
{
    static const std::vector<ycVector<2>> p = [] {
        std::vector<ycVector<2>> v;
        for (int i = 0; i < 4096; ++i) v.emplace_back(i * 0.25, 1000.0 - i * 0.5);
        return v;
    }();
    return p;
}

void BM_FitterUpdate(benchmark::State& state)
{
    const auto& p = points();
    for (auto _ : state) {
        ycLSPointToPointFitter f;
        for (std::size_t i = 0; i + 1 < p.size(); ++i) f.update(p[i], p[i + 1]);
        benchmark::DoNotOptimize(f);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * (points().size() - 1)));
}

void BM_HandWrittenSums(benchmark::State& state)
{
    const auto& p = points();
    for (auto _ : state) {
        double s[14] = {};
        int n = 0;
        for (std::size_t i = 0; i + 1 < p.size(); ++i) {
            const double x1 = p[i].x(), y1 = p[i].y(), x2 = p[i + 1].x(), y2 = p[i + 1].y();
            ++n;
            s[0] += x1, s[1] += y1, s[2] += x1 * x1, s[3] += y1 * y1, s[4] += x1 * y1;
            s[5] += x2, s[6] += y2, s[7] += x2 * x2, s[8] += y2 * y2, s[9] += x2 * y2;
            s[10] += x1 * x2, s[11] += x1 * y2, s[12] += y1 * x2, s[13] += y1 * y2;
        }
        benchmark::DoNotOptimize(s);
        benchmark::DoNotOptimize(n);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * (points().size() - 1)));
}

} // namespace

BENCHMARK(BM_FitterUpdate);
BENCHMARK(BM_HandWrittenSums);

// Taking a 640 x 480 8-bit root from the default pool and handing it back,
// against new and delete of the same bytes, and against a fresh owned root
// (alignment 32, as buffers make them). Each round writes one pel so that no
// allocation can be left out.
#include "std/pelbuf/pool.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr std::int32_t kWidth = 640;
constexpr std::int32_t kHeight = 480;

void BM_PoolRoot(benchmark::State& state)
{
    ycPtrHandle<ycPelRootPool> pool = yfDefaultPelRootPool();
    for (auto _ : state) {
        ycPtrHandle<ycPelRoot<unsigned char>> root(pool->newRoot<unsigned char>(kWidth, kHeight));
        root->pels()[0] = 1;
        benchmark::DoNotOptimize(root->pels());
    }
}

void BM_NewDelete(benchmark::State& state)
{
    for (auto _ : state) {
        std::unique_ptr<unsigned char[]> pels(new unsigned char[kWidth * kHeight]);
        pels[0] = 1;
        benchmark::DoNotOptimize(pels.get());
    }
}

void BM_OwnedRoot(benchmark::State& state)
{
    for (auto _ : state) {
        ycPtrHandle<ycPelRoot<unsigned char>> root(new ycPelRoot<unsigned char>(kWidth, kHeight, 32));
        root->pels()[0] = 1;
        benchmark::DoNotOptimize(root->pels());
    }
}

} // namespace

BENCHMARK(BM_PoolRoot);
BENCHMARK(BM_NewDelete);
BENCHMARK(BM_OwnedRoot);

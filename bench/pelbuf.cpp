// Reading every pel of a 4096 x 4096 8-bit window: through get(x, y),
// through row pointers from pointToRow(y), and as plain loops over a raw
// array, row by row with the window's stride and as one dense run. The window
// sits inside a larger root, so rows are strided as they are in real use.
// Each pass sums the pels.
#include "std/pelbuf/pelbuf.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace {

constexpr std::int32_t kSide = 4096;

ycPelBuffer<unsigned char> makeWindow()
{
    ycPelBuffer<unsigned char> b(kSide + 64, kSide + 4);
    std::vector<unsigned char> pels(static_cast<std::size_t>(b.width()) * b.height());
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(i * 7 + (i >> 12));
    b.copyFromBuffer(pels.data());
    b.windowRoot(32, 2, kSide, kSide);
    b.offset(-100, 250);
    return b;
}

void BM_Get(benchmark::State& state)
{
    const ycPelBuffer_const<unsigned char> b = makeWindow();
    const std::int32_t x0 = b.offset().x();
    const std::int32_t y0 = b.offset().y();
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (std::int32_t y = y0; y < y0 + kSide; ++y)
            for (std::int32_t x = x0; x < x0 + kSide; ++x) sum += b.get(x, y);
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t{kSide} * kSide);
}

void BM_RowPointers(benchmark::State& state)
{
    const ycPelBuffer_const<unsigned char> b = makeWindow();
    const std::int32_t y0 = b.offset().y();
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (std::int32_t y = y0; y < y0 + kSide; ++y) {
            const unsigned char* row = b.pointToRow(y);
            for (std::int32_t x = 0; x < kSide; ++x) sum += row[x];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t{kSide} * kSide);
}

void BM_RawArray(benchmark::State& state)
{
    std::vector<unsigned char> pels(static_cast<std::size_t>(kSide) * kSide);
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(i * 7 + (i >> 12));
    const unsigned char* p = pels.data();
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < pels.size(); ++i) sum += p[i];
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t{kSide} * kSide);
}

void BM_RawRows(benchmark::State& state)
{
    const ycPelBuffer_const<unsigned char> b = makeWindow();
    const std::ptrdiff_t stride = b.root()->rowUpdate();
    std::vector<unsigned char> pels(static_cast<std::size_t>(stride) * b.root()->height());
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(i * 7 + (i >> 12));
    const unsigned char* first = pels.data() + 2 * stride + 32;
    for (auto _ : state) {
        std::uint32_t sum = 0;
        for (std::int32_t y = 0; y < kSide; ++y) {
            const unsigned char* row = first + y * stride;
            for (std::int32_t x = 0; x < kSide; ++x) sum += row[x];
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t{kSide} * kSide);
}

} // namespace

BENCHMARK(BM_Get)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RowPointers)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawArray)->Unit(benchmark::kMillisecond);

// Storing and then loading 64 MiB through a memory archive, as one raw block
// and as single doubles, against memcpy of the same bytes into fresh memory
// and back.
#include "std/archive/memarchive.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kBytes = 64u << 20;
constexpr std::size_t kDoubles = kBytes / sizeof(double);

const std::vector<double>& source()
{
    static const std::vector<double> data = [] {
        std::vector<double> v(kDoubles);
        for (std::size_t i = 0; i < v.size(); ++i) v[i] = static_cast<double>(i) * 0.5;
        return v;
    }();
    return data;
}

void reportBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBytes));
}

void BM_Memcpy(benchmark::State& state)
{
    const auto& src = source();
    std::vector<double> back(kDoubles);
    for (auto _ : state) {
        std::unique_ptr<char[]> stored(new char[kBytes]);
        std::memcpy(stored.get(), src.data(), kBytes);
        benchmark::DoNotOptimize(stored.get());
        std::memcpy(back.data(), stored.get(), kBytes);
        benchmark::ClobberMemory();
    }
    reportBytes(state);
}

void BM_ArchiveRaw(benchmark::State& state)
{
    const auto& src = source();
    std::vector<double> back(kDoubles);
    for (auto _ : state) {
        ycMemoryArchive out(ycArchive::littleEndian);
        out.raw(reinterpret_cast<char*>(const_cast<double*>(src.data())), kBytes);
        auto bytes = out.storage();
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        in.raw(reinterpret_cast<char*>(back.data()), kBytes);
        benchmark::ClobberMemory();
    }
    reportBytes(state);
}

void BM_ArchiveDoubles(benchmark::State& state)
{
    const auto& src = source();
    std::vector<double> back(kDoubles);
    for (auto _ : state) {
        ycMemoryArchive out(ycArchive::littleEndian);
        for (double d : src) out << d;
        auto bytes = out.storage();
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        for (double& d : back) in >> d;
        benchmark::ClobberMemory();
    }
    reportBytes(state);
}

} // namespace

BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArchiveRaw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArchiveDoubles)->Unit(benchmark::kMillisecond);

// Storing and then loading a 4096 x 4096 pel root, for pels of 1, 2 and 4
// bytes, float and packed RGB, in each byte order: to a memory archive against
// memcpy of the same bytes into fresh memory and back, and to a file archive
// against fwrite and fread. Where cereal is found, its binary archive does the
// same (in the machine's order only, which is all it writes).
#include "std/archive/filearchive.h"
#include "std/archive/memarchive.h"
#include "std/pelbuf/pelroot.h"
#include "std/util/text.h"

#include <benchmark/benchmark.h>

#ifdef TLVSTD_BENCH_CEREAL
#include <cereal/archives/binary.hpp>
#include <fstream>
#include <sstream>
#endif

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

namespace {

constexpr std::int32_t kSide = 4096;
constexpr std::size_t kPels = std::size_t{kSide} * kSide;

template <class T>
const ycPelRoot<T>& image()
{
    static const auto root = [] {
        auto r = std::make_unique<ycPelRoot<T>>(kSide, kSide, 32);
        auto* bytes = reinterpret_cast<unsigned char*>(r->pels());
        for (std::size_t i = 0; i < kPels * sizeof(T); ++i) bytes[i] = static_cast<unsigned char>(i * 131 + (i >> 12));
        return r;
    }();
    return *root;
}

std::string scratchPath(const char* name)
{
    return (std::filesystem::temp_directory_path() / (std::string("tlvstd_bench_") + name)).string();
}

void reportBytes(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

auto ordering(const benchmark::State& state)
{
    return state.range(0) == 0 ? ycArchive::bigEndian : ycArchive::littleEndian;
}

template <class T>
void BM_Memory(benchmark::State& state)
{
    const ycPelRoot<T>& src = image<T>();
    for (auto _ : state) {
        ycMemoryArchive out(ordering(state));
        out << src;
        auto bytes = out.storage();
        ycMemoryArchive in(bytes.data(), static_cast<std::int32_t>(bytes.size()));
        ycPelRoot<T> back;
        in >> back;
        benchmark::DoNotOptimize(back.pels());
    }
    reportBytes(state, kPels * sizeof(T));
}

template <class T>
void BM_File(benchmark::State& state)
{
    const ycPelRoot<T>& src = image<T>();
    const std::wstring path = yfWiden(scratchPath("archive"));
    for (auto _ : state) {
        {
            ycFileArchive out(path, ycArchive::storing, ordering(state));
            out << src;
        }
        ycFileArchive in(path, ycArchive::loading);
        ycPelRoot<T> back;
        in >> back;
        benchmark::DoNotOptimize(back.pels());
    }
    reportBytes(state, kPels * sizeof(T));
}

// The references: the same bytes copied out to fresh memory (or a file) and
// back into a fresh image.
template <class T>
void BM_Memcpy(benchmark::State& state)
{
    const std::size_t n = kPels * sizeof(T);
    const T* src = image<T>().pels();
    for (auto _ : state) {
        std::unique_ptr<char[]> stored(new char[n]);
        std::memcpy(stored.get(), src, n);
        benchmark::DoNotOptimize(stored.get());
        std::unique_ptr<T[]> back(new T[kPels]);
        std::memcpy(back.get(), stored.get(), n);
        benchmark::DoNotOptimize(back.get());
    }
    reportBytes(state, n);
}

template <class T>
void BM_Stdio(benchmark::State& state)
{
    const std::size_t n = kPels * sizeof(T);
    const T* src = image<T>().pels();
    const std::string path = scratchPath("stdio");
    for (auto _ : state) {
        std::FILE* f = std::fopen(path.c_str(), "wb");
        if (!f || std::fwrite(src, 1, n, f) != n) state.SkipWithError("fwrite failed");
        if (f) std::fclose(f);
        std::unique_ptr<T[]> back(new T[kPels]);
        f = std::fopen(path.c_str(), "rb");
        if (!f || std::fread(back.get(), 1, n, f) != n) state.SkipWithError("fread failed");
        if (f) std::fclose(f);
        benchmark::DoNotOptimize(back.get());
    }
    reportBytes(state, n);
}

#ifdef TLVSTD_BENCH_CEREAL
template <class T>
void cerealStore(std::ostream& os)
{
    cereal::BinaryOutputArchive ar(os);
    ar(cereal::binary_data(image<T>().pels(), kPels * sizeof(T)));
}

template <class T>
void cerealLoad(std::istream& is)
{
    std::unique_ptr<T[]> back(new T[kPels]);
    cereal::BinaryInputArchive ar(is);
    ar(cereal::binary_data(back.get(), kPels * sizeof(T)));
    benchmark::DoNotOptimize(back.get());
}

template <class T>
void BM_MemoryCereal(benchmark::State& state)
{
    for (auto _ : state) {
        std::stringstream s(std::ios::in | std::ios::out | std::ios::binary);
        cerealStore<T>(s);
        cerealLoad<T>(s);
    }
    reportBytes(state, kPels * sizeof(T));
}

template <class T>
void BM_FileCereal(benchmark::State& state)
{
    const std::string path = scratchPath("cereal");
    for (auto _ : state) {
        {
            std::ofstream os(path, std::ios::binary);
            cerealStore<T>(os);
        }
        std::ifstream is(path, std::ios::binary);
        cerealLoad<T>(is);
    }
    reportBytes(state, kPels * sizeof(T));
}
#endif

} // namespace

#define ymImageBenchmarks(T)                                                                                          \
    BENCHMARK_TEMPLATE(BM_Memcpy, T)->Unit(benchmark::kMillisecond);                                                  \
    BENCHMARK_TEMPLATE(BM_Memory, T)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);                                  \
    BENCHMARK_TEMPLATE(BM_Stdio, T)->Unit(benchmark::kMillisecond);                                                   \
    BENCHMARK_TEMPLATE(BM_File, T)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);                                    \
    ymCerealBenchmarks(T)

#ifdef TLVSTD_BENCH_CEREAL
#define ymCerealBenchmarks(T)                                                                                         \
    BENCHMARK_TEMPLATE(BM_MemoryCereal, T)->Unit(benchmark::kMillisecond);                                            \
    BENCHMARK_TEMPLATE(BM_FileCereal, T)->Unit(benchmark::kMillisecond);
#else
#define ymCerealBenchmarks(T)
#endif

ymImageBenchmarks(unsigned char) ymImageBenchmarks(unsigned short) ymImageBenchmarks(std::uint32_t)
    ymImageBenchmarks(float) ymImageBenchmarks(ycPackedRGB32Pel)

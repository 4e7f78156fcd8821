// Copy, conversion, arithmetic, division and maps over a 2048 x 2048 window
// that sits inside a larger root, against memcpy and plain loops over the
// same strided rows. Bytes processed count the source pels.
#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelcopy.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace {

constexpr std::int32_t kSide = 2048;

template <class T>
ycPelBuffer<T> window(unsigned seed)
{
    ycPelBuffer<T> b(kSide + 16, kSide + 2);
    std::vector<T> pels(static_cast<std::size_t>(b.width()) * b.height());
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<T>(i * seed + (i >> 11));
    b.copyFromBuffer(pels.data());
    b.windowRoot(3, 1, kSide, kSide); // image coordinates follow: rows 1 to kSide
    return b;
}

template <class T>
void done(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * std::int64_t{kSide} * kSide * std::int64_t{sizeof(T)});
}

// Same types copy rows, unsigned conversions go to the core.
template <class S, class D>
void BM_Copy(benchmark::State& state)
{
    const ycPelBuffer<S> src = window<S>(7);
    ycPelBuffer<D> dst = window<D>(3);
    for (auto _ : state) yfPelCopy(ycPelBuffer_const<S>(src), dst);
    done<S>(state);
}

// The plain loop over the same rows, memcpy for one type.
template <class S, class D>
void BM_Loop(benchmark::State& state)
{
    const ycPelBuffer<S> src = window<S>(7);
    ycPelBuffer<D> dst = window<D>(3);
    for (auto _ : state) {
        for (std::int32_t y = 1; y <= kSide; ++y) {
            const S* s = src.pointToRow(y);
            D* d = dst.pointToRow(y);
            if constexpr (std::is_same_v<S, D>) {
                std::memcpy(d, s, kSide * sizeof(S));
            } else {
                for (std::int32_t x = 0; x < kSide; ++x) d[x] = static_cast<D>(s[x]);
            }
        }
        benchmark::ClobberMemory();
    }
    done<S>(state);
}

// Same widths go to the core, mixed ones to the library's kernel.
template <class S1, class S2>
void BM_Add(benchmark::State& state)
{
    using D = yc_PelArithResult<S1, S2>;
    const ycPelBuffer<S1> a = window<S1>(7);
    const ycPelBuffer<S2> b = window<S2>(5);
    ycPelBuffer<D> dst = window<D>(3);
    for (auto _ : state) yfPelAdd(a, b, dst);
    done<D>(state);
}

// Divisor 4 takes shifts, 3 a table of the 65536 quotients.
void BM_DivideU16ToU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned short> src = window<unsigned short>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    const double divisor = static_cast<double>(state.range(0));
    for (auto _ : state) yfPelDivideByVal(ycPelBuffer_const<unsigned short>(src), dst, divisor, true);
    done<unsigned short>(state);
}

void BM_MapU16ToU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned short> src = window<unsigned short>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    yc_MapTable_clamp<unsigned short, unsigned char> table(0, 65535);
    for (std::uint32_t v = 0; v < 65536; ++v) table[static_cast<unsigned short>(v)] = static_cast<unsigned char>(v >> 8);
    for (auto _ : state) yfPelMap(ycPelBuffer_const<unsigned short>(src), dst, table);
    done<unsigned short>(state);
}

} // namespace

BENCHMARK_TEMPLATE(BM_Copy, unsigned char, unsigned char);
BENCHMARK_TEMPLATE(BM_Loop, unsigned char, unsigned char);
BENCHMARK_TEMPLATE(BM_Copy, unsigned short, unsigned char);
BENCHMARK_TEMPLATE(BM_Loop, unsigned short, unsigned char);
BENCHMARK_TEMPLATE(BM_Add, unsigned char, unsigned char);
BENCHMARK_TEMPLATE(BM_Add, unsigned char, unsigned short);
BENCHMARK(BM_DivideU16ToU8)->Arg(4)->Arg(3);
BENCHMARK(BM_MapU16ToU8);

// Copy, conversion, arithmetic, division and maps over a 2048 x 2048 window
// that sits inside a larger root, against memcpy and plain loops over the
// same strided rows. Bytes processed count the source pels.
#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelcopy.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
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

void BM_CopyU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned char> src = window<unsigned char>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    for (auto _ : state) yfPelCopy(ycPelBuffer_const<unsigned char>(src), dst);
    done<unsigned char>(state);
}

void BM_MemcpyRowsU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned char> src = window<unsigned char>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    for (auto _ : state) {
        for (std::int32_t y = 1; y <= kSide; ++y) std::memcpy(dst.pointToRow(y), src.pointToRow(y), kSide);
        benchmark::ClobberMemory();
    }
    done<unsigned char>(state);
}

void BM_ConvertU16ToU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned short> src = window<unsigned short>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    for (auto _ : state) yfPelCopy(ycPelBuffer_const<unsigned short>(src), dst);
    done<unsigned short>(state);
}

void BM_LoopU16ToU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned short> src = window<unsigned short>(7);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    for (auto _ : state) {
        for (std::int32_t y = 1; y <= kSide; ++y) {
            const unsigned short* s = src.pointToRow(y);
            unsigned char* d = dst.pointToRow(y);
            for (std::int32_t x = 0; x < kSide; ++x) d[x] = static_cast<unsigned char>(s[x]);
        }
        benchmark::ClobberMemory();
    }
    done<unsigned short>(state);
}

void BM_AddU8(benchmark::State& state)
{
    const ycPelBuffer<unsigned char> a = window<unsigned char>(7);
    const ycPelBuffer<unsigned char> b = window<unsigned char>(5);
    ycPelBuffer<unsigned char> dst = window<unsigned char>(3);
    for (auto _ : state) yfPelAdd(a, b, dst);
    done<unsigned char>(state);
}

void BM_AddU8U16(benchmark::State& state)
{
    const ycPelBuffer<unsigned char> a = window<unsigned char>(7);
    const ycPelBuffer<unsigned short> b = window<unsigned short>(5);
    ycPelBuffer<unsigned short> dst = window<unsigned short>(3);
    for (auto _ : state) yfPelAdd(a, b, dst);
    done<unsigned short>(state);
}

// Divisor 4 takes shifts, 3 the quotient in double.
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

BENCHMARK(BM_CopyU8);
BENCHMARK(BM_MemcpyRowsU8);
BENCHMARK(BM_ConvertU16ToU8);
BENCHMARK(BM_LoopU16ToU8);
BENCHMARK(BM_AddU8);
BENCHMARK(BM_AddU8U16);
BENCHMARK(BM_DivideU16ToU8)->Arg(4)->Arg(3);
BENCHMARK(BM_MapU16ToU8);

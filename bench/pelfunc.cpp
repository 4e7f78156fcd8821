// Pixel operations, single-threaded, on 640x480, 2048x2048 and 4096x4096
// images: each against memcpy of the same bytes (as many bytes as the
// operation reads, or writes where that is more) and, where OpenCV is found, against OpenCV's
// equivalent with one thread. Operations that return a new buffer are timed
// with the allocation, and so are their references: memcpy into fresh memory
// and OpenCV into a fresh cv::Mat.
// After the runs a table of ratios is printed: below 1 means faster than the
// reference.
#include "core/ycore.h"
#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelcopy.h"
#include "std/pelbuf/pelgeom.h"

#include "bench/collector.h"

#include <benchmark/benchmark.h>

#ifdef TLVSTD_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Size {
    std::int32_t w, h;
};
constexpr Size kSizes[] = {{640, 480}, {2048, 2048}, {4096, 4096}};

template <class T>
ycPelBuffer<T> makeImage(Size s, unsigned seed)
{
    ycPelBuffer<T> b(s.w, s.h);
    for (std::int32_t y = 0; y < s.h; ++y) {
        T* row = b.pointToRow(y);
        for (std::int32_t x = 0; x < s.w; ++x) row[x] = static_cast<T>((x * 7 + y * 13 + seed * 101) ^ (x >> 3));
    }
    return b;
}

// The pel type a conversion goes to.
template <class T>
using Other = std::conditional_t<sizeof(T) == 1, unsigned short, unsigned char>;

// Two sources and destinations of each pel type, made once per size.
template <class T>
struct Images {
    ycPelBuffer<T> a, b, d;
    ycPelBuffer<Other<T>> converted;
    explicit Images(Size s)
        : a(makeImage<T>(s, 1)), b(makeImage<T>(s, 2)), d(makeImage<T>(s, 3)), converted(s.w, s.h)
    {
    }
};
template <class T>
Images<T>& images(Size s)
{
    static std::map<std::int32_t, std::unique_ptr<Images<T>>> cache;
    auto& p = cache[s.w];
    if (!p) p = std::make_unique<Images<T>>(s);
    return *p;
}

#ifdef TLVSTD_BENCH_OPENCV
template <class T>
cv::Mat matOf(ycPelBuffer<T>& b)
{
    constexpr int type = sizeof(T) == 1 ? CV_8U : sizeof(T) == 2 ? CV_16U : CV_32S;
    return cv::Mat(b.height(), b.width(), type, b.pointToOffset(), std::size_t(b.rowUpdate()) * sizeof(T));
}
#endif

// memcpy of `bytes` into scratch memory or, when `fresh`, into a block
// allocated (and freed) each time as a new pel root's is.
void copyBytes(benchmark::State& state, std::size_t bytes, bool fresh)
{
    static std::vector<unsigned char> from, to;
    if (from.size() < bytes) {
        from.assign(bytes, 1);
        to.assign(bytes, 0);
    }
    for (auto _ : state) {
        if (fresh) {
            // From the allocator pel roots use, which has its own way with
            // the pages of large blocks (the C library may hand the same
            // pages back, or map new ones that fault on first touch).
            void* block = nullptr;
            ysys_memory_alloc64_internal(&block, bytes, 32, "bench", __LINE__);
            std::memcpy(block, from.data(), bytes);
            benchmark::DoNotOptimize(block);
            ysys_memory_free_internal(block);
        } else {
            std::memcpy(to.data(), from.data(), bytes);
        }
        benchmark::ClobberMemory();
    }
}

// One row of the table: an operation on one pel type, and how to run it, its
// memcpy reference and (optionally) its OpenCV equivalent on one size.
struct Case {
    std::string op;
    std::string type;
    int sources;
    bool fresh; // returns a new buffer
    std::size_t pelBytes;
    std::size_t resultPelBytes;
    std::function<void(Size)> ours;
    std::function<void(Size)> opencv;
};

std::string label(const Case& c, Size s, const char* who)
{
    return c.op + "/" + c.type + "/" + std::to_string(s.w) + "x" + std::to_string(s.h) + "/" + who;
}

// The bytes of the reference copy; cases that move as many share one run.
std::size_t copiedBytes(const Case& c, Size s)
{
    return std::size_t(s.w) * s.h * std::max(c.pelBytes * c.sources, c.resultPelBytes);
}
std::string memcpyLabel(const Case& c, Size s)
{
    return std::string(c.fresh ? "memcpy-fresh/" : "memcpy/") + std::to_string(copiedBytes(c, s));
}

// Whether an operation writes into a given destination or returns a new one.
enum class Result { into, fresh };

template <class T>
const char* typeName()
{
    return sizeof(T) == 1 ? "u8" : "u16";
}

template <class T>
std::vector<Case> casesOf()
{
    std::vector<Case> cs;
    auto add = [&](std::string op, int sources, Result result, std::function<void(Images<T>&)> ours,
                   std::function<void(Images<T>&)> cvOp) {
        const bool fresh = result == Result::fresh;
        Case c{std::move(op), typeName<T>(), sources, fresh, sizeof(T), sizeof(T), nullptr, nullptr};
        c.ours = [ours](Size s) { ours(images<T>(s)); };
        if (cvOp) c.opencv = [cvOp](Size s) { cvOp(images<T>(s)); };
        cs.push_back(std::move(c));
    };
    [[maybe_unused]] auto none = std::function<void(Images<T>&)>();
#ifdef TLVSTD_BENCH_OPENCV
#define CV(body) [](Images<T>& im) { body; }
#else
#define CV(body) none
#endif
    add("add", 2, Result::into, [](Images<T>& im) { yfPelAdd(im.a, im.b, im.d); },
        CV(cv::Mat d = matOf(im.d); cv::add(matOf(im.a), matOf(im.b), d)));
    add("subtract", 2, Result::into, [](Images<T>& im) { yfPelSub(im.a, im.b, im.d); },
        CV(cv::Mat d = matOf(im.d); cv::subtract(matOf(im.a), matOf(im.b), d)));
    add("min pel-wise", 2, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelMin(im.a, im.b)); },
        CV(cv::Mat d; cv::min(matOf(im.a), matOf(im.b), d); benchmark::DoNotOptimize(d.data)));
    add("max pel-wise", 2, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelMax(im.a, im.b)); },
        CV(cv::Mat d; cv::max(matOf(im.a), matOf(im.b), d); benchmark::DoNotOptimize(d.data)));
    add("min of image", 1, Result::into, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelMin(im.a)); },
        CV(double lo = 0; cv::minMaxLoc(matOf(im.a), &lo, nullptr); benchmark::DoNotOptimize(lo)));
    add("max of image", 1, Result::into, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelMax(im.a)); },
        CV(double hi = 0; cv::minMaxLoc(matOf(im.a), nullptr, &hi); benchmark::DoNotOptimize(hi)));
    add("flip horizontal", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelFlipH(im.a)); },
        CV(cv::Mat d; cv::flip(matOf(im.a), d, 1); benchmark::DoNotOptimize(d.data)));
    add("flip vertical", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelFlipV(im.a)); },
        CV(cv::Mat d; cv::flip(matOf(im.a), d, 0); benchmark::DoNotOptimize(d.data)));
    add("transpose", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelTranspose(im.a)); },
        CV(cv::Mat d; cv::transpose(matOf(im.a), d); benchmark::DoNotOptimize(d.data)));
    add("sample 1/2", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelSample(im.a, 2, 2)); },
        CV(cv::Mat d; cv::resize(matOf(im.a), d, cv::Size(im.a.width() / 2, im.a.height() / 2), 0, 0,
                                 cv::INTER_NEAREST);
           benchmark::DoNotOptimize(d.data)));
    add("average 2x2", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelSpatialAvg(im.a, 2, 2, 0)); },
        CV(cv::Mat d; cv::resize(matOf(im.a), d, cv::Size(im.a.width() / 2, im.a.height() / 2), 0, 0,
                                 cv::INTER_AREA);
           benchmark::DoNotOptimize(d.data)));
    if constexpr (sizeof(T) == 1) {
        add("multiply", 2, Result::into, [](Images<T>& im) { yfPelMult(im.a, im.b, im.d); },
            CV(cv::Mat d = matOf(im.d); cv::multiply(matOf(im.a), matOf(im.b), d)));
        add("set", 1, Result::into, [](Images<T>& im) { yfPelSet(im.d, T(7)); }, CV(matOf(im.d).setTo(7)));
        add("invert", 1, Result::fresh, [](Images<T>& im) { benchmark::DoNotOptimize(yfPelInvert_U8(im.a)); },
            CV(cv::Mat d; cv::bitwise_not(matOf(im.a), d); benchmark::DoNotOptimize(d.data)));
        add("convert to 16-bit", 1, Result::into,
            [](Images<T>& im) { yfPelCopy(ycPelBuffer_const<unsigned char>(im.a), im.converted); },
            CV(cv::Mat d = matOf(im.converted); matOf(im.a).convertTo(d, CV_16U)));
        cs.back().resultPelBytes = 2;
        add("map", 1, Result::into,
            [](Images<T>& im) {
                static const auto table = [] {
                    yc_MapTable_clamp<unsigned char, unsigned char> t(0, 255, false);
                    for (int v = 0; v < 256; ++v) t[v] = static_cast<unsigned char>(255 - v / 2);
                    return t;
                }();
                yfPelMap(im.a, im.d, table);
            },
            CV(static const cv::Mat lut = [] {
                cv::Mat t(1, 256, CV_8U);
                for (int v = 0; v < 256; ++v) t.at<unsigned char>(v) = static_cast<unsigned char>(255 - v / 2);
                return t;
            }();
               cv::Mat d = matOf(im.d); cv::LUT(matOf(im.a), lut, d)));
        add("median 3x3", 1, Result::into, [](Images<T>& im) { yfPelMedian3x3(im.a, im.d); },
            CV(cv::Mat d = matOf(im.d); cv::medianBlur(matOf(im.a), d, 3)));
    } else {
        add("convert to 8-bit", 1, Result::into,
            [](Images<T>& im) { yfPelCopy(ycPelBuffer_const<unsigned short>(im.a), im.converted); },
            CV(cv::Mat d = matOf(im.converted); matOf(im.a).convertTo(d, CV_8U)));
    }
#undef CV
    return cs;
}

void printTable(const std::vector<Case>& cases, const std::map<std::string, double>& t)
{
    auto find = [&](const std::string& k) {
        auto it = t.find(k);
        return it == t.end() ? 0.0 : it->second;
    };
    std::printf("\nvector target: %s\n", yip_target());
    std::printf("%-18s %-4s %-10s %12s %12s\n", "operation", "pel", "size", "÷ memcpy", "÷ OpenCV");
    for (const Case& c : cases) {
        for (Size s : kSizes) {
            const double ours = find(label(c, s, "ours"));
            const double mem = find(memcpyLabel(c, s));
            const double cv = find(label(c, s, "opencv"));
            if (ours == 0) continue;
            char size[24];
            std::snprintf(size, sizeof size, "%dx%d", s.w, s.h);
            std::printf("%-18s %-4s %-10s %12.2f", c.op.c_str(), c.type.c_str(), size, mem > 0 ? ours / mem : 0.0);
            if (cv > 0) {
                std::printf(" %12.2f\n", ours / cv);
            } else {
                std::printf(" %12s\n", "-");
            }
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
#ifdef TLVSTD_BENCH_OPENCV
    cv::setNumThreads(1);
#endif
    std::vector<Case> cases = casesOf<unsigned char>();
    for (Case& c : casesOf<unsigned short>()) cases.push_back(std::move(c));
    std::map<std::string, bool> copies;
    for (const Case& c : cases) {
        for (Size s : kSizes) {
            benchmark::RegisterBenchmark(label(c, s, "ours").c_str(), [&c, s](benchmark::State& st) {
                for (auto _ : st) c.ours(s);
            })->Unit(benchmark::kMicrosecond);
            if (!copies[memcpyLabel(c, s)]) {
                copies[memcpyLabel(c, s)] = true;
                const std::size_t bytes = copiedBytes(c, s);
                const bool fresh = c.fresh;
                benchmark::RegisterBenchmark(memcpyLabel(c, s).c_str(), [bytes, fresh](benchmark::State& st) {
                    copyBytes(st, bytes, fresh);
                })->Unit(benchmark::kMicrosecond);
            }
            if (c.opencv) {
                benchmark::RegisterBenchmark(label(c, s, "opencv").c_str(), [&c, s](benchmark::State& st) {
                    for (auto _ : st) c.opencv(s);
                })->Unit(benchmark::kMicrosecond);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    printTable(cases, collector.times);
    benchmark::Shutdown();
    return 0;
}

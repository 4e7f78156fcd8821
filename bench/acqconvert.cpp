// Camera-format conversions of the core, single-threaded, on 640x480 and
// 4096x4096 images, in nanoseconds a pixel, against OpenCV's cvtColor with
// one thread where it has the conversion. After the runs a table gives the
// ratios (below 1: faster than OpenCV) and whether both give the same bytes.
#include "core/yconvert.h"
#include "std/pelbuf/pelcolor.h"

#include "bench/collector.h"

#include <benchmark/benchmark.h>

#ifdef TLVSTD_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
constexpr Size kSizes[] = {{640, 480}, {4096, 4096}};

using Bytes = std::vector<std::uint8_t>;

Bytes pattern(std::size_t n, unsigned seed)
{
    Bytes b(n);
    std::uint32_t x = seed * 2654435761u + 1;
    for (auto& v : b) {
        x = x * 1664525u + 1013904223u;
        v = static_cast<std::uint8_t>(x >> 24);
    }
    return b;
}

// Sources and destinations of one size, made once.
struct Images {
    Size s;
    Bytes raw, grey, colour;
    ycPelBuffer<ycPackedRGB32Pel> packed;
    ycPelBuffer<unsigned char> extracted;
    explicit Images(Size sz)
        : s(sz), raw(pattern(std::size_t(sz.w) * sz.h * 3, 1)), grey(std::size_t(sz.w) * sz.h),
          colour(std::size_t(sz.w) * sz.h * 4), packed(sz.w, sz.h), extracted(sz.w, sz.h)
    {
        const Bytes p = pattern(std::size_t(sz.w) * sz.h * 4, 2);
        for (std::int32_t y = 0; y < sz.h; ++y) {
            std::memcpy(packed.pointToRow(y), p.data() + std::size_t(y) * sz.w * 4, std::size_t(sz.w) * 4);
        }
    }
};
Images& images(Size s)
{
    static std::map<std::int32_t, std::unique_ptr<Images>> cache;
    auto& p = cache[s.w];
    if (!p) p = std::make_unique<Images>(s);
    return *p;
}

// One conversion: ours and OpenCV's (if any) write into the image's
// destination, `bytes` of which the two are compared; `note` says why they
// differ where they may.
struct Case {
    std::string op;
    std::function<void(Images&)> ours;
    std::function<void(Images&, Bytes&)> opencv; // into a scratch copy of the destination
    std::function<Bytes&(Images&)> result;
    std::string note;
};

void check(int status)
{
    if (status != YSTD_OK) {
        std::fprintf(stderr, "conversion failed: %d\n", status);
        std::exit(1);
    }
}

#ifdef TLVSTD_BENCH_OPENCV
cv::Mat mat(Size s, int type, std::uint8_t* p) { return cv::Mat(s.h, s.w, type, p); }

// The OpenCV Bayer code whose colour output agrees best with our RGGB on a
// test image, by the share of equal bytes away from the edges.
int bayerCodeForRGGB()
{
    const Size s{64, 64};
    const Bytes src = pattern(64 * 64, 3);
    Bytes ours(64 * 64 * 4), theirs(64 * 64 * 4);
    check(yip_convertBayer8ToRGB(64, 64, src.data(), 64, ours.data(), 256, YIP_BAYER_RGGB));
    int best = 0;
    double bestShare = -1;
    for (int code : {cv::COLOR_BayerBG2BGRA, cv::COLOR_BayerGB2BGRA, cv::COLOR_BayerRG2BGRA, cv::COLOR_BayerGR2BGRA}) {
        cv::Mat d = mat(s, CV_8UC4, theirs.data());
        cv::cvtColor(mat(s, CV_8UC1, const_cast<std::uint8_t*>(src.data())), d, code);
        int same = 0, all = 0;
        for (int y = 2; y < 62; ++y) {
            for (int x = 2 * 4; x < 62 * 4; ++x) {
                if (x % 4 == 3) continue;
                same += ours[std::size_t(y) * 256 + std::size_t(x)] == theirs[std::size_t(y) * 256 + std::size_t(x)];
                ++all;
            }
        }
        if (double(same) / all > bestShare) {
            bestShare = double(same) / all;
            best = code;
        }
    }
    return best;
}
#endif

std::vector<Case> cases()
{
    std::vector<Case> cs;
    auto grey = [](Images& im) -> Bytes& { return im.grey; };
    auto colour = [](Images& im) -> Bytes& { return im.colour; };
#ifdef TLVSTD_BENCH_OPENCV
    const int bayer = bayerCodeForRGGB();
    const int bayerGrey = bayer - cv::COLOR_BayerBG2BGRA + cv::COLOR_BayerBG2GRAY;
    std::printf("OpenCV's Bayer code for RGGB: %s\n", bayer == cv::COLOR_BayerBG2BGRA   ? "BayerBG"
                                                     : bayer == cv::COLOR_BayerGB2BGRA ? "BayerGB"
                                                     : bayer == cv::COLOR_BayerRG2BGRA ? "BayerRG"
                                                                                        : "BayerGR");
#define CV(...) [=](Images & im, Bytes & out) { __VA_ARGS__; }
#else
#define CV(...) nullptr
#endif
    const auto rows = [](Images& im, std::int32_t bytesPerPixel) { return std::ptrdiff_t{im.s.w} * bytesPerPixel; };
    cs.push_back({"UYVY to RGB",
                  [=](Images& im) {
                      check(yip_convertUYVYToRGB(im.s.w, im.s.h, im.raw.data(), rows(im, 2), im.colour.data(),
                                                 rows(im, 4)));
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC4, out.data());
                     cv::cvtColor(mat(im.s, CV_8UC2, im.raw.data()), d, cv::COLOR_YUV2BGRA_UYVY)),
                  colour, "its fixed-point rule rounds apart"});
    cs.push_back({"UYVY to grey",
                  [=](Images& im) {
                      check(yip_convertUYVYToGreyscale(im.s.w, im.s.h, im.raw.data(), rows(im, 2), im.grey.data(),
                                                       rows(im, 1)));
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC1, out.data());
                     cv::cvtColor(mat(im.s, CV_8UC2, im.raw.data()), d, cv::COLOR_YUV2GRAY_UYVY)),
                  grey, ""});
    cs.push_back({"UYYVYY to RGB",
                  [=](Images& im) {
                      check(yip_convertUYYVYYToRGB(im.s.w, im.s.h, im.raw.data(), rows(im, 1) * 3 / 2,
                                                   im.colour.data(), rows(im, 4)));
                  },
                  nullptr, colour, ""});
    cs.push_back({"UYV to RGB",
                  [=](Images& im) {
                      check(yip_convertUYVToRGB(im.s.w, im.s.h, im.raw.data(), rows(im, 3), im.colour.data(),
                                                rows(im, 4)));
                  },
                  nullptr, colour, ""});
    cs.push_back({"Bayer to RGB",
                  [=](Images& im) {
                      check(yip_convertBayer8ToRGB(im.s.w, im.s.h, im.raw.data(), rows(im, 1), im.colour.data(),
                                                   rows(im, 4), YIP_BAYER_RGGB));
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC4, out.data());
                     cv::cvtColor(mat(im.s, CV_8UC1, im.raw.data()), d, bayer)),
                  colour, "edges differ"});
    cs.push_back({"Bayer to grey",
                  [=](Images& im) {
                      check(yip_convertBayer8ToGreyscale(im.s.w, im.s.h, im.raw.data(), rows(im, 1), im.grey.data(),
                                                         rows(im, 1), YIP_BAYER_RGGB));
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC1, out.data());
                     cv::cvtColor(mat(im.s, CV_8UC1, im.raw.data()), d, bayerGrey)),
                  grey, "its own grey weights and edges"});
    cs.push_back({"RGB24 to RGB",
                  [=](Images& im) {
                      check(yip_convertRGB24ToRGB(im.s.w, im.s.h, im.raw.data(), rows(im, 3), im.colour.data(),
                                                  rows(im, 4), 0));
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC4, out.data());
                     cv::cvtColor(mat(im.s, CV_8UC3, im.raw.data()), d, cv::COLOR_RGB2BGRA)),
                  colour, ""});
    cs.push_back({"RGB to grey",
                  [](Images& im) {
                      ycPelBuffer_const<ycPackedRGB32Pel> s = im.packed;
                      yfRGBExtract(s, 0.299, 0.587, 0.114, im.extracted);
                  },
                  CV(cv::Mat d = mat(im.s, CV_8UC1, out.data());
                     cv::cvtColor(cv::Mat(im.s.h, im.s.w, CV_8UC4, im.packed.pointToOffset(),
                                          std::size_t(im.packed.rowUpdate()) * 4),
                                  d, cv::COLOR_BGRA2GRAY)),
                  [](Images& im) -> Bytes& {
                      for (std::int32_t y = 0; y < im.s.h; ++y) {
                          std::memcpy(im.grey.data() + std::size_t(y) * im.s.w, im.extracted.pointToRow(y),
                                      std::size_t(im.s.w));
                      }
                      return im.grey;
                  },
                  "fixed point there, doubles here"});
#undef CV
    return cs;
}

std::string label(const Case& c, Size s, const char* who)
{
    return c.op + "/" + std::to_string(s.w) + "x" + std::to_string(s.h) + "/" + who;
}

// The share of equal bytes of ours and OpenCV's results, on the small size.
std::string agreement(const Case& c)
{
    if (!c.opencv) return "";
    Images& im = images(kSizes[0]);
    c.ours(im);
    Bytes ours = c.result(im);
    Bytes theirs(ours.size());
    c.opencv(im, theirs);
    // Colour results: OpenCV's fourth byte is 255, ours 0, so those are left out.
    const std::size_t skip = &c.result(im) == &im.colour ? 4 : 0;
    std::size_t same = 0, all = 0;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        if (skip != 0 && i % skip == 3) continue;
        same += ours[i] == theirs[i];
        ++all;
    }
    if (same == all) return skip ? "same colour bytes" : "same bytes";
    char text[160];
    std::snprintf(text, sizeof text, "%.1f%% of %s equal: %s", 100.0 * double(same) / double(all),
                  skip ? "colour bytes" : "bytes", c.note.c_str());
    return text;
}

void printTable(const std::vector<Case>& cs, const std::map<std::string, double>& t)
{
    auto find = [&](const std::string& k) {
        auto it = t.find(k);
        return it == t.end() ? 0.0 : it->second;
    };
    std::printf("\nvector target: %s\n", yip_target());
    std::printf("%-14s %-10s %9s %9s %8s  %s\n", "conversion", "size", "ns/px", "OpenCV", "ratio", "agreement");
    for (const Case& c : cs) {
        const std::string agree = agreement(c);
        for (Size s : kSizes) {
            const double px = double(s.w) * s.h;
            const double ours = find(label(c, s, "ours")) * 1000 / px;
            const double cv = find(label(c, s, "opencv")) * 1000 / px;
            char size[24];
            std::snprintf(size, sizeof size, "%dx%d", s.w, s.h);
            std::printf("%-14s %-10s %9.3f", c.op.c_str(), size, ours);
            if (cv > 0) {
                std::printf(" %9.3f %8.2f  %s\n", cv, ours / cv, agree.c_str());
            } else {
                std::printf(" %9s %8s\n", "-", "-");
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
    const std::vector<Case> cs = cases();
    static Bytes scratch;
    for (const Case& c : cs) {
        for (Size s : kSizes) {
            benchmark::RegisterBenchmark(label(c, s, "ours").c_str(), [&c, s](benchmark::State& st) {
                Images& im = images(s);
                for (auto _ : st) c.ours(im);
            })->Unit(benchmark::kMicrosecond);
            if (c.opencv) {
                benchmark::RegisterBenchmark(label(c, s, "opencv").c_str(), [&c, s](benchmark::State& st) {
                    Images& im = images(s);
                    scratch.resize(std::max(scratch.size(), im.colour.size()));
                    for (auto _ : st) c.opencv(im, scratch);
                })->Unit(benchmark::kMicrosecond);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    printTable(cs, collector.times);
    benchmark::Shutdown();
    return 0;
}

// Running a kernel under every vector target of this processor, on images
// whose windows start and end at awkward places.
#ifndef TLVSTD_TESTS_CORE_KERNELS_H
#define TLVSTD_TESTS_CORE_KERNELS_H

#include "core/ypel.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#if YCORE_SIMD
#include "hwy/targets.h"
#endif

namespace kerneltest {

// Calls `run(name)` once per compiled target this processor runs, with the
// dispatch forced to it; without vector paths, once as "scalar".
inline void forEachTarget(const std::function<void(const std::string&)>& run)
{
#if YCORE_SIMD
    for (std::int64_t t : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(t);
        run(hwy::TargetName(t));
    }
    hwy::SetSupportedTargetsForTest(0);
#else
    run("scalar");
#endif
}

// A window of width x height pels of `pelSize` bytes that starts `skip` pels
// into its first row, with `pad` bytes after the last pel of each row. The
// storage ends exactly at the window's last pel, so AddressSanitizer sees any
// read or write past it.
class Image {
public:
    Image(std::int32_t width, std::int32_t height, std::int32_t pelSize, std::int32_t skip = 0, std::int32_t pad = 0)
        : stride_(std::ptrdiff_t{width + skip} * pelSize + pad),
          bytes_(height == 0 ? 0 : std::size_t(stride_) * (height - 1) + std::size_t(width + skip) * pelSize),
          skip_(skip)
    {
        im_ = {nullptr, width, height, stride_, pelSize};
        bind();
    }
    Image(const Image& o) : stride_(o.stride_), bytes_(o.bytes_), skip_(o.skip_), im_(o.im_) { bind(); }
    Image& operator=(const Image&) = delete;

    yimg_image* get() { return &im_; }
    const yimg_image* get() const { return &im_; }
    std::int32_t width() const { return im_.width; }
    std::int32_t height() const { return im_.height; }

    template <class T>
    T* row(std::int32_t y)
    {
        return reinterpret_cast<T*>(static_cast<unsigned char*>(im_.pels) + y * stride_);
    }
    template <class T>
    T at(std::int32_t x, std::int32_t y) const
    {
        T v;
        std::memcpy(&v, static_cast<const unsigned char*>(im_.pels) + y * stride_ + std::ptrdiff_t{x} * sizeof(T),
                    sizeof(T));
        return v;
    }
    template <class T>
    void set(std::int32_t x, std::int32_t y, T v)
    {
        std::memcpy(static_cast<unsigned char*>(im_.pels) + y * stride_ + std::ptrdiff_t{x} * sizeof(T), &v,
                    sizeof(T));
    }
    // Every byte of the storage, padding included, from `rng`.
    void fill(std::mt19937& rng)
    {
        for (auto& b : bytes_) b = static_cast<unsigned char>(rng());
    }
    // The window's pels, row after row (padding left out).
    std::vector<unsigned char> pels() const
    {
        std::vector<unsigned char> out;
        const auto* p = static_cast<const unsigned char*>(im_.pels);
        for (std::int32_t y = 0; y < im_.height; ++y) {
            out.insert(out.end(), p + y * stride_, p + y * stride_ + std::ptrdiff_t{im_.width} * im_.pelSize);
        }
        return out;
    }
    // All bytes, padding included: kernels must leave the padding alone.
    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    void bind()
    {
        im_.pels = bytes_.empty() ? nullptr : bytes_.data() + std::size_t(skip_) * im_.pelSize;
        im_.stride = stride_;
    }
    std::ptrdiff_t stride_;
    std::vector<unsigned char> bytes_;
    std::int32_t skip_;
    yimg_image im_;
};

// Pel (x, y) of a window of 1-, 2- or 4-byte pels, as a 32-bit number.
inline void putPel(Image& im, std::int32_t x, std::int32_t y, std::uint32_t v)
{
    switch (im.get()->pelSize) {
    case 1: im.set(x, y, std::uint8_t(v)); break;
    case 2: im.set(x, y, std::uint16_t(v)); break;
    default: im.set(x, y, v); break;
    }
}
inline std::uint32_t getPel(const Image& im, std::int32_t x, std::int32_t y)
{
    switch (im.get()->pelSize) {
    case 1: return im.at<std::uint8_t>(x, y);
    case 2: return im.at<std::uint16_t>(x, y);
    default: return im.at<std::uint32_t>(x, y);
    }
}

// Window shapes that catch tails and odd starts: (width, height, skip, pad).
struct Shape {
    std::int32_t width, height, skip, pad;
};
inline const std::vector<Shape>& awkwardShapes()
{
    static const std::vector<Shape> shapes = {
        {1, 1, 0, 0},   {3, 2, 1, 0},   {15, 3, 1, 5},   {17, 4, 3, 1},  {31, 5, 0, 7},
        {33, 2, 5, 3},  {63, 3, 7, 0},  {65, 2, 1, 13},  {127, 2, 9, 2}, {129, 3, 0, 31},
        {255, 2, 3, 1}, {257, 2, 11, 0}, {1000, 2, 13, 29},
        // Rows without padding, which kernels may walk as one long row.
        {33, 3, 0, 0},  {100, 4, 0, 0},
    };
    return shapes;
}

} // namespace kerneltest

#endif

// Flips, transpose, sampling, expansion, block averages, smoothing, border,
// median and inversion.
#include "std/pelbuf/pelgeom.h"

#include "std/math/xflinear.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Pels8 = ycPelBuffer<unsigned char>;
using Pels8_const = ycPelBuffer_const<unsigned char>;

template <ycPelType T>
ycPelBuffer_const<T> boundCopy(const ycPelBuffer_const<T>& src)
{
    if (!src.isBound()) throw ycPel::UnboundWindow();
    return src;
}

void checkFactors(std::int64_t x, std::int64_t y)
{
    if (x < 1 || y < 1) throw ycPelFunc::BadParams();
}

std::int32_t floorDiv(std::int32_t a, std::int32_t b)
{
    const std::int32_t q = a / b;
    return (a % b != 0 && a < 0) ? q - 1 : q;
}

// One axis of the map from result to source image coordinates:
// source = scale * result + shift.
struct Axis {
    double scale = 1.0;
    double shift = 0.0;
};

// A result of factors fx by fy over `w` whose grid is the source's scaled
// down (sample and spatial average).
ycPelRect reducedRect(const ycPelRect& w, std::int32_t fx, std::int32_t fy)
{
    return ycPelRect(floorDiv(w.x(), fx), floorDiv(w.y(), fy), w.width() / fx, w.height() / fy);
}

// The pels whose sx by sy box lies in `w`, each at its box's (upper-left)
// centre.
ycPelRect boxRect(const ycPelRect& w, std::int32_t sx, std::int32_t sy)
{
    if (w.width() < sx || w.height() < sy) throw ycPel::BadWindow();
    return ycPelRect(w.x() + (sx - 1) / 2, w.y() + (sy - 1) / 2, w.width() - sx + 1, w.height() - sy + 1);
}

// A new buffer over `r` (unbound when r is empty) whose client transform is
// the source's after the map from result to source image coordinates; `swap`
// exchanges the result's axes first.
template <ycPelType T>
ycPelBuffer<T> resultFor(const ycPelBuffer_const<T>& src, const ycPelRect& r, Axis x = {}, Axis y = {},
                         bool swap = false)
{
    if (r.isEmpty()) return {};
    ycPelBuffer<T> out(r, 32);
    if (!swap && x.scale == 1.0 && x.shift == 0.0 && y.scale == 1.0 && y.shift == 0.0) {
        out.copyXforms(src);
        return out;
    }
    const ycMatrix<2> m = swap ? ycMatrix<2>(0.0, x.scale, y.scale, 0.0) : ycMatrix<2>(x.scale, 0.0, 0.0, y.scale);
    const yc2XformLinear sourceFromResult(m, ycVector<2>(x.shift, y.shift));
    out.clientFromImageXformBase(src.clientFromImageXformBase()->composeBase(sourceFromResult), false);
    return out;
}

// The copied source and the new result of a rescaling operation with
// factors (or box sizes) fx and fy: `place` gives the result's rectangle from
// the source window, `axis(x0, r0, f)` one axis of the map from result to
// source image coordinates.
template <ycPelType T, class Place, class AxisOf>
std::pair<ycPelBuffer_const<T>, ycPelBuffer<T>> rescaled(const ycPelBuffer_const<T>& src, std::int32_t fx,
                                                         std::int32_t fy, Place place, AxisOf axis)
{
    checkFactors(fx, fy);
    ycPelBuffer_const<T> s = boundCopy(src);
    const ycPelRect w = s.window();
    const ycPelRect r = place(w);
    ycPelBuffer<T> out = resultFor(s, r, axis(w.x(), r.x(), fx), axis(w.y(), r.y(), fy));
    return {std::move(s), std::move(out)};
}

// Writes one byte of every page of a new result in address order. A blocked
// transpose writes many rows at once, so the first touches of fresh pages
// would otherwise come scattered, which the memory system serves twice as
// slowly as in order.
template <ycPelType T>
void touchPages(ycPelBuffer<T>& out)
{
    if (!out.isBound()) return;
    constexpr std::size_t kPage = 4096;
    auto* p = reinterpret_cast<unsigned char*>(out.pointToOffset());
    const std::size_t bytes = std::size_t(out.rowUpdate()) * sizeof(T) * std::size_t(out.height());
    for (std::size_t i = 0; i < bytes; i += kPage) p[i] = 0;
}

// Runs a core kernel from `s` to `d` when `d` is bound.
template <ycPelType T, class Kernel>
void runCore(const ycPelBuffer_const<T>& s, ycPelBuffer<T>& d, Kernel kernel)
{
    if (!d.isBound()) return;
    const yimg_image si = yf_PelImage(s);
    yimg_image di = yf_PelImage(d);
    yf_PelCheck(kernel(&si, &di));
}

// Each row r of `out` made by `row` from the source row sourceRow(r)
// (counted from the window's top).
template <ycPelType T, class SourceRow, class Row>
void eachRow(const ycPelBuffer_const<T>& src, ycPelBuffer<T>& out, SourceRow sourceRow, Row row)
{
    if (!out.isBound()) return;
    const T* s = src.pointToOffset();
    T* d = out.pointToOffset();
    const std::ptrdiff_t ss = src.rowUpdate();
    const std::ptrdiff_t ds = out.rowUpdate();
    for (std::int32_t r = 0; r < out.height(); ++r) {
        row(s + static_cast<std::ptrdiff_t>(sourceRow(r)) * ss, d + r * ds, out.width());
    }
}

// Each of `count` pels `f` times; the usual factors without a call per pel.
template <ycPelType T>
void replicate(const T* a, T* d, std::int32_t count, std::int32_t f)
{
    if (f == 1) {
        std::copy_n(a, count, d);
    } else if (f == 2) {
        for (std::int32_t i = 0; i < count; ++i) d[2 * i] = d[2 * i + 1] = a[i];
    } else {
        for (std::int32_t i = 0; i < count; ++i) std::fill_n(d + std::ptrdiff_t{i} * f, f, a[i]);
    }
}

// floor(x / n + 1/2) for sums x up to `most`, in U. Where a shift s has
// (most + n/2) n below 2^s and the product below 2^bits(U), a multiply by
// m = ceil(2^s / n) and a shift give it exactly: m n - 2^s is below n, so the
// error x (m n - 2^s) / (n 2^s) stays under 1 / n. Otherwise it divides.
template <class U>
class RoundingDivider {
public:
    RoundingDivider(std::uint64_t n, std::uint64_t most) : n_(U(n)), half_(U(n / 2))
    {
        constexpr int bits = std::numeric_limits<U>::digits;
        const std::uint64_t x = most + n / 2;
        for (int s = bits - 1; s > 0; --s) {
            const std::uint64_t one = std::uint64_t{1} << s;
            if (n >= one || x >= one / n) break;
            const std::uint64_t m = (one + n - 1) / n;
            if (x <= std::numeric_limits<U>::max() / m) {
                m_ = U(m);
                shift_ = s;
                break;
            }
        }
    }
    U operator()(U sum) const { return m_ != 0 ? U((sum + half_) * m_) >> shift_ : (sum + half_) / n_; }

private:
    U n_, half_, m_ = 0;
    int shift_ = 0;
};

// One result row from the column sums `c` of its blocks' rows: F pels a
// block, fixed where the factor is known so the loop vectorises.
template <class Sum, class T, class F>
void blockRow(const Sum* c, T* d, std::size_t count, F fx, const RoundingDivider<Sum>& mean)
{
    constexpr Sum top = std::numeric_limits<T>::max();
    for (std::size_t k = 0; k < count; ++k, c += fx) {
        Sum sum = 0;
        for (std::int32_t i = 0; i < fx; ++i) sum += c[i];
        d[k] = static_cast<T>(std::min(mean(sum), top));
    }
}

// The block averages of `s` into `out`, summed in `Sum`, which holds the sum
// of a whole block: the block's rows are added column by column first, so the
// inner loops run along rows.
template <class Sum, ycPelType T>
void averageBlocks(const ycPelBuffer_const<T>& s, ycPelBuffer<T>& out, std::int32_t fx, std::int32_t fy,
                   const RoundingDivider<Sum>& mean)
{
    const ycPelRect w = s.window();
    const ycPelRect r = out.window();
    const auto outWidth = static_cast<std::size_t>(r.width());
    const std::size_t used = outWidth * static_cast<std::size_t>(fx);
    std::vector<Sum> columns(used);
    for (std::int32_t row = 0; row < r.height(); ++row) {
        const std::int32_t y0 = w.y() + row * fy;
        const T* a = s.pointToRow(y0);
        std::copy_n(a, used, columns.begin());
        for (std::int32_t j = 1; j < fy; ++j) {
            a = s.pointToRow(y0 + j);
            for (std::size_t i = 0; i < used; ++i) columns[i] += a[i];
        }
        T* d = out.pointToRow(r.y() + row);
        if (fx == 2) {
            blockRow(columns.data(), d, outWidth, std::integral_constant<std::int32_t, 2>(), mean);
        } else {
            blockRow(columns.data(), d, outWidth, fx, mean);
        }
    }
}

// A rectangle whose corners must fit in 32 bits, else BadParams.
ycPelRect rect64(std::int64_t x, std::int64_t y, std::int64_t w, std::int64_t h)
{
    constexpr std::int64_t lo = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t hi = std::numeric_limits<std::int32_t>::max();
    for (std::int64_t v : {x, y, w, h, x + w, y + h}) {
        if (v < lo || v > hi) throw ycPelFunc::BadParams();
    }
    return ycPelRect(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), static_cast<std::int32_t>(w),
                     static_cast<std::int32_t>(h));
}

} // namespace

template <ycPelType T>
ycPelBuffer<T> yfPelFlipH(const ycPelBuffer_const<T>& src)
{
    const ycPelBuffer_const<T> s = boundCopy(src);
    const ycPelRect w = s.window();
    ycPelBuffer<T> out = resultFor(s, w, Axis{-1.0, 2.0 * w.x() + w.width() - 1.0});
    runCore(s, out, yip_pelFlipH);
    return out;
}

template <ycPelType T>
ycPelBuffer<T> yfPelFlipV(const ycPelBuffer_const<T>& src)
{
    const ycPelBuffer_const<T> s = boundCopy(src);
    const ycPelRect w = s.window();
    ycPelBuffer<T> out = resultFor(s, w, Axis{}, Axis{-1.0, 2.0 * w.y() + w.height() - 1.0});
    eachRow(s, out, [&](std::int32_t r) { return w.height() - 1 - r; },
            [](const T* a, T* d, std::int32_t n) { std::copy_n(a, n, d); });
    return out;
}

ycPelBuffer<unsigned char> yfPelFlipV_U8(const ycPelBuffer_const<unsigned char>& src)
{
    return yfPelFlipV(src);
}

template <ycPelType T>
ycPelBuffer<T> yfPelTranspose(const ycPelBuffer_const<T>& src)
{
    const ycPelBuffer_const<T> s = boundCopy(src);
    const ycPelRect w = s.window();
    ycPelBuffer<T> out = resultFor(s, ycPelRect(w.y(), w.x(), w.height(), w.width()), Axis{}, Axis{}, true);
    touchPages(out);
    runCore(s, out, yip_pelTranspose);
    return out;
}

template <ycPelType T>
ycPelBuffer<T> yfPelSample(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor)
{
    auto [s, out] = rescaled(
        src, xFactor, yFactor, [=](const ycPelRect& w) { return reducedRect(w, xFactor, yFactor); },
        [](std::int32_t x0, std::int32_t r0, std::int32_t f) { return Axis{double(f), x0 - double(f) * r0}; });
    eachRow(s, out, [=](std::int32_t row) { return std::int64_t{row} * yFactor; },
            [=](const T* a, T* d, std::int32_t n) {
                for (std::int32_t i = 0; i < n; ++i) d[i] = a[std::ptrdiff_t{i} * xFactor];
            });
    return out;
}

template <ycPelType T>
ycPelBuffer<T> yfPelExpand(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor)
{
    auto place = [=](const ycPelRect& w) {
        return rect64(std::int64_t{w.x()} * xFactor, std::int64_t{w.y()} * yFactor,
                      std::int64_t{w.width()} * xFactor, std::int64_t{w.height()} * yFactor);
    };
    // The centre of each block maps to the centre of its source pel.
    auto axis = [](std::int32_t x0, std::int32_t r0, std::int32_t f) {
        return Axis{1.0 / f, x0 - (r0 + (f - 1) / 2.0) / f};
    };
    auto [s, out] = rescaled(src, xFactor, yFactor, place, axis);
    eachRow(s, out, [=](std::int32_t row) { return row / yFactor; },
            [=, last = static_cast<const T*>(nullptr), made = static_cast<const T*>(nullptr)](
                const T* a, T* d, std::int32_t n) mutable {
                if (a == last) {
                    std::copy_n(made, n, d); // the block's first row, again
                    return;
                }
                replicate(a, d, n / xFactor, xFactor);
                last = a;
                made = d;
            });
    return out;
}

template <ycPelType T>
ycPelBuffer<T> yfPelSpatialAvg(const ycPelBuffer_const<T>& src, std::int32_t xFactor, std::int32_t yFactor,
                               std::uint32_t divisor)
{
    // Each result pel sits at its block's centre.
    auto made = rescaled(
        src, xFactor, yFactor, [=](const ycPelRect& w) { return reducedRect(w, xFactor, yFactor); },
        [](std::int32_t x0, std::int32_t r0, std::int32_t f) {
            return Axis{double(f), x0 + (f - 1) / 2.0 - double(f) * r0};
        });
    const ycPelBuffer_const<T>& s = made.first;
    ycPelBuffer<T>& out = made.second;
    if (!out.isBound()) return out;
    const std::uint64_t blockPels = std::uint64_t(xFactor) * std::uint64_t(yFactor);
    const std::uint64_t most = blockPels * std::numeric_limits<T>::max();
    const std::uint64_t n = divisor != 0 ? divisor : blockPels;
    if (most + n / 2 <= std::numeric_limits<std::uint32_t>::max()) {
        averageBlocks(s, out, xFactor, yFactor, RoundingDivider<std::uint32_t>(n, most));
    } else {
        averageBlocks(s, out, xFactor, yFactor, RoundingDivider<std::uint64_t>(n, most));
    }
    return out;
}

ycPelBuffer<unsigned char> yfPelSmooth(const ycPelBuffer_const<unsigned char>& src, int xSize, int ySize)
{
    auto made = rescaled(
        src, xSize, ySize, [=](const ycPelRect& w) { return boxRect(w, xSize, ySize); },
        [](std::int32_t x0, std::int32_t r0, std::int32_t size) { return Axis{1.0, x0 - r0 + (size - 1) / 2.0}; });
    const Pels8_const& s = made.first;
    Pels8& out = made.second;
    if (!out.isBound()) return out;
    const ycPelRect w = s.window();
    const ycPelRect r = out.window();

    // Row sums of the last ySize source rows (row y in slot y % ySize), and
    // the column sums of those.
    const auto rw = static_cast<std::size_t>(r.width());
    std::vector<std::uint64_t> ring(rw * static_cast<std::size_t>(ySize)), column(rw, 0);
    auto rowSums = [&](std::int32_t y) {
        const unsigned char* a = s.pointToRow(w.y() + y);
        std::uint64_t* h = ring.data() + static_cast<std::size_t>(y % ySize) * rw;
        std::uint64_t sum = 0;
        for (int i = 0; i < xSize; ++i) sum += a[i];
        h[0] = sum;
        for (std::size_t k = 1; k < rw; ++k) {
            sum = sum + a[k + static_cast<std::size_t>(xSize) - 1] - a[k - 1];
            h[k] = sum;
        }
        return h;
    };
    auto addRow = [&](const std::uint64_t* h) {
        for (std::size_t k = 0; k < rw; ++k) column[k] += h[k];
    };
    for (std::int32_t y = 0; y < ySize; ++y) addRow(rowSums(y));
    const std::uint64_t boxPels = std::uint64_t(xSize) * std::uint64_t(ySize);
    const RoundingDivider<std::uint64_t> mean(boxPels, 255 * boxPels);
    for (std::int32_t row = 0; row < r.height(); ++row) {
        unsigned char* d = out.pointToRow(r.y() + row);
        for (std::size_t k = 0; k < rw; ++k) d[k] = static_cast<unsigned char>(mean(column[k]));
        if (row + 1 == r.height()) break;
        const std::uint64_t* leaving = ring.data() + static_cast<std::size_t>(row % ySize) * rw;
        for (std::size_t k = 0; k < rw; ++k) column[k] -= leaving[k];
        addRow(rowSums(row + ySize));
    }
    return out;
}

template <ycPelType T>
void yfPelBorderSet(ycPelBuffer<T>& dst, T value)
{
    if (!dst.isBound()) throw ycPel::UnboundWindow();
    if (dst.window().isEmpty()) return;
    const std::int32_t w = dst.width();
    const std::int32_t h = dst.height();
    const std::ptrdiff_t stride = dst.rowUpdate();
    T* first = dst.pointToOffset();
    std::fill_n(first, w, value);
    std::fill_n(first + (h - 1) * stride, w, value);
    for (std::int32_t y = 1; y < h - 1; ++y) {
        first[y * stride] = value;
        first[y * stride + w - 1] = value;
    }
}

ycPelBuffer<unsigned char> yfPelInvert_U8(const ycPelBuffer_const<unsigned char>& src)
{
    const Pels8_const s = boundCopy(src);
    Pels8 out = resultFor(s, s.window());
    runCore(s, out, yip_pelInvert8);
    return out;
}

void yfPelMedian3x3(const ycPelBuffer_const<unsigned char>& src, ycPelBuffer<unsigned char>& dst)
{
    Pels8_const s = boundCopy(src);
    const ycPelRect inner = boxRect(s.window(), 3, 3);
    if (!dst.isBound()) {
        dst = resultFor(s, inner);
        runCore(s, dst, yip_pelMedian3x3_8);
        return;
    }
    const ycPelRect r = inner.intersect(dst.window());
    if (r.isEmpty()) return;
    s.window(ycPelRect(r.x() - 1, r.y() - 1, r.width() + 2, r.height() + 2), false);
    Pels8 d = dst;
    d.window(r, false);
    if (d.sharesPels(s)) throw ycPelFunc::Overlap();
    runCore(s, d, yip_pelMedian3x3_8);
    d.copyXforms(s);
    dst = d;
}

ycPelBuffer<unsigned char> yfPelMedian3x3(const ycPelBuffer_const<unsigned char>& src)
{
    Pels8 out;
    yfPelMedian3x3(src, out);
    return out;
}

TLVSTD_PELGEOM_INSTANCES(template TLVSTD_INSTANCE_API)

// Pixel rectangles: an origin (x, y) and a size (width, height), all signed
// 32-bit, covering the pels x <= px < x + width, y <= py < y + height.
//
// The constructor accepts any values: a window with a negative size is
// reported by the operation that receives it (a pel buffer's BadWindow), and
// ycRectErrors are thrown only by operations that check explicitly.
//
//   isEmpty()      width <= 0 or height <= 0.
//   contains(r)    r lies in the closed rectangle: x <= r.x, y <= r.y,
//                  r.x + r.width <= x + width, r.y + r.height <= y + height,
//                  and r's sizes are not negative. An empty r holds no pels
//                  but still has a place: a width of 0 at the right edge,
//                  (x + width, y, 0, height), is inside; an empty r is
//                  contained when its origin lies in the closed rectangle
//                  and its other extent fits.
//   intersect(r)   origin at the larger of the two origins, sizes clamped at
//                  0; the origin of an empty intersection may lie outside
//                  both rectangles.
//   overlaps(r)    the intersection has positive area.
//   translate(dx, dy)  the origin moved; coordinates wrap at 32 bits.
// Ends are computed in 64 bits, so no sum overflows.
//
// Archive form: x, y, width, height as 32-bit integers, no version byte.
#ifndef TLVSTD_PELBUF_PELRECT_H
#define TLVSTD_PELBUF_PELRECT_H

#include "std/archive/archive.h"
#include "std/except/except.h"
#include "std/math/pair.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

class ycRectErrors {
public:
    ymErrorGroup(ycException);
    ymError(NoOverlap, Errors);
    ymError(NegativeSize, Errors);
};

class ycPelRect {
public:
    constexpr ycPelRect() = default;
    constexpr ycPelRect(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height)
        : x_(x), y_(y), width_(width), height_(height)
    {
    }
    constexpr ycPelRect(const ycPair<std::int32_t>& origin, const ycPair<std::int32_t>& size)
        : x_(origin.first), y_(origin.second), width_(size.first), height_(size.second)
    {
    }

    constexpr std::int32_t x() const { return x_; }
    constexpr std::int32_t y() const { return y_; }
    constexpr std::int32_t width() const { return width_; }
    constexpr std::int32_t height() const { return height_; }
    constexpr ycPair<std::int32_t> origin() const { return {x_, y_}; }
    constexpr ycPair<std::int32_t> size() const { return {width_, height_}; }

    constexpr bool isEmpty() const { return width_ <= 0 || height_ <= 0; }

    constexpr bool contains(const ycPelRect& r) const
    {
        return r.width_ >= 0 && r.height_ >= 0 && x_ <= r.x_ && y_ <= r.y_ && r.xEnd() <= xEnd() &&
               r.yEnd() <= yEnd();
    }
    constexpr ycPelRect intersect(const ycPelRect& r) const
    {
        std::int32_t ox = std::max(x_, r.x_);
        std::int32_t oy = std::max(y_, r.y_);
        // Never more than the smaller width, so it fits in 32 bits.
        std::int64_t w = std::max<std::int64_t>(0, std::min(xEnd(), r.xEnd()) - ox);
        std::int64_t h = std::max<std::int64_t>(0, std::min(yEnd(), r.yEnd()) - oy);
        return ycPelRect(ox, oy, static_cast<std::int32_t>(w), static_cast<std::int32_t>(h));
    }
    constexpr bool overlaps(const ycPelRect& r) const
    {
        ycPelRect i = intersect(r);
        return i.width_ > 0 && i.height_ > 0;
    }
    [[nodiscard]] constexpr ycPelRect translate(std::int32_t dx, std::int32_t dy) const
    {
        return ycPelRect(wrapAdd(x_, dx), wrapAdd(y_, dy), width_, height_);
    }
    [[nodiscard]] constexpr ycPelRect translate(const ycPair<std::int32_t>& d) const
    {
        return translate(d.first, d.second);
    }

    friend constexpr bool operator==(const ycPelRect&, const ycPelRect&) = default;

    friend ycArchive& operator||(ycArchive& ar, ycPelRect& r)
    {
        // A load cut short leaves the rectangle as it was.
        ycPelRect v = r;
        ar || v.x_ || v.y_ || v.width_ || v.height_;
        r = v;
        return ar;
    }

private:
    constexpr std::int64_t xEnd() const { return std::int64_t{x_} + width_; }
    constexpr std::int64_t yEnd() const { return std::int64_t{y_} + height_; }
    static constexpr std::int32_t wrapAdd(std::int32_t a, std::int32_t b)
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
    }

    std::int32_t x_ = 0;
    std::int32_t y_ = 0;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
};

static_assert(sizeof(ycPelRect) == 16 && std::is_trivially_copyable_v<ycPelRect>);

#endif

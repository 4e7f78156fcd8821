// Two values of one type: a pixel position or size, a two-channel pel.
//
// `first` and `second` are public; x() and y() name the same fields for
// coordinates. ycPair<std::int32_t> is 8 bytes on every platform (it is a
// pixel type, and pel buffers copy it as raw memory); it is the type that
// canonical names spell ycPair<long>.
//
// Integer components wrap on + and - instead of overflowing, as pixel
// arithmetic does.
//
// Archive form: the two components in order, each as its primitive, with no
// version byte.
#ifndef TLVSTD_MATH_PAIR_H
#define TLVSTD_MATH_PAIR_H

#include "std/archive/archive.h"

#include <concepts>
#include <cstdint>
#include <type_traits>

template <class T>
class ycPair {
public:
    T first{};
    T second{};

    constexpr ycPair() = default;
    constexpr ycPair(T f, T s) : first(f), second(s) {}

    constexpr T x() const { return first; }
    constexpr T y() const { return second; }
    constexpr void x(T v) { first = v; }
    constexpr void y(T v) { second = v; }

    constexpr ycPair& operator+=(const ycPair& p)
    {
        first = add(first, p.first);
        second = add(second, p.second);
        return *this;
    }
    constexpr ycPair& operator-=(const ycPair& p)
    {
        first = sub(first, p.first);
        second = sub(second, p.second);
        return *this;
    }
    friend constexpr ycPair operator+(ycPair a, const ycPair& b) { return a += b; }
    friend constexpr ycPair operator-(ycPair a, const ycPair& b) { return a -= b; }
    friend constexpr bool operator==(const ycPair&, const ycPair&) = default;

private:
    // Sums of signed integers go through the unsigned type, where wrapping is
    // defined; the cast back is modular.
    static constexpr T add(T a, T b)
    {
        if constexpr (std::signed_integral<T>) {
            using U = std::make_unsigned_t<T>;
            return static_cast<T>(static_cast<U>(static_cast<U>(a) + static_cast<U>(b)));
        } else {
            return static_cast<T>(a + b);
        }
    }
    static constexpr T sub(T a, T b)
    {
        if constexpr (std::signed_integral<T>) {
            using U = std::make_unsigned_t<T>;
            return static_cast<T>(static_cast<U>(static_cast<U>(a) - static_cast<U>(b)));
        } else {
            return static_cast<T>(a - b);
        }
    }
};

static_assert(sizeof(ycPair<std::int32_t>) == 8, "ycPair<std::int32_t> is a pixel type of 8 bytes");
static_assert(sizeof(ycPair<float>) == 8, "ycPair<float> is a pixel type of 8 bytes");
static_assert(std::is_trivially_copyable_v<ycPair<std::int32_t>>);

template <class T>
    requires requires(ycArchive& ar, T& v) { ar || v; }
ycArchive& operator||(ycArchive& ar, ycPair<T>& p)
{
    // A load cut short leaves the pair as it was.
    ycPair<T> v = p;
    ar || v.first || v.second;
    p = v;
    return ar;
}

#endif

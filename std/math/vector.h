// Fixed-size vectors of doubles: ycVector<2> (x, y) and ycVector<3> (x, y, z).
//
// Plain values: no allocation, trivially copyable, the arithmetic inline so a
// loop over vectors compiles to the same code as one over bare doubles.
//
// Exact rules: == compares components exactly; isNull() is true when every
// component is exactly 0.0; dividing by exactly 0.0 is a broken precondition
// (an assertion, "std/math/vector"), after which the division goes on by the
// reciprocal as usual. Tolerant comparison is yfRealEq with the caller's eps,
// component by component in storage order.
//
// angle() and unit() of a null vector throw ycMathError::NullVector, and so
// does project() onto a null vector (the direction is undefined). unit() first
// tries v * (1 / len()); when len() underflows to 0 or overflows to infinity
// it scales by the largest component first, so tiny and huge vectors still
// give a unit vector.
//
// floor() and ceil() saturate: a NaN or out-of-range component gives INT32_MIN.
//
// Archive form: version byte 0, then the components as doubles. Another
// version throws ycArchive::UnknownVersion naming "std/math/vector".
#ifndef TLVSTD_MATH_VECTOR_H
#define TLVSTD_MATH_VECTOR_H

#include "core/ymath.h"
#include "std/archive/archive.h"
#include "std/math/angle.h"
#include "std/math/matherror.h"
#include "std/math/pair.h"
#include "std/math/scalar.h"
#include "std/util/assert.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <type_traits>

template <int N>
class ycVector;

// What ycVector<2> and ycVector<3> share: the components in order, and every
// operation that treats them alike. Sums run from the first component on, so
// the results are the bits of the expressions written out by hand.
template <int N>
class yc_FixedVector {
public:
    constexpr double x() const { return e_[0]; }
    constexpr double y() const { return e_[1]; }
    constexpr void x(double v) { e_[0] = v; }
    constexpr void y(double v) { e_[1] = v; }
    // Index 0 to N-1; another index is an assertion and then reads element 0.
    constexpr double operator[](int i) const { return e_[index(i)]; }
    constexpr double& operator[](int i) { return e_[index(i)]; }

    double len() const { return std::sqrt(dot(self())); }
    double distance(const ycVector<N>& v) const { return (self() - v).len(); }
    constexpr bool isNull() const
    {
        for (double e : e_) {
            if (e != 0.0) return false;
        }
        return true;
    }

    constexpr double dot(const ycVector<N>& w) const
    {
        double s = e_[0] * w.e_[0];
        for (int i = 1; i < N; ++i) s += e_[i] * w.e_[i];
        return s;
    }
    ycVector<N> unit() const
    {
        if (isNull()) throw ycMathError::NullVector();
        double l = len();
        if (l > 0.0 && l < HUGE_VAL) return self() * (1.0 / l);
        // The length under- or overflowed: scale by the largest component first.
        double big = 0.0;
        for (double e : e_) big = std::max(big, std::fabs(e));
        ycVector<N> s = self() * (1.0 / big);
        return s * (1.0 / s.len());
    }
    // The projection of this vector onto the line of w.
    ycVector<N> project(const ycVector<N>& w) const
    {
        if (w.isNull()) throw ycMathError::NullVector();
        return w * (dot(w) / w.dot(w));
    }

    constexpr ycVector<N>& operator+=(const ycVector<N>& v)
    {
        for (int i = 0; i < N; ++i) e_[i] += v.e_[i];
        return self();
    }
    constexpr ycVector<N>& operator-=(const ycVector<N>& v)
    {
        for (int i = 0; i < N; ++i) e_[i] -= v.e_[i];
        return self();
    }
    constexpr ycVector<N>& operator*=(double s)
    {
        for (double& e : e_) e *= s;
        return self();
    }
    ycVector<N>& operator/=(double s)
    {
        ymAssert(s != 0.0);
        return *this *= 1.0 / s;
    }

    friend constexpr ycVector<N> operator+(ycVector<N> a, const ycVector<N>& b) { return a += b; }
    friend constexpr ycVector<N> operator-(ycVector<N> a, const ycVector<N>& b) { return a -= b; }
    friend constexpr ycVector<N> operator-(ycVector<N> a)
    {
        for (double& e : a.e_) e = -e;
        return a;
    }
    friend constexpr ycVector<N> operator*(ycVector<N> a, double s) { return a *= s; }
    friend constexpr ycVector<N> operator*(double s, ycVector<N> a) { return a *= s; }
    friend ycVector<N> operator/(ycVector<N> a, double s) { return a /= s; }
    // The scalar product.
    friend constexpr double operator*(const ycVector<N>& a, const ycVector<N>& b) { return a.dot(b); }
    friend constexpr bool operator==(const ycVector<N>& a, const ycVector<N>& b)
    {
        for (int i = 0; i < N; ++i) {
            if (a.e_[i] != b.e_[i]) return false;
        }
        return true;
    }

protected:
    constexpr yc_FixedVector() = default;
    template <class... T>
        requires(sizeof...(T) == N)
    constexpr explicit yc_FixedVector(T... e) : e_{e...}
    {
    }

    double e_[N] = {};

private:
    static constexpr const char* kSourceName = ycSource::vector;
    constexpr ycVector<N>& self() { return static_cast<ycVector<N>&>(*this); }
    constexpr const ycVector<N>& self() const { return static_cast<const ycVector<N>&>(*this); }
    constexpr int index(int i) const
    {
        ymAssert(i >= 0 && i < N);
        return i >= 0 && i < N ? i : 0;
    }
};

template <>
class ycVector<2> : public yc_FixedVector<2> {
public:
    constexpr ycVector() = default;
    constexpr ycVector(double x, double y) : yc_FixedVector(x, y) {}
    // Polar form: (radius cos theta, radius sin theta).
    ycVector(double radius, ycRadian theta) : yc_FixedVector(radius * cos(theta), radius * sin(theta)) {}
    template <class T>
        requires std::is_arithmetic_v<T>
    constexpr explicit ycVector(const ycPair<T>& p)
        : yc_FixedVector(static_cast<double>(p.first), static_cast<double>(p.second))
    {
    }
    constexpr explicit ycVector(const ymath_vect& v) : yc_FixedVector(v.x, v.y) {}
    constexpr operator ymath_vect() const { return ymath_vect{e_[0], e_[1]}; }

    constexpr double cross(const ycVector& w) const { return e_[0] * w.e_[1] - e_[1] * w.e_[0]; }
    // Rotated by +90 degrees.
    constexpr ycVector perpendicular() const { return ycVector(-e_[1], e_[0]); }
    ycRadian angle() const
    {
        if (isNull()) throw ycMathError::NullVector();
        return yfAtan2(e_[1], e_[0]);
    }
    ycPair<std::int32_t> floor() const { return {yfIFloor(e_[0]), yfIFloor(e_[1])}; }
    ycPair<std::int32_t> ceil() const { return {yfICeil(e_[0]), yfICeil(e_[1])}; }
};

template <>
class ycVector<3> : public yc_FixedVector<3> {
public:
    constexpr ycVector() = default;
    constexpr ycVector(double x, double y, double z) : yc_FixedVector(x, y, z) {}

    constexpr double z() const { return e_[2]; }
    constexpr void z(double v) { e_[2] = v; }

    constexpr ycVector cross(const ycVector& w) const
    {
        return ycVector(e_[1] * w.e_[2] - e_[2] * w.e_[1], e_[2] * w.e_[0] - e_[0] * w.e_[2],
                        e_[0] * w.e_[1] - e_[1] * w.e_[0]);
    }
};

static_assert(sizeof(ycVector<2>) == 16 && sizeof(ycVector<3>) == 24);
static_assert(std::is_trivially_copyable_v<ycVector<2>> && std::is_trivially_copyable_v<ycVector<3>>);

// The scalar rule on every component, in storage order.
template <int N>
bool yfRealEq(const ycVector<N>& a, const ycVector<N>& b, double eps)
{
    for (int i = 0; i < N; ++i) {
        if (!yfRealEq(a[i], b[i], eps)) return false;
    }
    return true;
}

TLVSTD_API ycArchive& operator||(ycArchive& ar, ycVector<2>& v);
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycVector<3>& v);

#endif

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

template <>
class ycVector<2> {
public:
    constexpr ycVector() = default;
    constexpr ycVector(double x, double y) : e_{x, y} {}
    // Polar form: (radius cos theta, radius sin theta).
    ycVector(double radius, ycRadian theta) : e_{radius * cos(theta), radius * sin(theta)} {}
    template <class T>
        requires std::is_arithmetic_v<T>
    constexpr explicit ycVector(const ycPair<T>& p) : e_{static_cast<double>(p.first), static_cast<double>(p.second)}
    {
    }
    constexpr explicit ycVector(const ymath_vect& v) : e_{v.x, v.y} {}
    constexpr operator ymath_vect() const { return ymath_vect{e_[0], e_[1]}; }

    constexpr double x() const { return e_[0]; }
    constexpr double y() const { return e_[1]; }
    constexpr void x(double v) { e_[0] = v; }
    constexpr void y(double v) { e_[1] = v; }
    // Index 0 or 1; another index is an assertion and then reads element 0.
    double operator[](int i) const { return e_[index(i)]; }
    double& operator[](int i) { return e_[index(i)]; }

    double len() const { return std::sqrt(e_[0] * e_[0] + e_[1] * e_[1]); }
    double distance(const ycVector& v) const { return (*this - v).len(); }
    constexpr bool isNull() const { return e_[0] == 0.0 && e_[1] == 0.0; }

    constexpr double dot(const ycVector& w) const { return e_[0] * w.e_[0] + e_[1] * w.e_[1]; }
    constexpr double cross(const ycVector& w) const { return e_[0] * w.e_[1] - e_[1] * w.e_[0]; }
    // Rotated by +90 degrees.
    constexpr ycVector perpendicular() const { return ycVector(-e_[1], e_[0]); }
    ycRadian angle() const
    {
        if (isNull()) throw ycMathError::NullVector();
        return yfAtan2(e_[1], e_[0]);
    }
    ycVector unit() const;
    // The projection of this vector onto the line of w.
    ycVector project(const ycVector& w) const
    {
        if (w.isNull()) throw ycMathError::NullVector();
        return w * (dot(w) / w.dot(w));
    }
    ycPair<std::int32_t> floor() const { return {yfIFloor(e_[0]), yfIFloor(e_[1])}; }
    ycPair<std::int32_t> ceil() const { return {yfICeil(e_[0]), yfICeil(e_[1])}; }

    constexpr ycVector& operator+=(const ycVector& v)
    {
        e_[0] += v.e_[0];
        e_[1] += v.e_[1];
        return *this;
    }
    constexpr ycVector& operator-=(const ycVector& v)
    {
        e_[0] -= v.e_[0];
        e_[1] -= v.e_[1];
        return *this;
    }
    constexpr ycVector& operator*=(double s)
    {
        e_[0] *= s;
        e_[1] *= s;
        return *this;
    }
    ycVector& operator/=(double s)
    {
        ymAssert(s != 0.0);
        return *this *= 1.0 / s;
    }

    friend constexpr ycVector operator+(ycVector a, const ycVector& b) { return a += b; }
    friend constexpr ycVector operator-(ycVector a, const ycVector& b) { return a -= b; }
    friend constexpr ycVector operator-(const ycVector& a) { return ycVector(-a.e_[0], -a.e_[1]); }
    friend constexpr ycVector operator*(ycVector a, double s) { return a *= s; }
    friend constexpr ycVector operator*(double s, ycVector a) { return a *= s; }
    friend ycVector operator/(ycVector a, double s) { return a /= s; }
    // The scalar product.
    friend constexpr double operator*(const ycVector& a, const ycVector& b) { return a.dot(b); }
    friend constexpr bool operator==(const ycVector&, const ycVector&) = default;

private:
    static constexpr const char* kSourceName = ycSource::vector;
    int index(int i) const
    {
        ymAssert(i == 0 || i == 1);
        return i == 1 ? 1 : 0;
    }

    double e_[2] = {0.0, 0.0};
};

template <>
class ycVector<3> {
public:
    constexpr ycVector() = default;
    constexpr ycVector(double x, double y, double z) : e_{x, y, z} {}

    constexpr double x() const { return e_[0]; }
    constexpr double y() const { return e_[1]; }
    constexpr double z() const { return e_[2]; }
    constexpr void x(double v) { e_[0] = v; }
    constexpr void y(double v) { e_[1] = v; }
    constexpr void z(double v) { e_[2] = v; }
    // Index 0, 1 or 2; another index is an assertion and then reads element 0.
    double operator[](int i) const { return e_[index(i)]; }
    double& operator[](int i) { return e_[index(i)]; }

    double len() const { return std::sqrt(e_[0] * e_[0] + e_[1] * e_[1] + e_[2] * e_[2]); }
    double distance(const ycVector& v) const { return (*this - v).len(); }
    constexpr bool isNull() const { return e_[0] == 0.0 && e_[1] == 0.0 && e_[2] == 0.0; }

    constexpr double dot(const ycVector& w) const { return e_[0] * w.e_[0] + e_[1] * w.e_[1] + e_[2] * w.e_[2]; }
    constexpr ycVector cross(const ycVector& w) const
    {
        return ycVector(e_[1] * w.e_[2] - e_[2] * w.e_[1], e_[2] * w.e_[0] - e_[0] * w.e_[2],
                        e_[0] * w.e_[1] - e_[1] * w.e_[0]);
    }
    ycVector unit() const;
    ycVector project(const ycVector& w) const
    {
        if (w.isNull()) throw ycMathError::NullVector();
        return w * (dot(w) / w.dot(w));
    }

    constexpr ycVector& operator+=(const ycVector& v)
    {
        e_[0] += v.e_[0];
        e_[1] += v.e_[1];
        e_[2] += v.e_[2];
        return *this;
    }
    constexpr ycVector& operator-=(const ycVector& v)
    {
        e_[0] -= v.e_[0];
        e_[1] -= v.e_[1];
        e_[2] -= v.e_[2];
        return *this;
    }
    constexpr ycVector& operator*=(double s)
    {
        e_[0] *= s;
        e_[1] *= s;
        e_[2] *= s;
        return *this;
    }
    ycVector& operator/=(double s)
    {
        ymAssert(s != 0.0);
        return *this *= 1.0 / s;
    }

    friend constexpr ycVector operator+(ycVector a, const ycVector& b) { return a += b; }
    friend constexpr ycVector operator-(ycVector a, const ycVector& b) { return a -= b; }
    friend constexpr ycVector operator-(const ycVector& a) { return ycVector(-a.e_[0], -a.e_[1], -a.e_[2]); }
    friend constexpr ycVector operator*(ycVector a, double s) { return a *= s; }
    friend constexpr ycVector operator*(double s, ycVector a) { return a *= s; }
    friend ycVector operator/(ycVector a, double s) { return a /= s; }
    friend constexpr double operator*(const ycVector& a, const ycVector& b) { return a.dot(b); }
    friend constexpr bool operator==(const ycVector&, const ycVector&) = default;

private:
    static constexpr const char* kSourceName = ycSource::vector;
    int index(int i) const
    {
        ymAssert(i >= 0 && i <= 2);
        return i >= 0 && i <= 2 ? i : 0;
    }

    double e_[3] = {0.0, 0.0, 0.0};
};

static_assert(sizeof(ycVector<2>) == 16 && sizeof(ycVector<3>) == 24);
static_assert(std::is_trivially_copyable_v<ycVector<2>> && std::is_trivially_copyable_v<ycVector<3>>);

// Scales by the largest component when the plain length is 0 or infinite;
// the caller has excluded a null vector.
template <int N>
ycVector<N> yf_CarefulUnit(const ycVector<N>& v)
{
    double big = 0.0;
    for (int i = 0; i < N; ++i) big = std::max(big, std::fabs(v[i]));
    ycVector<N> s = v * (1.0 / big);
    return s * (1.0 / s.len());
}

inline ycVector<2> ycVector<2>::unit() const
{
    if (isNull()) throw ycMathError::NullVector();
    double l = len();
    if (l > 0.0 && l < HUGE_VAL) return *this * (1.0 / l);
    return yf_CarefulUnit(*this);
}

inline ycVector<3> ycVector<3>::unit() const
{
    if (isNull()) throw ycMathError::NullVector();
    double l = len();
    if (l > 0.0 && l < HUGE_VAL) return *this * (1.0 / l);
    return yf_CarefulUnit(*this);
}

inline bool yfRealEq(const ycVector<2>& a, const ycVector<2>& b, double eps)
{
    return yfRealEq(a.x(), b.x(), eps) && yfRealEq(a.y(), b.y(), eps);
}

inline bool yfRealEq(const ycVector<3>& a, const ycVector<3>& b, double eps)
{
    return yfRealEq(a.x(), b.x(), eps) && yfRealEq(a.y(), b.y(), eps) && yfRealEq(a.z(), b.z(), eps);
}

TLVSTD_API ycArchive& operator||(ycArchive& ar, ycVector<2>& v);
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycVector<3>& v);

#endif

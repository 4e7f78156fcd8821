// Angles: ycRadian and ycDegree (a double each) and the integer angles
// ycAngle8 (1/256 of a turn) and ycAngle16 (1/65536 of a turn).
//
// Nothing normalises by itself: ycRadian(7.0) stays 7.0 through arithmetic and
// comparison until norm() ([0, 2pi)) or signedNorm() ([-pi, pi), +pi maps to
// -pi) is asked for. Comparisons are exact on the stored value. Integer angles
// wrap modulo a turn on every operation and compare as unsigned raw values, so
// ycAngle8(255) > ycAngle8(0) although 255 is just short of a full turn.
//
// Conversions use fixed constants, so results are the same on every platform:
//   degrees -> radians   x 0.017453292519943295     radians -> degrees   x 57.29577951308232
//   ycAngle8 -> radians  x 0.02454369260617026      ycAngle8 -> degrees  x 1.40625
//   ycAngle16 -> radians x 9.587379924285257e-5     ycAngle16 -> degrees x 0.0054931640625
//   radians -> ycAngle8  x 40.74366543152521        degrees -> ycAngle8  x 0.7111111111111111
//   radians -> ycAngle16 x 10430.378350470453       degrees -> ycAngle16 x 182.04444444444445
// Towards an integer angle the product is rounded half up, floor(v*k + 0.5),
// converted to a 64-bit integer (NaN and out of range give INT64_MIN) and
// reduced to the low 8 or 16 bits; the reduction modulo a turn happens only
// there, so ycAngle8(ycRadian(-1)) is 256 - 41 = 215. ycAngle8 -> ycAngle16
// shifts left by 8; ycAngle16 -> ycAngle8 is (raw + 128) >> 8 truncated, which
// rounds halves up and takes 65408..65535 to 0.
//
// Conversions between ycRadian and ycDegree, and from the integer angles to
// either, are implicit (nothing is lost); towards an integer angle, and from a
// plain double, they are explicit.
//
// atan2 and atan of doubles giving a ycRadian are spelt yfAtan2 and yfAtan:
// the C library already owns ::atan2(double, double).
//
// Archive form of ycRadian and ycDegree: the stored double, no version byte.
#ifndef TLVSTD_MATH_ANGLE_H
#define TLVSTD_MATH_ANGLE_H

#include "std/archive/archive.h"
#include "std/math/scalar.h"
#include "std/util/numeric.h"

#include <cmath>
#include <compare>
#include <cstdint>
#include <type_traits>

class ycRadian;
class ycDegree;
class ycAngle8;
class ycAngle16;

inline constexpr double yc_kPi = 3.141592653589793;
inline constexpr double yc_kTwoPi = 6.283185307179586;
inline constexpr double yc_kDegToRad = 0.017453292519943295;
inline constexpr double yc_kRadToDeg = 57.29577951308232;
inline constexpr double yc_kAngle8ToRad = 0.02454369260617026;
inline constexpr double yc_kAngle8ToDeg = 1.40625;
inline constexpr double yc_kAngle16ToRad = 9.587379924285257e-5;
inline constexpr double yc_kAngle16ToDeg = 0.0054931640625;
inline constexpr double yc_kRadToAngle8 = 40.74366543152521;
inline constexpr double yc_kDegToAngle8 = 0.7111111111111111;
inline constexpr double yc_kRadToAngle16 = 10430.378350470453;
inline constexpr double yc_kDegToAngle16 = 182.04444444444445;

// Rounds v*k half up and keeps the low bits of the 64-bit result.
template <class Raw>
inline Raw yf_ToIntAngle(double v, double k)
{
    return static_cast<Raw>(yf_ToInt64Sat(std::floor(v * k + 0.5)));
}

// fmod keeps the dividend's sign; a negative remainder moves up one turn.
// A tiny negative value can round up to exactly one turn.
inline double yf_AngleNorm(double v, double turn)
{
    double r = std::fmod(v, turn);
    if (r < 0.0) r += turn;
    return r;
}

inline double yf_AngleSignedNorm(double v, double turn, double half)
{
    if (v >= -half && v < half) return v;
    double n = yf_AngleNorm(v, turn);
    return n >= turn - n ? n - turn : n;
}

// An angle held as one stored value, a double or a raw fraction of a turn:
// access to it, and comparisons exact on it.
template <class Angle, class Rep>
class yc_StoredAngle {
public:
    constexpr Rep plain() const { return v_; }
    constexpr double toDouble() const { return v_; }
    constexpr Angle& operator=(Rep v)
    {
        v_ = v;
        return self();
    }

    friend constexpr bool operator==(Angle a, Angle b) { return a.plain() == b.plain(); }
    friend constexpr auto operator<=>(Angle a, Angle b) { return a.plain() <=> b.plain(); }

protected:
    constexpr yc_StoredAngle() = default;
    constexpr explicit yc_StoredAngle(Rep v) : v_(v) {}
    constexpr Angle& self() { return static_cast<Angle&>(*this); }

    Rep v_{};
};

// The arithmetic of an angle held as one double, the same for both units:
// sums, differences and scaling give the unit back; a product or quotient of
// two angles is a plain double.
template <class Angle>
class yc_DoubleAngle : public yc_StoredAngle<Angle, double> {
protected:
    using Base = yc_StoredAngle<Angle, double>;
    using Base::self;
    using Base::v_;

public:
    using Base::operator=;

    constexpr Angle& operator+=(Angle r) { v_ += r.v_; return self(); }
    constexpr Angle& operator-=(Angle r) { v_ -= r.v_; return self(); }
    constexpr Angle& operator*=(double s) { v_ *= s; return self(); }
    constexpr Angle& operator*=(Angle r) { v_ *= r.v_; return self(); }
    constexpr Angle& operator/=(double s) { v_ /= s; return self(); }
    constexpr Angle& operator/=(Angle r) { v_ /= r.v_; return self(); }

    friend constexpr Angle operator+(Angle a, Angle b) { return Angle(a.v_ + b.v_); }
    friend constexpr Angle operator-(Angle a, Angle b) { return Angle(a.v_ - b.v_); }
    friend constexpr Angle operator-(Angle a) { return Angle(-a.v_); }
    friend constexpr Angle operator*(Angle a, double s) { return Angle(a.v_ * s); }
    friend constexpr Angle operator*(double s, Angle a) { return Angle(s * a.v_); }
    friend constexpr Angle operator/(Angle a, double s) { return Angle(a.v_ / s); }
    friend constexpr double operator*(Angle a, Angle b) { return a.v_ * b.v_; }
    friend constexpr double operator/(Angle a, Angle b) { return a.v_ / b.v_; }

protected:
    using Base::Base;
};

class ycRadian : public yc_DoubleAngle<ycRadian> {
public:
    constexpr ycRadian() = default;
    constexpr explicit ycRadian(double v) : yc_DoubleAngle(v) {}
    constexpr ycRadian(ycDegree d);
    constexpr ycRadian(ycAngle8 a);
    constexpr ycRadian(ycAngle16 a);
    using yc_DoubleAngle::operator=;

    ycRadian norm() const { return ycRadian(yf_AngleNorm(plain(), yc_kTwoPi)); }
    ycRadian signedNorm() const { return ycRadian(yf_AngleSignedNorm(plain(), yc_kTwoPi, yc_kPi)); }
};

class ycDegree : public yc_DoubleAngle<ycDegree> {
public:
    constexpr ycDegree() = default;
    constexpr explicit ycDegree(double v) : yc_DoubleAngle(v) {}
    constexpr ycDegree(ycRadian r) : yc_DoubleAngle(r.plain() * yc_kRadToDeg) {}
    constexpr ycDegree(ycAngle8 a);
    constexpr ycDegree(ycAngle16 a);
    using yc_DoubleAngle::operator=;

    ycDegree norm() const { return ycDegree(yf_AngleNorm(plain(), 360.0)); }
    ycDegree signedNorm() const { return ycDegree(yf_AngleSignedNorm(plain(), 360.0, 180.0)); }
};

// The arithmetic of an angle held as a raw fraction of a turn, the same for
// both widths: every result wraps modulo a turn. * and / by an integer take
// it as unsigned 32-bit, so a * -1 (which converts to 0xFFFFFFFF) is -a
// modulo a turn. Products are taken in 32 bits: 65535 * 65535 would overflow
// int after promotion. Division by zero is not checked; the caller must not
// do it.
template <class Angle, class RawT>
class yc_IntAngle : public yc_StoredAngle<Angle, RawT> {
protected:
    using Base = yc_StoredAngle<Angle, RawT>;
    using Base::self;
    using Base::v_;

public:
    using Raw = RawT;
    using Base::operator=;

    constexpr Angle& operator+=(Angle a) { return set(v_ + a.v_); }
    constexpr Angle& operator-=(Angle a) { return set(v_ - a.v_); }
    constexpr Angle& operator*=(std::uint32_t k) { return set(v_ * k); }
    constexpr Angle& operator*=(Angle a) { return set(std::uint32_t{v_} * a.v_); }
    constexpr Angle& operator/=(std::uint32_t k) { return set(v_ / k); }
    constexpr Angle& operator/=(Angle a) { return set(v_ / a.v_); }

    friend constexpr Angle operator+(Angle a, Angle b) { return a += b; }
    friend constexpr Angle operator-(Angle a, Angle b) { return a -= b; }
    friend constexpr Angle operator-(Angle a) { return Angle() - a; }
    friend constexpr Angle operator*(Angle a, std::uint32_t k) { return a *= k; }
    friend constexpr Angle operator*(std::uint32_t k, Angle a) { return a *= k; }
    friend constexpr Angle operator/(Angle a, std::uint32_t k) { return a /= k; }
    // The raw product truncated to the width, and the integer quotient.
    friend constexpr Raw operator*(Angle a, Angle b) { return static_cast<Raw>(std::uint32_t{a.v_} * b.v_); }
    friend constexpr Raw operator/(Angle a, Angle b) { return static_cast<Raw>(a.v_ / b.v_); }

protected:
    using Base::Base;

private:
    template <class T>
    constexpr Angle& set(T v)
    {
        v_ = static_cast<Raw>(v);
        return self();
    }
};

class ycAngle8 : public yc_IntAngle<ycAngle8, std::uint8_t> {
public:
    constexpr ycAngle8() = default;
    constexpr explicit ycAngle8(Raw raw) : yc_IntAngle(raw) {}
    explicit ycAngle8(ycRadian r) : yc_IntAngle(yf_ToIntAngle<Raw>(r.plain(), yc_kRadToAngle8)) {}
    explicit ycAngle8(ycDegree d) : yc_IntAngle(yf_ToIntAngle<Raw>(d.plain(), yc_kDegToAngle8)) {}
    constexpr explicit ycAngle8(ycAngle16 a);
    using yc_IntAngle::operator=;
};

class ycAngle16 : public yc_IntAngle<ycAngle16, std::uint16_t> {
public:
    constexpr ycAngle16() = default;
    constexpr explicit ycAngle16(Raw raw) : yc_IntAngle(raw) {}
    explicit ycAngle16(ycRadian r) : yc_IntAngle(yf_ToIntAngle<Raw>(r.plain(), yc_kRadToAngle16)) {}
    explicit ycAngle16(ycDegree d) : yc_IntAngle(yf_ToIntAngle<Raw>(d.plain(), yc_kDegToAngle16)) {}
    constexpr ycAngle16(ycAngle8 a) : yc_IntAngle(static_cast<Raw>(a.plain() << 8)) {}
    using yc_IntAngle::operator=;
};

constexpr ycRadian::ycRadian(ycDegree d) : yc_DoubleAngle(d.plain() * yc_kDegToRad) {}
constexpr ycRadian::ycRadian(ycAngle8 a) : yc_DoubleAngle(a.plain() * yc_kAngle8ToRad) {}
constexpr ycRadian::ycRadian(ycAngle16 a) : yc_DoubleAngle(a.plain() * yc_kAngle16ToRad) {}
constexpr ycDegree::ycDegree(ycAngle8 a) : yc_DoubleAngle(a.plain() * yc_kAngle8ToDeg) {}
constexpr ycDegree::ycDegree(ycAngle16 a) : yc_DoubleAngle(a.plain() * yc_kAngle16ToDeg) {}
// Computed in 32 bits so that 65535 + 128 does not wrap before the shift.
constexpr ycAngle8::ycAngle8(ycAngle16 a) : yc_IntAngle(static_cast<Raw>((std::uint32_t{a.plain()} + 128u) >> 8)) {}

static_assert(sizeof(ycRadian) == 8 && sizeof(ycDegree) == 8);
static_assert(sizeof(ycAngle8) == 1 && sizeof(ycAngle16) == 2);
static_assert(std::is_trivially_copyable_v<ycRadian> && std::is_trivially_copyable_v<ycAngle16>);

inline double sin(ycRadian a) { return std::sin(a.plain()); }
inline double cos(ycRadian a) { return std::cos(a.plain()); }
inline double tan(ycRadian a) { return std::tan(a.plain()); }
inline ycRadian yfAtan2(double y, double x) { return ycRadian(std::atan2(y, x)); }
inline ycRadian yfAtan(double x) { return ycRadian(std::atan(x)); }
inline ycDegree abs(ycDegree a) { return ycDegree(std::fabs(a.plain())); }
inline ycRadian abs(ycRadian a) { return ycRadian(std::fabs(a.plain())); }

// Equal modulo whole turns: |signedNorm(a - b)| <= eps. Unlike the scalar
// form, a NaN difference is not equal.
inline bool yfRealEq(ycRadian a, ycRadian b, ycRadian eps)
{
    return std::fabs((a - b).signedNorm().plain()) <= eps.plain();
}

inline ycArchive& operator||(ycArchive& ar, ycRadian& a)
{
    double v = a.plain();
    ar || v;
    a = v;
    return ar;
}

inline ycArchive& operator||(ycArchive& ar, ycDegree& a)
{
    double v = a.plain();
    ar || v;
    a = v;
    return ar;
}

#endif

// Fixed-size square matrices of doubles: ycMatrix<2> and ycMatrix<3>.
//
// Elements are stored row-major, followed by the cached determinant; every
// change of an element recomputes it (setdt), so determinant(), isSingular()
// and inverse() cost nothing extra. repInvariant() throws ycInvariantFailure
// when the cache disagrees with the elements. A matrix loaded from an archive
// keeps the determinant that was stored, as data.
//
// Singularity is exact: a matrix is singular when its cached determinant is
// exactly 0.0, never within a tolerance, so a nearly singular matrix inverts
// to large values. inverse() and every decomposition accessor of a singular
// matrix throw ycMathError::Singular. Dividing by a double multiplies by its
// reciprocal with no check: a zero divisor gives infinities (and NaN where an
// element is 0). m / n multiplies by n.inverse().
//
// Two products with a vector, which differ on purpose:
//   M * v    the column vector M v: (a x + b y, c x + d y)
//   v *= M   the row vector v^T M:  (a x + c y, b x + d y)
// ycMatrix<3> follows the same two rules.
//
// Decomposition of ycMatrix<2> (a b; c d), det = a d - b c:
//   xRot = rotation = atan2(c, a)     the angle of the image of the x axis
//   yRot            = atan2(-b, d)    that of the y axis, from the y axis
//   xScale = scale  = sqrt(a^2 + c^2)
//   yScale          = sqrt(b^2 + d^2)
//   aspect          = det / (a^2 + c^2)
//   shear           = -atan((a b + c d) / det)
// The two decomposition constructors invert these: (xRot, yRot, xScale,
// yScale) gives a = xScale cos xRot, b = -yScale sin yRot, c = xScale sin
// xRot, d = yScale cos yRot; (scale s, aspect k, shear h, rotation r) gives
// a = s cos r, b = k s (-sin r - cos r tan h), c = s sin r,
// d = k s (cos r - sin r tan h). For ycMatrix<3>, xScale, yScale and zScale
// are the lengths of the three columns.
//
// Element indices run from 0 to N-1; another is an assertion
// ("std/math/matrix"), after which reading gives NaN and writing does nothing.
//
// Archive form: version byte 0, the elements row-major, the determinant, all
// as doubles. Another version throws ycArchive::UnknownVersion naming
// "std/math/matrix".
#ifndef TLVSTD_MATH_MATRIX_H
#define TLVSTD_MATH_MATRIX_H

#include "core/ymath.h"
#include "std/archive/archive.h"
#include "std/math/angle.h"
#include "std/math/matherror.h"
#include "std/math/scalar.h"
#include "std/math/vector.h"
#include "std/util/assert.h"

#include <cmath>
#include <type_traits>

template <int N>
class ycMatrix;

template <>
class TLVSTD_API ycMatrix<2> {
public:
    // The identity.
    constexpr ycMatrix() = default;
    constexpr ycMatrix(double a, double b, double c, double d) : m_{a, b, c, d} { setdt(); }
    ycMatrix(ycRadian xRot, ycRadian yRot, double xScale, double yScale)
        : ycMatrix(xScale * cos(xRot), -yScale * sin(yRot), xScale * sin(xRot), yScale * cos(yRot))
    {
    }
    ycMatrix(double scale, double aspect, ycRadian shear, ycRadian rotation);
    constexpr explicit ycMatrix(const ymath_matrix& m) : ycMatrix(m.a, m.b, m.c, m.d) {}
    constexpr operator ymath_matrix() const { return ymath_matrix{m_[0], m_[1], m_[2], m_[3]}; }

    double element(int row, int col) const
    {
        if (!validIndex(row, col)) return yfQuietNaN();
        return m_[row * 2 + col];
    }
    void element(int row, int col, double value)
    {
        if (!validIndex(row, col)) return;
        m_[row * 2 + col] = value;
        setdt();
    }

    constexpr double determinant() const { return det_; }
    constexpr bool isSingular() const { return det_ == 0.0; }
    constexpr bool isIdentity() const { return m_[0] == 1.0 && m_[1] == 0.0 && m_[2] == 0.0 && m_[3] == 1.0; }
    constexpr ycMatrix transpose() const { return ycMatrix(m_[0], m_[2], m_[1], m_[3]); }
    ycMatrix inverse() const
    {
        if (isSingular()) throw ycMathError::Singular();
        double t = 1.0 / det_;
        return ycMatrix(m_[3] * t, -m_[1] * t, -m_[2] * t, m_[0] * t);
    }
    void repInvariant() const;

    ycRadian xRot() const;
    ycRadian yRot() const;
    double xScale() const;
    double yScale() const;
    double scale() const { return xScale(); }
    double aspect() const;
    ycRadian shear() const;
    ycRadian rotation() const { return xRot(); }

    constexpr ycMatrix& operator+=(const ycMatrix& n)
    {
        for (int i = 0; i < 4; ++i) m_[i] += n.m_[i];
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator-=(const ycMatrix& n)
    {
        for (int i = 0; i < 4; ++i) m_[i] -= n.m_[i];
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator*=(double s)
    {
        for (double& e : m_) e *= s;
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator/=(double s) { return *this *= 1.0 / s; }
    constexpr ycMatrix& operator*=(const ycMatrix& n) { return *this = *this * n; }
    ycMatrix& operator/=(const ycMatrix& n) { return *this = *this * n.inverse(); }

    friend constexpr ycMatrix operator+(ycMatrix m, const ycMatrix& n) { return m += n; }
    friend constexpr ycMatrix operator-(ycMatrix m, const ycMatrix& n) { return m -= n; }
    friend constexpr ycMatrix operator-(const ycMatrix& m) { return ycMatrix(-m.m_[0], -m.m_[1], -m.m_[2], -m.m_[3]); }
    friend constexpr ycMatrix operator*(ycMatrix m, double s) { return m *= s; }
    friend constexpr ycMatrix operator*(double s, ycMatrix m) { return m *= s; }
    friend constexpr ycMatrix operator/(ycMatrix m, double s) { return m /= s; }
    friend constexpr ycMatrix operator*(const ycMatrix& m, const ycMatrix& n)
    {
        const double* p = m.m_;
        const double* q = n.m_;
        return ycMatrix(p[0] * q[0] + p[1] * q[2], p[0] * q[1] + p[1] * q[3],
                        p[2] * q[0] + p[3] * q[2], p[2] * q[1] + p[3] * q[3]);
    }
    friend ycMatrix operator/(const ycMatrix& m, const ycMatrix& n) { return m * n.inverse(); }
    friend constexpr ycVector<2> operator*(const ycMatrix& m, const ycVector<2>& v)
    {
        return ycVector<2>(m.m_[0] * v.x() + m.m_[1] * v.y(), m.m_[2] * v.x() + m.m_[3] * v.y());
    }
    friend constexpr ycVector<2>& operator*=(ycVector<2>& v, const ycMatrix& m)
    {
        v = ycVector<2>(m.m_[0] * v.x() + m.m_[2] * v.y(), m.m_[1] * v.x() + m.m_[3] * v.y());
        return v;
    }
    // Exact on the four elements; the cached determinant follows from them.
    friend constexpr bool operator==(const ycMatrix& m, const ycMatrix& n)
    {
        return m.m_[0] == n.m_[0] && m.m_[1] == n.m_[1] && m.m_[2] == n.m_[2] && m.m_[3] == n.m_[3];
    }

private:
    friend TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m);
    static constexpr const char* kSourceName = ycSource::matrix;

    constexpr void setdt() { det_ = m_[0] * m_[3] - m_[1] * m_[2]; }
    bool validIndex(int row, int col) const
    {
        bool ok = row >= 0 && row < 2 && col >= 0 && col < 2;
        ymAssert(ok);
        return ok;
    }
    void checkNotSingular() const
    {
        if (isSingular()) throw ycMathError::Singular();
    }

    double m_[4] = {1.0, 0.0, 0.0, 1.0};
    double det_ = 1.0;
};

template <>
class TLVSTD_API ycMatrix<3> {
public:
    // The identity.
    constexpr ycMatrix() = default;
    constexpr ycMatrix(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
                       double m22)
        : m_{m00, m01, m02, m10, m11, m12, m20, m21, m22}
    {
        setdt();
    }

    double element(int row, int col) const
    {
        if (!validIndex(row, col)) return yfQuietNaN();
        return m_[row * 3 + col];
    }
    void element(int row, int col, double value)
    {
        if (!validIndex(row, col)) return;
        m_[row * 3 + col] = value;
        setdt();
    }

    constexpr double determinant() const { return det_; }
    constexpr bool isSingular() const { return det_ == 0.0; }
    constexpr bool isIdentity() const
    {
        for (int i = 0; i < 9; ++i) {
            if (m_[i] != (i % 4 == 0 ? 1.0 : 0.0)) return false;
        }
        return true;
    }
    constexpr ycMatrix transpose() const
    {
        return ycMatrix(m_[0], m_[3], m_[6], m_[1], m_[4], m_[7], m_[2], m_[5], m_[8]);
    }
    ycMatrix inverse() const;
    void repInvariant() const;

    double xScale() const;
    double yScale() const;
    double zScale() const;

    constexpr ycMatrix& operator+=(const ycMatrix& n)
    {
        for (int i = 0; i < 9; ++i) m_[i] += n.m_[i];
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator-=(const ycMatrix& n)
    {
        for (int i = 0; i < 9; ++i) m_[i] -= n.m_[i];
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator*=(double s)
    {
        for (double& e : m_) e *= s;
        setdt();
        return *this;
    }
    constexpr ycMatrix& operator/=(double s) { return *this *= 1.0 / s; }
    constexpr ycMatrix& operator*=(const ycMatrix& n) { return *this = *this * n; }
    ycMatrix& operator/=(const ycMatrix& n) { return *this = *this * n.inverse(); }

    friend constexpr ycMatrix operator+(ycMatrix m, const ycMatrix& n) { return m += n; }
    friend constexpr ycMatrix operator-(ycMatrix m, const ycMatrix& n) { return m -= n; }
    friend constexpr ycMatrix operator-(ycMatrix m) { return m *= -1.0; }
    friend constexpr ycMatrix operator*(ycMatrix m, double s) { return m *= s; }
    friend constexpr ycMatrix operator*(double s, ycMatrix m) { return m *= s; }
    friend constexpr ycMatrix operator/(ycMatrix m, double s) { return m /= s; }
    friend constexpr ycMatrix operator*(const ycMatrix& m, const ycMatrix& n)
    {
        ycMatrix r;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                r.m_[i * 3 + j] = m.m_[i * 3] * n.m_[j] + m.m_[i * 3 + 1] * n.m_[3 + j] + m.m_[i * 3 + 2] * n.m_[6 + j];
            }
        }
        r.setdt();
        return r;
    }
    friend ycMatrix operator/(const ycMatrix& m, const ycMatrix& n) { return m * n.inverse(); }
    friend constexpr ycVector<3> operator*(const ycMatrix& m, const ycVector<3>& v)
    {
        const double* p = m.m_;
        return ycVector<3>(p[0] * v.x() + p[1] * v.y() + p[2] * v.z(), p[3] * v.x() + p[4] * v.y() + p[5] * v.z(),
                           p[6] * v.x() + p[7] * v.y() + p[8] * v.z());
    }
    friend constexpr ycVector<3>& operator*=(ycVector<3>& v, const ycMatrix& m)
    {
        const double* p = m.m_;
        v = ycVector<3>(p[0] * v.x() + p[3] * v.y() + p[6] * v.z(), p[1] * v.x() + p[4] * v.y() + p[7] * v.z(),
                        p[2] * v.x() + p[5] * v.y() + p[8] * v.z());
        return v;
    }
    friend constexpr bool operator==(const ycMatrix& m, const ycMatrix& n)
    {
        for (int i = 0; i < 9; ++i) {
            if (m.m_[i] != n.m_[i]) return false;
        }
        return true;
    }

private:
    friend TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m);
    static constexpr const char* kSourceName = ycSource::matrix;

    // Expansion along the first row.
    constexpr double computeDeterminant() const
    {
        const double* p = m_;
        return p[0] * (p[4] * p[8] - p[5] * p[7]) - p[1] * (p[3] * p[8] - p[5] * p[6]) +
               p[2] * (p[3] * p[7] - p[4] * p[6]);
    }
    constexpr void setdt() { det_ = computeDeterminant(); }
    bool validIndex(int row, int col) const
    {
        bool ok = row >= 0 && row < 3 && col >= 0 && col < 3;
        ymAssert(ok);
        return ok;
    }
    void checkNotSingular() const
    {
        if (isSingular()) throw ycMathError::Singular();
    }

    double m_[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
    double det_ = 1.0;
};

static_assert(sizeof(ycMatrix<2>) == 40 && sizeof(ycMatrix<3>) == 80);
static_assert(std::is_trivially_copyable_v<ycMatrix<2>> && std::is_trivially_copyable_v<ycMatrix<3>>);

// Component by component in storage order; the determinants are not compared.
inline bool yfRealEq(const ycMatrix<2>& m, const ycMatrix<2>& n, double eps)
{
    for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 2; ++c) {
            if (!yfRealEq(m.element(r, c), n.element(r, c), eps)) return false;
        }
    }
    return true;
}

inline bool yfRealEq(const ycMatrix<3>& m, const ycMatrix<3>& n, double eps)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (!yfRealEq(m.element(r, c), n.element(r, c), eps)) return false;
        }
    }
    return true;
}

TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m);
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m);

#endif

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

// The determinant and the adjugate (transposed cofactors) of the row-major
// elements, one form for each size.
constexpr double yf_Determinant(const double (&p)[4])
{
    return p[0] * p[3] - p[1] * p[2];
}

// Expansion along the first row.
constexpr double yf_Determinant(const double (&p)[9])
{
    return p[0] * (p[4] * p[8] - p[5] * p[7]) - p[1] * (p[3] * p[8] - p[5] * p[6]) +
           p[2] * (p[3] * p[7] - p[4] * p[6]);
}

constexpr void yf_Adjugate(const double (&p)[4], double (&a)[4])
{
    a[0] = p[3];
    a[1] = -p[1];
    a[2] = -p[2];
    a[3] = p[0];
}

constexpr void yf_Adjugate(const double (&p)[9], double (&a)[9])
{
    a[0] = p[4] * p[8] - p[5] * p[7];
    a[1] = p[2] * p[7] - p[1] * p[8];
    a[2] = p[1] * p[5] - p[2] * p[4];
    a[3] = p[5] * p[6] - p[3] * p[8];
    a[4] = p[0] * p[8] - p[2] * p[6];
    a[5] = p[2] * p[3] - p[0] * p[5];
    a[6] = p[3] * p[7] - p[4] * p[6];
    a[7] = p[1] * p[6] - p[0] * p[7];
    a[8] = p[0] * p[4] - p[1] * p[3];
}

// What ycMatrix<2> and ycMatrix<3> share: the elements and the cached
// determinant, and every operation that treats them alike. Sums of products
// run from the first term on, so the results are the bits of the expressions
// written out by hand.
template <int N>
class yc_SquareMatrix {
public:
    double element(int row, int col) const
    {
        if (!validIndex(row, col)) return yfQuietNaN();
        return m_[row * N + col];
    }
    void element(int row, int col, double value)
    {
        if (!validIndex(row, col)) return;
        m_[row * N + col] = value;
        setdt();
    }

    constexpr double determinant() const { return det_; }
    constexpr bool isSingular() const { return det_ == 0.0; }
    constexpr bool isIdentity() const
    {
        for (int i = 0; i < N * N; ++i) {
            if (m_[i] != (i % (N + 1) == 0 ? 1.0 : 0.0)) return false;
        }
        return true;
    }
    constexpr ycMatrix<N> transpose() const
    {
        ycMatrix<N> r;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j) r.m_[i * N + j] = m_[j * N + i];
        }
        return r.changed();
    }
    ycMatrix<N> inverse() const
    {
        checkNotSingular();
        double t = 1.0 / det_;
        ycMatrix<N> r;
        yf_Adjugate(m_, r.m_);
        return r *= t;
    }
    // Throws ycInvariantFailure unless the cache has the bits of a fresh
    // computation (or both are NaN).
    void repInvariant() const
    {
        double fresh = yf_Determinant(m_);
        if (!(det_ == fresh || (std::isnan(det_) && std::isnan(fresh)))) throw ycInvariantFailure();
    }

    // The lengths of the first two columns.
    double xScale() const { return columnLength(0); }
    double yScale() const { return columnLength(1); }

    constexpr ycMatrix<N>& operator+=(const ycMatrix<N>& n)
    {
        for (int i = 0; i < N * N; ++i) m_[i] += n.m_[i];
        return changed();
    }
    constexpr ycMatrix<N>& operator-=(const ycMatrix<N>& n)
    {
        for (int i = 0; i < N * N; ++i) m_[i] -= n.m_[i];
        return changed();
    }
    constexpr ycMatrix<N>& operator*=(double s)
    {
        for (double& e : m_) e *= s;
        return changed();
    }
    constexpr ycMatrix<N>& operator/=(double s) { return *this *= 1.0 / s; }
    constexpr ycMatrix<N>& operator*=(const ycMatrix<N>& n) { return self() = self() * n; }
    ycMatrix<N>& operator/=(const ycMatrix<N>& n) { return self() = self() * n.inverse(); }

    friend constexpr ycMatrix<N> operator+(ycMatrix<N> m, const ycMatrix<N>& n) { return m += n; }
    friend constexpr ycMatrix<N> operator-(ycMatrix<N> m, const ycMatrix<N>& n) { return m -= n; }
    friend constexpr ycMatrix<N> operator-(ycMatrix<N> m)
    {
        for (double& e : m.m_) e = -e;
        return m.changed();
    }
    friend constexpr ycMatrix<N> operator*(ycMatrix<N> m, double s) { return m *= s; }
    friend constexpr ycMatrix<N> operator*(double s, ycMatrix<N> m) { return m *= s; }
    friend constexpr ycMatrix<N> operator/(ycMatrix<N> m, double s) { return m /= s; }
    friend constexpr ycMatrix<N> operator*(const ycMatrix<N>& m, const ycMatrix<N>& n)
    {
        ycMatrix<N> r;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j) {
                double s = m.m_[i * N] * n.m_[j];
                for (int k = 1; k < N; ++k) s += m.m_[i * N + k] * n.m_[k * N + j];
                r.m_[i * N + j] = s;
            }
        }
        return r.changed();
    }
    friend ycMatrix<N> operator/(const ycMatrix<N>& m, const ycMatrix<N>& n) { return m * n.inverse(); }
    friend constexpr ycVector<N> operator*(const ycMatrix<N>& m, const ycVector<N>& v)
    {
        ycVector<N> r;
        for (int i = 0; i < N; ++i) {
            double s = m.m_[i * N] * v[0];
            for (int k = 1; k < N; ++k) s += m.m_[i * N + k] * v[k];
            r[i] = s;
        }
        return r;
    }
    friend constexpr ycVector<N>& operator*=(ycVector<N>& v, const ycMatrix<N>& m)
    {
        ycVector<N> r;
        for (int j = 0; j < N; ++j) {
            double s = m.m_[j] * v[0];
            for (int k = 1; k < N; ++k) s += m.m_[k * N + j] * v[k];
            r[j] = s;
        }
        return v = r;
    }
    // Exact on the elements; the cached determinant follows from them.
    friend constexpr bool operator==(const ycMatrix<N>& m, const ycMatrix<N>& n)
    {
        for (int i = 0; i < N * N; ++i) {
            if (m.m_[i] != n.m_[i]) return false;
        }
        return true;
    }

protected:
    // The identity.
    constexpr yc_SquareMatrix()
    {
        for (int i = 0; i < N * N; i += N + 1) m_[i] = 1.0;
    }
    template <class... T>
        requires(sizeof...(T) == N * N)
    constexpr explicit yc_SquareMatrix(T... e) : m_{e...}
    {
        setdt();
    }

    constexpr void setdt() { det_ = yf_Determinant(m_); }
    void checkNotSingular() const
    {
        if (isSingular()) throw ycMathError::Singular();
    }
    double columnLength(int col) const
    {
        checkNotSingular();
        double s = m_[col] * m_[col];
        for (int r = 1; r < N; ++r) s += m_[r * N + col] * m_[r * N + col];
        return std::sqrt(s);
    }

    double m_[N * N] = {};
    double det_ = 1.0;

private:
    static constexpr const char* kSourceName = ycSource::matrix;

    constexpr ycMatrix<N>& self() { return static_cast<ycMatrix<N>&>(*this); }
    constexpr ycMatrix<N>& changed()
    {
        setdt();
        return self();
    }
    bool validIndex(int row, int col) const
    {
        bool ok = row >= 0 && row < N && col >= 0 && col < N;
        ymAssert(ok);
        return ok;
    }
};

template <>
class TLVSTD_API ycMatrix<2> : public yc_SquareMatrix<2> {
public:
    // The identity.
    constexpr ycMatrix() = default;
    constexpr ycMatrix(double a, double b, double c, double d) : yc_SquareMatrix(a, b, c, d) {}
    ycMatrix(ycRadian xRot, ycRadian yRot, double xScale, double yScale)
        : ycMatrix(xScale * cos(xRot), -yScale * sin(yRot), xScale * sin(xRot), yScale * cos(yRot))
    {
    }
    ycMatrix(double scale, double aspect, ycRadian shear, ycRadian rotation);
    constexpr explicit ycMatrix(const ymath_matrix& m) : ycMatrix(m.a, m.b, m.c, m.d) {}
    constexpr operator ymath_matrix() const { return ymath_matrix{m_[0], m_[1], m_[2], m_[3]}; }

    ycRadian xRot() const;
    ycRadian yRot() const;
    double scale() const { return xScale(); }
    double aspect() const;
    ycRadian shear() const;
    ycRadian rotation() const { return xRot(); }

private:
    friend TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m);
};

template <>
class TLVSTD_API ycMatrix<3> : public yc_SquareMatrix<3> {
public:
    // The identity.
    constexpr ycMatrix() = default;
    constexpr ycMatrix(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
                       double m22)
        : yc_SquareMatrix(m00, m01, m02, m10, m11, m12, m20, m21, m22)
    {
    }

    // The length of the third column.
    double zScale() const { return columnLength(2); }

private:
    friend TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m);
};

static_assert(sizeof(ycMatrix<2>) == 40 && sizeof(ycMatrix<3>) == 80);
static_assert(std::is_trivially_copyable_v<ycMatrix<2>> && std::is_trivially_copyable_v<ycMatrix<3>>);

// Component by component in storage order; the determinants are not compared.
template <int N>
bool yfRealEq(const ycMatrix<N>& m, const ycMatrix<N>& n, double eps)
{
    for (int r = 0; r < N; ++r) {
        for (int c = 0; c < N; ++c) {
            if (!yfRealEq(m.element(r, c), n.element(r, c), eps)) return false;
        }
    }
    return true;
}

TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m);
TLVSTD_API ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m);

#endif

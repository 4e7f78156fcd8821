#include "std/math/matrix.h"

#include <cstring>

namespace {
constexpr const char* kSourceName = ycSource::matrix;

// The cache holds when it has the same bits as a fresh computation, or both
// are NaN.
bool sameDeterminant(double cached, double fresh)
{
    return cached == fresh || (std::isnan(cached) && std::isnan(fresh));
}

template <int N>
ycArchive& transfer(ycArchive& ar, double (&elements)[N * N], double& det, int line)
{
    std::uint8_t version = 0;
    ar || version;
    if (ar.isLoading() && version != 0) throw ycArchive::UnknownVersion(kSourceName, line);
    // Into copies, so a load cut short leaves the matrix as it was.
    double e[N * N];
    std::memcpy(e, elements, sizeof e);
    double d = det;
    for (double& x : e) ar || x;
    ar || d;
    std::memcpy(elements, e, sizeof e);
    det = d;
    return ar;
}
} // namespace

ycMatrix<2>::ycMatrix(double scale, double aspect, ycRadian shear, ycRadian rotation)
{
    double cr = cos(rotation);
    double sr = sin(rotation);
    double th = tan(shear);
    double ks = aspect * scale;
    m_[0] = scale * cr;
    m_[1] = ks * (-sr - cr * th);
    m_[2] = scale * sr;
    m_[3] = ks * (cr - sr * th);
    setdt();
}

void ycMatrix<2>::repInvariant() const
{
    if (!sameDeterminant(det_, m_[0] * m_[3] - m_[1] * m_[2])) throw ycInvariantFailure();
}

ycRadian ycMatrix<2>::xRot() const
{
    checkNotSingular();
    return yfAtan2(m_[2], m_[0]);
}

ycRadian ycMatrix<2>::yRot() const
{
    checkNotSingular();
    return yfAtan2(-m_[1], m_[3]);
}

double ycMatrix<2>::xScale() const
{
    checkNotSingular();
    return std::sqrt(m_[0] * m_[0] + m_[2] * m_[2]);
}

double ycMatrix<2>::yScale() const
{
    checkNotSingular();
    return std::sqrt(m_[1] * m_[1] + m_[3] * m_[3]);
}

double ycMatrix<2>::aspect() const
{
    checkNotSingular();
    return det_ / (m_[0] * m_[0] + m_[2] * m_[2]);
}

ycRadian ycMatrix<2>::shear() const
{
    checkNotSingular();
    return -yfAtan((m_[0] * m_[1] + m_[2] * m_[3]) / det_);
}

ycMatrix<3> ycMatrix<3>::inverse() const
{
    checkNotSingular();
    const double* p = m_;
    double t = 1.0 / det_;
    // The adjugate (transposed cofactors), divided by the determinant.
    return ycMatrix((p[4] * p[8] - p[5] * p[7]) * t, (p[2] * p[7] - p[1] * p[8]) * t, (p[1] * p[5] - p[2] * p[4]) * t,
                    (p[5] * p[6] - p[3] * p[8]) * t, (p[0] * p[8] - p[2] * p[6]) * t, (p[2] * p[3] - p[0] * p[5]) * t,
                    (p[3] * p[7] - p[4] * p[6]) * t, (p[1] * p[6] - p[0] * p[7]) * t, (p[0] * p[4] - p[1] * p[3]) * t);
}

void ycMatrix<3>::repInvariant() const
{
    if (!sameDeterminant(det_, computeDeterminant())) throw ycInvariantFailure();
}

double ycMatrix<3>::xScale() const
{
    checkNotSingular();
    return std::sqrt(m_[0] * m_[0] + m_[3] * m_[3] + m_[6] * m_[6]);
}

double ycMatrix<3>::yScale() const
{
    checkNotSingular();
    return std::sqrt(m_[1] * m_[1] + m_[4] * m_[4] + m_[7] * m_[7]);
}

double ycMatrix<3>::zScale() const
{
    checkNotSingular();
    return std::sqrt(m_[2] * m_[2] + m_[5] * m_[5] + m_[8] * m_[8]);
}

ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m)
{
    return transfer<2>(ar, m.m_, m.det_, __LINE__);
}

ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m)
{
    return transfer<3>(ar, m.m_, m.det_, __LINE__);
}

#include "std/math/matrix.h"

#include <cstring>

namespace {
constexpr const char* kSourceName = ycSource::matrix;

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

ycArchive& operator||(ycArchive& ar, ycMatrix<2>& m)
{
    return transfer<2>(ar, m.m_, m.det_, __LINE__);
}

ycArchive& operator||(ycArchive& ar, ycMatrix<3>& m)
{
    return transfer<3>(ar, m.m_, m.det_, __LINE__);
}

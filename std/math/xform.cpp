#include "std/math/xform.h"

namespace {
constexpr const char* kSourceName = ycSource::xform;

void checkVersion(ycArchive& ar, int line)
{
    std::uint8_t version = 0;
    ar || version;
    if (ar.isLoading() && version != 0) throw ycArchive::UnknownVersion(kSourceName, line);
}

// Loads into copies, so a load cut short leaves the transform as it was.
template <int N>
ycArchive& transfer(ycArchive& ar, ycXform<N>& x, int line)
{
    checkVersion(ar, line);
    ycVector<N> t = x.trans();
    ycMatrix<N> m = x.matrix();
    bool identity = x.isIdentity();
    ar || t || m || identity;
    x = ycXform<N>(m, t);
    return ar;
}
} // namespace

ycArchive& operator||(ycArchive& ar, ycXform<2>& x)
{
    return transfer(ar, x, __LINE__);
}

ycArchive& operator||(ycArchive& ar, ycXform<3>& x)
{
    return transfer(ar, x, __LINE__);
}

ycArchive& operator||(ycArchive& ar, yc2Rigid& r)
{
    checkVersion(ar, __LINE__);
    ycDegree angle = r.angle_;
    ycVector<2> t = r.t_;
    ar || angle || t;
    if (ar.isLoading()) {
        r.angle(angle);
        r.t_ = t;
    }
    return ar;
}

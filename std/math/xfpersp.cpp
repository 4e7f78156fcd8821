#include "std/math/xfpersp.h"

#include <cmath>

namespace {
ycMatrix<3> homogeneous(const ycXform<2>& x)
{
    const ycMatrix<2>& m = x.matrix();
    const ycVector<2>& t = x.trans();
    return ycMatrix<3>(m.element(0, 0), m.element(0, 1), t.x(), m.element(1, 0), m.element(1, 1), t.y(), 0.0, 0.0,
                       1.0);
}

bool acceptable(const ycMatrix<3>& h)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (!std::isfinite(h.element(r, c))) return false;
        }
    }
    return std::isfinite(h.determinant()) && !h.isSingular();
}
} // namespace

yc2XformPerspective::yc2XformPerspective(const ycMatrix<3>& h) : h_(h)
{
    check(h);
}

yc2XformPerspective::yc2XformPerspective(const ycXform<2>& x) : h_(homogeneous(x))
{
    check(h_);
}

yc2XformPerspective::~yc2XformPerspective() = default;

void yc2XformPerspective::check(const ycMatrix<3>& h)
{
    if (!acceptable(h)) throw BadParams(L"the matrix must be finite and regular");
}

void yc2XformPerspective::matrix(const ycMatrix<3>& h)
{
    check(h);
    mutating();
    h_ = h;
}

ycVector<2> yc2XformPerspective::mapPoint(const ycVector<2>& p) const
{
    double w = h_.element(2, 0) * p.x() + h_.element(2, 1) * p.y() + h_.element(2, 2);
    if (w == 0.0) throw NumericalError(L"the point maps to infinity");
    double u = h_.element(0, 0) * p.x() + h_.element(0, 1) * p.y() + h_.element(0, 2);
    double v = h_.element(1, 0) * p.x() + h_.element(1, 1) * p.y() + h_.element(1, 2);
    return ycVector<2>(u / w, v / w);
}

bool yc2XformPerspective::isLinear() const
{
    return h_.element(2, 0) == 0.0 && h_.element(2, 1) == 0.0;
}

yc2XformLinear yc2XformPerspective::linearXform(const ycVector<2>& at) const
{
    double w = h_.element(2, 0) * at.x() + h_.element(2, 1) * at.y() + h_.element(2, 2);
    if (w == 0.0) throw NumericalError(L"the point maps to infinity");
    ycVector<2> q = mapPoint(at);
    double g = h_.element(2, 0);
    double k = h_.element(2, 1);
    ycMatrix<2> j((h_.element(0, 0) - q.x() * g) / w, (h_.element(0, 1) - q.x() * k) / w,
                  (h_.element(1, 0) - q.y() * g) / w, (h_.element(1, 1) - q.y() * k) / w);
    return yc2XformLinear(j, q - j * at);
}

ycPtrHandle<yc2XformBase> yc2XformPerspective::composeBase(const yc2XformBase& rhs) const
{
    ycMatrix<3> product;
    if (const auto* p = dynamic_cast<const yc2XformPerspective*>(&rhs)) {
        product = h_ * p->h_;
    } else if (rhs.isLinear()) {
        product = h_ * homogeneous(rhs.linearXform(ycVector<2>()).xform());
    } else {
        return yc2XformBase::composeBase(rhs);
    }
    if (!acceptable(product)) return yc2XformBase::composeBase(rhs);
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPerspective(product));
}

ycPtrHandle<yc2XformBase> yc2XformPerspective::inverseBase() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPerspective(h_.inverse()));
}

ycPtrHandle<yc2XformBase> yc2XformPerspective::clone() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPerspective(*this));
}

void yc2XformPerspective::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformPerspective::serialize_(ar, version); });
}

void yc2XformPerspective::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    yc2XformBase::dispatchSerialize(ar);
    double e[9];
    for (int i = 0; i < 9; ++i) e[i] = h_.element(i / 3, i % 3);
    for (double& x : e) ar || x;
    if (ar.isLoading()) matrix(ycMatrix<3>(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]));
}

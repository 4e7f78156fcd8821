#include "std/math/xflinear.h"

#include "std/math/xfcomp.h"
#include "std/math/xfpoly.h"

namespace {
constexpr const char* kSourceName = ycSource::xflinear;
}

yc2XformLinear::~yc2XformLinear() = default;

yc2XformLinear yc2XformLinear::linearXform(const ycVector<2>&) const
{
    return *this;
}

ycPtrHandle<yc2XformBase> yc2XformLinear::composeBase(const yc2XformBase& rhs) const
{
    if (rhs.isLinear()) {
        return ycPtrHandle<yc2XformBase>(ymNew yc2XformLinear(x_ * rhs.linearXform(ycVector<2>()).xform()));
    }
    if (const auto* poly = dynamic_cast<const yc2XformPoly*>(&rhs)) {
        ycPtrHandle<yc2XformPoly> copy(ymNew yc2XformPoly(*poly));
        copy->leftCompose(*this);
        return copy;
    }
    return yc2XformBase::composeBase(rhs);
}

ycPtrHandle<yc2XformBase> yc2XformLinear::inverseBase() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformLinear(x_.inverse()));
}

ycPtrHandle<yc2XformBase> yc2XformLinear::clone() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformLinear(*this));
}

void yc2XformLinear::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformLinear::serialize_(ar, version); });
}

void yc2XformLinear::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    yc2XformBase::dispatchSerialize(ar);
    ycVector<2> t = x_.trans();
    ycMatrix<2> m = x_.matrix();
    ar || t || m;
    if (ar.isLoading()) {
        mutating();
        x_ = ycXform<2>(m, t);
    }
}

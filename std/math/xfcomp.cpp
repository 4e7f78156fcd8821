#include "std/math/xfcomp.h"

#include <algorithm>

yc2XformComposed::yc2XformComposed(const yc2XformBase& x, bool clone) : members_{yfShareOrClone(x, !clone)} {}

yc2XformComposed::yc2XformComposed(const yc2XformBase& left, const yc2XformBase& right, bool cloneLeft,
                                   bool cloneRight)
    : members_{yfShareOrClone(left, !cloneLeft), yfShareOrClone(right, !cloneRight)}
{
}

yc2XformComposed::~yc2XformComposed() = default;

void yc2XformComposed::postCompose(const yc2XformBase& x, bool copy)
{
    auto m = yfShareOrClone(x, !copy);
    mutating();
    members_.push_back(std::move(m));
}

void yc2XformComposed::preCompose(const yc2XformBase& x, bool copy)
{
    auto m = yfShareOrClone(x, !copy);
    mutating();
    members_.insert(members_.begin(), std::move(m));
}

void yc2XformComposed::invert()
{
    // Into a new list, so a member that cannot be inverted leaves this as it was.
    std::vector<ycPtrHandle_const<yc2XformBase>> inverted;
    inverted.reserve(members_.size());
    for (auto it = members_.rbegin(); it != members_.rend(); ++it) inverted.emplace_back((*it)->inverseBase());
    mutating();
    members_.swap(inverted);
}

bool yc2XformComposed::checkNotEmpty() const
{
    ymAssert(!members_.empty());
    return !members_.empty();
}

ycVector<2> yc2XformComposed::mapPoint(const ycVector<2>& p) const
{
    checkNotEmpty();
    ycVector<2> q = p;
    for (auto it = members_.rbegin(); it != members_.rend(); ++it) q = (*it)->mapPoint(q);
    return q;
}

bool yc2XformComposed::isLinear() const
{
    checkNotEmpty();
    return std::all_of(members_.begin(), members_.end(), [](const auto& m) { return m->isLinear(); });
}

yc2XformLinear yc2XformComposed::linearXform(const ycVector<2>& at) const
{
    checkNotEmpty();
    ycXform<2> product;
    ycVector<2> q = at;
    for (auto it = members_.rbegin(); it != members_.rend(); ++it) {
        yc2XformLinear local = (*it)->linearXform(q);
        q = local.mapPoint(q);
        product = local.xform() * product;
    }
    return yc2XformLinear(product);
}

ycPtrHandle<yc2XformBase> yc2XformComposed::composeBase(const yc2XformBase& rhs) const
{
    ycPtrHandle<yc2XformComposed> copy(ymNew yc2XformComposed(*this));
    copy->postCompose(rhs, true);
    return copy;
}

ycPtrHandle<yc2XformBase> yc2XformComposed::inverseBase() const
{
    ycPtrHandle<yc2XformComposed> copy(ymNew yc2XformComposed(*this));
    copy->invert();
    return copy;
}

ycPtrHandle<yc2XformBase> yc2XformComposed::clone() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformComposed(*this));
}

void yc2XformComposed::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformComposed::serialize_(ar, version); });
}

void yc2XformComposed::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    yc2XformBase::dispatchSerialize(ar);
    if (ar.isStoring()) {
        std::uint32_t count = static_cast<std::uint32_t>(members_.size());
        ar || count;
        for (auto& m : members_) yfSerializeHandle(ar, m);
        return;
    }
    std::uint32_t count = 0;
    std::size_t room = ar.readCount(count, sizeof(std::int32_t));
    std::vector<ycPtrHandle_const<yc2XformBase>> loaded;
    loaded.reserve(room);
    for (std::uint32_t i = 0; i < count; ++i) {
        yfSerializeHandle(ar, loaded.emplace_back());
        if (!loaded.back()) throw ycArchive::BadContent(kSourceName, __LINE__);
    }
    mutating();
    members_.swap(loaded);
}

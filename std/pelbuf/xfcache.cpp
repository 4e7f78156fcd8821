#include "std/pelbuf/xfcache.h"

namespace {
// Shared by every new cache; never destroyed, so caches that die at exit can
// still let go of it.
const ycPtrHandle_const<yc2XformBase>& sharedIdentity()
{
    static auto* identity = new ycPtrHandle_const<yc2XformBase>(new yc2XformLinear());
    return *identity;
}
} // namespace

yc2XformCache::yc2XformCache() : forward_(sharedIdentity()) {}

yc2XformCache::yc2XformCache(const yc2XformCache& other)
    : ycPersistent(other), forward_(other.forward_), inverse_(other.inverseNow()), linear_(other.linear_),
      linearForm_(other.linearForm_), inverseReady_(inverse_ != nullptr)
{
}

yc2XformCache& yc2XformCache::operator=(const yc2XformCache& other)
{
    if (this == &other) return *this;
    ycPtrHandle_const<yc2XformBase> inverse = other.inverseNow();
    ycPersistent::operator=(other);
    forward_ = other.forward_;
    storeInverse(std::move(inverse));
    linear_ = other.linear_;
    linearForm_ = other.linearForm_;
    return *this;
}

yc2XformCache::~yc2XformCache() = default;

ycPtrHandle_const<yc2XformBase> yc2XformCache::inverseNow() const
{
    std::lock_guard<std::mutex> guard(inverseLock_);
    return inverse_;
}

void yc2XformCache::setForward(ycPtrHandle_const<yc2XformBase> h)
{
    bool linear = h->isLinear();
    yc2XformLinear form = linear ? h->linearXform(ycVector<2>()) : yc2XformLinear();
    mutating();
    forward_ = std::move(h);
    storeInverse(nullptr);
    linear_ = linear;
    linearForm_ = form;
}

void yc2XformCache::xform(const yc2XformBase& x)
{
    setForward(yfShareOrClone(x, false));
}

void yc2XformCache::xform(const ycPtrHandle_const<yc2XformBase>& h, bool copy)
{
    ymAssert(h);
    if (!h) return;
    setForward(yfShareOrClone(*h, !copy));
}

const ycPtrHandle_const<yc2XformBase>& yc2XformCache::xformInverse() const
{
    // Once set, inverse_ changes only through non-const members, so readers
    // that see it ready need no lock.
    if (inverseReady_.load(std::memory_order_acquire)) return inverse_;
    std::lock_guard<std::mutex> guard(inverseLock_);
    if (!inverse_) {
        inverse_ = forward_->inverseBase();
        inverseReady_.store(true, std::memory_order_release);
    }
    return inverse_;
}

void yc2XformCache::storeInverse(ycPtrHandle_const<yc2XformBase> h) const
{
    std::lock_guard<std::mutex> guard(inverseLock_);
    inverse_ = std::move(h);
    inverseReady_.store(inverse_ != nullptr, std::memory_order_release);
}

void yc2XformCache::xformInverse(const yc2XformBase& x)
{
    setInverse(yfShareOrClone(x, false));
}

void yc2XformCache::xformInverse(const ycPtrHandle_const<yc2XformBase>& h, bool copy)
{
    ymAssert(h);
    if (!h) return;
    setInverse(yfShareOrClone(*h, !copy));
}

void yc2XformCache::setInverse(ycPtrHandle_const<yc2XformBase> h)
{
    mutating();
    storeInverse(std::move(h));
}

const yc2XformLinear& yc2XformCache::linearXform() const
{
    if (!linear_) throw ycPel::NonlinearXform();
    return linearForm_;
}

yc2XformLinear yc2XformCache::linearXformInverse() const
{
    if (!linear_) throw ycPel::NonlinearXform();
    return linearForm_.inverse();
}

void yc2XformCache::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycPersistent::dispatchSerialize(ar);
        if (ar.isStoring()) {
            ycPtrHandle_const<yc2XformBase> inverse = inverseNow();
            yfSerializeHandle(ar, forward_);
            yfSerializeHandle(ar, inverse);
            return;
        }
        ycPtrHandle_const<yc2XformBase> forward;
        ycPtrHandle_const<yc2XformBase> inverse;
        yfSerializeHandle(ar, forward);
        if (!forward) throw ycArchive::BadContent(kSourceName, __LINE__);
        yfSerializeHandle(ar, inverse);
        setForward(std::move(forward));
        storeInverse(std::move(inverse));
    });
}

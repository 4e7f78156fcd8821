#include "std/pelbuf/pelbuf.h"

#include "std/archive/archive.h"
#include "std/except/registry.h"
#include "std/util/assert.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

bool fits32(std::int64_t v)
{
    return v >= std::numeric_limits<std::int32_t>::min() && v <= std::numeric_limits<std::int32_t>::max();
}

// Image coordinates must stay addressable by 32-bit arguments.
ycPair<std::int32_t> imagePoint(std::int64_t x, std::int64_t y)
{
    if (!fits32(x) || !fits32(y)) throw ycPel::BadWindow();
    return {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)};
}

// Distance in elements from `base` to `p`, or -1 when p lies before base or
// between elements. Compared as addresses: the two need not be one array.
template <class E>
std::int64_t elementsFrom(const E* base, const E* p)
{
    const auto b = reinterpret_cast<std::uintptr_t>(base);
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    if (a < b || (a - b) % sizeof(E) != 0) return -1;
    const std::uintptr_t d = (a - b) / sizeof(E);
    return d > static_cast<std::uintptr_t>(std::numeric_limits<std::int64_t>::max()) ? -1 : static_cast<std::int64_t>(d);
}

} // namespace

// --- yc_PelBuffer -------------------------------------------------------------

yc_PelBuffer::yc_PelBuffer() = default;

yc_PelBuffer::~yc_PelBuffer() = default;

void yc_PelBuffer::needRoot() const
{
    if (!root_) throw ycPel::UnboundWindow();
}

void yc_PelBuffer::badPel(std::int32_t x, std::int32_t y) const
{
    needRoot();
    throw ycPel::BadCoord(x, y);
}

ycPelRect yc_PelBuffer::windowEntire() const
{
    needRoot();
    return ycPelRect(imagePoint(std::int64_t{offset_.x()} - window_.x(), std::int64_t{offset_.y()} - window_.y()),
                     {root_->width(), root_->height()});
}

std::int32_t yc_PelBuffer::rowUpdate() const
{
    needRoot();
    return root_->rowUpdate();
}

std::int32_t yc_PelBuffer::alignModulus() const
{
    needRoot();
    return root_->alignModulus();
}

std::int32_t yc_PelBuffer::refc() const
{
    needRoot();
    return root_->refCount();
}

bool yc_PelBuffer::isEntire() const
{
    return root_ && window_ == ycPelRect(0, 0, root_->width(), root_->height());
}

yc_PelBuffer::Placement yc_PelBuffer::place(const yc_PelRoot& root, std::int64_t x, std::int64_t y, std::int64_t w,
                                            std::int64_t h, bool clip) const
{
    if (w < 0 || h < 0) throw ycPel::BadWindow();
    const std::int64_t rw = root.width();
    const std::int64_t rh = root.height();
    const auto inside = [&] { return x >= 0 && y >= 0 && x + w <= rw && y + h <= rh; };
    Placement p;
    if (!inside()) {
        if (!clip) throw ycPel::BadWindow();
        p.clipped = true;
        const std::int64_t ox = std::max<std::int64_t>(x, 0);
        const std::int64_t oy = std::max<std::int64_t>(y, 0);
        w = std::max<std::int64_t>(0, std::min(rw, x + w) - ox);
        h = std::max<std::int64_t>(0, std::min(rh, y + h) - oy);
        x = ox;
        y = oy;
        // Nothing left: an empty window needs a place inside the root.
        if (!inside()) x = y = 0;
    }
    p.window = ycPelRect(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), static_cast<std::int32_t>(w),
                         static_cast<std::int32_t>(h));
    p.offset = imagePoint(std::int64_t{offset_.x()} + (x - window_.x()), std::int64_t{offset_.y()} + (y - window_.y()));
    return p;
}

void yc_PelBuffer::commit(const Placement& p)
{
    ycPersistent::mutating();
    window_ = p.window;
    offset_ = p.offset;
}

bool yc_PelBuffer::windowRoot(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, bool clip)
{
    needRoot();
    const Placement p = place(*root_, x, y, w, h, clip);
    commit(p);
    return p.clipped;
}

bool yc_PelBuffer::window(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, bool clip)
{
    needRoot();
    const Placement p = place(*root_, std::int64_t{x} + window_.x() - offset_.x(),
                              std::int64_t{y} + window_.y() - offset_.y(), w, h, clip);
    commit(p);
    return p.clipped;
}

void yc_PelBuffer::subWindow(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h)
{
    needRoot();
    if (w < 0 || h < 0 || x < 0 || y < 0 || std::int64_t{x} + w > window_.width() ||
        std::int64_t{y} + h > window_.height())
        throw ycPel::BadWindow();
    Placement p;
    p.window = ycPelRect(window_.x() + x, window_.y() + y, w, h);
    p.offset = imagePoint(std::int64_t{offset_.x()} + x, std::int64_t{offset_.y()} + y);
    commit(p);
}

void yc_PelBuffer::offset(std::int32_t x, std::int32_t y)
{
    ycPersistent::mutating();
    offset_ = {x, y};
}

void yc_PelBuffer::setEntire()
{
    needRoot();
    Placement p;
    p.window = ycPelRect(0, 0, root_->width(), root_->height());
    p.offset = imagePoint(std::int64_t{offset_.x()} - window_.x(), std::int64_t{offset_.y()} - window_.y());
    commit(p);
}

void yc_PelBuffer::setUnbound()
{
    ycPersistent::mutating();
    root_.reset();
}

ycPtrHandle<yc_PelRoot> yc_PelBuffer::heldRoot(yc_PelRoot* root)
{
    if (!root) return nullptr;
    // Adopting a root nobody holds could delete memory the caller still owns.
    ymAssert(root->refCount() > 0);
    if (root->refCount() <= 0) return nullptr;
    return ycPtrHandle<yc_PelRoot>(root);
}

void yc_PelBuffer::assignRoot(ycPtrHandle<yc_PelRoot> h)
{
    Placement p{window_, offset_, false};
    if (h) {
        p.window = ycPelRect(0, 0, h->width(), h->height());
        p.offset = imagePoint(std::int64_t{offset_.x()} - window_.x(), std::int64_t{offset_.y()} - window_.y());
    }
    root_ = ycPelRootView<yc_PelRoot>(std::move(h));
    commit(p);
}

bool yc_PelBuffer::bind(const yc_PelBuffer& other, bool clip)
{
    if (!other.root_) {
        setUnbound();
        return false;
    }
    const Placement p = place(*other.root_, window_.x(), window_.y(), window_.width(), window_.height(), clip);
    root_ = other.root_;
    commit(p);
    return p.clipped;
}

yc_PelRoot* yc_PelBuffer::disconnect()
{
    needRoot();
    // Checked while the buffer still holds the root, so a refusal keeps it.
    if (!yc_PelRoot::soleLocalShare(root_.get())) return nullptr;
    ycPtrHandle<yc_PelRoot> handle = root_.release();
    ycPelRootOwner<yc_PelRoot> owner = yfDisconnectPelRoot(handle);
    ycPersistent::mutating();
    return owner.release();
}

bool yc_PelBuffer::sharesPels(const yc_PelBuffer& other) const
{
    if (!root_ || !other.root_) return false;
    const yc_PelRoot& a = *root_;
    const yc_PelRoot& b = *other.root_;
    const bool same = &a == &b || (a.isRemote() && b.isRemote() && a.communicator() == b.communicator() &&
                                   a.remoteHandle() == b.remoteHandle());
    return same && window_.overlaps(other.window_);
}

bool operator==(const yc_PelBuffer& a, const yc_PelBuffer& b)
{
    return a.root_.get() == b.root_.get() && a.window_ == b.window_ && a.offset_ == b.offset_;
}

bool operator<(const yc_PelBuffer& a, const yc_PelBuffer& b)
{
    if (a.root_.get() != b.root_.get()) return std::less<const yc_PelRoot*>()(a.root_.get(), b.root_.get());
    const auto key = [](const yc_PelBuffer& x) {
        return std::make_tuple(x.window_.x(), x.window_.y(), x.window_.width(), x.window_.height(), x.offset_.x(),
                               x.offset_.y());
    };
    return key(a) < key(b);
}

void yc_PelBuffer::clientFromImageXformBase(const yc2XformBase& x)
{
    cache_.xform(x);
    ycPersistent::mutating();
}

void yc_PelBuffer::clientFromImageXformBase(const ycPtrHandle_const<yc2XformBase>& x, bool copy)
{
    cache_.xform(x, copy);
    ycPersistent::mutating();
}

void yc_PelBuffer::imageFromClientXformBase(const yc2XformBase& x)
{
    imageFromClientXformBase(yfShareOrClone(x, false), false);
}

void yc_PelBuffer::imageFromClientXformBase(const ycPtrHandle_const<yc2XformBase>& x, bool copy)
{
    ymAssert(x);
    if (!x) return;
    yc2XformCache next;
    next.xform(x->inverseBase(), false);
    next.xformInverse(x, copy);
    cache_ = next;
    ycPersistent::mutating();
}

ycXform<2> yc_PelBuffer::clientFromImageXform() const
{
    return cache_.linearXform().xform();
}

ycXform<2> yc_PelBuffer::imageFromClientXform() const
{
    return cache_.linearXformInverse().xform();
}

void yc_PelBuffer::clientFromImageXform(const ycXform<2>& x)
{
    clientFromImageXformBase(yc2XformLinear(x));
}

void yc_PelBuffer::imageFromClientXform(const ycXform<2>& x)
{
    yc2XformCache next(yc2XformLinear(x.inverse()));
    next.xformInverse(yc2XformLinear(x));
    cache_ = next;
    ycPersistent::mutating();
}

void yc_PelBuffer::copyXforms(const yc2XformCache& cache)
{
    cache_ = cache;
    ycPersistent::mutating();
}

void yc_PelBuffer::mutating()
{
    ycPersistent::mutating();
    if (root_) root_->mutating();
}

void yc_PelBuffer::repInvariant() const
{
    if (window_.x() < 0 || window_.y() < 0 || window_.width() < 0 || window_.height() < 0) throw ycInvariantFailure();
    if (!cache_.xform()) throw ycInvariantFailure();
    if (!root_) return;
    root_->repInvariant();
    if (root_->isLocal() && !root_->contains(window_)) throw ycInvariantFailure();
}

bool yc_PelBuffer::acceptsRoot(const yc_PelRoot&) const
{
    return true;
}

void yc_PelBuffer::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, kVersion, [&](std::uint8_t version) {
        if (version > kVersion) unknownVersion(kSourceName, __LINE__);
        ycPersistent::dispatchSerialize(ar);
        serializationGivenVersionNumber(ar, version);
    });
}

void yc_PelBuffer::serializationGivenVersionNumber(ycArchive& ar, std::uint8_t version)
{
    if (ar.isStoring()) {
        ymAssert(version == kVersion);
        ymAssert(!root_ || root_->isLocal());
        ycPelRect w = window_;
        std::int32_t ox = offset_.x();
        std::int32_t oy = offset_.y();
        ycPtrHandle<yc_PelRoot> root = root_ && root_->isLocal() ? root_.handle() : nullptr;
        ar || w || ox || oy || cache_;
        yfSerializeHandle(ar, root);
        return;
    }

    // Everything is read aside and checked before the buffer changes.
    ycPelRect w;
    ycPair<std::int32_t> off;
    yc2XformCache cache;
    ycPtrHandle<yc_PelRoot> root;
    ar || w;
    if (version >= 1) ar || off.first || off.second;
    if (version == 1) {
        ycXform<2> x;
        ar || x;
        cache.xform(yc2XformLinear(x));
    } else if (version == 2) {
        ycPtrHandle_const<yc2XformBase> forward;
        ycPtrHandle_const<yc2XformBase> inverse;
        yfSerializeHandle(ar, forward);
        yfSerializeHandle(ar, inverse);
        ymAssert(forward);
        if (!forward) throw ycArchive::BadContent(kSourceName, __LINE__);
        cache.xform(forward, false);
        if (inverse) cache.xformInverse(inverse, false);
    } else if (version == 3) {
        ar || cache;
    }
    yfSerializeHandle(ar, root);

    if (root && !acceptsRoot(*root)) throw ycArchive::BadType(kSourceName, __LINE__);
    if (w.x() < 0 || w.y() < 0 || w.width() < 0 || w.height() < 0 ||
        (root && (!root->isLocal() || !root->contains(w))))
        throw ycArchive::BadContent(kSourceName, __LINE__);
    window_ = w;
    offset_ = off;
    cache_ = cache;
    root_ = ycPelRootView<yc_PelRoot>(std::move(root));
}

// --- ycPelBuffer_const<T> -----------------------------------------------------

template <ycPelType T>
ycPelBuffer_const<T>::~ycPelBuffer_const() = default;

template <ycPelType T>
bool ycPelBuffer_const<T>::acceptsRoot(const yc_PelRoot& r) const
{
    return dynamic_cast<const RootType*>(&r) != nullptr;
}

template <ycPelType T>
bool ycPelBuffer_const<T>::contains(const_pointer p) const
{
    if (!root_) return false;
    const std::int64_t update = rootRowUpdate();
    ymAssert(update > 0);
    if (update <= 0) return false;
    std::int64_t d;
    if constexpr (kPlanes) {
        const yc3PlanePelPtr base = root()->pels();
        d = elementsFrom<unsigned char>(base.plane0, p.plane0);
        if (elementsFrom<unsigned char>(base.plane1, p.plane1) != d ||
            elementsFrom<unsigned char>(base.plane2, p.plane2) != d)
            return false;
    } else {
        d = elementsFrom<T>(root()->pels_, p);
    }
    if (d < 0) return false;
    const std::int64_t r = d / update - window_.y();
    const std::int64_t c = d % update - window_.x();
    return r >= 0 && r < window_.height() && c >= 0 && c < window_.width();
}

template <ycPelType T>
void ycPelBuffer_const<T>::copyToBuffer(T* dst) const
{
    needRoot();
    if (window_.isEmpty()) return;
    ymAssert(dst != nullptr);
    if (!dst) return;
    const std::size_t w = static_cast<std::size_t>(window_.width());
    for (std::int64_t r = 0; r < window_.height(); ++r, dst += w) {
        const const_pointer row = rowAt(r);
        if constexpr (kPlanes) {
            for (std::size_t c = 0; c < w; ++c) dst[c] = {row.plane0[c], row.plane1[c], row.plane2[c]};
        } else {
            std::copy_n(row, w, dst);
        }
    }
}

// --- ycPelBuffer<T> -----------------------------------------------------------

template <ycPelType T>
ycPelBuffer<T>::ycPelBuffer(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    this->assignRoot(ycPtrHandle<yc_PelRoot>(new RootType(width, height, alignModulus)));
}

template <ycPelType T>
ycPelBuffer<T>::ycPelBuffer(const ycPelRect& r, std::int32_t alignModulus)
    : ycPelBuffer(r.width(), r.height(), alignModulus)
{
    this->offset_ = r.origin();
}

template <ycPelType T>
ycPelBuffer<T>::~ycPelBuffer() = default;

template <ycPelType T>
void ycPelBuffer<T>::copyFromBuffer(const T* src)
{
    this->needRoot();
    if (this->window_.isEmpty()) return;
    ymAssert(src != nullptr);
    if (!src) return;
    this->mutating();
    const std::size_t w = static_cast<std::size_t>(this->window_.width());
    for (std::int64_t r = 0; r < this->window_.height(); ++r, src += w) {
        const pointer row = writable(this->rowAt(r));
        if constexpr (Base::kPlanes) {
            for (std::size_t c = 0; c < w; ++c) {
                row.plane0[c] = src[c].plane0;
                row.plane1[c] = src[c].plane1;
                row.plane2[c] = src[c].plane2;
            }
        } else {
            std::copy_n(src, w, row);
        }
    }
}

#define TLVSTD_PELBUF_INSTANCE(T)                              \
    template class TLVSTD_INSTANCE_API ycPelBuffer_const<T>; \
    template class TLVSTD_INSTANCE_API ycPelBuffer<T>;
TLVSTD_PELBUF_INSTANCE(unsigned char)
TLVSTD_PELBUF_INSTANCE(signed char)
TLVSTD_PELBUF_INSTANCE(short)
TLVSTD_PELBUF_INSTANCE(unsigned short)
TLVSTD_PELBUF_INSTANCE(ycPackedRGB16Pel)
TLVSTD_PELBUF_INSTANCE(std::int32_t)
TLVSTD_PELBUF_INSTANCE(std::uint32_t)
TLVSTD_PELBUF_INSTANCE(float)
TLVSTD_PELBUF_INSTANCE(ycPackedRGB32Pel)
TLVSTD_PELBUF_INSTANCE(double)
TLVSTD_PELBUF_INSTANCE(ycPair<std::int32_t>)
TLVSTD_PELBUF_INSTANCE(ycPair<float>)
TLVSTD_PELBUF_INSTANCE(yc3PlanePel)

// --- registration -------------------------------------------------------------

void yf_RegisterPel3BufferClasses(yc_TypeRegistry& registry);

void yf_RegisterPelBufferClasses(yc_TypeRegistry& registry)
{
    ycPelTypes::forEach([&]<class T>(std::type_identity<T>) {
        const std::string type = std::string("<") + yfPelTypeName<T>() + ">";
        registry.add<ycPelBuffer<T>>(("ycPelBuffer" + type).c_str());
        registry.add<ycPelBuffer_const<T>>(("ycPelBuffer_const" + type).c_str());
    });
    yf_RegisterPel3BufferClasses(registry);
}

#include "std/pelbuf/pelroot.h"

#include "std/archive/archive.h"
#include "std/except/registry.h"
#include "std/pelbuf/pool.h"
#include "std/util/assert.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

constexpr std::uint64_t kU64Max = std::numeric_limits<std::uint64_t>::max();
constexpr std::int64_t kI32Max = std::numeric_limits<std::int32_t>::max();

// A loading root may pad its rows to at most this many times its stored pels
// plus a fixed allowance: generous for any real alignment (a one-pel column
// padded to 32 bytes is 32 times), yet a corrupted alignment cannot make a
// few stored bytes claim gigabytes.
constexpr std::uint64_t kPaddingFactor = 64;
constexpr std::uint64_t kPaddingAllowance = 64 * 1024;

// Pels read at a time where the stream cannot tell how much it holds.
constexpr std::uint64_t kGatherBytes = 64 * 1024;

std::uint64_t mulOrMax(std::uint64_t a, std::uint64_t b)
{
    return b != 0 && a > kU64Max / b ? kU64Max : a * b;
}

// Pels whose archive form is their bytes travel as raw blocks.
template <class T>
constexpr bool kRawPels = sizeof(T) == 1 || std::same_as<T, yc3PlanePel>;

template <class T>
void readPels(ycArchive& ar, T* p, std::size_t n)
{
    if constexpr (kRawPels<T>) {
        ar.raw(reinterpret_cast<char*>(p), static_cast<std::int64_t>(n * sizeof(T)));
    } else {
        for (std::size_t i = 0; i < n; ++i) ar || p[i];
    }
}

template <class T>
void writePels(ycArchive& ar, const T* p, std::size_t n)
{
    if constexpr (kRawPels<T>) {
        ar.raw(reinterpret_cast<char*>(const_cast<T*>(p)), static_cast<std::int64_t>(n * sizeof(T)));
    } else {
        for (std::size_t i = 0; i < n; ++i) {
            T v = p[i];
            ar || v;
        }
    }
}

// Reads `count` pels from a stream of unknown length. Memory grows with what
// actually arrives, so a corrupted count ends in Eof, not in a huge request.
template <class T>
std::vector<T> gatherPels(ycArchive& ar, std::uint64_t count)
{
    const std::uint64_t step = std::max<std::uint64_t>(1, kGatherBytes / sizeof(T));
    std::vector<T> out;
    while (out.size() < count) {
        const std::size_t at = out.size();
        out.resize(at + static_cast<std::size_t>(std::min<std::uint64_t>(step, count - at)));
        readPels(ar, out.data() + at, out.size() - at);
    }
    return out;
}

// Copies `rows` rows of `rowPels` pels between two strided arrays whose
// memory may overlap.
template <class T>
void moveRows(const T* from, std::ptrdiff_t fromUpdate, T* to, std::ptrdiff_t toUpdate, std::int32_t rowPels,
              std::int32_t rows)
{
    const std::size_t bytes = static_cast<std::size_t>(rowPels) * sizeof(T);
    if (std::greater<const T*>()(to, from)) {
        for (std::int32_t y = rows - 1; y >= 0; --y) std::memmove(to + y * toUpdate, from + y * fromUpdate, bytes);
    } else {
        for (std::int32_t y = 0; y < rows; ++y) std::memmove(to + y * toUpdate, from + y * fromUpdate, bytes);
    }
}

// The smallest t >= 0 with (x + t s) % m == 0, if there is one: the linear
// congruence t s = -x (mod m), solved with the inverse of s / g modulo m / g.
std::optional<std::uint64_t> firstMultipleStep(std::uint64_t x, std::uint64_t s, std::uint64_t m)
{
    const std::uint64_t g = std::gcd(s, m);
    const std::uint64_t need = (m - x % m) % m;
    if (need % g != 0) return std::nullopt;
    const std::int64_t mod = static_cast<std::int64_t>(m / g);
    std::int64_t a = static_cast<std::int64_t>((s / g) % (m / g)), b = mod, u = 1, v = 0;
    while (b != 0) { // extended Euclid: u is the inverse of a modulo mod
        const std::int64_t q = a / b;
        a = std::exchange(b, a - q * b);
        u = std::exchange(v, u - q * v);
    }
    const auto inverse = static_cast<std::uint64_t>((u % mod + mod) % mod);
    return (need / g) % (m / g) * inverse % (m / g);
}

} // namespace

// --- yc_PelRoot ---------------------------------------------------------------

yc_PelRoot::~yc_PelRoot()
{
    releaseStorage();
}

std::int32_t yc_PelRoot::width() const
{
    ymAssert(isLocal());
    return width_;
}

std::int32_t yc_PelRoot::height() const
{
    ymAssert(isLocal());
    return height_;
}

std::int32_t yc_PelRoot::rowUpdate() const
{
    ymAssert(isLocal());
    return rowUpdate_;
}

std::int32_t yc_PelRoot::alignModulus() const
{
    ymAssert(isLocal());
    return alignModulus_;
}

// A remote root will also tell its server here, under its communicator's
// lock, when the count leaves or reaches 0.
std::int32_t yc_PelRoot::refInc(const yc_PelRoot* root)
{
    ymAssert(root != nullptr);
    if (!root) return 0;
    return root->ycRepBase::refInc();
}

std::int32_t yc_PelRoot::refDec(const yc_PelRoot* root)
{
    ymAssert(root != nullptr);
    if (!root) return 0;
    return root->ycRepBase::refDec();
}

bool yc_PelRoot::contains(const ycPelRect& r) const
{
    ymAssert(isLocal());
    return ycPelRect(0, 0, width_, height_).contains(r);
}

std::int32_t yc_PelRoot::padPelsNeeded(std::int32_t width, std::size_t pelSize, std::int32_t alignModulus)
{
    ymAssert(alignModulus >= 1);
    if (alignModulus <= 1) return 0; // pooled roots: every row fits
    // The smallest p with (width + p) * pelSize divisible by the modulus, in
    // unsigned 32-bit arithmetic. For rows of 4 GiB and more the product
    // wraps, at most a few times for p up to the modulus: solve within each
    // stretch where it does not, never by trying p one at a time.
    const std::uint64_t w = static_cast<std::uint32_t>(width);
    const std::uint64_t s = static_cast<std::uint32_t>(pelSize);
    const std::uint64_t m = static_cast<std::uint32_t>(alignModulus);
    for (std::uint64_t start = 0; start <= m;) {
        const std::uint64_t x = ((w + start) * s) & 0xFFFFFFFFu;
        const std::uint64_t room = (0xFFFFFFFFu - x) / s; // steps before the next wrap
        if (auto t = firstMultipleStep(x, s, m); t && *t <= room && start + *t <= m)
            return static_cast<std::int32_t>(start + *t);
        start += room + 1;
    }
    ymAssert(false); // no padding up to the modulus makes the row fit
    return alignModulus;
}

void yc_PelRoot::releasePackage() noexcept
{
    package_.reset();
}

void yc_PelRoot::repInvariant() const
{
    bool good;
    if (isRemote()) {
        good = width_ > 0 && height_ > 0 && raw_ == nullptr;
    } else if (width_ == 0) {
        good = height_ == 0 && rowUpdate_ == 0;
    } else {
        good = width_ > 0 && height_ > 0 && rowUpdate_ >= width_ && alignModulus_ >= 1;
    }
    if (!good) throw ycInvariantFailure();
}

void yc_PelRoot::mutating()
{
    ymAssert(isLocal());
    ycPersistent::mutating();
}

void yc_PelRoot::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        ycPersistent::dispatchSerialize(ar);
    });
}

bool yc_PelRoot::init(std::int32_t width, std::int32_t height, std::int32_t alignModulus, std::size_t pelSize)
{
    ymAssert(isLocal());
    ymAssert(width >= 1 && height >= 1 && alignModulus >= 1);
    if (width < 1 || height < 1 || alignModulus < 1) return false;
    const std::int64_t rowUpdate = std::int64_t{width} + padPelsNeeded(width, pelSize, alignModulus);
    ymAssert(rowUpdate <= kI32Max);
    if (rowUpdate > kI32Max) return false;
    width_ = width;
    height_ = height;
    alignModulus_ = alignModulus;
    rowUpdate_ = static_cast<std::int32_t>(rowUpdate);
    return true;
}

void* yc_PelRoot::allocOwned(std::size_t pelSize, std::size_t pelAlign)
{
    const std::uint64_t pels = static_cast<std::uint64_t>(rowUpdate_) * static_cast<std::uint64_t>(height_);
    const std::uint64_t bytes = mulOrMax(pels, pelSize);
    if (bytes == kU64Max) throw std::bad_alloc();
    yc_PelBlock block = yfAllocPelBlock(bytes, alignModulus_, pelAlign);
    raw_ = block.raw;
    return block.pels;
}

bool yc_PelRoot::initWrapped(std::int32_t width, std::int32_t height, std::optional<std::int32_t> rowUpdate,
                             const void* pels, std::int32_t alignModulus, std::size_t pelSize)
{
    ymAssert(pels != nullptr);
    if (!pels || !init(width, height, alignModulus, pelSize)) return false;
    const auto low = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pels));
    ymAssert(low % static_cast<std::uint32_t>(alignModulus) == 0);
    if (rowUpdate) {
        ymAssert(*rowUpdate >= width);
        ymAssert(static_cast<std::uint64_t>(*rowUpdate) * pelSize % static_cast<std::uint64_t>(alignModulus) == 0);
        // Rows shorter than the width would overlap: refuse them.
        if (*rowUpdate < width) {
            width_ = rowUpdate_ = height_ = alignModulus_ = 0;
            return false;
        }
        rowUpdate_ = *rowUpdate;
    }
    return true;
}

void yc_PelRoot::attachPackage(yc_PelPackage& package)
{
    package_ = ycPtrHandle<yc_PelPackage>(&package);
}

void yc_PelRoot::releaseStorage() noexcept
{
    if (raw_) yfFreePelBlock(std::exchange(raw_, nullptr));
    if (ycPelRootPool* pool = std::exchange(pool_, nullptr)) {
        pool->freeSlot(std::exchange(slot_, {}));
        if (std::exchange(poolShare_, false) && pool->ycRepBase::refDec() == 0) delete pool;
    }
    package_.reset();
    width_ = rowUpdate_ = height_ = alignModulus_ = 0;
}

void yc_PelRoot::takeStorage(yc_PelRoot& from) noexcept
{
    releaseStorage();
    raw_ = std::exchange(from.raw_, nullptr);
    width_ = std::exchange(from.width_, 0);
    rowUpdate_ = std::exchange(from.rowUpdate_, 0);
    height_ = std::exchange(from.height_, 0);
    alignModulus_ = std::exchange(from.alignModulus_, 0);
}

bool yc_PelRoot::checkStoredGeometry(const StoredGeometry& g)
{
    if (g.width == 0 && g.height == 0) return false;
    if (g.width < 1 || g.height < 1 || g.alignModulus < 1) throw ycArchive::BadContent(kSourceName, __LINE__);
    return true;
}

std::optional<std::uint64_t> yc_PelRoot::streamRoom(ycArchive& ar)
{
    const ycArchive::pos here = ar.tell();
    if (here < 0) return std::nullopt;
    try {
        ar.seek(0, std::ios_base::end);
    } catch (const ycArchive::BadBuffer&) {
        return std::nullopt;
    }
    const ycArchive::pos end = ar.tell();
    ar.seek(here);
    if (end < here) return std::nullopt;
    return static_cast<std::uint64_t>(end - here);
}

void yc_PelRoot::checkStoredSize(const StoredGeometry& g, std::size_t pelSize, std::size_t planes,
                                 std::uint64_t pelBytes, std::optional<std::uint64_t> room)
{
    if (room && pelBytes > *room) throw ycArchive::Eof(kSourceName, __LINE__);
    const std::int64_t rowUpdate = std::int64_t{g.width} + padPelsNeeded(g.width, pelSize, g.alignModulus);
    if (rowUpdate > kI32Max) throw ycArchive::BadContent(kSourceName, __LINE__);
    const std::uint64_t rows = static_cast<std::uint64_t>(g.height) * planes;
    const std::uint64_t padded = mulOrMax(mulOrMax(static_cast<std::uint64_t>(rowUpdate), rows), pelSize);
    const std::uint64_t stored = mulOrMax(mulOrMax(static_cast<std::uint64_t>(g.width), rows), pelSize);
    if (padded == kU64Max || padded > mulOrMax(stored, kPaddingFactor) + kPaddingAllowance)
        throw ycArchive::BadContent(kSourceName, __LINE__);
}

int yc_PelRoot::transferFlags(ycArchive& ar)
{
    std::uint32_t flags = 0;
    ar || flags;
    return ((flags & 2) != 0 ? 1 : 0) + ((flags & 4) != 0 ? 1 : 0);
}

void yfDestroyPelRoot(const yc_PelRoot* root)
{
    if (!root) return;
    auto* r = const_cast<yc_PelRoot*>(root);
    ycPelRootPool* pool = r->pool_;
    if (!pool) {
        delete r;
        return;
    }
    // The root's share of the pool passes to this call, so the pool outlives
    // the hand-back even when that share was its last.
    struct Share {
        ycPelRootPool* pool;
        ~Share()
        {
            if (pool->ycRepBase::refDec() == 0) delete pool;
        }
    } share{pool};
    r->poolShare_ = false;
    pool->release(r);
}

// --- ycPelRoot<T> -------------------------------------------------------------

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    if (init(width, height, alignModulus)) alloc();
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, T* pels, std::int32_t alignModulus)
{
    if (initWrapped(width, height, std::nullopt, pels, alignModulus, sizeof(T))) pels_ = pels;
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, T* pels,
                        std::int32_t alignModulus)
{
    if (initWrapped(width, height, rowUpdate, pels, alignModulus, sizeof(T))) pels_ = pels;
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(yc_PelPackage& package)
{
    ymAssert(package.pelSize() == sizeof(T));
    if (package.pelSize() != sizeof(T)) return;
    attachPackage(package);
    void* pels = package.supplyPels(*this);
    std::optional<std::int32_t> rowUpdate;
    if (package.rowUpdate() != 0) rowUpdate = package.rowUpdate();
    ymAssert(reinterpret_cast<std::uintptr_t>(pels) % alignof(T) == 0);
    if (reinterpret_cast<std::uintptr_t>(pels) % alignof(T) != 0 ||
        !initWrapped(package.width(), package.height(), rowUpdate, pels, package.alignModulus(), sizeof(T))) {
        releaseStorage();
        return;
    }
    pels_ = static_cast<T*>(pels);
}

template <ycPelType T>
ycPelRoot<T>::~ycPelRoot()
{
    freeLocalStorage();
}

template <ycPelType T>
T* ycPelRoot<T>::pels() const
{
    ymAssert(isLocal());
    return pels_;
}

template <ycPelType T>
bool ycPelRoot<T>::init(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    return yc_PelRoot::init(width, height, alignModulus, sizeof(T));
}

template <ycPelType T>
void ycPelRoot<T>::alloc()
{
    ymAssert(isLocal() && width_ > 0 && pels_ == nullptr);
    if (width_ <= 0 || pels_ != nullptr) return;
    T* pels = static_cast<T*>(allocOwned(sizeof(T), alignof(T)));
    std::uninitialized_default_construct_n(pels, static_cast<std::size_t>(rowUpdate_) * height_);
    pels_ = pels;
}

template <ycPelType T>
void ycPelRoot<T>::dtorArray(T* p, std::size_t count) noexcept
{
    std::destroy_n(p, count);
}

template <ycPelType T>
void ycPelRoot<T>::freeLocalStorage() noexcept
{
    if (pels_ && ownsPels()) dtorArray(pels_, static_cast<std::size_t>(rowUpdate_) * height_);
    pels_ = nullptr;
    releaseStorage();
}

template <ycPelType T>
void ycPelRoot<T>::reInit()
{
    freeLocalStorage();
}

template <ycPelType T>
ycPtrHandle<ycPelRoot<T>> ycPelRoot<T>::copy(const ycPelRect& r) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return {};
    if (r.isEmpty()) return ycPtrHandle<ycPelRoot>(new ycPelRoot);
    ycPtrHandle<ycPelRoot> out(new ycPelRoot(r.width(), r.height(), alignModulus_));
    copy(r, *out, {0, 0});
    return out;
}

template <ycPelType T>
void ycPelRoot<T>::copy(const ycPelRect& r, ycPelRoot& dst, const ycPair<std::int32_t>& origin) const
{
    const ycPelRect target(origin, r.size());
    ymAssert(isLocal() && dst.isLocal());
    ymAssert(contains(r));
    ymAssert(dst.contains(target));
    if (!contains(r) || !dst.contains(target) || r.isEmpty()) return;
    dst.mutating();
    moveRows(pels_ + std::ptrdiff_t{r.y()} * rowUpdate_ + r.x(), rowUpdate_,
             dst.pels_ + std::ptrdiff_t{origin.y()} * dst.rowUpdate_ + origin.x(), dst.rowUpdate_, r.width(),
             r.height());
}

template <ycPelType T>
void ycPelRoot<T>::pelsToVect(const ycPelRect& r, std::vector<T>& out) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return;
    out.resize(r.isEmpty() ? 0 : static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()));
    if (r.isEmpty()) return;
    moveRows(pels_ + std::ptrdiff_t{r.y()} * rowUpdate_ + r.x(), rowUpdate_, out.data(), r.width(), r.width(),
             r.height());
}

template <ycPelType T>
void ycPelRoot<T>::pelsFromVect(const ycPelRect& r, const std::vector<T>& in)
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r) || r.isEmpty()) return;
    const std::size_t count = static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height());
    ymAssert(in.size() == count);
    if (in.size() != count) return;
    mutating();
    moveRows(in.data(), r.width(), pels_ + std::ptrdiff_t{r.y()} * rowUpdate_ + r.x(), rowUpdate_, r.width(),
             r.height());
}

template <ycPelType T>
void ycPelRoot<T>::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        yc_PelRoot::dispatchSerialize(ar);
        if (ar.isStoring()) {
            store(ar);
        } else {
            load(ar);
        }
    });
}

template <ycPelType T>
void ycPelRoot<T>::store(ycArchive& ar)
{
    ymAssert(isLocal());
    StoredGeometry g{width_, height_, alignModulus_};
    ar || g.width || g.height || g.alignModulus;
    transferFlags(ar);
    for (std::int32_t y = 0; y < height_; ++y) {
        writePels(ar, pels_ + std::ptrdiff_t{y} * rowUpdate_, static_cast<std::size_t>(width_));
    }
}

template <ycPelType T>
void ycPelRoot<T>::load(ycArchive& ar)
{
    freeLocalStorage();
    StoredGeometry g;
    ar || g.width || g.height || g.alignModulus;
    const bool any = checkStoredGeometry(g);
    for (int n = transferFlags(ar); n > 0; --n) {
        T scratch{};
        ar || scratch;
    }
    if (!any) return;

    const std::uint64_t count = static_cast<std::uint64_t>(g.width) * static_cast<std::uint64_t>(g.height);
    const std::uint64_t bytes = mulOrMax(count, sizeof(T));
    ycPelRoot fresh;
    if (std::optional<std::uint64_t> room = streamRoom(ar)) {
        checkStoredSize(g, sizeof(T), 1, bytes, room);
        fresh.init(g.width, g.height, g.alignModulus);
        fresh.alloc();
        for (std::int32_t y = 0; y < g.height; ++y) {
            readPels(ar, fresh.pels_ + std::ptrdiff_t{y} * fresh.rowUpdate_, static_cast<std::size_t>(g.width));
        }
    } else {
        std::vector<T> staged = gatherPels<T>(ar, count);
        checkStoredSize(g, sizeof(T), 1, bytes, std::nullopt);
        fresh.init(g.width, g.height, g.alignModulus);
        fresh.alloc();
        moveRows(staged.data(), g.width, fresh.pels_, fresh.rowUpdate_, g.width, g.height);
    }
    takeStorage(fresh);
    pels_ = std::exchange(fresh.pels_, nullptr);
}

// GCC and clang take the visibility from the extern declaration in the
// header; Windows wants the export on the definition as well.
#if defined(_WIN32)
#define TLVSTD_INSTANCE_API TLVSTD_API
#else
#define TLVSTD_INSTANCE_API
#endif
template class TLVSTD_INSTANCE_API ycPelRoot<unsigned char>;
template class TLVSTD_INSTANCE_API ycPelRoot<signed char>;
template class TLVSTD_INSTANCE_API ycPelRoot<short>;
template class TLVSTD_INSTANCE_API ycPelRoot<unsigned short>;
template class TLVSTD_INSTANCE_API ycPelRoot<ycPackedRGB16Pel>;
template class TLVSTD_INSTANCE_API ycPelRoot<std::int32_t>;
template class TLVSTD_INSTANCE_API ycPelRoot<std::uint32_t>;
template class TLVSTD_INSTANCE_API ycPelRoot<float>;
template class TLVSTD_INSTANCE_API ycPelRoot<ycPackedRGB32Pel>;
template class TLVSTD_INSTANCE_API ycPelRoot<double>;
template class TLVSTD_INSTANCE_API ycPelRoot<ycPair<std::int32_t>>;
template class TLVSTD_INSTANCE_API ycPelRoot<ycPair<float>>;

// --- ycPelRoot<yc3PlanePel> ---------------------------------------------------

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    if (init(width, height, alignModulus)) alloc();
}

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, const yc3PlanePelPtr& pels,
                                  std::int32_t alignModulus)
{
    ymAssert(pels.plane0 && pels.plane1 && pels.plane2);
    if (!pels.plane0 || !pels.plane1 || !pels.plane2) return;
    if (initWrapped(width, height, std::nullopt, pels.plane0, alignModulus, 1)) makePlanes(pels, std::nullopt);
}

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate,
                                  const yc3PlanePelPtr& pels, std::int32_t alignModulus)
{
    ymAssert(pels.plane0 && pels.plane1 && pels.plane2);
    if (!pels.plane0 || !pels.plane1 || !pels.plane2) return;
    if (initWrapped(width, height, rowUpdate, pels.plane0, alignModulus, 1)) makePlanes(pels, rowUpdate);
}

ycPelRoot<yc3PlanePel>::ycPelRoot(Plane* plane0, Plane* plane1, Plane* plane2)
{
    ymAssert(plane0 && plane1 && plane2);
    if (!plane0 || !plane1 || !plane2) return;
    const auto same = [&](const Plane* p) {
        return p->isLocal() && p->width() == plane0->width() && p->height() == plane0->height() &&
               p->alignModulus() == plane0->alignModulus() && p->rowUpdate() == plane0->rowUpdate();
    };
    ymAssert(same(plane1) && same(plane2));
    if (!same(plane1) || !same(plane2)) return;
    width_ = plane0->width();
    height_ = plane0->height();
    rowUpdate_ = plane0->rowUpdate();
    alignModulus_ = plane0->alignModulus();
    planes_[0] = ycPtrHandle<Plane>(plane0);
    planes_[1] = ycPtrHandle<Plane>(plane1);
    planes_[2] = ycPtrHandle<Plane>(plane2);
}

ycPelRoot<yc3PlanePel>::~ycPelRoot()
{
    freeLocalStorage();
}

void ycPelRoot<yc3PlanePel>::makePlanes(const yc3PlanePelPtr& pels, std::optional<std::int32_t> rowUpdate)
{
    unsigned char* const p[3] = {pels.plane0, pels.plane1, pels.plane2};
    for (int i = 0; i < 3; ++i) {
        planes_[i] = ycPtrHandle<Plane>(rowUpdate ? new Plane(width_, height_, *rowUpdate, p[i], alignModulus_)
                                                  : new Plane(width_, height_, p[i], alignModulus_));
    }
}

yc3PlanePelPtr ycPelRoot<yc3PlanePel>::pels() const
{
    ymAssert(isLocal());
    if (!planes_[0]) return {};
    return {planes_[0]->pels(), planes_[1]->pels(), planes_[2]->pels()};
}

bool ycPelRoot<yc3PlanePel>::init(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    return yc_PelRoot::init(width, height, alignModulus, 1);
}

void ycPelRoot<yc3PlanePel>::alloc()
{
    ymAssert(isLocal() && width_ > 0 && !planes_[0]);
    if (width_ <= 0 || planes_[0]) return;
    ycPtrHandle<Plane> made[3];
    for (auto& plane : made) plane = ycPtrHandle<Plane>(new Plane(width_, height_, alignModulus_));
    for (int i = 0; i < 3; ++i) planes_[i] = std::move(made[i]);
}

void ycPelRoot<yc3PlanePel>::freeLocalStorage() noexcept
{
    for (auto& plane : planes_) plane.reset();
    releaseStorage();
}

void ycPelRoot<yc3PlanePel>::reInit()
{
    freeLocalStorage();
}

ycPtrHandle<ycPelRoot<yc3PlanePel>> ycPelRoot<yc3PlanePel>::copy(const ycPelRect& r) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return {};
    if (r.isEmpty()) return ycPtrHandle<ycPelRoot>(new ycPelRoot);
    ycPtrHandle<ycPelRoot> out(new ycPelRoot(r.width(), r.height(), alignModulus_));
    copy(r, *out, {0, 0});
    return out;
}

void ycPelRoot<yc3PlanePel>::copy(const ycPelRect& r, ycPelRoot& dst, const ycPair<std::int32_t>& origin) const
{
    const ycPelRect target(origin, r.size());
    ymAssert(isLocal() && dst.isLocal());
    ymAssert(contains(r));
    ymAssert(dst.contains(target));
    if (!contains(r) || !dst.contains(target) || r.isEmpty()) return;
    dst.mutating();
    for (int i = 0; i < 3; ++i) planes_[i]->copy(r, *dst.planes_[i], origin);
}

void ycPelRoot<yc3PlanePel>::pelsToVect(const ycPelRect& r, std::vector<yc3PlanePel>& out) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return;
    out.resize(r.isEmpty() ? 0 : static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()));
    if (r.isEmpty()) return;
    const yc3PlanePelPtr p = pels();
    yc3PlanePel* to = out.data();
    for (std::int32_t y = r.y(); y < r.y() + r.height(); ++y) {
        const std::ptrdiff_t row = std::ptrdiff_t{y} * rowUpdate_;
        for (std::int32_t x = r.x(); x < r.x() + r.width(); ++x) {
            *to++ = {p.plane0[row + x], p.plane1[row + x], p.plane2[row + x]};
        }
    }
}

void ycPelRoot<yc3PlanePel>::pelsFromVect(const ycPelRect& r, const std::vector<yc3PlanePel>& in)
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r) || r.isEmpty()) return;
    const std::size_t count = static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height());
    ymAssert(in.size() == count);
    if (in.size() != count) return;
    mutating();
    const yc3PlanePelPtr p = pels();
    const yc3PlanePel* from = in.data();
    for (std::int32_t y = r.y(); y < r.y() + r.height(); ++y) {
        const std::ptrdiff_t row = std::ptrdiff_t{y} * rowUpdate_;
        for (std::int32_t x = r.x(); x < r.x() + r.width(); ++x, ++from) {
            p.plane0[row + x] = from->plane0;
            p.plane1[row + x] = from->plane1;
            p.plane2[row + x] = from->plane2;
        }
    }
}

void ycPelRoot<yc3PlanePel>::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
        yc_PelRoot::dispatchSerialize(ar);
        if (ar.isStoring()) {
            store(ar);
        } else {
            load(ar);
        }
    });
}

void ycPelRoot<yc3PlanePel>::store(ycArchive& ar)
{
    ymAssert(isLocal());
    StoredGeometry g{width_, height_, alignModulus_};
    ar || g.width || g.height || g.alignModulus;
    transferFlags(ar);
    if (width_ == 0) return;
    std::vector<yc3PlanePel> row;
    for (std::int32_t y = 0; y < height_; ++y) {
        pelsToVect(ycPelRect(0, y, width_, 1), row);
        writePels(ar, row.data(), row.size());
    }
}

void ycPelRoot<yc3PlanePel>::load(ycArchive& ar)
{
    freeLocalStorage();
    StoredGeometry g;
    ar || g.width || g.height || g.alignModulus;
    const bool any = checkStoredGeometry(g);
    for (int n = transferFlags(ar); n > 0; --n) {
        yc3PlanePel scratch;
        ar || scratch;
    }
    if (!any) return;

    const std::uint64_t count = static_cast<std::uint64_t>(g.width) * static_cast<std::uint64_t>(g.height);
    const std::uint64_t bytes = mulOrMax(count, sizeof(yc3PlanePel));
    ycPelRoot fresh;
    if (std::optional<std::uint64_t> room = streamRoom(ar)) {
        checkStoredSize(g, 1, 3, bytes, room);
        fresh.init(g.width, g.height, g.alignModulus);
        fresh.alloc();
        std::vector<yc3PlanePel> row(static_cast<std::size_t>(g.width));
        for (std::int32_t y = 0; y < g.height; ++y) {
            readPels(ar, row.data(), row.size());
            fresh.pelsFromVect(ycPelRect(0, y, g.width, 1), row);
        }
    } else {
        std::vector<yc3PlanePel> staged = gatherPels<yc3PlanePel>(ar, count);
        checkStoredSize(g, 1, 3, bytes, std::nullopt);
        fresh.init(g.width, g.height, g.alignModulus);
        fresh.alloc();
        fresh.pelsFromVect(ycPelRect(0, 0, g.width, g.height), staged);
    }
    takeStorage(fresh);
    for (int i = 0; i < 3; ++i) planes_[i] = std::move(fresh.planes_[i]);
}

// --- registration -------------------------------------------------------------

void yf_RegisterPelBufferClasses(yc_TypeRegistry& registry);

void yf_RegisterPelRootClasses(yc_TypeRegistry& registry)
{
    ycPelTypes::forEach([&]<class T>(std::type_identity<T>) {
        const std::string name = std::string("ycPelRoot<") + yfPelTypeName<T>() + ">";
        registry.add<ycPelRoot<T>>(name.c_str());
    });
    yf_RegisterPelBufferClasses(registry);
}

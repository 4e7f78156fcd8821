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

// Pels go as whole blocks of their scalar fields (peltypes.h), the same
// bytes as one transfer per field.
template <class T>
void readPels(ycArchive& ar, T* p, std::size_t n)
{
    using F = yc_PelFields<T>;
    ar.getBlock(p, n * F::fields, F::fieldBytes, F::ordering);
}

template <class T>
void writePels(ycArchive& ar, const T* p, std::size_t n)
{
    using F = yc_PelFields<T>;
    ar.putBlock(p, n * F::fields, F::fieldBytes, F::ordering);
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

// The same for three planes, each moved as its own array.
void moveRows(const yc3PlanePelPtr& from, std::ptrdiff_t fromUpdate, const yc3PlanePelPtr& to, std::ptrdiff_t toUpdate,
              std::int32_t rowPels, std::int32_t rows)
{
    moveRows(from.plane0, fromUpdate, to.plane0, toUpdate, rowPels, rows);
    moveRows(from.plane1, fromUpdate, to.plane1, toUpdate, rowPels, rows);
    moveRows(from.plane2, fromUpdate, to.plane2, toUpdate, rowPels, rows);
}

template <class T>
T* advance(T* p, std::ptrdiff_t n)
{
    return p + n;
}

yc3PlanePelPtr advance(const yc3PlanePelPtr& p, std::ptrdiff_t n)
{
    return {p.plane0 + n, p.plane1 + n, p.plane2 + n};
}

// Rows of a strided array to and from dense (row-major, unpadded) pels.
template <class T>
void toDense(const T* from, std::ptrdiff_t update, T* out, std::int32_t rowPels, std::int32_t rows)
{
    moveRows(from, update, out, rowPels, rowPels, rows);
}

void toDense(const yc3PlanePelPtr& from, std::ptrdiff_t update, yc3PlanePel* out, std::int32_t rowPels,
             std::int32_t rows)
{
    for (std::int32_t y = 0; y < rows; ++y) {
        const std::ptrdiff_t row = std::ptrdiff_t{y} * update;
        for (std::int32_t x = 0; x < rowPels; ++x) {
            *out++ = {from.plane0[row + x], from.plane1[row + x], from.plane2[row + x]};
        }
    }
}

template <class T>
void fromDense(const T* in, T* to, std::ptrdiff_t update, std::int32_t rowPels, std::int32_t rows)
{
    moveRows(in, rowPels, to, update, rowPels, rows);
}

void fromDense(const yc3PlanePel* in, const yc3PlanePelPtr& to, std::ptrdiff_t update, std::int32_t rowPels,
               std::int32_t rows)
{
    for (std::int32_t y = 0; y < rows; ++y) {
        const std::ptrdiff_t row = std::ptrdiff_t{y} * update;
        for (std::int32_t x = 0; x < rowPels; ++x, ++in) {
            to.plane0[row + x] = in->plane0;
            to.plane1[row + x] = in->plane1;
            to.plane2[row + x] = in->plane2;
        }
    }
}

// The pels of `rows` rows to or from the archive. Rows without padding
// between them go as one block, so that a file sees one large write; three
// planes pass through `scratch` a row at a time as interleaved pels.
template <class T>
void writeRows(ycArchive& ar, const T* p, std::int32_t rowPels, std::int32_t rows, std::ptrdiff_t update,
               std::vector<T>&)
{
    const auto n = static_cast<std::size_t>(rowPels);
    if (update == rowPels) {
        writePels(ar, p, n * static_cast<std::size_t>(rows));
        return;
    }
    for (std::int32_t y = 0; y < rows; ++y) writePels(ar, p + y * update, n);
}

void writeRows(ycArchive& ar, const yc3PlanePelPtr& p, std::int32_t rowPels, std::int32_t rows,
               std::ptrdiff_t update, std::vector<yc3PlanePel>& scratch)
{
    scratch.resize(static_cast<std::size_t>(rowPels));
    for (std::int32_t y = 0; y < rows; ++y) {
        toDense(advance(p, y * update), 0, scratch.data(), rowPels, 1);
        writePels(ar, scratch.data(), scratch.size());
    }
}

template <class T>
void readRows(ycArchive& ar, T* p, std::int32_t rowPels, std::int32_t rows, std::ptrdiff_t update, std::vector<T>&)
{
    const auto n = static_cast<std::size_t>(rowPels);
    if (update == rowPels) {
        readPels(ar, p, n * static_cast<std::size_t>(rows));
        return;
    }
    for (std::int32_t y = 0; y < rows; ++y) readPels(ar, p + y * update, n);
}

void readRows(ycArchive& ar, const yc3PlanePelPtr& p, std::int32_t rowPels, std::int32_t rows, std::ptrdiff_t update,
              std::vector<yc3PlanePel>& scratch)
{
    scratch.resize(static_cast<std::size_t>(rowPels));
    for (std::int32_t y = 0; y < rows; ++y) {
        readPels(ar, scratch.data(), scratch.size());
        fromDense(scratch.data(), advance(p, y * update), 0, rowPels, 1);
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

// --- yc_PooledPels ------------------------------------------------------------

yc_PooledPels::yc_PooledPels(yc_PoolKey, ycPtrHandle<ycPelRootPool> pool, const yc_PelSlot& slot) noexcept
    : share_(std::move(pool)), pool_(share_.get()), slot_(slot)
{
}

yc_PooledPels::yc_PooledPels(yc_PooledPels&& other) noexcept
    : share_(std::move(other.share_)), pool_(std::exchange(other.pool_, nullptr)), slot_(std::exchange(other.slot_, {}))
{
}

yc_PooledPels& yc_PooledPels::operator=(yc_PooledPels&& other) noexcept
{
    if (this != &other) {
        giveBack();
        share_ = std::move(other.share_);
        pool_ = std::exchange(other.pool_, nullptr);
        slot_ = std::exchange(other.slot_, {});
    }
    return *this;
}

yc_PooledPels::~yc_PooledPels()
{
    giveBack();
}

void yc_PooledPels::giveBack() noexcept
{
    if (ycPelRootPool* pool = std::exchange(pool_, nullptr)) pool->freeSlot(slot_);
}

// --- yc_PelRoot ---------------------------------------------------------------

yc_PelRoot::~yc_PelRoot() = default;

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

bool yc_PelRoot::soleLocalShare(const yc_PelRoot* root)
{
    const bool sole = root && root->isLocal() && root->refCount() == 1;
    ymAssert(sole);
    return sole;
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
    if (std::holds_alternative<PackagedPels>(storage_)) storage_ = WrappedPels{};
}

yc_PelPackage* yc_PelRoot::package() const
{
    const auto* package = std::get_if<PackagedPels>(&storage_);
    return package ? package->get() : nullptr;
}

ycPelRootPool* yc_PelRoot::pool() const
{
    const auto* pooled = std::get_if<yc_PooledPels>(&storage_);
    return pooled ? pooled->pool() : nullptr;
}

const yc_PelSlot& yc_PelRoot::slot() const
{
    static const yc_PelSlot none;
    const auto* pooled = std::get_if<yc_PooledPels>(&storage_);
    return pooled ? pooled->slot() : none;
}

bool yc_PelRoot::ownsPels() const
{
    return std::holds_alternative<OwnedPels>(storage_);
}

void yc_PelRoot::repInvariant() const
{
    bool good;
    if (isRemote()) {
        good = width_ > 0 && height_ > 0 && !ownsPels();
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

std::optional<yc_PelRoot::Geometry> yc_PelRoot::ownedGeometry(std::int32_t width, std::int32_t height,
                                                               std::int32_t alignModulus, std::size_t pelSize)
{
    ymAssert(width >= 1 && height >= 1 && alignModulus >= 1);
    if (width < 1 || height < 1 || alignModulus < 1) return std::nullopt;
    const std::int64_t rowUpdate = std::int64_t{width} + padPelsNeeded(width, pelSize, alignModulus);
    ymAssert(rowUpdate <= kI32Max);
    if (rowUpdate > kI32Max) return std::nullopt;
    return Geometry{width, height, static_cast<std::int32_t>(rowUpdate), alignModulus};
}

std::optional<yc_PelRoot::Geometry> yc_PelRoot::wrappedGeometry(std::int32_t width, std::int32_t height,
                                                                 std::optional<std::int32_t> rowUpdate,
                                                                 const void* pels, std::int32_t alignModulus,
                                                                 std::size_t pelSize)
{
    ymAssert(pels != nullptr);
    if (!pels) return std::nullopt;
    std::optional<Geometry> g = ownedGeometry(width, height, alignModulus, pelSize);
    if (!g) return std::nullopt;
    const auto low = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pels));
    ymAssert(low % static_cast<std::uint32_t>(alignModulus) == 0);
    if (rowUpdate) {
        ymAssert(*rowUpdate >= width);
        ymAssert(static_cast<std::uint64_t>(*rowUpdate) * pelSize % static_cast<std::uint64_t>(alignModulus) == 0);
        // Rows shorter than the width would overlap: refuse them.
        if (*rowUpdate < width) return std::nullopt;
        g->rowUpdate = *rowUpdate;
    }
    return g;
}

std::pair<yc_PelRoot::OwnedPels, void*> yc_PelRoot::allocOwned(const Geometry& g, std::size_t pelSize,
                                                               std::size_t pelAlign)
{
    const std::uint64_t pels = static_cast<std::uint64_t>(g.rowUpdate) * static_cast<std::uint64_t>(g.height);
    const std::uint64_t bytes = mulOrMax(pels, pelSize);
    if (bytes == kU64Max) throw std::bad_alloc();
    const yc_PelBlock block = yfAllocPelBlock(bytes, g.alignModulus, pelAlign);
    return {OwnedPels(block.raw), block.pels};
}

yc_PelRoot::Geometry yc_PelRoot::geometry() const
{
    return {width_, height_, rowUpdate_, alignModulus_};
}

void yc_PelRoot::setGeometry(const Geometry& g) noexcept
{
    width_ = g.width;
    height_ = g.height;
    rowUpdate_ = g.rowUpdate;
    alignModulus_ = g.alignModulus;
}

void yc_PelRoot::swapStorage(yc_PelRoot& other) noexcept
{
    storage_.swap(other.storage_);
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    std::swap(rowUpdate_, other.rowUpdate_);
    std::swap(alignModulus_, other.alignModulus_);
}

bool yc_PelRoot::checkStoredGeometry(const StoredGeometry& g)
{
    if (g.width == 0 && g.height == 0) return false;
    if (g.width < 1 || g.height < 1 || g.alignModulus < 1) throw ycArchive::BadContent(kSourceName, __LINE__);
    return true;
}

void yc_PelRoot::checkStoredSize(const StoredGeometry& g, std::size_t pelSize, std::size_t planes)
{
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

void yc_PelRoot::keepViewedGeometry(const StoredGeometry& g, std::size_t pelSize) const
{
    if (viewCount() == 0) return;
    std::int64_t rowUpdate = 0;
    if (g.width != 0 || g.height != 0) rowUpdate = std::int64_t{g.width} + padPelsNeeded(g.width, pelSize, g.alignModulus);
    const bool same = g.width == width_ && g.height == height_ && rowUpdate == rowUpdate_ &&
                      (rowUpdate == 0 || g.alignModulus == alignModulus_);
    if (!same) throw ycArchive::BadContent(kSourceName, __LINE__);
}

void yfDestroyPelRoot(const yc_PelRoot* root)
{
    if (!root) return;
    auto* r = const_cast<yc_PelRoot*>(root);
    auto* pooled = std::get_if<yc_PooledPels>(&r->storage_);
    if (!pooled || !pooled->share_) {
        delete r;
        return;
    }
    // The root's share of its pool passes to this call, so the pool outlives
    // its own hand-back even when that share was its last.
    const ycPtrHandle<ycPelRootPool> pool = std::move(pooled->share_);
    pool->release(r);
}

// --- what every typed root shares ---------------------------------------------

template <ycPelType T>
yc_PelPointer<T> yc_TypedPelRoot<T>::at(std::int32_t x, std::int32_t y) const
{
    return advance(self().pels(), std::ptrdiff_t{y} * rowUpdate_ + x);
}

template <ycPelType T>
ycPtrHandle<ycPelRoot<T>> yc_TypedPelRoot<T>::copy(const ycPelRect& r) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return {};
    if (r.isEmpty()) return yfMakeHandle<ycPelRoot<T>>();
    auto out = yfMakeHandle<ycPelRoot<T>>(r.width(), r.height(), alignModulus_);
    copy(r, *out, {0, 0});
    return out;
}

template <ycPelType T>
void yc_TypedPelRoot<T>::copy(const ycPelRect& r, ycPelRoot<T>& dst, const ycPair<std::int32_t>& origin) const
{
    const ycPelRect target(origin, r.size());
    yc_TypedPelRoot& to = dst;
    ymAssert(isLocal() && to.isLocal());
    ymAssert(contains(r));
    ymAssert(to.contains(target));
    if (!contains(r) || !to.contains(target) || r.isEmpty()) return;
    to.mutating();
    moveRows(at(r.x(), r.y()), rowUpdate_, to.at(origin.x(), origin.y()), to.rowUpdate_, r.width(), r.height());
}

template <ycPelType T>
void yc_TypedPelRoot<T>::pelsToVect(const ycPelRect& r, std::vector<T>& out) const
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r)) return;
    out.resize(r.isEmpty() ? 0 : static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height()));
    if (r.isEmpty()) return;
    toDense(at(r.x(), r.y()), rowUpdate_, out.data(), r.width(), r.height());
}

template <ycPelType T>
void yc_TypedPelRoot<T>::pelsFromVect(const ycPelRect& r, const std::vector<T>& in)
{
    ymAssert(isLocal() && contains(r));
    if (!contains(r) || r.isEmpty()) return;
    const std::size_t count = static_cast<std::size_t>(r.width()) * static_cast<std::size_t>(r.height());
    ymAssert(in.size() == count);
    if (in.size() != count) return;
    mutating();
    fromDense(in.data(), at(r.x(), r.y()), rowUpdate_, r.width(), r.height());
}

template <ycPelType T>
void yc_TypedPelRoot<T>::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, static_cast<ycPelRoot<T>*>(this), 0, [&](std::uint8_t version) {
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
void yc_TypedPelRoot<T>::store(ycArchive& ar)
{
    ymAssert(isLocal());
    StoredGeometry g{width_, height_, alignModulus_};
    ar || g.width || g.height || g.alignModulus;
    transferFlags(ar);
    std::vector<T> scratch;
    writeRows(ar, at(0, 0), width_, height_, rowUpdate_, scratch);
}

template <ycPelType T>
void yc_TypedPelRoot<T>::load(ycArchive& ar)
{
    auto& self = static_cast<ycPelRoot<T>&>(*this);
    StoredGeometry g;
    ar || g.width || g.height || g.alignModulus;
    const bool any = checkStoredGeometry(g);
    for (int n = transferFlags(ar); n > 0; --n) {
        T scratch{};
        ar || scratch;
    }
    keepViewedGeometry(g, kPlaneBytes);
    if (!any) {
        ycPelRoot<T> empty;
        mutating();
        self.swapPels(empty);
        return;
    }

    constexpr std::size_t planes = std::same_as<T, yc3PlanePel> ? 3 : 1;
    const std::uint64_t count = static_cast<std::uint64_t>(g.width) * static_cast<std::uint64_t>(g.height);
    // Read straight into the root where the stream holds every pel, else
    // gathered as they arrive.
    if (ar.roomFor(count, sizeof(T)) == count) {
        checkStoredSize(g, kPlaneBytes, planes);
        ycPelRoot<T> fresh(g.width, g.height, g.alignModulus);
        std::vector<T> scratch;
        readRows(ar, fresh.at(0, 0), g.width, g.height, fresh.rowUpdate_, scratch);
        mutating();
        self.swapPels(fresh);
    } else {
        std::vector<T> staged = gatherPels<T>(ar, count);
        checkStoredSize(g, kPlaneBytes, planes);
        ycPelRoot<T> fresh(g.width, g.height, g.alignModulus);
        fromDense(staged.data(), fresh.at(0, 0), fresh.rowUpdate_, g.width, g.height);
        mutating();
        self.swapPels(fresh);
    }
}

// --- ycPelRoot<T> -------------------------------------------------------------

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    if (auto g = this->ownedGeometry(width, height, alignModulus, sizeof(T))) {
        this->setStorage(*g, std::monostate{});
        alloc();
    }
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, T* pels, std::int32_t alignModulus)
{
    if (auto g = this->wrappedGeometry(width, height, std::nullopt, pels, alignModulus, sizeof(T))) {
        this->setStorage(*g, typename yc_PelRoot::WrappedPels{});
        pels_ = pels;
    }
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, T* pels,
                        std::int32_t alignModulus)
{
    if (auto g = this->wrappedGeometry(width, height, rowUpdate, pels, alignModulus, sizeof(T))) {
        this->setStorage(*g, typename yc_PelRoot::WrappedPels{});
        pels_ = pels;
    }
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(yc_PelPackage& package)
{
    // The root shares the package: one that no handle holds would be
    // deleted with the root.
    ymAssert(package.refCount() > 0);
    ymAssert(package.pelSize() == sizeof(T));
    if (package.refCount() <= 0 || package.pelSize() != sizeof(T)) return;
    void* pels = package.supplyPels(*this);
    std::optional<std::int32_t> rowUpdate;
    if (package.rowUpdate() != 0) rowUpdate = package.rowUpdate();
    const bool aligned = reinterpret_cast<std::uintptr_t>(pels) % alignof(T) == 0;
    ymAssert(aligned);
    if (!aligned) return;
    if (auto g = this->wrappedGeometry(package.width(), package.height(), rowUpdate, pels, package.alignModulus(),
                                       sizeof(T))) {
        this->setStorage(*g, ycPtrHandle<yc_PelPackage>(&package));
        pels_ = static_cast<T*>(pels);
    }
}

template <ycPelType T>
ycPelRoot<T>::ycPelRoot(std::int32_t width, std::int32_t height, yc_PooledPels&& pels)
{
    // Alignment 1: rows are unpadded, and any address will do.
    void* at = pels.slot().address;
    ymAssert(at != nullptr && width >= 1 && height >= 1);
    if (!at || width < 1 || height < 1) return;
    this->setStorage(typename yc_PelRoot::Geometry{width, height, width, 1}, std::move(pels));
    pels_ = static_cast<T*>(at);
}

template <ycPelType T>
ycPelRoot<T>::~ycPelRoot()
{
    freeLocalStorage();
}

template <ycPelType T>
T* ycPelRoot<T>::pels() const
{
    ymAssert(this->isLocal());
    return pels_;
}

template <ycPelType T>
void ycPelRoot<T>::alloc()
{
    ymAssert(this->isLocal() && this->width_ > 0 && pels_ == nullptr);
    if (this->width_ <= 0 || pels_ != nullptr) return;
    const typename yc_PelRoot::Geometry g = this->geometry();
    auto [block, at] = this->allocOwned(g, sizeof(T), alignof(T));
    T* pels = static_cast<T*>(at);
    std::uninitialized_default_construct_n(pels, static_cast<std::size_t>(g.rowUpdate) * g.height);
    this->setStorage(g, std::move(block));
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
    if (pels_ && this->ownsPels()) dtorArray(pels_, static_cast<std::size_t>(this->rowUpdate_) * this->height_);
    pels_ = nullptr;
    this->setStorage({}, std::monostate{});
}

template <ycPelType T>
void ycPelRoot<T>::swapPels(ycPelRoot& other) noexcept
{
    this->swapStorage(other);
    std::swap(pels_, other.pels_);
}

// --- ycPelRoot<yc3PlanePel> ---------------------------------------------------

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus)
{
    if (auto g = ownedGeometry(width, height, alignModulus, 1)) {
        setStorage(*g, std::monostate{});
        alloc();
    }
}

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, const yc3PlanePelPtr& pels,
                                  std::int32_t alignModulus)
{
    makePlanes(width, height, std::nullopt, pels, alignModulus);
}

ycPelRoot<yc3PlanePel>::ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate,
                                  const yc3PlanePelPtr& pels, std::int32_t alignModulus)
{
    makePlanes(width, height, rowUpdate, pels, alignModulus);
}

ycPelRoot<yc3PlanePel>::ycPelRoot(Plane* plane0, Plane* plane1, Plane* plane2)
{
    Plane* const given[3] = {plane0, plane1, plane2};
    ymAssert(plane0 && plane1 && plane2);
    if (!plane0 || !plane1 || !plane2) return;
    // Shared planes must already be held by handles; see yc_PelPackage.
    const bool held = plane0->refCount() > 0 && plane1->refCount() > 0 && plane2->refCount() > 0;
    ymAssert(held);
    if (!held) return;
    const auto same = [&](const Plane* p) {
        return p->isLocal() && p->width() == plane0->width() && p->height() == plane0->height() &&
               p->alignModulus() == plane0->alignModulus() && p->rowUpdate() == plane0->rowUpdate();
    };
    ymAssert(same(plane1) && same(plane2));
    if (!same(plane1) || !same(plane2)) return;
    setStorage({plane0->width(), plane0->height(), plane0->rowUpdate(), plane0->alignModulus()}, std::monostate{});
    for (int i = 0; i < 3; ++i) planes_[i] = ycPelRootView<Plane>(ycPtrHandle<Plane>(given[i]));
}

ycPelRoot<yc3PlanePel>::~ycPelRoot()
{
    freeLocalStorage();
}

void ycPelRoot<yc3PlanePel>::makePlanes(std::int32_t width, std::int32_t height, std::optional<std::int32_t> rowUpdate,
                                        const yc3PlanePelPtr& pels, std::int32_t alignModulus)
{
    ymAssert(pels.plane0 && pels.plane1 && pels.plane2);
    if (!pels.plane0 || !pels.plane1 || !pels.plane2) return;
    const std::optional<Geometry> g = wrappedGeometry(width, height, rowUpdate, pels.plane0, alignModulus, 1);
    if (!g) return;
    unsigned char* const p[3] = {pels.plane0, pels.plane1, pels.plane2};
    ycPtrHandle<Plane> made[3];
    for (int i = 0; i < 3; ++i) made[i] = yfMakeHandle<Plane>(g->width, g->height, g->rowUpdate, p[i], alignModulus);
    setStorage(*g, std::monostate{});
    for (int i = 0; i < 3; ++i) planes_[i] = ycPelRootView<Plane>(std::move(made[i]));
}

yc3PlanePelPtr ycPelRoot<yc3PlanePel>::pels() const
{
    ymAssert(isLocal());
    if (!planes_[0]) return {};
    return {planes_[0]->pels(), planes_[1]->pels(), planes_[2]->pels()};
}

void ycPelRoot<yc3PlanePel>::alloc()
{
    ymAssert(isLocal() && width_ > 0 && !planes_[0]);
    if (width_ <= 0 || planes_[0]) return;
    ycPtrHandle<Plane> made[3];
    for (auto& plane : made) plane = yfMakeHandle<Plane>(width_, height_, alignModulus_);
    for (int i = 0; i < 3; ++i) planes_[i] = ycPelRootView<Plane>(std::move(made[i]));
}

void ycPelRoot<yc3PlanePel>::freeLocalStorage() noexcept
{
    for (auto& plane : planes_) plane.reset();
    setStorage({}, std::monostate{});
}

void ycPelRoot<yc3PlanePel>::swapPels(ycPelRoot& other) noexcept
{
    swapStorage(other);
    for (int i = 0; i < 3; ++i) std::swap(planes_[i], other.planes_[i]);
}

// GCC and clang take the visibility from the extern declaration in the
// header; Windows wants the export on the definition as well.
#if defined(_WIN32)
#define TLVSTD_INSTANCE_API TLVSTD_API
#else
#define TLVSTD_INSTANCE_API
#endif
#define ym_InstantiatePelRoot(T)                                                                                       \
    template class TLVSTD_INSTANCE_API yc_TypedPelRoot<T>;                                                             \
    template class TLVSTD_INSTANCE_API ycPelRoot<T>;
ymForEachSingleArrayPelType(ym_InstantiatePelRoot)
#undef ym_InstantiatePelRoot
template class TLVSTD_INSTANCE_API yc_TypedPelRoot<yc3PlanePel>;

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

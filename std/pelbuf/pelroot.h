// Pel roots: counted pixel storage.
//
// A pel root owns (or wraps) one rectangular array of pels of one type. It
// knows only its storage geometry: width and height, the row update (distance
// from one row to the next, in pels) and the alignment modulus (bytes). Views
// (pel buffers) add windows and coordinates; many views share one root, which
// lives as long as the last handle to it.
//
// Where the pels come from, each kind with one owner:
//   - owned: ycPelRoot<T>(width, height, alignModulus) allocates them and
//     frees them with the root;
//   - wrapped: the constructors taking a pel pointer use caller memory and
//     never free it;
//   - packaged: ycPelRoot<T>(yc_PelPackage&) holds a share of the package
//     while it uses its pels. The package must already be held by a handle
//     (refCount() above 0): a package that no handle holds (one on the stack)
//     is an assertion and the root stays empty, so the library never deletes
//     it;
//   - pooled: only a pool (pool.h) makes these; the root holds a share of its
//     pool and goes back to it when its last handle goes.
// A root made with new starts without shares; give it to a ycPtrHandle (or
// pair yc_PelRoot::refInc with yfRelease). Handles count through refInc and
// refDec, so a pooled root returns to its pool instead of being deleted.
// disconnect hands the only share of a root over as a ycPelRootOwner, which
// holds it without a count and disposes of it like the last handle would.
//
// Geometry. rowUpdate = width + padPelsNeeded(width, alignModulus): the
// smallest padding that makes a row's byte length a multiple of the
// alignment, computed in unsigned 32-bit arithmetic. Owned pels start at an
// address whose low 32 bits are a multiple of the alignment (the same test
// the wrapping constructors apply to caller memory) and which suits the pel
// type; the request carries enough slack to reach such an address.
// A row update given explicitly must be at least the width, and its byte
// length a multiple of the alignment, like every computed one.
//
// Preconditions are assertions (source "std/pelbuf/pbuf_com"); where going on
// would touch invalid memory the call returns after the report and leaves the
// root as it was (a constructor leaves it empty). Every change of storage is
// built aside and swapped in whole, so a failed one leaves the root as it was.
//
// Archive form of ycPelRoot<T> (whole object: marker and type name first):
//   version bytes 00 (ycPelRoot<T>) 00 (yc_PelRoot) 00 (ycPersistent);
//   width, height, alignModulus as 32-bit integers (the row update is
//   recomputed on loading);
//   a 32-bit flags word, written as 0. On reading, bit 2 announces one
//   value of T and then bit 4 another; both are read and dropped;
//   each row's width pels, never the padding: 8-bit pels as one raw block per
//   row, wider ones pel by pel in the archive's byte order (forms in
//   peltypes.h). The empty root stores 0, 0, 0 and no pels.
// Loading never allocates from an unchecked size: pels the stream cannot
// hold are ycArchive::Eof (where the stream cannot tell its length, pels are
// gathered as they arrive and the root is allocated after); a geometry no
// root can have is ycArchive::BadContent, and so is padding that would take
// more than 64 times the stored pels plus 64 KiB. A failed load leaves the
// root as it was. Loading into a root replaces its pels with owned ones.
//
// Loading under views. Buffers and three-plane roots view a root through a
// ycPelRootView, which holds a share and also counts in viewCount(); they
// rely on its geometry (buffer windows must stay inside it, a three-plane
// root copies its planes' geometry). A load into a root that something views
// must keep width, height, row update and alignment, else it is
// ycArchive::BadContent before any pel is read and the root stays as it was.
// A root that nothing views (held by plain handles or owners only) may take
// any stored geometry. Raw pel pointers taken before a load do not survive
// it: the pels move.
//
// Changes. A change of pels is whatever writes them through the library:
// copy into a root, pelsFromVect, a load in place, and the writable pointers
// and put of a writable buffer (pelbuf.h). Each calls mutating() first, so
// archives that hold the root forget it and write it again. pels() is raw
// access for the library's own loops and marks nothing: a caller who writes
// through it calls mutating() once before.
//
// ycPersistent is an ordinary base, not a virtual one: no class reaches it
// twice through a root, and archive references to roots cast statically.
//
// Remote roots (pels held by another process, reached through a
// communicator) come with the remote-call layer; refInc and refDec are where
// they will tell their server. Local-only operations assert isLocal().
//
// Three-plane roots, ycPelRoot<yc3PlanePel>, hold no array of their own but
// shares of three ycPelRoot<unsigned char> planes of one geometry; pels()
// gives the three plane pointers. They are owned, wrapped or built over
// existing planes (which handles must already hold, as packages must);
// packages and pools supply one-array roots only. Copies, dense transfers and
// the archive form are one implementation for every pel type
// (yc_TypedPelRoot), written over the pel pointer: T* or three plane pointers.
#ifndef TLVSTD_PELBUF_PELROOT_H
#define TLVSTD_PELBUF_PELROOT_H

#include "std/archive/persist.h"
#include "std/config.h"
#include "std/math/pair.h"
#include "std/pelbuf/package.h"
#include "std/pelbuf/pelrect.h"
#include "std/pelbuf/peltypes.h"
#include "std/pelbuf/remote.h"
#include "std/util/handle.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

class ycPelRootPool;
class yc_PelRoot;

// Disposes of a root that nobody shares any more: a pooled root goes back to
// its pool, any other is deleted.
TLVSTD_API void yfDestroyPelRoot(const yc_PelRoot* root);

// Where a pooled root's pels lie in its pool's memory.
struct yc_PelSlot {
    void* address = nullptr;
    std::uint64_t granules = 0;
};

// Only a pool can make this key, so only a pool can lend pels to a root.
class yc_PoolKey {
    friend class ycPelRootPool;
    yc_PoolKey() = default;
};

// Pels a pool lends to one root: a share of the pool and the slot, which goes
// back to the pool when this goes.
class TLVSTD_API yc_PooledPels {
public:
    yc_PooledPels(yc_PoolKey, ycPtrHandle<ycPelRootPool> pool, const yc_PelSlot& slot) noexcept;
    yc_PooledPels(yc_PooledPels&& other) noexcept;
    yc_PooledPels& operator=(yc_PooledPels&& other) noexcept;
    ~yc_PooledPels();

    // Null when the pool had nothing to lend.
    ycPelRootPool* pool() const { return pool_; }
    const yc_PelSlot& slot() const { return slot_; }

private:
    friend void yfDestroyPelRoot(const yc_PelRoot* root);

    void giveBack() noexcept;

    ycPtrHandle<ycPelRootPool> share_;
    ycPelRootPool* pool_; // where the slot goes back; alive while share_ or the hand-back holds it
    yc_PelSlot slot_;
};

class TLVSTD_API yc_PelRoot : public ycRepBase, public ycRemoteObject, public ycPersistent {
public:
    ~yc_PelRoot() override;
    yc_PelRoot(const yc_PelRoot&) = delete;
    yc_PelRoot& operator=(const yc_PelRoot&) = delete;

    std::int32_t width() const;
    std::int32_t height() const;
    std::int32_t rowUpdate() const;
    std::int32_t alignModulus() const;

    // Atomic change of the count; each returns the new count. Whoever sees 0
    // from refDec disposes of the root with yfDestroyPelRoot.
    static std::int32_t refInc(const yc_PelRoot* root);
    static std::int32_t refDec(const yc_PelRoot* root);

    // True when `root` is local and this is its only share; an assertion
    // otherwise.
    static bool soleLocalShare(const yc_PelRoot* root);

    // True when r lies within (0, 0, width, height).
    bool contains(const ycPelRect& r) const;

    static std::int32_t padPelsNeeded(std::int32_t width, std::size_t pelSize, std::int32_t alignModulus);

    // For remote roots: the next refDec tells the server nothing.
    void setPreDecrement(bool on) { preDecrement_ = on; }
    // Drops the root's share of its package; from then on the pels stay
    // valid only while someone else keeps the package, like wrapped ones.
    void releasePackage() noexcept;
    yc_PelPackage* package() const;
    // The pool the root came from, or null.
    ycPelRootPool* pool() const;
    // Its place in the pool; empty for roots of no pool.
    const yc_PelSlot& slot() const;
    // True when the root allocated its pels itself.
    bool ownsPels() const;

    // Buffers and three-plane roots that view this root (see above).
    std::int32_t viewCount() const { return views_.load(std::memory_order_acquire); }

    // Throws ycInvariantFailure when the geometry is inconsistent.
    void repInvariant() const;
    // Change notification for archives that hold this root (local roots).
    void mutating();

protected:
    // Who holds the pels: nobody (the empty root, or three planes that hold
    // their own), the root itself, the caller, a package, a pool.
    struct FreePelBlock {
        void operator()(void* raw) const noexcept { yfFreePelBlock(raw); }
    };
    using OwnedPels = std::unique_ptr<void, FreePelBlock>;
    struct WrappedPels {};
    using PackagedPels = ycPtrHandle<yc_PelPackage>;
    using Storage = std::variant<std::monostate, OwnedPels, WrappedPels, PackagedPels, yc_PooledPels>;

    struct Geometry {
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::int32_t rowUpdate = 0;
        std::int32_t alignModulus = 0;

        friend bool operator==(const Geometry&, const Geometry&) = default;
    };

    yc_PelRoot() = default;

    void dispatchSerialize(ycArchive& ar) override;

    // The geometry of owned pels; nothing (after an assertion) when it is
    // unusable.
    static std::optional<Geometry> ownedGeometry(std::int32_t width, std::int32_t height, std::int32_t alignModulus,
                                                 std::size_t pelSize);
    // The geometry of wrapped pels, with an explicit row update when one is
    // given; nothing when the root must stay empty.
    static std::optional<Geometry> wrappedGeometry(std::int32_t width, std::int32_t height,
                                                   std::optional<std::int32_t> rowUpdate, const void* pels,
                                                   std::int32_t alignModulus, std::size_t pelSize);
    // Owned pels for `g`: the block and the aligned address of pel (0, 0).
    static std::pair<OwnedPels, void*> allocOwned(const Geometry& g, std::size_t pelSize, std::size_t pelAlign);
    Geometry geometry() const;
    // Takes geometry and storage together.
    template <class S>
    void setStorage(const Geometry& g, S&& storage) noexcept
    {
        storage_.template emplace<std::remove_cvref_t<S>>(std::forward<S>(storage));
        setGeometry(g);
    }
    void setGeometry(const Geometry& g) noexcept;
    // Exchanges geometry and storage with `other` (an unshared root).
    void swapStorage(yc_PelRoot& other) noexcept;

    // Loading helpers. The stored geometry, checked before anything is
    // allocated for it; false for the empty root.
    struct StoredGeometry {
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::int32_t alignModulus = 0;
    };
    static bool checkStoredGeometry(const StoredGeometry& g);
    // BadContent when the padded storage is out of proportion.
    static void checkStoredSize(const StoredGeometry& g, std::size_t pelSize, std::size_t planes);
    // The flags word; tells how many scratch values follow.
    static int transferFlags(ycArchive& ar);
    // BadContent when a load of `g` would change the geometry under views.
    void keepViewedGeometry(const StoredGeometry& g, std::size_t pelSize) const;

    std::int32_t width_ = 0;
    std::int32_t rowUpdate_ = 0;
    std::int32_t height_ = 0;
    std::int32_t alignModulus_ = 0;

private:
    friend class yc_PelBuffer; // reads the row update on every pel access
    friend void yfDestroyPelRoot(const yc_PelRoot* root);
    template <class R>
    friend class ycPelRootView;

    mutable std::atomic<std::int32_t> views_{0};
    // Remote roots only: the next count change needs no remote call.
    bool preIncrement_ = false;
    bool preDecrement_ = false;
    Storage storage_;
};

// Handles to roots count through yc_PelRoot.
template <class T>
    requires std::derived_from<T, yc_PelRoot>
struct ycHandleTraits<T> {
    static void acquire(const T* p) noexcept { yc_PelRoot::refInc(p); }
    static bool drop(const T* p) noexcept { return yc_PelRoot::refDec(p) == 0; }
    static void dispose(const T* p) noexcept { yfDestroyPelRoot(p); }
};

// A view's hold on a root: a share that also counts in viewCount() while it
// lasts, so that a load keeps the geometry the view relies on.
template <class R>
class ycPelRootView {
public:
    ycPelRootView() noexcept = default;
    explicit ycPelRootView(ycPtrHandle<R> root) noexcept : root_(std::move(root)) { enter(); }
    ycPelRootView(const ycPelRootView& other) noexcept : root_(other.root_) { enter(); }
    ycPelRootView(ycPelRootView&& other) noexcept : root_(std::move(other.root_)) {}
    ~ycPelRootView() { leave(); }
    ycPelRootView& operator=(ycPelRootView other) noexcept
    {
        std::swap(root_, other.root_);
        return *this;
    }

    // Stops viewing; the share passes to the caller.
    ycPtrHandle<R> release() noexcept
    {
        leave();
        return std::move(root_);
    }
    void reset() noexcept { release(); }

    const ycPtrHandle<R>& handle() const noexcept { return root_; }
    R* get() const noexcept { return root_.get(); }
    R* operator->() const noexcept { return root_.get(); }
    R& operator*() const noexcept { return *root_; }
    explicit operator bool() const noexcept { return static_cast<bool>(root_); }

private:
    void enter() noexcept
    {
        if (root_) root_->views_.fetch_add(1, std::memory_order_relaxed);
    }
    void leave() noexcept
    {
        if (root_) root_->views_.fetch_sub(1, std::memory_order_release);
    }

    ycPtrHandle<R> root_;
};

// Drops one share of `root`, disposing of it when that was the last.
template <class T>
    requires std::derived_from<T, yc_PelRoot>
void yfRelease(T* root)
{
    if (root && yc_PelRoot::refDec(root) == 0) yfDestroyPelRoot(root);
}

// Sole owner of a root that no handle shares: it disposes of the root (a
// pooled one goes back to its pool) unless release() passes it on, for
// example to a new buffer, which then holds its only share.
struct ycPelRootRelease {
    void operator()(const yc_PelRoot* root) const noexcept { yfDestroyPelRoot(root); }
};
template <class R>
using ycPelRootOwner = std::unique_ptr<R, ycPelRootRelease>;

// Turns the only handle to a local root into its owner, the count back at 0;
// a shared or remote root is an assertion, and the handle keeps it.
template <class R>
    requires std::derived_from<R, yc_PelRoot>
ycPelRootOwner<R> yfDisconnectPelRoot(ycPtrHandle<R>& handle)
{
    if (!yc_PelRoot::soleLocalShare(handle.get())) return {};
    return ycPelRootOwner<R>(handle.disown());
}

template <ycPelType T>
class ycPelRoot;
template <>
class ycPelRoot<yc3PlanePel>;

// The pel pointer of a typed root: T* for one array, three plane pointers.
template <ycPelType T>
using yc_PelPointer = std::conditional_t<std::same_as<T, yc3PlanePel>, yc3PlanePelPtr, T*>;

// What every typed root shares, written once over its pel pointer.
template <ycPelType T>
class yc_TypedPelRoot : public yc_PelRoot {
public:
    using value_type = T;

    // A new owned root, of this root's alignment, holding a copy of r.
    ycPtrHandle<ycPelRoot<T>> copy(const ycPelRect& r) const;
    // Copies r into `dst` with its first pel at `origin`; the two may be the
    // same root, with overlapping rectangles.
    void copy(const ycPelRect& r, ycPelRoot<T>& dst, const ycPair<std::int32_t>& origin) const;
    // Row by row to or from a dense vector (row-major, no padding).
    void pelsToVect(const ycPelRect& r, std::vector<T>& out) const;
    void pelsFromVect(const ycPelRect& r, const std::vector<T>& in);

    // Padding counts bytes of one plane.
    static constexpr std::size_t kPlaneBytes = std::same_as<T, yc3PlanePel> ? 1 : sizeof(T);
    static std::int32_t padPelsNeeded(std::int32_t width, std::int32_t alignModulus)
    {
        return yc_PelRoot::padPelsNeeded(width, kPlaneBytes, alignModulus);
    }

protected:
    yc_TypedPelRoot() = default;

    void dispatchSerialize(ycArchive& ar) override;
    // Loading builds the new pels aside and swaps them in, so nothing needs
    // dropping first; a failed load keeps the old ones.
    void reInit() override {}

private:
    const ycPelRoot<T>& self() const { return static_cast<const ycPelRoot<T>&>(*this); }
    // Pel (x, y) of the root.
    yc_PelPointer<T> at(std::int32_t x, std::int32_t y) const;
    void store(ycArchive& ar);
    void load(ycArchive& ar);
};

#define ym_ExternTypedPelRoot(T) extern template class TLVSTD_API yc_TypedPelRoot<T>;
ymForEachSingleArrayPelType(ym_ExternTypedPelRoot)
ym_ExternTypedPelRoot(yc3PlanePel)
#undef ym_ExternTypedPelRoot

template <ycPelType T>
class ycPelRoot : public yc_TypedPelRoot<T> {
public:
    // The empty root: no pels, width, height and row update 0.
    ycPelRoot() = default;
    // Owned pels.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    // Caller memory, never freed here; the row update is computed.
    ycPelRoot(std::int32_t width, std::int32_t height, T* pels, std::int32_t alignModulus);
    // Caller memory with its own row update.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, T* pels, std::int32_t alignModulus);
    // Geometry and pels from a package that a handle holds (see above).
    explicit ycPelRoot(yc_PelPackage& package);
    // Pels a pool lends: alignment modulus 1, so the row update is the width.
    ycPelRoot(std::int32_t width, std::int32_t height, yc_PooledPels&& pels);
    ~ycPelRoot() override;

    // Pel (0, 0); pel (x, y) is at pels() + y * rowUpdate() + x.
    T* pels() const;

protected:
    // Owned pels for the current geometry; the root must hold none.
    void alloc();
    void freeLocalStorage() noexcept;
    static void dtorArray(T* p, std::size_t count) noexcept;

private:
    friend class yc_TypedPelRoot<T>;
    template <ycPelType U>
    friend class ycPelBuffer_const; // reads the pels on every pel access

    void swapPels(ycPelRoot& other) noexcept;

    T* pels_ = nullptr;
};

template <>
class TLVSTD_API ycPelRoot<yc3PlanePel> : public yc_TypedPelRoot<yc3PlanePel> {
public:
    using Plane = ycPelRoot<unsigned char>;

    ycPelRoot() = default;
    // Three owned planes.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    // Three caller planes, never freed here.
    ycPelRoot(std::int32_t width, std::int32_t height, const yc3PlanePelPtr& pels, std::int32_t alignModulus);
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, const yc3PlanePelPtr& pels,
              std::int32_t alignModulus);
    // Shares three existing planes of equal width, height and alignment, each
    // already held by a handle (see above).
    ycPelRoot(Plane* plane0, Plane* plane1, Plane* plane2);
    ~ycPelRoot() override;

    yc3PlanePelPtr pels() const;
    Plane* plane0() const { return planes_[0].get(); }
    Plane* plane1() const { return planes_[1].get(); }
    Plane* plane2() const { return planes_[2].get(); }

protected:
    void alloc();
    void freeLocalStorage() noexcept;

private:
    friend class yc_TypedPelRoot<yc3PlanePel>;

    // Three wrapped planes over caller memory.
    void makePlanes(std::int32_t width, std::int32_t height, std::optional<std::int32_t> rowUpdate,
                    const yc3PlanePelPtr& pels, std::int32_t alignModulus);
    void swapPels(ycPelRoot& other) noexcept;

    ycPelRootView<Plane> planes_[3];
};

#define ym_ExternPelRoot(T) extern template class TLVSTD_API ycPelRoot<T>;
ymForEachSingleArrayPelType(ym_ExternPelRoot)
#undef ym_ExternPelRoot

#endif

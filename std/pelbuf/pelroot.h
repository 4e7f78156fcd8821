// Pel roots: counted pixel storage.
//
// A pel root owns (or wraps) one rectangular array of pels of one type. It
// knows only its storage geometry: width and height, the row update (distance
// from one row to the next, in pels) and the alignment modulus (bytes). Views
// (pel buffers) add windows and coordinates; many views share one root, which
// lives as long as the last handle to it.
//
// Where the pels come from:
//   - owned: ycPelRoot<T>(width, height, alignModulus) allocates them;
//   - wrapped: the constructors taking a pel pointer use caller memory and
//     never free it;
//   - a package (yc_PelPackage), whose share the root holds;
//   - a pool (pool.h), to which the root goes back when its last handle goes.
// A root made with new starts without shares; give it to a ycPtrHandle (or
// pair yc_PelRoot::refInc with yfRelease). Handles count through refInc and
// refDec, so a pooled root returns to its pool instead of being deleted.
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
// root as it was (a constructor leaves it empty).
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
// root empty. Loading into a root replaces its pels with owned ones.
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
// existing planes; packages and pools supply one-array roots only.
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

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
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

    // True when r lies within (0, 0, width, height).
    bool contains(const ycPelRect& r) const;

    static std::int32_t padPelsNeeded(std::int32_t width, std::size_t pelSize, std::int32_t alignModulus);

    // For remote roots: the next refDec tells the server nothing.
    void setPreDecrement(bool on) { preDecrement_ = on; }
    // Drops the root's share of its package; from then on the pels stay
    // valid only while someone else keeps the package.
    void releasePackage() noexcept;
    yc_PelPackage* package() const { return package_.get(); }
    // The pool the root came from, or null.
    ycPelRootPool* pool() const { return pool_; }
    const yc_PelSlot& slot() const { return slot_; }
    // True when the root allocated its pels itself.
    bool ownsPels() const { return raw_ != nullptr; }

    // Throws ycInvariantFailure when the geometry is inconsistent.
    void repInvariant() const;
    // Change notification for archives that hold this root (local roots).
    void mutating();

protected:
    yc_PelRoot() = default;

    void dispatchSerialize(ycArchive& ar) override;

    // Sets the geometry; false (after an assertion) when it is unusable.
    bool init(std::int32_t width, std::int32_t height, std::int32_t alignModulus, std::size_t pelSize);
    // Owned pels for the current geometry; the aligned address of pel (0, 0).
    void* allocOwned(std::size_t pelSize, std::size_t pelAlign);
    // Sets the geometry of wrapped pels, with an explicit row update when one
    // is given; false when the root must stay empty.
    bool initWrapped(std::int32_t width, std::int32_t height, std::optional<std::int32_t> rowUpdate,
                     const void* pels, std::int32_t alignModulus, std::size_t pelSize);
    void attachPackage(yc_PelPackage& package);
    // Gives back whatever holds the pels (owned block, pool slot, package)
    // and empties the geometry.
    void releaseStorage() noexcept;
    // Moves storage and geometry of `from` (an empty, unshared root) here.
    void takeStorage(yc_PelRoot& from) noexcept;

    // Loading helpers. The stored geometry, checked before anything is
    // allocated for it; false for the empty root.
    struct StoredGeometry {
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::int32_t alignModulus = 0;
    };
    static bool checkStoredGeometry(const StoredGeometry& g);
    // Bytes left in the stream, or nothing when it cannot tell.
    static std::optional<std::uint64_t> streamRoom(ycArchive& ar);
    // Eof when `pelBytes` cannot be in the stream; BadContent when the
    // padded storage is out of proportion.
    static void checkStoredSize(const StoredGeometry& g, std::size_t pelSize, std::size_t planes,
                                std::uint64_t pelBytes, std::optional<std::uint64_t> room);
    // The flags word; tells how many scratch values follow.
    static int transferFlags(ycArchive& ar);

    std::int32_t width_ = 0;
    std::int32_t rowUpdate_ = 0;
    std::int32_t height_ = 0;
    std::int32_t alignModulus_ = 0;

private:
    friend class ycPelRootPool;
    friend class yc_PelBuffer; // reads the row update on every pel access
    friend void yfDestroyPelRoot(const yc_PelRoot* root);

    void* raw_ = nullptr; // the owned block, as the allocator gave it
    // Remote roots only: the next count change needs no remote call.
    bool preIncrement_ = false;
    bool preDecrement_ = false;
    ycPtrHandle<yc_PelPackage> package_;
    ycPelRootPool* pool_ = nullptr;
    bool poolShare_ = false; // the root holds a share of pool_
    yc_PelSlot slot_;
};

// Handles to roots count through yc_PelRoot.
template <class T>
    requires std::derived_from<T, yc_PelRoot>
struct ycHandleTraits<T> {
    static void acquire(const T* p) noexcept { yc_PelRoot::refInc(p); }
    static void release(const T* p) noexcept
    {
        if (yc_PelRoot::refDec(p) == 0) yfDestroyPelRoot(p);
    }
};

// Drops one share of `root`, disposing of it when that was the last.
template <class T>
    requires std::derived_from<T, yc_PelRoot>
void yfRelease(T* root)
{
    if (root && yc_PelRoot::refDec(root) == 0) yfDestroyPelRoot(root);
}

template <ycPelType T>
class ycPelRoot : public yc_PelRoot {
public:
    using value_type = T;

    // The empty root: no pels, width, height and row update 0.
    ycPelRoot() = default;
    // Owned pels.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    // Caller memory, never freed here; the row update is computed.
    ycPelRoot(std::int32_t width, std::int32_t height, T* pels, std::int32_t alignModulus);
    // Caller memory with its own row update.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, T* pels, std::int32_t alignModulus);
    // Geometry and pels from a package (which must be on the heap).
    explicit ycPelRoot(yc_PelPackage& package);
    ~ycPelRoot() override;

    // Pel (0, 0); pel (x, y) is at pels() + y * rowUpdate() + x.
    T* pels() const;

    // A new owned root, of this root's alignment, holding a copy of r.
    ycPtrHandle<ycPelRoot> copy(const ycPelRect& r) const;
    // Copies r into `dst` with its first pel at `origin`; the two may be the
    // same root, with overlapping rectangles.
    void copy(const ycPelRect& r, ycPelRoot& dst, const ycPair<std::int32_t>& origin) const;
    // Row by row to or from a dense vector (row-major, no padding).
    void pelsToVect(const ycPelRect& r, std::vector<T>& out) const;
    void pelsFromVect(const ycPelRect& r, const std::vector<T>& in);

    static std::int32_t padPelsNeeded(std::int32_t width, std::int32_t alignModulus)
    {
        return yc_PelRoot::padPelsNeeded(width, sizeof(T), alignModulus);
    }

protected:
    void dispatchSerialize(ycArchive& ar) override;
    void reInit() override;

    bool init(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    void alloc();
    void freeLocalStorage() noexcept;
    static void dtorArray(T* p, std::size_t count) noexcept;

private:
    template <ycPelType U>
    friend class ycPelBuffer_const; // reads the pels on every pel access

    void store(ycArchive& ar);
    void load(ycArchive& ar);

    T* pels_ = nullptr;
};

template <>
class TLVSTD_API ycPelRoot<yc3PlanePel> : public yc_PelRoot {
public:
    using value_type = yc3PlanePel;
    using Plane = ycPelRoot<unsigned char>;

    ycPelRoot() = default;
    // Three owned planes.
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    // Three caller planes, never freed here.
    ycPelRoot(std::int32_t width, std::int32_t height, const yc3PlanePelPtr& pels, std::int32_t alignModulus);
    ycPelRoot(std::int32_t width, std::int32_t height, std::int32_t rowUpdate, const yc3PlanePelPtr& pels,
              std::int32_t alignModulus);
    // Shares three existing planes of equal width, height and alignment.
    ycPelRoot(Plane* plane0, Plane* plane1, Plane* plane2);
    ~ycPelRoot() override;

    yc3PlanePelPtr pels() const;
    Plane* plane0() const { return planes_[0].get(); }
    Plane* plane1() const { return planes_[1].get(); }
    Plane* plane2() const { return planes_[2].get(); }

    ycPtrHandle<ycPelRoot> copy(const ycPelRect& r) const;
    void copy(const ycPelRect& r, ycPelRoot& dst, const ycPair<std::int32_t>& origin) const;
    void pelsToVect(const ycPelRect& r, std::vector<yc3PlanePel>& out) const;
    void pelsFromVect(const ycPelRect& r, const std::vector<yc3PlanePel>& in);

    static std::int32_t padPelsNeeded(std::int32_t width, std::int32_t alignModulus)
    {
        return yc_PelRoot::padPelsNeeded(width, 1, alignModulus);
    }

protected:
    void dispatchSerialize(ycArchive& ar) override;
    void reInit() override;

    bool init(std::int32_t width, std::int32_t height, std::int32_t alignModulus);
    void alloc();
    void freeLocalStorage() noexcept;

private:
    void store(ycArchive& ar);
    void load(ycArchive& ar);
    void makePlanes(const yc3PlanePelPtr& pels, std::optional<std::int32_t> rowUpdate);

    ycPtrHandle<Plane> planes_[3];
};

extern template class TLVSTD_API ycPelRoot<unsigned char>;
extern template class TLVSTD_API ycPelRoot<signed char>;
extern template class TLVSTD_API ycPelRoot<short>;
extern template class TLVSTD_API ycPelRoot<unsigned short>;
extern template class TLVSTD_API ycPelRoot<ycPackedRGB16Pel>;
extern template class TLVSTD_API ycPelRoot<std::int32_t>;
extern template class TLVSTD_API ycPelRoot<std::uint32_t>;
extern template class TLVSTD_API ycPelRoot<float>;
extern template class TLVSTD_API ycPelRoot<ycPackedRGB32Pel>;
extern template class TLVSTD_API ycPelRoot<double>;
extern template class TLVSTD_API ycPelRoot<ycPair<std::int32_t>>;
extern template class TLVSTD_API ycPelRoot<ycPair<float>>;

#endif

// Pel buffers: typed views into pel roots, with windows and client
// coordinates.
//
// A buffer is a light value: a share of one root (pelroot.h), a window (a
// rectangle of that root), the image coordinates of the window's first pel
// (the offset) and the transform between image and client coordinates.
// Copying a buffer copies the window, the offset and the transform and shares
// the root; pels are never copied by a buffer copy. Three layers:
//   yc_PelBuffer            window, offset, transform, root handle;
//   ycPelBuffer_const<T>    reads pels of type T;
//   ycPelBuffer<T>          writes them too, and allocates new roots.
// T is one of the thirteen pel types of peltypes.h. For yc3PlanePel the
// pointers are bundles of three plane pointers (pel3buf.h adds the colour
// buffer with planes and a colour-space tag).
//
// Coordinates. Root coordinates address the root's pels from (0, 0). Image
// coordinates are root coordinates shifted so that the window's first pel is
// at offset(): image = root + offset - windowRoot().origin. Pel access takes
// image coordinates. The client transform maps image to client coordinates;
// a new buffer holds the identity.
//
// Windowing. Every form that takes a `clip` flag either throws BadWindow for
// a window outside the root (clip false) or clips it (clip true) and returns
// whether it did. Clipping keeps the part of the window inside the root;
// when nothing is left the window is empty and moved to the root origin. A
// negative size is never clipped. Moving the window keeps the image
// coordinates of every pel: the offset follows the window.
//   windowRoot(r, clip)   r in root coordinates;
//   window(r, clip)       r in image coordinates;
//   subWindow(r)          r relative to the current window; never clips, and
//                         an empty r may sit on the far edge;
//   offset(x, y)          the window's first pel gets image coordinates (x, y);
//   setEntire()           the whole root, keeping image coordinates;
//   bind(other, clip)     shares other's root and applies this buffer's own
//                         root window to it, so a new buffer that binds gets
//                         an empty window at (0, 0).
// A buffer made over a root starts with the whole root at offset (0, 0).
//
// Roots. A buffer holds its root through a handle, and the constructor that
// takes a handle is the one to use: it shares the root. The one that takes
// a ycPelRootOwner (what disconnectRoot hands out) adopts that root: the
// buffer's share becomes its only one. The one that takes a plain pointer
// shares a root that a handle already holds (refCount() > 0) and never
// adopts: a root that nothing holds (made with new and never given to a
// handle, or not on the heap at all) is an assertion, the buffer stays
// unbound and the root is left to its maker. So a buffer never deletes a
// root that was not handed to it. A null root makes an unbound buffer.
//
// Failures (ycPel, pbuf_com.h): UnboundWindow for anything that needs the
// root of an unbound buffer (every windowing form but offset, the root's
// geometry, pel access); BadWindow for a refused window, and also for one
// whose image coordinates would leave the 32-bit range; BadCoord (with the
// coordinates) for a pel outside the window; NonlinearXform for the linear
// form of a transform that is not linear. A failed call changes nothing:
// window, offset and root are written only after every check has passed.
// Rectangle arithmetic is done in 64 bits.
//
// pointToRow(y) reports BadCoord (0, y). pointToPel(x, y), get and put check
// the column first and report (x, y) when it is outside; then they go
// through pointToRow, so a row outside reports (0, y).
//
// disconnectRoot() hands a root shared by nobody else to the caller: the
// count goes to 0 without destroying it, and the returned owner disposes of
// it (through yfRelease, so a pooled root goes back to its pool) unless the
// caller passes it on, for example to a new buffer (the owner form of the
// constructor), which then holds its only share.
//
// sharesPels() is true for two bound buffers on the same root whose windows
// overlap. operator== compares root, window and offset (not the transform);
// operator< is a strict weak order on the same three (root address, then the
// window's x, y, width, height in root coordinates, then the offset), so
// buffers can be keys of ordered containers and two keys are equivalent
// exactly when they are ==.
//
// Changes. Window, offset, transform and root are the buffer's own state;
// its pels are the root's. Writing pels through a buffer changes both: put,
// copyFromBuffer and every writable pointer (pointToRow, pointToPel,
// pointToOffset of a writable buffer) call mutating() when they hand out
// write access, which marks the buffer and its root, so archives that hold
// either write them again. What is written through such a pointer later is
// not watched: take the pointer after the last store, or call mutating()
// again. The read-only forms mark nothing. A write made elsewhere (through
// another buffer, or into the root) marks the root but not this buffer: a
// whole store (<<) writes the new pels, while storeObject, which refers back
// to a buffer it holds unchanged, needs this buffer's mutating() first.
//
// A buffer views its root (pelroot.h, "Loading under views"): while it lives
// a load into that root must keep the root's geometry.
//
// Archive form (a persistent object; canonical names "ycPelBuffer<T>" and
// "ycPelBuffer_const<T>" with T spelt as in peltypes.h): version bytes 03
// (yc_PelBuffer) and 00 (ycPersistent), then
//   the window in root coordinates (four 32-bit integers);
//   the offset x, y (32-bit each);
//   the transform cache as a whole object (xfcache.h);
//   the root as an object reference, so buffers sharing a root in one archive
//   share it again after loading (null for an unbound buffer).
// Older forms are read: version 2 has the client-from-image transform and
// its inverse as object references (the first never null; a null inverse is
// computed when needed) instead of the cache; version 1 one ycXform<2> value
// taken as the linear client-from-image transform; version 0 only the window
// and the root, with offset (0, 0) and the identity. A loaded window that
// does not fit its root is ycArchive::BadContent, a root of another pel type
// ycArchive::BadType; a failed load leaves the buffer as it was. Buffers over
// remote roots are not written (assertion).
//
// Not built yet: buffers over remote roots (the communicator constructor)
// and the form a buffer takes in the remote-call layer's transfer archives.
//
// Concurrency: a buffer is not locked. Buffers on one root may live on many
// threads (the root's count is atomic); writing pels through two of them at
// once is the caller's affair.
#ifndef TLVSTD_PELBUF_PELBUF_H
#define TLVSTD_PELBUF_PELBUF_H

#include "std/archive/persist.h"
#include "std/config.h"
#include "std/math/pair.h"
#include "std/pelbuf/xfcache.h"
#include "std/math/xform.h"
#include "std/pelbuf/pbuf_com.h"
#include "std/pelbuf/pelrect.h"
#include "std/pelbuf/pelroot.h"
#include "std/pelbuf/peltypes.h"
#include "std/util/handle.h"
#include "std/util/sources.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

// Read-only plane pointers of a three-plane image.
struct yc3PlanePelPtr_const {
    const unsigned char* plane0 = nullptr;
    const unsigned char* plane1 = nullptr;
    const unsigned char* plane2 = nullptr;

    yc3PlanePelPtr_const() = default;
    yc3PlanePelPtr_const(const unsigned char* p0, const unsigned char* p1, const unsigned char* p2)
        : plane0(p0), plane1(p1), plane2(p2)
    {
    }
    yc3PlanePelPtr_const(const yc3PlanePelPtr& p) : plane0(p.plane0), plane1(p.plane1), plane2(p.plane2) {}

    friend bool operator==(const yc3PlanePelPtr_const&, const yc3PlanePelPtr_const&) = default;
};

// The pointer types of a pel type: T* for one array, three plane pointers for
// yc3PlanePel.
template <ycPelType T>
struct ycPelPointers {
    using pointer = T*;
    using const_pointer = const T*;
};
template <>
struct ycPelPointers<yc3PlanePel> {
    using pointer = yc3PlanePelPtr;
    using const_pointer = yc3PlanePelPtr_const;
};

class TLVSTD_API yc_PelBuffer : public ycPersistent {
public:
    ~yc_PelBuffer() override;

    // --- geometry ------------------------------------------------------------
    std::int32_t width() const { return window_.width(); }
    std::int32_t height() const { return window_.height(); }
    ycPair<std::int32_t> size() const { return window_.size(); }
    // The window in root coordinates, and its origin.
    const ycPelRect& windowRoot() const { return window_; }
    ycPair<std::int32_t> offsetRoot() const { return window_.origin(); }
    // Image coordinates of the window's first pel.
    const ycPair<std::int32_t>& offset() const { return offset_; }
    // The window in image coordinates.
    ycPelRect window() const { return ycPelRect(offset_, window_.size()); }
    // The whole root in image coordinates (UnboundWindow when unbound); its
    // origin must fit in 32 bits, else BadWindow.
    ycPelRect windowEntire() const;
    std::int32_t rowUpdate() const;
    std::int32_t alignModulus() const;
    // The root's count of shares.
    std::int32_t refc() const;
    bool isBound() const { return static_cast<bool>(root_); }
    bool isEntire() const;

    // --- windowing -------------------------------------------------------------
    bool windowRoot(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, bool clip = false);
    bool windowRoot(const ycPelRect& r, bool clip = false) { return windowRoot(r.x(), r.y(), r.width(), r.height(), clip); }
    bool windowRoot(const ycPair<std::int32_t>& origin, const ycPair<std::int32_t>& sz, bool clip = false)
    {
        return windowRoot(origin.x(), origin.y(), sz.x(), sz.y(), clip);
    }
    bool window(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, bool clip = false);
    bool window(const ycPelRect& r, bool clip = false) { return window(r.x(), r.y(), r.width(), r.height(), clip); }
    bool window(const ycPair<std::int32_t>& origin, const ycPair<std::int32_t>& sz, bool clip = false)
    {
        return window(origin.x(), origin.y(), sz.x(), sz.y(), clip);
    }
    void subWindow(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
    void subWindow(const ycPair<std::int32_t>& origin, const ycPair<std::int32_t>& sz)
    {
        subWindow(origin.x(), origin.y(), sz.x(), sz.y());
    }
    void offset(std::int32_t x, std::int32_t y);
    void offset(const ycPair<std::int32_t>& p) { offset(p.x(), p.y()); }
    void setEntire();
    // Drops the root; window and offset stay.
    void setUnbound();

    // The root (no share is taken), or null.
    yc_PelRoot* root() const { return root_.get(); }
    bool sharesPels(const yc_PelBuffer& other) const;

    // Same root, same window in root coordinates, same offset.
    friend TLVSTD_API bool operator==(const yc_PelBuffer& a, const yc_PelBuffer& b);
    friend bool operator!=(const yc_PelBuffer& a, const yc_PelBuffer& b) { return !(a == b); }
    // Orders by root address, window, then offset (see the header comment).
    friend TLVSTD_API bool operator<(const yc_PelBuffer& a, const yc_PelBuffer& b);

    // --- client coordinates ------------------------------------------------------
    const ycPtrHandle_const<yc2XformBase>& clientFromImageXformBase() const { return cache_.xform(); }
    const ycPtrHandle_const<yc2XformBase>& imageFromClientXformBase() const { return cache_.xformInverse(); }
    // Each setter keeps a copy (or, with copy false, a share) of the given
    // transform and makes the other direction its inverse. Setting the
    // image-from-client direction inverts it at once (ycMathError::Singular
    // leaves the buffer as it was).
    void clientFromImageXformBase(const yc2XformBase& x);
    void clientFromImageXformBase(const ycPtrHandle_const<yc2XformBase>& x, bool copy = true);
    void imageFromClientXformBase(const yc2XformBase& x);
    void imageFromClientXformBase(const ycPtrHandle_const<yc2XformBase>& x, bool copy = true);
    // The linear forms; NonlinearXform when the transform is not linear.
    ycXform<2> clientFromImageXform() const;
    ycXform<2> imageFromClientXform() const;
    void clientFromImageXform(const ycXform<2>& x);
    void imageFromClientXform(const ycXform<2>& x);
    void copyXforms(const yc_PelBuffer& other) { copyXforms(other.cache_); }
    void copyXforms(const yc2XformCache& cache);
    const yc2XformCache& xformCache() const { return cache_; }

    // Marks this buffer and its root (when bound) as changed: their pels are
    // about to be written.
    void mutating();
    // Throws ycInvariantFailure when the window is not a valid rectangle of
    // the root, the transform is missing, or the root's own invariant fails.
    void repInvariant() const;

protected:
    static constexpr std::uint8_t kVersion = 3;

    yc_PelBuffer();
    yc_PelBuffer(const yc_PelBuffer&) = default;
    yc_PelBuffer& operator=(const yc_PelBuffer&) = default;

    // Holds `root` (which may be null) and, when bound, the whole root as
    // window.
    void assignRoot(ycPtrHandle<yc_PelRoot> root);
    // The pointer form's rule: a root some handle holds, else null (after an
    // assertion when the root is not null).
    static ycPtrHandle<yc_PelRoot> heldRoot(yc_PelRoot* root);
    static ycPtrHandle<yc_PelRoot> adoptedRoot(yc_PelRoot* root) { return ycPtrHandle<yc_PelRoot>(root); }
    // Shares other's root; see the header comment.
    bool bind(const yc_PelBuffer& other, bool clip);
    // Gives up the root without destroying it; null (after an assertion) when
    // the root is remote or shared.
    yc_PelRoot* disconnect();

    void dispatchSerialize(ycArchive& ar) override;
    void serializationGivenVersionNumber(ycArchive& ar, std::uint8_t version);
    // Whether a loaded root suits this buffer's pel type.
    virtual bool acceptsRoot(const yc_PelRoot& root) const;

    // Hot-path helpers for the typed views.
    std::int32_t rootRowUpdate() const noexcept { return root_->rowUpdate_; }
    // Throws UnboundWindow or BadCoord(x, y).
    [[noreturn]] void badPel(std::int32_t x, std::int32_t y) const;
    // Throws UnboundWindow when unbound.
    void needRoot() const;

    ycPelRect window_;
    ycPair<std::int32_t> offset_;
    yc2XformCache cache_;
    ycPelRootView<yc_PelRoot> root_;

private:
    // The window that (x, y, w, h) in root coordinates of `root` becomes,
    // the offset that goes with it and whether it was clipped; throws
    // BadWindow. Nothing is written.
    struct Placement {
        ycPelRect window;
        ycPair<std::int32_t> offset;
        bool clipped = false;
    };
    Placement place(const yc_PelRoot& root, std::int64_t x, std::int64_t y, std::int64_t w, std::int64_t h,
                    bool clip) const;
    void commit(const Placement& p);
};

template <ycPelType T>
class ycPelBuffer_const : public yc_PelBuffer {
public:
    using value_type = T;
    using RootType = ycPelRoot<T>;
    using const_pointer = typename ycPelPointers<T>::const_pointer;

    // Unbound.
    ycPelBuffer_const() = default;
    // Over a root, whole root at offset (0, 0): the handle form shares it,
    // the owner form adopts it, the pointer form shares it only when a handle
    // already holds it (see "Roots" above).
    explicit ycPelBuffer_const(ycPtrHandle<RootType> root) { assignRoot(std::move(root)); }
    explicit ycPelBuffer_const(ycPelRootOwner<RootType> root) { assignRoot(adoptedRoot(root.release())); }
    explicit ycPelBuffer_const(RootType* root) { assignRoot(heldRoot(root)); }
    ycPelBuffer_const(const ycPelBuffer_const&) = default;
    ycPelBuffer_const& operator=(const ycPelBuffer_const&) = default;
    ~ycPelBuffer_const() override;

    RootType* root() const { return static_cast<RootType*>(root_.get()); }
    bool bind(const ycPelBuffer_const& other, bool clip = false) { return yc_PelBuffer::bind(other, clip); }
    // The root, for the caller to own; the buffer becomes unbound.
    ycPelRootOwner<RootType> disconnectRoot() { return ycPelRootOwner<RootType>(static_cast<RootType*>(disconnect())); }

    // Row y (image coordinates) from the window's left edge.
    const_pointer pointToRow(std::int32_t y) const
    {
        const std::int64_t r = std::int64_t{y} - offset_.y();
        if (!root_ || static_cast<std::uint64_t>(r) >= static_cast<std::uint64_t>(window_.height())) badPel(0, y);
        return rowAt(r);
    }
    // The column here, the row by pointToRow: the two misses report
    // different coordinates.
    const_pointer pointToPel(std::int32_t x, std::int32_t y) const
    {
        const std::int64_t c = std::int64_t{x} - offset_.x();
        if (!root_ || static_cast<std::uint64_t>(c) >= static_cast<std::uint64_t>(window_.width())) badPel(x, y);
        return advance(pointToRow(y), c);
    }
    const_pointer pointToPel(const ycPair<std::int32_t>& p) const { return pointToPel(p.x(), p.y()); }
    T get(std::int32_t x, std::int32_t y) const { return load(pointToPel(x, y)); }
    T get(const ycPair<std::int32_t>& p) const { return get(p.x(), p.y()); }
    // The window's first pel; only the root is checked.
    const_pointer pointToOffset() const
    {
        needRoot();
        return rowAt(0);
    }

    // True when bound and `p` addresses a pel inside the window (for three
    // planes: the same pel of each plane).
    bool contains(const_pointer p) const;
    // The window, row by row, to a dense array of width() * height() pels.
    void copyToBuffer(T* dst) const;

protected:
    static constexpr const char* kSourceName = ycSource::pbufCom;
    static constexpr bool kPlanes = std::is_same_v<T, yc3PlanePel>;

    bool acceptsRoot(const yc_PelRoot& root) const override;

    // Row r of the window (0 is its top), from its left edge.
    const_pointer rowAt(std::int64_t r) const
    {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>((r + window_.y()) * rootRowUpdate() + window_.x());
        if constexpr (kPlanes) {
            return advance(yc3PlanePelPtr_const(root()->pels()), at);
        } else {
            return root()->pels_ + at;
        }
    }
    static const_pointer advance(const_pointer p, std::ptrdiff_t n)
    {
        if constexpr (kPlanes) {
            return {p.plane0 + n, p.plane1 + n, p.plane2 + n};
        } else {
            return p + n;
        }
    }
    static T load(const_pointer p)
    {
        if constexpr (kPlanes) {
            return {*p.plane0, *p.plane1, *p.plane2};
        } else {
            return *p;
        }
    }
};

template <ycPelType T>
class ycPelBuffer : public ycPelBuffer_const<T> {
    using Base = ycPelBuffer_const<T>;

public:
    using typename Base::const_pointer;
    using typename Base::RootType;
    using pointer = typename ycPelPointers<T>::pointer;
    static constexpr std::int32_t kDefaultAlign = 32;

    // Unbound.
    ycPelBuffer() = default;
    // A new root of width by height pels, rows padded to `alignModulus` bytes.
    ycPelBuffer(std::int32_t width, std::int32_t height, std::int32_t alignModulus = kDefaultAlign);
    // A new root of r's size, addressed so that window() == r.
    explicit ycPelBuffer(const ycPelRect& r, std::int32_t alignModulus = kDefaultAlign);
    // Over a root: the three forms of the read-only view.
    using Base::Base;
    ycPelBuffer(const ycPelBuffer&) = default;
    ycPelBuffer& operator=(const ycPelBuffer&) = default;
    ~ycPelBuffer() override;

    bool bind(const ycPelBuffer& other, bool clip = false) { return yc_PelBuffer::bind(other, clip); }

    // Writable pointers for a writable buffer; a const one reads.
    using Base::pointToOffset;
    using Base::pointToPel;
    using Base::pointToRow;
    pointer pointToRow(std::int32_t y)
    {
        const_pointer p = Base::pointToRow(y);
        this->mutating();
        return writable(p);
    }
    pointer pointToPel(std::int32_t x, std::int32_t y)
    {
        const_pointer p = Base::pointToPel(x, y);
        this->mutating();
        return writable(p);
    }
    pointer pointToPel(const ycPair<std::int32_t>& p) { return pointToPel(p.x(), p.y()); }
    pointer pointToOffset()
    {
        const_pointer p = Base::pointToOffset();
        this->mutating();
        return writable(p);
    }
    void put(std::int32_t x, std::int32_t y, const T& value) { store(pointToPel(x, y), value); }
    void put(const ycPair<std::int32_t>& p, const T& value) { put(p.x(), p.y(), value); }

    // The window, row by row, from a dense array of width() * height() pels.
    void copyFromBuffer(const T* src);

private:
    static pointer writable(const_pointer p)
    {
        if constexpr (Base::kPlanes) {
            return {const_cast<unsigned char*>(p.plane0), const_cast<unsigned char*>(p.plane1),
                    const_cast<unsigned char*>(p.plane2)};
        } else {
            return const_cast<pointer>(p);
        }
    }
    static void store(pointer p, const T& v)
    {
        if constexpr (Base::kPlanes) {
            *p.plane0 = v.plane0;
            *p.plane1 = v.plane1;
            *p.plane2 = v.plane2;
        } else {
            *p = v;
        }
    }
};

#define TLVSTD_PELBUF_EXTERN(T)                              \
    extern template class TLVSTD_API ycPelBuffer_const<T>; \
    extern template class TLVSTD_API ycPelBuffer<T>;
TLVSTD_PELBUF_EXTERN(unsigned char)
TLVSTD_PELBUF_EXTERN(signed char)
TLVSTD_PELBUF_EXTERN(short)
TLVSTD_PELBUF_EXTERN(unsigned short)
TLVSTD_PELBUF_EXTERN(ycPackedRGB16Pel)
TLVSTD_PELBUF_EXTERN(std::int32_t)
TLVSTD_PELBUF_EXTERN(std::uint32_t)
TLVSTD_PELBUF_EXTERN(float)
TLVSTD_PELBUF_EXTERN(ycPackedRGB32Pel)
TLVSTD_PELBUF_EXTERN(double)
TLVSTD_PELBUF_EXTERN(ycPair<std::int32_t>)
TLVSTD_PELBUF_EXTERN(ycPair<float>)
TLVSTD_PELBUF_EXTERN(yc3PlanePel)
#undef TLVSTD_PELBUF_EXTERN

// For the explicit instantiations in the sources: GCC and clang take the
// visibility from the extern declaration; Windows wants the export on the
// definition as well.
#if defined(_WIN32)
#define TLVSTD_INSTANCE_API TLVSTD_API
#else
#define TLVSTD_INSTANCE_API
#endif

#endif

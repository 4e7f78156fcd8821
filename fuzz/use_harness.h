// Loads objects from arbitrary bytes and then uses them, so that a loader
// that accepts a state the rest of the class cannot live with is found where
// the state does harm: in mapping, inverting and composing transforms, in
// reading and writing pels, in copying windows, in pixel operations, or in
// storing the object again.
//
// The first byte chooses, bit by bit:
//   bit 0  the input is a seekable archive (else a plain one)
//   bit 1  objects are stored again least significant byte first
//   bit 2  objects are stored again into a seekable archive
// The rest is the archive: a stream of (operation byte, operand) pairs, where
// the operation is a whole object record (readObject, or loadObject in a
// seekable archive, which also reads pointer records), a counted reference to
// a transform, or a counted reference to a pel root. A seekable input has its
// index walked first, every object found and loaded.
//
// Each loaded object is observed (a trace of what its reads return, failures
// by error number), exercised, stored again and loaded back; the copy must
// trace the same and store the same bytes. Every input must end in a
// ycException; anything else is a finding (yc_fuzz::Finding, a crash, a
// sanitizer report, a hang).
//
// Included by the fuzz target and by the unit tests that run it over the seed
// corpus, once per program.
#ifndef TLVSTD_FUZZ_USE_HARNESS_H
#define TLVSTD_FUZZ_USE_HARNESS_H

#include "fuzz/archive_harness.h"

#include "std/math/xfcomp.h"
#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelcopy.h"
#include "std/pelbuf/pelgeom.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/pelbuf/xfcache.h"
#include "std/util/numeric.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace yc_fuzz::use {

enum Op : std::uint8_t { opRecord, opXformRef, opRootRef, opCount };

struct Mode {
    bool seekableInput = false;
    ycArchive::Ordering ordering = ycArchive::bigEndian;
    bool seekableCopy = false;

    static Mode of(std::uint8_t byte)
    {
        return {(byte & 1) != 0, (byte & 2) ? ycArchive::littleEndian : ycArchive::bigEndian, (byte & 4) != 0};
    }
};

// A loaded object with its owner: counted ones go to handles, so that later
// references in the same archive may share them.
struct Loaded {
    std::unique_ptr<ycPersistent> owned;
    ycPtrHandle<yc2XformBase> xform;
    ycPtrHandle<yc_PelRoot> root;

    ycPersistent* get() const
    {
        if (xform) return xform.get();
        if (root) return root.get();
        return owned.get();
    }
};

inline Loaded adopt(std::unique_ptr<ycPersistent> p)
{
    Loaded l;
    if (auto* x = dynamic_cast<yc2XformBase*>(p.get())) {
        p.release();
        l.xform = ycPtrHandle<yc2XformBase>(x);
    } else if (auto* r = dynamic_cast<yc_PelRoot*>(p.get())) {
        p.release();
        l.root = ycPtrHandle<yc_PelRoot>(r);
    } else {
        l.owned = std::move(p);
    }
    return l;
}

// --- the trace -------------------------------------------------------------

template <class T>
void note(std::string& trace, const T& value)
{
    static_assert(std::is_trivially_copyable_v<T>);
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    trace.append(bytes, sizeof(T));
}

inline void note(std::string& trace, const ycVector<2>& v)
{
    note(trace, v.x());
    note(trace, v.y());
}

inline void note(std::string& trace, const ycXform<2>& x)
{
    note(trace, x.trans());
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) note(trace, x.matrix().element(r, c));
}

// Runs one use; a ycException ends it and goes into the trace by number.
// A failed assertion must be followed by one (see step()).
template <class F>
void attempt(std::string& trace, F&& f)
{
    asserted = false;
    try {
        f();
        trace += '.';
    } catch (const ycException& e) {
        asserted = false;
        trace += '!';
        note(trace, e.errorNumber());
    }
    if (asserted) throw Finding("a failed assertion that no library error followed");
}

template <class T>
bool samePel(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Points every transform maps; buffers add the corners of their windows.
inline const ycVector<2> kPoints[] = {{0, 0}, {1, 0}, {0, 1}, {-3.5, 2.25}, {1000, -1000}};

// --- transforms ------------------------------------------------------------

// An empty sequence anywhere in a transform makes mapping through it an
// assertion (after which it acts as the identity), by design: such a
// transform is stored and compared, never mapped.
inline bool mappable(const yc2XformBase& x)
{
    const auto* sequence = dynamic_cast<const yc2XformComposed*>(&x);
    if (!sequence) return true;
    std::vector<ycPtrHandle_const<yc2XformBase>> members;
    sequence->decompose(members);
    return !members.empty() &&
           std::all_of(members.begin(), members.end(), [](const auto& m) { return m && mappable(*m); });
}

inline void observeMapping(std::string& trace, const yc2XformBase& x, const ycVector<2>& p)
{
    attempt(trace, [&] { note(trace, x.mapPoint(p)); });
    attempt(trace, [&] { note(trace, x.linearXform(p).xform()); });
}

inline void observeXform(std::string& trace, const yc2XformBase& x)
{
    if (!mappable(x)) {
        trace += 'e';
        return;
    }
    note(trace, x.isLinear());
    for (const auto& p : kPoints) observeMapping(trace, x, p);
    ycPtrHandle<yc2XformBase> inverse;
    attempt(trace, [&] { inverse = x.inverseBase(); });
    if (!inverse) return;
    for (const auto& p : kPoints)
        attempt(trace, [&] { note(trace, inverse->mapPoint(x.mapPoint(p))); });
}

inline void exerciseXform(const ycPtrHandle<yc2XformBase>& x)
{
    if (!mappable(*x)) return;
    std::string scratch;
    auto use = [&](const ycPtrHandle<yc2XformBase>& t) {
        if (t) observeXform(scratch, *t);
    };
    ycPtrHandle<yc2XformBase> clone;
    attempt(scratch, [&] { clone = x->clone(); });
    if (clone) {
        std::string a, b;
        observeXform(a, *x);
        observeXform(b, *clone);
        if (a != b) throw Finding("a clone maps otherwise than its original");
    }
    const yc2XformLinear shift(ycMatrix<2>(2, 0, 0, 0.5), ycVector<2>(3, -1));
    ycPtrHandle<yc2XformBase> inverse, twice, after, before;
    attempt(scratch, [&] { inverse = x->inverseBase(); });
    attempt(scratch, [&] { twice = x->composeBase(*x); });
    attempt(scratch, [&] { after = x->composeBase(shift); });
    attempt(scratch, [&] { before = shift.composeBase(*x); });
    for (const auto* t : {&inverse, &twice, &after, &before}) use(*t);
    if (inverse) {
        ycPtrHandle<yc2XformBase> back, identity;
        attempt(scratch, [&] { back = inverse->inverseBase(); });
        attempt(scratch, [&] { identity = x->composeBase(*inverse); });
        use(back);
        use(identity);
    }
    attempt(scratch, [&] {
        yc2XformComposed sequence(*x, false);
        sequence.postCompose(*x, false);
        sequence.preCompose(shift, true);
        std::vector<ycPtrHandle_const<yc2XformBase>> members;
        sequence.decompose(members);
        observeXform(scratch, sequence);
        sequence.invert();
        observeXform(scratch, sequence);
    });
    attempt(scratch, [&] {
        yc2XformCache cache;
        cache.xform(x, false);
        cache.xformInverse();
        if (cache.isLinear()) cache.linearXformInverse();
    });
}

inline void observeCache(std::string& trace, const yc2XformCache& cache)
{
    note(trace, cache.isLinear());
    if (!cache.xform()) throw Finding("a loaded transform cache without a transform");
    observeXform(trace, *cache.xform());
    if (!mappable(*cache.xform())) return;
    attempt(trace, [&] {
        const auto& inverse = cache.xformInverse();
        if (!inverse) throw Finding("a transform cache without an inverse or a failure");
        if (!mappable(*inverse)) return;
        for (const auto& p : kPoints) attempt(trace, [&] { note(trace, inverse->mapPoint(p)); });
    });
    if (cache.isLinear() != cache.xform()->isLinear()) throw Finding("a cache's linear flag disagrees with its transform");
    attempt(trace, [&] { note(trace, cache.linearXform().xform()); });
    attempt(trace, [&] { note(trace, cache.linearXformInverse().xform()); });
}

// --- pels ------------------------------------------------------------------

// Calls f(x, y) for the first `limit` pels of w in image coordinates. A
// window may end past what 32-bit coordinates reach (only its first pel must
// be addressable); those pels are left out.
template <class F>
void forEachPel(const ycPelRect& w, F&& f, std::int64_t limit = std::numeric_limits<std::int64_t>::max())
{
    constexpr std::int64_t kEnd = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
    const std::int64_t xEnd = std::min(std::int64_t{w.x()} + w.width(), kEnd);
    const std::int64_t yEnd = std::min(std::int64_t{w.y()} + w.height(), kEnd);
    for (std::int64_t y = w.y(); y < yEnd; ++y)
        for (std::int64_t x = w.x(); x < xEnd; ++x) {
            if (limit-- <= 0) return;
            f(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y));
        }
}

template <class T>
void observeBuffer(std::string& trace, const ycPelBuffer_const<T>& b);

template <class T>
void observePlanes(std::string& trace, const ycPelBuffer_const<T>& b)
{
    if constexpr (std::is_same_v<T, yc3PlanePel>) {
        auto planes = [&](const auto& colour) {
            note(trace, colour.colorSpace());
            if (!b.isBound()) return;
            observeBuffer(trace, colour.plane0());
            observeBuffer(trace, colour.plane1());
            observeBuffer(trace, colour.plane2());
        };
        if (auto* c = dynamic_cast<const yc_3PlanePelBufferOf<ycPelBuffer_const<yc3PlanePel>>*>(&b)) planes(*c);
        if (auto* c = dynamic_cast<const yc_3PlanePelBufferOf<ycPelBuffer<yc3PlanePel>>*>(&b)) planes(*c);
    }
}

// Window, offset, every pel of the window, the transforms, and pels read
// through the client transform: image -> client -> image, rounded.
template <class T>
void observeBuffer(std::string& trace, const ycPelBuffer_const<T>& b)
{
    note(trace, b.windowRoot());
    note(trace, b.offset());
    observePlanes(trace, b);
    attempt(trace, [&] { b.repInvariant(); });
    observeCache(trace, b.xformCache());
    if (!b.isBound()) return;
    const ycPelRect w = b.window();
    forEachPel(w, [&](std::int32_t x, std::int32_t y) { note(trace, b.get(x, y)); });
    const auto& toClient = b.clientFromImageXformBase();
    ycPtrHandle_const<yc2XformBase> toImage;
    attempt(trace, [&] { toImage = b.imageFromClientXformBase(); });
    if (!toImage || !mappable(*toClient) || !mappable(*toImage)) return;
    forEachPel(
        w,
        [&](std::int32_t x, std::int32_t y) {
            attempt(trace, [&] {
                const ycVector<2> image = toImage->mapPoint(toClient->mapPoint(ycVector<2>(x, y)));
                const std::int32_t ix = yf_ToInt32Sat(std::floor(image.x() + 0.5));
                const std::int32_t iy = yf_ToInt32Sat(std::floor(image.y() + 0.5));
                const bool inside = std::int64_t{ix} - w.x() >= 0 && std::int64_t{ix} - w.x() < w.width() &&
                                    std::int64_t{iy} - w.y() >= 0 && std::int64_t{iy} - w.y() < w.height();
                if (inside) note(trace, b.get(ix, iy));
            });
        },
        256);
}

template <class T>
void exerciseBuffer(const ycPelBuffer_const<T>& b)
{
    std::string scratch;
    attempt(scratch, [&] { b.clientFromImageXform(); });
    attempt(scratch, [&] { b.imageFromClientXform(); });
    if (!b.isBound()) return;
    const ycPelRect w = b.window();
    const auto count = static_cast<std::size_t>(w.width()) * static_cast<std::size_t>(w.height());
    std::vector<T> dense(count);
    if (count) b.copyToBuffer(dense.data());
    auto denseAt = [&](std::int32_t x, std::int32_t y) -> const T& {
        return dense[static_cast<std::size_t>(std::int64_t{y} - w.y()) * static_cast<std::size_t>(w.width()) +
                     static_cast<std::size_t>(std::int64_t{x} - w.x())];
    };
    auto everyPel = [&](auto&& f) { forEachPel(w, f); };
    everyPel([&](std::int32_t x, std::int32_t y) {
        if (!samePel(b.get(x, y), denseAt(x, y))) throw Finding("copyToBuffer disagrees with get");
    });

    // A copy of the window in a root of its own.
    ycPelBuffer<T> copy(w);
    // An empty rectangle of non-zero width or height gives a 0 by 0 window
    // (kept for review in findings-for-review), so only pels are compared.
    if (count && copy.window() != w) throw Finding("a new buffer over a rectangle has another window");
    if (count) copy.copyFromBuffer(dense.data());
    everyPel([&](std::int32_t x, std::int32_t y) {
        if (!samePel(copy.get(x, y), b.get(x, y))) throw Finding("a copied window differs");
    });

    // Writing each pel again through a writable view of the same root.
    ycPelBuffer<T> writable(b.root());
    writable.windowRoot(b.windowRoot());
    writable.offset(b.offset());
    everyPel([&](std::int32_t x, std::int32_t y) { writable.put(x, y, copy.get(x, y)); });
    everyPel([&](std::int32_t x, std::int32_t y) {
        if (!samePel(b.get(x, y), denseAt(x, y))) throw Finding("pels written back differ");
    });

    // Other windows of the same root.
    ycPelBuffer_const<T> view = b;
    attempt(scratch, [&] {
        view.setEntire();
        observeBuffer(scratch, view);
    });
    attempt(scratch, [&] {
        view = b;
        const auto grown = [](std::int32_t n) { return std::min(n, std::numeric_limits<std::int32_t>::max() - 2) + 2; };
        view.windowRoot(b.windowRoot().x() - 1, b.windowRoot().y() - 1, grown(w.width()), grown(w.height()), true);
        observeBuffer(scratch, view);
    });
    attempt(scratch, [&] {
        view = b;
        view.subWindow(1, 1, w.width() - 2, w.height() - 2);
        observeBuffer(scratch, view);
    });
}

// Pixel operations on the loaded window: results are checked where an
// identity says what they must be, and every operation runs against a
// destination that overlaps the source by one pel.
template <class T>
void exercisePixelOps(const ycPelBuffer_const<T>& b)
{
    std::string scratch;
    attempt(scratch, [&] {
        const ycPelBuffer<T> copy = yfPelCopy<T>(b);
        if (copy.isBound() && copy.window() != b.window()) throw Finding("a copy has another window");
        if constexpr (!std::is_floating_point_v<T> && !std::is_same_v<T, ycPair<float>>) {
            if (copy.isBound() && !yfPelEqual(copy, b)) throw Finding("a copy is not equal to its source");
        }
    });
    if constexpr (yc_OneOf<T, unsigned char, unsigned short, std::uint32_t>) {
        attempt(scratch, [&] {
            if (!b.isBound() || b.window().isEmpty()) return;
            const ycPelBuffer<T> twice = yfPelTranspose<T>(yfPelTranspose<T>(b));
            const ycPelBuffer<T> flipped = yfPelFlipH<T>(yfPelFlipV<T>(yfPelFlipH<T>(yfPelFlipV<T>(b))));
            if (!yfPelEqual(twice, b) || !yfPelEqual(flipped, b)) throw Finding("a rearrangement done twice differs");
            const T lo = yfPelMin<T>(b), hi = yfPelMax<T>(b);
            const ycPelBuffer<T> low = yfPelMin<T>(b, flipped);
            if (yfPelMin<T>(low) != lo || yfPelMax<T>(yfPelMax<T>(b, flipped)) != hi) {
                throw Finding("a pel-wise extreme disagrees with the window's");
            }
        });
        attempt(scratch, [&] {
            // A destination one pel into the source: Overlap, or nothing shared.
            ycPelBuffer<T> shifted(b.root());
            shifted.windowRoot(b.windowRoot());
            shifted.offset(b.offset().x() + 1, b.offset().y());
            yfPelAdd(b, b, shifted);
        });
    }
    if constexpr (std::is_same_v<T, unsigned char>) {
        attempt(scratch, [&] { yfPelMedian3x3(b); });
        attempt(scratch, [&] { yfPelSmooth(b, 3, 2); });
        attempt(scratch, [&] { yfPelSpatialAvg(b, 3, 2, 0); });
    }
}

template <class T>
void exerciseRoot(const ycPtrHandle<ycPelRoot<T>>& root)
{
    std::string scratch;
    attempt(scratch, [&] { root->repInvariant(); });
    if (!scratch.empty() && scratch.back() != '.') throw Finding("a loaded root fails its invariant");
    const std::int32_t w = root->width(), h = root->height();
    const ycPelRect whole(0, 0, w, h);
    std::vector<T> pels;
    root->pelsToVect(whole, pels);
    ycPelBuffer_const<T> view(root);
    observeBuffer(scratch, view);
    exerciseBuffer(view);
    if (w < 2 || h < 1) return;
    // An overlapping copy inside one root moves every row one pel right.
    auto copy = root->copy(whole);
    copy->copy(ycPelRect(0, 0, w - 1, h), *copy, ycPair<std::int32_t>(1, 0));
    std::vector<T> moved;
    copy->pelsToVect(whole, moved);
    for (std::int32_t y = 0; y < h; ++y)
        for (std::int32_t x = 0; x + 1 < w; ++x)
            if (!samePel(moved[static_cast<std::size_t>(y) * w + x + 1], pels[static_cast<std::size_t>(y) * w + x]))
                throw Finding("an overlapping copy inside a root differs");
    copy->pelsFromVect(whole, pels);
    copy->pelsToVect(whole, moved);
    for (std::size_t i = 0; i < pels.size(); ++i)
        if (!samePel(moved[i], pels[i])) throw Finding("pels written from a vector differ");
}

// --- any object --------------------------------------------------------------

// Calls f with the object as the pel root or buffer type it is.
template <class F>
bool visitPels(ycPersistent& o, F&& f)
{
    bool found = false;
    ycPelTypes::forEach([&](auto type) {
        using T = typename decltype(type)::type;
        if (found) return;
        if (auto* r = dynamic_cast<ycPelRoot<T>*>(&o)) {
            found = true;
            f(ycPtrHandle<ycPelRoot<T>>(r), static_cast<ycPelBuffer_const<T>*>(nullptr));
        } else if (auto* b = dynamic_cast<ycPelBuffer_const<T>*>(&o)) {
            found = true;
            f(ycPtrHandle<ycPelRoot<T>>(), b);
        }
    });
    return found;
}

inline std::string observe(ycPersistent& o)
{
    std::string trace;
    if (auto* x = dynamic_cast<yc2XformBase*>(&o)) {
        observeXform(trace, *x);
    } else if (auto* c = dynamic_cast<yc2XformCache*>(&o)) {
        observeCache(trace, *c);
    } else if (auto* e = dynamic_cast<ycException*>(&o)) {
        note(trace, e->errorNumber());
        const std::wstring text = e->message(true);
        trace.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
    } else {
        visitPels(o, [&](const auto& root, const auto* buffer) {
            if (buffer) {
                observeBuffer(trace, *buffer);
            } else {
                note(trace, root->rowUpdate());
                observeBuffer(trace, std::remove_cvref_t<decltype(*buffer)>(root));
            }
        });
    }
    return trace;
}

inline void exercise(const Loaded& l)
{
    if (l.xform) {
        exerciseXform(l.xform);
        return;
    }
    visitPels(*l.get(), [&](const auto& root, const auto* buffer) {
        if (buffer) {
            exerciseBuffer(*buffer);
            exercisePixelOps(*buffer);
        } else
            exerciseRoot(root);
    });
}

inline std::string store(const ycPersistent& o, Mode mode)
{
    ycMemoryArchive ar(mode.ordering, mode.seekableCopy);
    if (mode.seekableCopy)
        ar.storeObject(const_cast<ycPersistent*>(&o));
    else
        ar << o;
    ar.sync();
    const auto bytes = ar.storage();
    return std::string(bytes.begin(), bytes.end());
}

inline Loaded reload(const std::string& bytes, Mode mode)
{
    ycMemoryArchive ar(bytes.data(), static_cast<std::int32_t>(bytes.size()), mode.seekableCopy);
    return adopt(mode.seekableCopy ? ar.loadObject() : ycPersistent::readObject(ar));
}

// Uses a freshly loaded object, then stores it again and compares the copy.
inline void use(const Loaded& l, Mode mode)
{
    if (!l.get()) return;
    if (asserted) throw Finding("an object loaded after a failed assertion");
    exercise(l);
    const std::string trace = observe(*l.get());
    std::string bytes;
    asserted = false;
    try {
        bytes = store(*l.get(), mode);
    } catch (const ycException&) {
        asserted = false;
        return; // some objects cannot be stored; that is not this harness's concern
    }
    if (asserted) throw Finding("a failed assertion while storing");
    Loaded copy;
    try {
        copy = reload(bytes, mode);
    } catch (const ycException&) {
        throw Finding("a stored object does not load back");
    }
    if (asserted) throw Finding("a failed assertion while loading a stored object");
    if (observe(*copy.get()) != trace) throw Finding("a stored object loads back otherwise");
    if (store(*copy.get(), mode) != bytes) throw Finding("a stored object stores again otherwise");
    if (auto* e = dynamic_cast<ycException*>(copy.get()); e && copy.owned) {
        copy.owned.release();
        try {
            e->suicideAndRethrow();
        } catch (const ycException& thrown) {
            if (thrown.errorNumber() != dynamic_cast<ycException*>(l.get())->errorNumber())
                throw Finding("an exception rethrows as another");
        }
    }
}

inline void readOps(ycArchive& ar, Mode mode, std::vector<Loaded>& held)
{
    for (;;) { // each operation takes at least a byte: Eof ends it
        std::uint8_t op = 0;
        ar >> op;
        Loaded l;
        switch (op % opCount) {
        case opRecord:
            l = adopt(mode.seekableInput ? ar.loadObject() : ycPersistent::readObject(ar));
            break;
        case opXformRef:
            yfSerializeHandle(ar, l.xform);
            break;
        default:
            yfSerializeHandle(ar, l.root);
            break;
        }
        use(l, mode);
        held.push_back(std::move(l));
    }
}

// One input. Returns normally when it ended in a ycException.
inline void run(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return;
    const Mode mode = Mode::of(data[0]);
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    const auto length = static_cast<std::int32_t>(std::min<std::size_t>(size - 1, 1 << 20));
    ycAssertHandlerScope recording(&recordAssertion);
    std::vector<Loaded> held; // later references may find what was loaded
    step([&] {
        ycMemoryArchive ar(bytes, length, mode.seekableInput);
        if (mode.seekableInput) {
            std::vector<std::int32_t> ids;
            step([&] {
                for (std::int32_t id = ar.firstObjectID(); id != 0; id = ar.nextObjectID(id)) ids.push_back(id);
            });
            for (std::int32_t id : ids) {
                step([&] {
                    ar.findObject(id);
                    Loaded l = adopt(ar.loadObject());
                    use(l, mode);
                    held.push_back(std::move(l));
                });
            }
            ar.seek(2);
        }
        readOps(ar, mode, held);
    });
}

} // namespace yc_fuzz::use

#endif

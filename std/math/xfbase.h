// The polymorphic two-dimensional transform.
//
// yc2XformBase is the abstract member of a family of shared, immutable
// transforms: linear (xflinear.h), composed sequences (xfcomp.h), perspective
// (xfpersp.h) and polynomial (xfpoly.h). They are held through counted handles,
// ycPtrHandle_const<yc2XformBase>, and are persistent objects.
//
// The virtual operations:
//   mapPoint(p)       the image of p; operator*(p) is the same
//   isLinear()        true only when the transform is exactly affine
//   linearXform(at)   the affine transform that best approximates this one at
//                     `at` (the first-order expansion)
//   composeBase(rhs)  a new transform equal to this o rhs (rhs applied first);
//                     here a yc2XformComposed of the two, members fold it into
//                     their own form where they can
//   inverseBase()     a new transform, the inverse
//   clone()           a new copy
// A transform is changed only while one owner builds it; once shared it is
// read-only, so handles to it may be used from many threads at once.
//
// Keeping arguments. No function of the family (nor the pel buffers that hold
// transforms) keeps a `const yc2XformBase&` argument by its address: the
// caller's object may be on the stack or a temporary. A form that stores "a
// clone of the argument" clones it; a form that asks to share it shares it
// only when a handle already holds it (refCount() > 0) and clones it
// otherwise. yfShareOrClone is that rule. To share a transform for certain,
// hold it in a handle and pass the handle.
//
// Allocation: every transform comes from the core allocator through class
// operators that record the allocating source and line (ymNew passes them:
// `ymNew yc2XformLinear(m, t)`; a plain `new` records no site). The sites
// live in a table beside the objects, so allocationSite() of a transform on
// the stack, or inside another object, reads nothing outside it and reports
// an unknown site (null file, line 0).
#ifndef TLVSTD_MATH_XFBASE_H
#define TLVSTD_MATH_XFBASE_H

#include "std/archive/persist.h"
#include "std/except/except.h"
#include "std/math/vector.h"
#include "std/util/handle.h"

#include <cstddef>
#include <new>

class yc2XformDefs {
public:
    ymErrorGroup(ycException);
    ymError(NotImplemented, Errors);
};

// Class-level allocation through the core allocator, recording the site. All
// forms are declared so that plain new, nothrow new (the type registry's
// factories) and delete through a base pointer keep working.
class TLVSTD_API yc_DebugAlloc {
public:
    struct Site {
        const char* file; // null when allocated without a site
        int line;
    };

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(std::size_t size, const char* file, int line);
    static void operator delete(void* p) noexcept;
    // Called only when a constructor throws.
    static void operator delete(void* p, const std::nothrow_t&) noexcept;
    static void operator delete(void* p, const char* file, int line) noexcept;

    // The site recorded for the complete object at `object`; unknown for an
    // object these operators did not allocate.
    static Site allocationSite(const void* object);

private:
    static void* allocate(std::size_t size, const char* file, int line) noexcept;
    static void release(void* p) noexcept;
};

// `ymNew T(args)` allocates a transform recording this source (kSourceName)
// and line.
#define ymNew new (kSourceName, __LINE__)

class yc2XformLinear;
class yc_TypeRegistry;

// ycPersistent comes first: archives hand loaded objects back as ycPersistent*,
// and at offset 0 the conversion is free of pointer adjustment.
class TLVSTD_API yc2XformBase : public ycPersistent, public ycRepBase, public yc_DebugAlloc {
public:
    ~yc2XformBase() override;

    virtual ycVector<2> mapPoint(const ycVector<2>& p) const = 0;
    virtual bool isLinear() const = 0;
    virtual yc2XformLinear linearXform(const ycVector<2>& at) const = 0;
    virtual ycPtrHandle<yc2XformBase> composeBase(const yc2XformBase& rhs) const;
    virtual ycPtrHandle<yc2XformBase> inverseBase() const = 0;
    virtual ycPtrHandle<yc2XformBase> clone() const = 0;

    ycVector<2> operator*(const ycVector<2>& p) const { return mapPoint(p); }

    // Where this transform was allocated; unknown when not by ymNew.
    yc_DebugAlloc::Site allocationSite() const { return yc_DebugAlloc::allocationSite(dynamic_cast<const void*>(this)); }

protected:
    yc2XformBase() = default;
    yc2XformBase(const yc2XformBase&) = default;
    yc2XformBase& operator=(const yc2XformBase&) = default;

    void dispatchSerialize(ycArchive& ar) override;

private:
    // One class level's fields; a class's dispatchSerialize calls its own.
    virtual void serialize_(ycArchive& ar, std::uint8_t version);
};

// What a member or setter keeps of the argument x: x itself when `share` is
// asked and a handle already holds it, else a clone.
TLVSTD_API ycPtrHandle_const<yc2XformBase> yfShareOrClone(const yc2XformBase& x, bool share);

// Registers the transform classes with the type registry.
void yf_RegisterXformClasses(yc_TypeRegistry& registry);

// linearXform returns the linear member by value, so the two headers come
// together whichever is included first.
#include "std/math/xflinear.h"

#endif

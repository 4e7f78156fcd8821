// A transform together with its inverse and, when it is linear, its linear
// form: what a pel buffer keeps as its client-coordinate transform. It lives
// with the buffers because it reports in their terms (ycPel::NonlinearXform).
//
// The inverse is computed on first request (xformInverse()) by the forward
// transform's inverseBase() and kept; setting a new forward transform drops it
// and refreshes the linear form. The inverse may also be set explicitly. A new
// cache holds the identity (one shared object, so no allocation).
//
// linearXform() and linearXformInverse() throw ycPel::NonlinearXform when the
// forward transform is not linear; linearXformInverse() of a singular one
// throws ycMathError::Singular.
//
// Const members may be called from many threads at once: the lazy inverse is
// computed under the cache's own lock, once, and copying a cache reads it
// under that lock too. Changing a cache while another thread reads it is,
// as for any object, not allowed. Computing the inverse is bounded as the
// transforms are (see xfcomp.h).
//
// Archive form (below the ycPersistent level): version byte 0, the forward
// transform as an object reference (never null), then the inverse as one
// (null when not yet computed). The linear flag and form are recomputed on
// loading. Canonical name "yc2XformCache".
#ifndef TLVSTD_PELBUF_XFCACHE_H
#define TLVSTD_PELBUF_XFCACHE_H

#include "std/math/xfbase.h"
#include "std/math/xflinear.h"
#include "std/pelbuf/pbuf_com.h"

#include <atomic>
#include <mutex>

class TLVSTD_API yc2XformCache : public ycPersistent {
public:
    yc2XformCache();
    explicit yc2XformCache(const yc2XformBase& x) { xform(x); }
    yc2XformCache(const yc2XformCache& other);
    yc2XformCache& operator=(const yc2XformCache& other);
    ~yc2XformCache() override;

    const ycPtrHandle_const<yc2XformBase>& xform() const { return forward_; }
    // Stores a clone of x (never x itself: it may be a temporary).
    void xform(const yc2XformBase& x);
    // Shares h, or stores a clone when `copy`. A null handle is an assertion,
    // and the cache stays as it was.
    void xform(const ycPtrHandle_const<yc2XformBase>& h, bool copy);

    // The inverse, computed on first use and kept.
    const ycPtrHandle_const<yc2XformBase>& xformInverse() const;
    // The inverse set explicitly, with the same two forms.
    void xformInverse(const yc2XformBase& x);
    void xformInverse(const ycPtrHandle_const<yc2XformBase>& h, bool copy);
    // True when the inverse is at hand: computed already, set, or loaded.
    bool hasInverse() const { return inverseReady_.load(std::memory_order_acquire); }

    bool isLinear() const { return linear_; }
    const yc2XformLinear& linearXform() const;
    yc2XformLinear linearXformInverse() const;

protected:
    void dispatchSerialize(ycArchive& ar) override;

private:
    static constexpr const char* kSourceName = "std/math/xfcache";

    void setForward(ycPtrHandle_const<yc2XformBase> h);
    void setInverse(ycPtrHandle_const<yc2XformBase> h);

    // The inverse as it stands, read under the lock.
    ycPtrHandle_const<yc2XformBase> inverseNow() const;
    // Sets the inverse (null: to be computed) under the lock.
    void storeInverse(ycPtrHandle_const<yc2XformBase> h) const;

    ycPtrHandle_const<yc2XformBase> forward_;
    mutable std::mutex inverseLock_;
    mutable ycPtrHandle_const<yc2XformBase> inverse_; // filled under inverseLock_
    bool linear_ = true;
    yc2XformLinear linearForm_;
    mutable std::atomic<bool> inverseReady_{false}; // inverse_ is set
};

#endif

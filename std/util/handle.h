// Counted handles.
//
// Shapes, transforms and pel roots are shared objects: they live as long as
// the last ycPtrHandle to them. The count sits in the object (ycRepBase) and
// changes atomically, so handles to one object may be copied and dropped on
// many threads at once; the thread that drops the last one destroys it.
//
// A handle takes its share when made from a plain pointer, so the usual start
// is ycPtrHandle<ycCircle> c(new ycCircle(...)). Never give a handle an object
// that does not live on the heap.
//
// A class family routes its counting elsewhere by specialising
// ycHandleTraits: pel roots count through yc_PelRoot::refInc/refDec, which
// know about pools.
#ifndef TLVSTD_UTIL_HANDLE_H
#define TLVSTD_UTIL_HANDLE_H

#include "std/config.h"

#include <atomic>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

class TLVSTD_API ycRepBase {
public:
    std::int32_t refCount() const noexcept { return count_.load(std::memory_order_relaxed); }

    // The new count after one more, or one fewer, share.
    std::int32_t refInc() const noexcept { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::int32_t refDec() const noexcept { return count_.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    virtual ~ycRepBase();

protected:
    ycRepBase() = default;
    // A copy is a new object: it starts without shares.
    ycRepBase(const ycRepBase&) noexcept {}
    ycRepBase& operator=(const ycRepBase&) noexcept { return *this; }

private:
    mutable std::atomic<std::int32_t> count_{0};
};

// How a handle counts: takes a share, drops one (true when it was the last),
// and disposes of an object whose last share went.
template <class T>
struct ycHandleTraits {
    static void acquire(const T* p) noexcept { p->refInc(); }
    static bool drop(const T* p) noexcept { return p->refDec() == 0; }
    static void dispose(const T* p) noexcept { delete p; }
};

template <class T>
class ycPtrHandle {
    using Traits = ycHandleTraits<std::remove_const_t<T>>;

public:
    using element_type = T;

    ycPtrHandle() noexcept = default;
    ycPtrHandle(std::nullptr_t) noexcept {}
    explicit ycPtrHandle(T* p) noexcept : p_(p) { acquire(); }
    ycPtrHandle(const ycPtrHandle& other) noexcept : p_(other.p_) { acquire(); }
    ycPtrHandle(ycPtrHandle&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    template <class U>
        requires std::convertible_to<U*, T*>
    ycPtrHandle(const ycPtrHandle<U>& other) noexcept : p_(other.get())
    {
        acquire();
    }
    ~ycPtrHandle() { release(); }

    ycPtrHandle& operator=(ycPtrHandle other) noexcept
    {
        std::swap(p_, other.p_);
        return *this;
    }

    void reset(T* p = nullptr) noexcept { *this = ycPtrHandle(p); }
    // Lets go of an object this handle alone shares without disposing of it:
    // the count goes back to 0 and the caller owns the object, as before any
    // handle took it. Null, and the handle unchanged, when others share it.
    [[nodiscard]] T* disown() noexcept
    {
        if (!p_ || p_->refCount() != 1) return nullptr;
        Traits::drop(p_);
        return std::exchange(p_, nullptr);
    }
    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    T& operator*() const noexcept { return *p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }

    template <class U>
    bool operator==(const ycPtrHandle<U>& other) const noexcept
    {
        return p_ == other.get();
    }
    bool operator==(std::nullptr_t) const noexcept { return p_ == nullptr; }
    template <class U>
    auto operator<=>(const ycPtrHandle<U>& other) const noexcept
    {
        return std::compare_three_way()(static_cast<const void*>(p_), static_cast<const void*>(other.get()));
    }

private:
    void acquire() noexcept
    {
        if (p_) Traits::acquire(p_);
    }
    void release() noexcept
    {
        if (!p_) return;
        T* p = std::exchange(p_, nullptr);
        if (Traits::drop(p)) Traits::dispose(p);
    }

    T* p_ = nullptr;
};

template <class T>
using ycPtrHandle_const = ycPtrHandle<const T>;

template <class T, class... A>
ycPtrHandle<T> yfMakeHandle(A&&... args)
{
    return ycPtrHandle<T>(new T(std::forward<A>(args)...));
}

// A handle of the dynamic type U, or null when the object is not a U.
template <class U, class T>
ycPtrHandle<U> yfDynamicHandleCast(const ycPtrHandle<T>& h)
{
    return ycPtrHandle<U>(dynamic_cast<U*>(h.get()));
}

#endif

#include "std/math/xfbase.h"

#include "std/except/registry.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"

#include <mutex>
#include <unordered_map>

namespace {
constexpr const char* kSourceName = ycSource::xfbase;

// Sites by block address. Nothing is written in or before a block, so a
// lookup for an object that no operator here allocated finds nothing and
// reads only its own address. Never destroyed: transforms die at exit too.
struct SiteTable {
    std::mutex lock;
    std::unordered_map<const void*, yc_DebugAlloc::Site> sites;
};

SiteTable& siteTable()
{
    static auto* table = new SiteTable;
    return *table;
}
} // namespace

void* yc_DebugAlloc::allocate(std::size_t size, const char* file, int line) noexcept
{
    void* p = nullptr;
    if (ysys_memory_alloc_internal(&p, size, file, line) != YSTD_OK) return nullptr;
    if (!file) return p;
    try {
        SiteTable& t = siteTable();
        std::lock_guard<std::mutex> guard(t.lock);
        t.sites[p] = Site{file, line};
    } catch (...) {
        ysys_memory_free_internal(p);
        return nullptr;
    }
    return p;
}

void yc_DebugAlloc::release(void* p) noexcept
{
    if (!p) return;
    {
        SiteTable& t = siteTable();
        std::lock_guard<std::mutex> guard(t.lock);
        t.sites.erase(p);
    }
    ysys_memory_free_internal(p);
}

void* yc_DebugAlloc::operator new(std::size_t size)
{
    return operator new(size, nullptr, 0);
}

void* yc_DebugAlloc::operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size, nullptr, 0);
}

void* yc_DebugAlloc::operator new(std::size_t size, const char* file, int line)
{
    void* p = allocate(size, file, line);
    if (!p) throw std::bad_alloc();
    return p;
}

void yc_DebugAlloc::operator delete(void* p) noexcept
{
    release(p);
}

void yc_DebugAlloc::operator delete(void* p, const std::nothrow_t&) noexcept
{
    release(p);
}

void yc_DebugAlloc::operator delete(void* p, const char*, int) noexcept
{
    release(p);
}

yc_DebugAlloc::Site yc_DebugAlloc::allocationSite(const void* object)
{
    ymAssert(object != nullptr);
    if (!object) return Site{nullptr, 0};
    SiteTable& t = siteTable();
    std::lock_guard<std::mutex> guard(t.lock);
    const auto it = t.sites.find(object);
    return it == t.sites.end() ? Site{nullptr, 0} : it->second;
}

ycPtrHandle_const<yc2XformBase> yfShareOrClone(const yc2XformBase& x, bool share)
{
    if (share && x.refCount() > 0) return ycPtrHandle_const<yc2XformBase>(&x);
    return x.clone();
}

yc2XformBase::~yc2XformBase() = default;

ycPtrHandle<yc2XformBase> yc2XformBase::composeBase(const yc2XformBase& rhs) const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformComposed(*this, rhs, true, true));
}

void yc2XformBase::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformBase::serialize_(ar, version); });
}

void yc2XformBase::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    ycPersistent::dispatchSerialize(ar);
}

void yf_RegisterXformClasses(yc_TypeRegistry& registry)
{
    registry.add<yc2XformLinear>("yc2XformLinear");
    registry.add<yc2XformComposed>("yc2XformComposed");
    registry.add<yc2XformPerspective>("yc2XformPerspective");
    registry.add<yc2XformPoly>("yc2XformPoly");
}

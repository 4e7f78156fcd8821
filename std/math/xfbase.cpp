#include "std/math/xfbase.h"

#include "std/except/registry.h"
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"

#include <cstring>

namespace {
constexpr const char* kSourceName = ycSource::xfbase;

// The site sits in front of each block; its size keeps the block aligned as
// the core aligns it.
struct alignas(16) SiteHeader {
    const char* file;
    int line;
};
static_assert(sizeof(SiteHeader) == 16);

SiteHeader* headerOf(void* block)
{
    return reinterpret_cast<SiteHeader*>(static_cast<unsigned char*>(block) - sizeof(SiteHeader));
}
} // namespace

void* yc_DebugAlloc::allocate(std::size_t size, const char* file, int line) noexcept
{
    if (size > static_cast<std::size_t>(-1) - sizeof(SiteHeader)) return nullptr;
    void* raw = nullptr;
    if (ysys_memory_alloc_internal(&raw, size + sizeof(SiteHeader), file, line) != YSTD_OK) return nullptr;
    auto* header = static_cast<SiteHeader*>(raw);
    header->file = file;
    header->line = line;
    return header + 1;
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
    if (p) ysys_memory_free_internal(headerOf(p));
}

void yc_DebugAlloc::operator delete(void* p, const std::nothrow_t&) noexcept
{
    operator delete(p);
}

void yc_DebugAlloc::operator delete(void* p, const char*, int) noexcept
{
    operator delete(p);
}

yc_DebugAlloc::Site yc_DebugAlloc::allocationSite(const void* object)
{
    ymAssert(object != nullptr);
    if (!object) return Site{nullptr, 0};
    const SiteHeader* header = headerOf(const_cast<void*>(object));
    return Site{header->file, header->line};
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

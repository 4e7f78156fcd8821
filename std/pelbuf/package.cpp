#include "std/pelbuf/package.h"

#include "core/ycore.h"
#include "std/except/status.h"
#include "std/pelbuf/pelroot.h"
#include "std/util/assert.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <numeric>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;

// The core hands out blocks aligned to at least this; every pel type needs less.
constexpr std::size_t kCoreAlign = 16;

constexpr std::uint64_t k4GiB = std::uint64_t{1} << 32;

} // namespace

yc_PelBlock yfAllocPelBlock(std::uint64_t bytes, std::int32_t alignModulus, std::size_t pelAlign)
{
    ymAssert(alignModulus >= 1);
    ymAssert(pelAlign >= 1 && kCoreAlign % pelAlign == 0);
    if (alignModulus < 1) alignModulus = 1;
    if (pelAlign < 1 || kCoreAlign % pelAlign != 0) pelAlign = kCoreAlign;

    // The core's block is aligned for the pel type, so an address that is a
    // multiple of both lies less than their least common multiple further on:
    // that is the slack (alignModulus - 1 whenever the modulus is a multiple
    // of the pel's alignment).
    const std::uint64_t modulus = static_cast<std::uint64_t>(alignModulus);
    const std::uint64_t reach = std::lcm(modulus, std::uint64_t{pelAlign});
    if (bytes > std::numeric_limits<std::uint64_t>::max() - (reach - 1)) throw std::bad_alloc();
    void* raw = nullptr;
    yfThrowExceptionOnFailure(ysys_memory_alloc64_internal(&raw, bytes + reach - 1, kCoreAlign, kSourceName, __LINE__));

    // Walk to the first address whose low 32 bits are a multiple of the
    // modulus (the test wrapped memory must pass too) and which suits the pel
    // type, jumping straight to each next candidate.
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(raw);
    std::uint64_t advance = 0;
    while (advance < reach) {
        const std::uint64_t at = static_cast<std::uint64_t>(start) + advance;
        const std::uint32_t low = static_cast<std::uint32_t>(at);
        const std::uint64_t rest = low % modulus;
        if (rest == 0 && at % pelAlign == 0) break;
        const std::uint64_t toNext = rest == 0 ? 1 : modulus - rest;
        advance += std::min(toNext, k4GiB - low);
    }
    ymAssert(advance < reach);
    if (advance >= reach) {
        ysys_memory_free_internal(raw);
        throw std::bad_alloc();
    }
    return {raw, static_cast<unsigned char*>(raw) + advance};
}

void yfFreePelBlock(void* raw) noexcept
{
    ysys_memory_free_internal(raw);
}

yc_PelPackage::~yc_PelPackage() = default;

ycPtrHandle<ycPelBlockPackage> ycPelBlockPackage::make(std::int32_t width, std::int32_t height, std::size_t pelSize,
                                                     std::int32_t alignModulus, std::size_t tailBytes)
{
    return ycPtrHandle<ycPelBlockPackage>(new ycPelBlockPackage(width, height, pelSize, alignModulus, tailBytes));
}

ycPelBlockPackage::ycPelBlockPackage(std::int32_t width, std::int32_t height, std::size_t pelSize,
                                     std::int32_t alignModulus, std::size_t tailBytes)
{
    ymAssert(width >= 1 && height >= 1 && alignModulus >= 1);
    ymAssert(pelSize == 1 || pelSize == 2 || pelSize == 4 || pelSize == 8);
    if (width < 1 || height < 1 || alignModulus < 1) return;
    if (pelSize != 1 && pelSize != 2 && pelSize != 4 && pelSize != 8) return;
    const std::int64_t rowUpdate = std::int64_t{width} + yc_PelRoot::padPelsNeeded(width, pelSize, alignModulus);
    if (rowUpdate > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    const std::uint64_t pels = static_cast<std::uint64_t>(rowUpdate) * static_cast<std::uint64_t>(height);
    const std::uint64_t limit = std::numeric_limits<std::size_t>::max();
    if (pels > limit / pelSize || pels * pelSize > limit - tailBytes) throw std::bad_alloc();
    const std::size_t size = static_cast<std::size_t>(pels * pelSize) + tailBytes;
    block_ = yfAllocPelBlock(size, alignModulus, std::min<std::size_t>(pelSize, kCoreAlign));
    byteSize_ = size;
    pelSize_ = pelSize;
    width_ = width;
    height_ = height;
    rowUpdate_ = static_cast<std::int32_t>(rowUpdate);
    alignModulus_ = alignModulus;
}

ycPelBlockPackage::~ycPelBlockPackage()
{
    yfFreePelBlock(block_.raw);
}

void* ycPelBlockPackage::supplyPels(yc_PelRoot&)
{
    return block_.pels;
}

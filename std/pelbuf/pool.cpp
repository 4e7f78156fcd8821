#include "std/pelbuf/pool.h"

#include "core/ycore.h"
#include "std/util/assert.h"
#include "std/util/debug.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr const char* kSourceName = ycSource::pbufCom;
constexpr const wchar_t* kOutstandingWarning = L"Warning: not all yc_PelRoot objects were released.";
constexpr std::size_t kSizeMax = std::numeric_limits<std::size_t>::max();

// Free-block header layout (see pool.h).
constexpr std::size_t kNextAt = 0;
constexpr std::size_t kGranulesAt = 8;
constexpr std::size_t kCheckAt = 16;
constexpr std::size_t kHeaderBytes = 20;
static_assert(sizeof(void*) <= kGranulesAt - kNextAt);
static_assert(kHeaderBytes <= ycBasicPelRootPool::kMinGranule);

struct PelLayout {
    std::size_t size = 0;
    std::size_t align = 1;
};

PelLayout singleArrayLayout(const std::type_info& type)
{
    PelLayout layout;
    ycPelTypes::visit(type, [&]<class T>(std::type_identity<T>) {
        if constexpr (yc_SingleArrayPelType<T>) layout = {sizeof(T), alignof(T)};
    });
    return layout;
}

std::size_t basicPelSize(const std::type_info& type)
{
    if (type == typeid(unsigned char)) return 1;
    if (type == typeid(ycPackedRGB16Pel)) return 2;
    if (type == typeid(ycPackedRGB32Pel)) return 4;
    return 0;
}

} // namespace

// --- ycPelRootPool ------------------------------------------------------------

ycPelRootPool::~ycPelRootPool() = default;

void ycPelRootPool::release(yc_PelRoot* root)
{
    notifyRelease(root);
    deletePelRoot(root);
}

void ycPelRootPool::deletePelRoot(yc_SlottedPelRoot* root)
{
    delete root;
}

yc_PooledPels ycPelRootPool::lend(std::int32_t width, std::int32_t height, const std::type_info& pelType)
{
    ymAssert(width >= 1 && height >= 1);
    // Roots share their pool: the first to go would delete a pool that no
    // handle holds.
    ymAssert(refCount() > 0);
    yc_PelSlot slot;
    if (width < 1 || height < 1 || refCount() <= 0 || !takeSlot(width, height, pelType, slot))
        return yc_PooledPels(yc_PoolKey(), nullptr, {});
    return yc_PooledPels(yc_PoolKey(), ycPtrHandle<ycPelRootPool>(this), slot);
}

ycPtrHandle<yc_PelRoot> ycPelRootPool::newPelRoot(std::int32_t width, std::int32_t height,
                                                  const std::type_info* pelType)
{
    ymAssert(pelType != nullptr);
    if (!pelType || !makes(*pelType)) return {};
    ycPtrHandle<yc_PelRoot> root;
    ycPelTypes::visit(*pelType, [&]<class T>(std::type_identity<T>) { root = newRoot<T>(width, height); });
    return root;
}

// --- ycBasicPelRootPool -------------------------------------------------------

struct ycBasicPelRootPool::Header {
    unsigned char* next = nullptr;
    std::uint64_t granules = 0;
    std::uint32_t check = 0;
};

ycBasicPelRootPool::ycBasicPelRootPool(std::size_t size, std::size_t granule)
    : granule_(std::max(kMinGranule, granule))
{
    this->size(size);
}

ycBasicPelRootPool::~ycBasicPelRootPool()
{
    shutdown();
}

ycBasicPelRootPool::Header ycBasicPelRootPool::readHeader(const unsigned char* at) const
{
    Header h;
    std::memcpy(&h.next, at + kNextAt, sizeof h.next);
    std::memcpy(&h.granules, at + kGranulesAt, sizeof h.granules);
    std::memcpy(&h.check, at + kCheckAt, sizeof h.check);
    ymAssert(h.check == kCheckWord);
    return h;
}

void ycBasicPelRootPool::writeHeader(unsigned char* at, unsigned char* next, std::uint64_t granules)
{
    std::memcpy(at + kNextAt, &next, sizeof next);
    std::memcpy(at + kGranulesAt, &granules, sizeof granules);
    std::memcpy(at + kCheckAt, &kCheckWord, sizeof kCheckWord);
}

void* ycBasicPelRootPool::allocMem(std::size_t bytes)
{
    return ::operator new(bytes);
}

void ycBasicPelRootPool::freeMem(void* block)
{
    ::operator delete(block);
}

void ycBasicPelRootPool::dropMemory()
{
    void* mem = std::exchange(mem_, nullptr);
    base_ = head_ = nullptr;
    granules_ = free_ = 0;
    freeMem(mem);
}

std::size_t ycBasicPelRootPool::size() const
{
    std::lock_guard<std::mutex> guard(lock_);
    return static_cast<std::size_t>(granules_) * granule_;
}

void ycBasicPelRootPool::size(std::size_t bytes)
{
    std::lock_guard<std::mutex> guard(lock_);
    // No per-size free lists are kept, so there is nothing to flush first.
    if (mem_) {
        if (free_ != granules_) throw Outstanding();
        const bool whole = head_ == base_ && readHeader(head_).granules == granules_;
        ymAssert(whole);
        if (!whole) throw Outstanding();
        dropMemory();
    }
    if (bytes == 0) return;
    const std::uint64_t count = bytes / granule_ + (bytes % granule_ != 0 ? 1 : 0);
    if (count > kSizeMax / granule_) throw std::bad_alloc();
    const std::size_t rounded = static_cast<std::size_t>(count) * granule_;
    void* mem = allocMem(rounded);
    if (!mem) throw std::bad_alloc();
    unsigned char* base = static_cast<unsigned char*>(mem);
    if (reinterpret_cast<std::uintptr_t>(mem) % granule_ != 0) {
        freeMem(mem);
        if (rounded > kSizeMax - (granule_ - 1)) throw std::bad_alloc();
        mem = allocMem(rounded + granule_ - 1);
        if (!mem) throw std::bad_alloc();
        const std::size_t misfit = reinterpret_cast<std::uintptr_t>(mem) % granule_;
        base = static_cast<unsigned char*>(mem) + (misfit == 0 ? 0 : granule_ - misfit);
    }
    mem_ = mem;
    base_ = head_ = base;
    granules_ = free_ = count;
    writeHeader(base_, nullptr, count);
}

bool ycBasicPelRootPool::allocPels(std::size_t bytes, yc_PelSlot& slot)
{
    const std::uint64_t needed = std::max<std::uint64_t>(1, bytes / granule_ + (bytes % granule_ != 0 ? 1 : 0));
    std::lock_guard<std::mutex> guard(lock_);
    unsigned char* prev = nullptr;
    Header prevHeader;
    for (unsigned char* at = head_; at != nullptr;) {
        const Header h = readHeader(at);
        if (h.check != kCheckWord) return false; // the list is broken past here
        if (h.granules >= needed) {
            unsigned char* after = h.next;
            if (h.granules > needed) {
                after = at + needed * granule_;
                writeHeader(after, h.next, h.granules - needed);
            }
            if (prev) {
                writeHeader(prev, after, prevHeader.granules);
            } else {
                head_ = after;
            }
            free_ -= needed;
            slot.address = at;
            slot.granules = needed;
            return true;
        }
        prev = at;
        prevHeader = h;
        at = h.next;
    }
    return false;
}

void ycBasicPelRootPool::freePels(const yc_PelSlot& slot)
{
    std::lock_guard<std::mutex> guard(lock_);
    const auto at = reinterpret_cast<std::uintptr_t>(slot.address);
    const auto base = reinterpret_cast<std::uintptr_t>(base_);
    const std::uint64_t from = at - base;
    const bool inside = base_ != nullptr && at >= base && from % granule_ == 0 && from / granule_ < granules_ &&
                        slot.granules >= 1 && slot.granules <= granules_ - from / granule_;
    ymAssert(inside);
    if (!inside) return;

    unsigned char* block = base_ + from;
    unsigned char* end = block + slot.granules * granule_;
    unsigned char* prev = nullptr;
    Header prevHeader;
    unsigned char* next = head_;
    while (next != nullptr && next < block) {
        const Header h = readHeader(next);
        if (h.check != kCheckWord) return;
        prev = next;
        prevHeader = h;
        next = h.next;
    }
    // A block that overlaps a free one was freed twice (or never taken).
    const bool clear = (!prev || prev + prevHeader.granules * granule_ <= block) && (!next || end <= next);
    ymAssert(clear);
    if (!clear) return;

    std::uint64_t granules = slot.granules;
    unsigned char* after = next;
    if (next == end) {
        const Header h = readHeader(next);
        granules += h.granules;
        after = h.next;
    }
    if (prev && prev + prevHeader.granules * granule_ == block) {
        writeHeader(prev, after, prevHeader.granules + granules);
    } else {
        writeHeader(block, after, granules);
        if (prev) {
            writeHeader(prev, block, prevHeader.granules);
        } else {
            head_ = block;
        }
    }
    free_ += slot.granules;
}

void ycBasicPelRootPool::freeSlot(const yc_PelSlot& slot) noexcept
{
    try {
        freePels(slot);
    } catch (...) {
        // Reported by the assertion; a root's destructor must not throw.
    }
}

std::vector<ycBasicPelRootPool::FreeBlock> ycBasicPelRootPool::freeList() const
{
    std::lock_guard<std::mutex> guard(lock_);
    std::vector<FreeBlock> out;
    for (unsigned char* at = head_; at != nullptr;) {
        const Header h = readHeader(at);
        if (h.check != kCheckWord) break;
        out.push_back({static_cast<std::size_t>(at - base_), h.granules});
        at = h.next;
    }
    return out;
}

std::uint64_t ycBasicPelRootPool::granulesOut() const
{
    std::lock_guard<std::mutex> guard(lock_);
    return granules_ - free_;
}

void ycBasicPelRootPool::shutdown() noexcept
{
    std::lock_guard<std::mutex> guard(lock_);
    if (!mem_) return;
    if (free_ != granules_) yfDebugLine(kOutstandingWarning);
    try {
        dropMemory();
    } catch (...) {
        // Reported by the assertion of a derived freeMem.
    }
}

bool ycBasicPelRootPool::takeSlot(std::int32_t width, std::int32_t height, const std::type_info& pelType,
                                  yc_PelSlot& slot)
{
    const std::size_t pelSize = basicPelSize(pelType);
    if (pelSize == 0) return false;
    // Below 2^64 for any two 32-bit sizes and pels of up to 4 bytes.
    const std::uint64_t bytes = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * pelSize;
    return bytes <= kSizeMax && allocPels(static_cast<std::size_t>(bytes), slot);
}

bool ycBasicPelRootPool::makes(const std::type_info& pelType) const
{
    return basicPelSize(pelType) != 0;
}

// --- the process pool allocator and the default pool --------------------------

void* yfPoolAlloc(std::size_t size)
{
    struct Held {
        std::mutex lock;
        void* block = nullptr;
    };
    static Held* held = new Held; // never destroyed: pools may give blocks back at exit
    std::lock_guard<std::mutex> guard(held->lock);
    if (size == 0) {
        ysys_memory_free_internal(std::exchange(held->block, nullptr));
        return nullptr;
    }
    ymAssert(held->block == nullptr);
    if (held->block) return nullptr;
    void* block = nullptr;
    if (ysys_memory_alloc64_internal(&block, size, 64, kSourceName, __LINE__) < 0) return nullptr;
    held->block = block;
    return block;
}

std::size_t yfDefaultPelRootPoolSize()
{
    return 0x1000000;
}

ycDefaultPelRootPool::ycDefaultPelRootPool(std::size_t size, std::size_t granule) : ycBasicPelRootPool(0, granule)
{
    // Sized here, not by the base, so that the base reaches this allocMem.
    this->size(size);
}

ycDefaultPelRootPool::~ycDefaultPelRootPool()
{
    shutdown();
}

void* ycDefaultPelRootPool::allocMem(std::size_t bytes)
{
    ymAssert(held_ == nullptr);
    if (held_) throw std::bad_alloc();
    void* block = yfPoolAlloc(bytes);
    if (!block) throw std::bad_alloc();
    held_ = block;
    return block;
}

void ycDefaultPelRootPool::freeMem(void* block)
{
    ymAssert(block != nullptr && block == held_);
    if (!block || block != held_) return;
    yfPoolAlloc(0);
    held_ = nullptr;
}

namespace {

ycDefaultPelRootPool& processPool()
{
    static ycPtrHandle<ycPelRootPool>* pool = new ycPtrHandle<ycPelRootPool>(new ycDefaultPelRootPool());
    return static_cast<ycDefaultPelRootPool&>(**pool);
}

} // namespace

ycPtrHandle<ycPelRootPool> yfDefaultPelRootPool()
{
    return ycPtrHandle<ycPelRootPool>(&processPool());
}

ycPtrHandle<ycPelRootPool> yfDefaultPelRootPool(std::size_t size)
{
    ycDefaultPelRootPool& pool = processPool();
    const std::size_t granule = pool.granule();
    const std::size_t wanted = size / granule * granule + (size % granule != 0 ? granule : 0);
    if (pool.size() != wanted) pool.size(size);
    return ycPtrHandle<ycPelRootPool>(&pool);
}

// --- ycDiscretePelRootPool ----------------------------------------------------

ycDiscretePelRootPool::ycDiscretePelRootPool(std::int32_t pelSize, const std::vector<void*>& pelArrays,
                                             std::int32_t width, std::int32_t height)
    : ycDiscretePelRootPool(pelSize, pelArrays.data(), static_cast<std::int32_t>(pelArrays.size()), width, height)
{
}

ycDiscretePelRootPool::ycDiscretePelRootPool(std::int32_t pelSize, void* const* pelArrays, std::int32_t count,
                                             std::int32_t width, std::int32_t height)
    : pelSize_(pelSize), width_(width), height_(height)
{
    ymAssert(pelSize == 1 || pelSize == 2 || pelSize == 4 || pelSize == 8);
    ymAssert(width >= 1 && height >= 1 && count >= 0);
    ymAssert(count == 0 || pelArrays != nullptr);
    if (count <= 0 || !pelArrays) return;
    for (std::int32_t i = 0; i < count; ++i) registerArray(pelArrays[i]);
}

ycDiscretePelRootPool::~ycDiscretePelRootPool()
{
    if (std::find(inUse_.begin(), inUse_.end(), true) != inUse_.end()) yfDebugLine(kOutstandingWarning);
}

void ycDiscretePelRootPool::registerArray(void* pels)
{
    ymAssert(pels != nullptr);
    const bool fresh = std::find(arrays_.begin(), arrays_.end(), pels) == arrays_.end();
    ymAssert(fresh);
    if (!pels || !fresh) return;
    arrays_.push_back(pels);
    inUse_.push_back(false);
}

bool ycDiscretePelRootPool::makes(const std::type_info& pelType) const
{
    return singleArrayLayout(pelType).size == static_cast<std::size_t>(pelSize_);
}

bool ycDiscretePelRootPool::takeSlot(std::int32_t width, std::int32_t height, const std::type_info& pelType,
                                     yc_PelSlot& slot)
{
    const PelLayout layout = singleArrayLayout(pelType);
    if (layout.size != static_cast<std::size_t>(pelSize_)) return false;
    if (std::int64_t{width} * height > std::int64_t{width_} * height_) return false;
    std::lock_guard<std::mutex> guard(lock_);
    for (std::size_t i = 0; i < arrays_.size(); ++i) {
        if (!inUse_[i] && reinterpret_cast<std::uintptr_t>(arrays_[i]) % layout.align == 0) {
            inUse_[i] = true;
            slot = {arrays_[i], 1};
            return true;
        }
    }
    return false;
}

std::size_t ycDiscretePelRootPool::size() const
{
    return arrays_.size() * static_cast<std::size_t>(pelSize_) * static_cast<std::size_t>(width_) *
           static_cast<std::size_t>(height_);
}

void ycDiscretePelRootPool::size(std::size_t bytes)
{
    ymAssert(bytes == size());
}

void ycDiscretePelRootPool::freeSlot(const yc_PelSlot& slot) noexcept
{
    std::lock_guard<std::mutex> guard(lock_);
    auto it = std::find(arrays_.begin(), arrays_.end(), slot.address);
    if (it != arrays_.end()) inUse_[static_cast<std::size_t>(it - arrays_.begin())] = false;
}

// Pel-root pools.
//
// A pool hands out roots whose pels lie in memory it manages, and takes each
// back when its last handle goes (handles count through yc_PelRoot, which
// knows the root's pool). A pooled root is an ordinary ycPelRoot<T> over pool
// memory with alignment modulus 1, so its row update is its width; it stores
// and loads like any root.
//
//     ycPtrHandle<ycPelRootPool> pool = yfDefaultPelRootPool();
//     ycPtrHandle<ycPelRoot<unsigned char>> root = pool->newRoot<unsigned char>(640, 480);
//     if (!root) ... // no room left
//
// Pools are counted objects that live on the heap: make one with
// yfMakeHandle<ycBasicPelRootPool>(size, granule) (or new, straight into a
// ycPtrHandle). Every root out holds a share of its pool, so a pool outlives
// the roots it made; a pool that no handle holds (one on the stack) hands out
// no roots: the request is an assertion and null, and nothing is deleted.
// Its own granule calls (allocPels, freePels) need no handle. A pool may be
// used from many threads; roots may go back from any thread.
//
// A derived pool supplies memory only: takeSlot reserves it for a request and
// freeSlot takes it back; the base makes the root over it, and the root gives
// its slot back when it goes.
//
// newRoot<T> throws NotSupported for a pel type the pool does not make, and
// returns null when no memory is free for the request. Resizing a pool while
// roots are out throws Outstanding.
//
// ycBasicPelRootPool manages one block in granules (at least 24 bytes) and
// makes unsigned char, ycPackedRGB16Pel and ycPackedRGB32Pel roots. Free
// blocks form a list in ascending address order; each begins with a header:
//   offset 0   next free block (pointer)
//   offset 8   length in granules (unsigned 64-bit)
//   offset 16  check word 0x12344321 (32-bit)
// read and written with memcpy, so a granule of any size is safe. A request
// takes the first block that fits, split at the front; a freed block merges
// with its neighbours on both sides. A header with a wrong check word is an
// assertion. When the pool goes away with granules out, the debug stream gets
// "Warning: not all yc_PelRoot objects were released." and the memory is
// released anyway.
//
// ycDefaultPelRootPool takes its one block from the process pool allocator
// (yfPoolAlloc), which hands out one block at a time. yfDefaultPelRootPool()
// is the process default pool, 16 MiB in granules of 64 bytes, made on first
// use and kept for the life of the process; yfDefaultPelRootPool(size) is the
// same pool, resized first when it holds another size.
//
// ycDiscretePelRootPool hands out caller-supplied arrays, one root per array.
// Its three numbers are the pel size in bytes and the width and height in
// pels that every array holds at least; it makes any one-array pel type of
// that size, for requests of at most width x height pels, and skips arrays
// not aligned for the type asked.
//
// Not built: lanes, and waiting for a root to come back; a request that does
// not fit returns null at once.
#ifndef TLVSTD_PELBUF_POOL_H
#define TLVSTD_PELBUF_POOL_H

#include "std/except/except.h"
#include "std/pelbuf/pelroot.h"
#include "std/util/handle.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <typeinfo>
#include <vector>

// A root that a pool handed out: an ordinary root whose slot tells where in
// the pool its pels lie.
using yc_SlottedPelRoot = yc_PelRoot;

class TLVSTD_API ycPelRootPool : public ycRepBase {
public:
    ymErrorGroup(ycException);
    ymError(NotSupported, Errors);
    ymError(Outstanding, Errors);

    ~ycPelRootPool() override;
    ycPelRootPool(const ycPelRootPool&) = delete;
    ycPelRootPool& operator=(const ycPelRootPool&) = delete;

    // A new root, or null when no memory is free for it.
    template <ycPelType T>
    ycPtrHandle<ycPelRoot<T>> newRoot(std::int32_t width, std::int32_t height)
    {
        if (!makes(typeid(T))) throw NotSupported();
        if constexpr (yc_SingleArrayPelType<T>) {
            yc_PooledPels pels = lend(width, height, typeid(T));
            if (pels.pool()) return ycPtrHandle<ycPelRoot<T>>(new ycPelRoot<T>(width, height, std::move(pels)));
        }
        return {};
    }

    // The same for a pel type known at run time; null also for a type the
    // pool does not make.
    ycPtrHandle<yc_PelRoot> newPelRoot(std::int32_t width, std::int32_t height, const std::type_info* pelType);
    virtual bool makes(const std::type_info& pelType) const = 0;
    // Bytes the pool manages.
    virtual std::size_t size() const = 0;
    virtual void size(std::size_t bytes) = 0;
    virtual bool multiProcessPelRoots() const { return false; }
    virtual bool videoPelRoots() const { return false; }

protected:
    ycPelRootPool() = default;

    // A root of this pool whose count reached 0 comes back.
    virtual void release(yc_PelRoot* root);
    virtual void notifyRelease(yc_PelRoot*) {}
    // Destroys the root; its destructor gives the slot back.
    virtual void deletePelRoot(yc_SlottedPelRoot* root);
    // Reserves memory for width x height pels of `pelType`, a type the pool
    // makes; false when none is free.
    virtual bool takeSlot(std::int32_t width, std::int32_t height, const std::type_info& pelType,
                          yc_PelSlot& slot) = 0;
    virtual void freeSlot(const yc_PelSlot& slot) noexcept = 0;

private:
    friend class yc_PooledPels;
    friend void yfDestroyPelRoot(const yc_PelRoot* root);

    // Pels for a new root, with a share of this pool; none when the request
    // cannot be served.
    yc_PooledPels lend(std::int32_t width, std::int32_t height, const std::type_info& pelType);
};

class TLVSTD_API ycBasicPelRootPool : public ycPelRootPool {
public:
    static constexpr std::size_t kMinGranule = 24;
    static constexpr std::uint32_t kCheckWord = 0x12344321;

    struct FreeBlock {
        std::size_t offset = 0; // bytes from the start of the pool
        std::uint64_t granules = 0;
        friend bool operator==(const FreeBlock&, const FreeBlock&) = default;
    };

    ycBasicPelRootPool(std::size_t size, std::size_t granule);
    ~ycBasicPelRootPool() override;

    bool makes(const std::type_info& pelType) const override;
    std::size_t size() const override;
    // Gives the memory back and takes `bytes` (rounded up to granules; 0 for
    // none) instead.
    void size(std::size_t bytes) override;

    std::size_t granule() const { return granule_; }
    // Takes ceil(bytes / granule) granules (at least one); false when no free
    // block is long enough.
    bool allocPels(std::size_t bytes, yc_PelSlot& slot);
    void freePels(const yc_PelSlot& slot);
    std::vector<FreeBlock> freeList() const;
    std::uint64_t granulesOut() const;

protected:
    virtual void* allocMem(std::size_t bytes);
    virtual void freeMem(void* block);
    bool takeSlot(std::int32_t width, std::int32_t height, const std::type_info& pelType, yc_PelSlot& slot) override;
    void freeSlot(const yc_PelSlot& slot) noexcept override;
    // Warns when granules are out and gives the memory back. A derived pool
    // with its own freeMem calls this from its destructor.
    void shutdown() noexcept;

private:
    struct Header;
    Header readHeader(const unsigned char* at) const;
    void writeHeader(unsigned char* at, unsigned char* next, std::uint64_t granules);
    void dropMemory();

    mutable std::mutex lock_;
    std::size_t granule_;
    void* mem_ = nullptr;           // as allocMem gave it
    unsigned char* base_ = nullptr; // first granule
    std::uint64_t granules_ = 0;
    std::uint64_t free_ = 0;
    unsigned char* head_ = nullptr; // first free block
};

// The process pool allocator: yfPoolAlloc(n > 0) returns a block of n bytes,
// aligned to 64, or null; yfPoolAlloc(0) releases the block out and returns
// null. One block at a time: asking for a second is an assertion (and null).
TLVSTD_API void* yfPoolAlloc(std::size_t size);

TLVSTD_API std::size_t yfDefaultPelRootPoolSize();

class TLVSTD_API ycDefaultPelRootPool : public ycBasicPelRootPool {
public:
    static constexpr std::size_t kGranule = 64;

    explicit ycDefaultPelRootPool(std::size_t size = yfDefaultPelRootPoolSize(), std::size_t granule = kGranule);
    ~ycDefaultPelRootPool() override;

protected:
    void* allocMem(std::size_t bytes) override;
    void freeMem(void* block) override;

private:
    void* held_ = nullptr;
};

TLVSTD_API ycPtrHandle<ycPelRootPool> yfDefaultPelRootPool();
TLVSTD_API ycPtrHandle<ycPelRootPool> yfDefaultPelRootPool(std::size_t size);

class TLVSTD_API ycDiscretePelRootPool : public ycPelRootPool {
public:
    ycDiscretePelRootPool(std::int32_t pelSize, const std::vector<void*>& pelArrays, std::int32_t width,
                          std::int32_t height);
    ycDiscretePelRootPool(std::int32_t pelSize, void* const* pelArrays, std::int32_t count, std::int32_t width,
                          std::int32_t height);
    ~ycDiscretePelRootPool() override;

    bool makes(const std::type_info& pelType) const override;
    std::size_t size() const override;
    // The arrays are the caller's: asking for another size is an assertion.
    void size(std::size_t bytes) override;

    const std::vector<void*>& pelArrays() const { return arrays_; }
    std::int32_t pelSize() const { return pelSize_; }
    std::int32_t width() const { return width_; }
    std::int32_t height() const { return height_; }

protected:
    bool takeSlot(std::int32_t width, std::int32_t height, const std::type_info& pelType, yc_PelSlot& slot) override;
    void freeSlot(const yc_PelSlot& slot) noexcept override;

private:
    void registerArray(void* pels);

    mutable std::mutex lock_;
    std::int32_t pelSize_;
    std::int32_t width_;
    std::int32_t height_;
    std::vector<void*> arrays_;
    std::vector<bool> inUse_;
};

#endif

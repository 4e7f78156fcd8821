// Memory entry points of the core: aligned blocks with signed statuses.
#include "core/ycore.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kMinAlign = 16;

// The alignment of each block is kept in front of it, so that freeing needs
// only the address.
struct alignas(kMinAlign) Header {
    std::size_t align;
    std::size_t reserved;
};
static_assert(sizeof(Header) == kMinAlign);

std::atomic<std::int64_t> gOutstanding{0};

bool isPowerOfTwo(std::size_t v) { return v != 0 && (v & (v - 1)) == 0; }

} // namespace

extern "C" {

int ysys_memory_alloc64_internal(void** out, std::uint64_t size, std::size_t align, const char*, int)
{
    if (!out) return YSTD_ERR_BAD_ARGUMENT;
    *out = nullptr;
    if (align < kMinAlign || !isPowerOfTwo(align)) align = kMinAlign;
    // The header sits in the `align` bytes before the block.
    if (size > std::numeric_limits<std::size_t>::max() - align) return YSTD_ERR_NO_MEMORY;
    void* raw = ::operator new(static_cast<std::size_t>(size) + align, std::align_val_t(align), std::nothrow);
    if (!raw) return YSTD_ERR_NO_MEMORY;
    auto* block = static_cast<unsigned char*>(raw) + align;
    auto* header = reinterpret_cast<Header*>(block - sizeof(Header));
    header->align = align;
    ++gOutstanding;
    *out = block;
    return YSTD_OK;
}

int ysys_memory_alloc_internal(void** out, std::size_t size, const char* file, int line)
{
    return ysys_memory_alloc64_internal(out, size, kMinAlign, file, line);
}

int ysys_memory_free_internal(void* block)
{
    if (!block) return YSTD_OK;
    auto* bytes = static_cast<unsigned char*>(block);
    std::size_t align = reinterpret_cast<Header*>(bytes - sizeof(Header))->align;
    ::operator delete(bytes - align, std::align_val_t(align));
    --gOutstanding;
    return YSTD_OK;
}

std::int64_t ysys_memory_outstanding(void)
{
    return gOutstanding.load();
}

} // extern "C"

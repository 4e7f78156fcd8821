#include "std/archive/memarchive.h"

#include "std/util/assert.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <cstring>
#include <limits>

namespace {
constexpr const char* kSourceName = ycSource::archive;
}

yc_MemoryBuffer::yc_MemoryBuffer(const char* data, std::size_t size) : data_(const_cast<char*>(data)), size_(size)
{
    setg(data_, data_, data_ + size_); // the get area is only read
}

yc_MemoryBuffer::~yc_MemoryBuffer()
{
    if (capacity_) std::free(data_);
}

std::size_t yc_MemoryBuffer::end() const
{
    return std::max(size_, putAt());
}

void yc_MemoryBuffer::setAreas(std::size_t get, std::size_t put)
{
    size_ = std::max(size_, put);
    setg(data_, data_ + get, data_ + size_);
    if (!capacity_) return;
    setp(data_, data_ + capacity_);
    // pbump takes an int: advance in steps for very large buffers.
    for (std::size_t left = put; left > 0;) {
        auto step = static_cast<int>(std::min<std::size_t>(left, std::numeric_limits<int>::max()));
        pbump(step);
        left -= static_cast<std::size_t>(step);
    }
}

void yc_MemoryBuffer::reserve(std::size_t capacity)
{
    std::size_t get = getAt(), put = putAt(), held = end();
    if (capacity <= capacity_) return;
    std::size_t grown = std::max({capacity, held, capacity_ * 2, std::size_t(256)});
    char* fresh = static_cast<char*>(capacity_ ? std::realloc(data_, grown) : std::malloc(grown));
    if (!fresh) throw std::bad_alloc();
    if (!capacity_ && held) std::memcpy(fresh, data_, held); // leave the caller's block
    data_ = fresh;
    capacity_ = grown;
    size_ = held;
    setAreas(get, put);
}

yc_MemoryBuffer::int_type yc_MemoryBuffer::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    char byte = traits_type::to_char_type(c);
    xsputn(&byte, 1);
    return c;
}

std::streamsize yc_MemoryBuffer::xsputn(const char* s, std::streamsize n)
{
    auto count = static_cast<std::size_t>(n);
    if (!pbase() || static_cast<std::size_t>(epptr() - pptr()) < count) reserve(putAt() + count);
    std::memcpy(pptr(), s, count);
    if (count <= static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        pbump(static_cast<int>(count));
    } else {
        setAreas(getAt(), putAt() + count);
    }
    return n;
}

yc_MemoryBuffer::int_type yc_MemoryBuffer::underflow()
{
    std::size_t get = getAt();
    setAreas(get, putAt());
    return get < size_ ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

std::streamsize yc_MemoryBuffer::xsgetn(char* s, std::streamsize n)
{
    auto count = static_cast<std::size_t>(n);
    if (static_cast<std::size_t>(egptr() - gptr()) < count) underflow();
    count = std::min(count, static_cast<std::size_t>(egptr() - gptr()));
    std::memcpy(s, gptr(), count);
    setg(eback(), gptr() + count, egptr());
    return static_cast<std::streamsize>(count);
}

yc_MemoryBuffer::pos_type yc_MemoryBuffer::seekoff(off_type off, std::ios_base::seekdir dir,
                                                   std::ios_base::openmode which)
{
    bool out = (which & std::ios_base::out) != 0;
    std::size_t from = dir == std::ios_base::beg ? 0 : dir == std::ios_base::end ? end() : out ? putAt() : getAt();
    return seekpos(pos_type(static_cast<off_type>(from) + off), which);
}

yc_MemoryBuffer::pos_type yc_MemoryBuffer::seekpos(pos_type pos, std::ios_base::openmode which)
{
    off_type at = pos;
    if (at < 0) return pos_type(off_type(-1));
    auto target = static_cast<std::size_t>(at);
    std::size_t get = getAt(), put = putAt();
    if (which & std::ios_base::out) {
        // Seeking past the end makes the room real, as zero bytes.
        std::size_t held = end();
        reserve(target);
        if (target > held) std::memset(data_ + held, 0, target - held);
        size_ = std::max(held, target);
        put = target;
    }
    if (which & std::ios_base::in) {
        if (target > end()) return pos_type(off_type(-1));
        get = target;
    }
    setAreas(get, put);
    return pos;
}

ycMemoryArchive::ycMemoryArchive(Ordering ordering, bool seekable)
    : ycArchive(&buffer_, storing, ordering, seekable, false)
{
    start();
}

ycMemoryArchive::ycMemoryArchive(const char* data, std::int32_t size, bool seekable, bool takeOwnership)
    : ycArchive(&buffer_, loading, littleEndian, seekable, true),
      owned_(takeOwnership ? data : nullptr),
      buffer_(data, static_cast<std::size_t>(std::max<std::int32_t>(size, 0)))
{
    ymAssert(data != nullptr && size >= 0);
    start();
}

ycMemoryArchive::~ycMemoryArchive()
{
    finish();
}

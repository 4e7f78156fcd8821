#include "std/archive/memarchive.h"

#include "std/util/assert.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {
constexpr const char* kSourceName = ycSource::archive;
}

yc_MemoryBuffer::yc_MemoryBuffer(const char* data, std::size_t size) : block_(data), size_(size)
{
    char* p = const_cast<char*>(data); // the get area is only read
    setg(p, p, p + size);
}

std::span<const char> yc_MemoryBuffer::bytes() const
{
    return {block_ ? block_ : own_.data(), end()};
}

std::size_t yc_MemoryBuffer::end() const
{
    if (!pbase()) return size_;
    return std::max(size_, static_cast<std::size_t>(pptr() - pbase()));
}

void yc_MemoryBuffer::setAreas(std::size_t getAt, std::size_t putAt)
{
    size_ = std::max(size_, putAt);
    if (block_) {
        char* p = const_cast<char*>(block_);
        setg(p, p + getAt, p + size_);
        return;
    }
    setg(base(), base() + getAt, base() + size_);
    setp(base(), base() + own_.size());
    // pbump takes an int: advance in steps for very large buffers.
    for (std::size_t left = putAt; left > 0;) {
        auto step = static_cast<int>(std::min<std::size_t>(left, std::numeric_limits<int>::max()));
        pbump(step);
        left -= static_cast<std::size_t>(step);
    }
}

void yc_MemoryBuffer::makeWritable(std::size_t capacity)
{
    std::size_t getAt = static_cast<std::size_t>(gptr() - eback());
    std::size_t putAt = pbase() ? static_cast<std::size_t>(pptr() - pbase()) : 0;
    std::size_t held = end();
    if (block_) {
        own_.assign(block_, block_ + size_);
        block_ = nullptr;
    }
    if (capacity > own_.size()) own_.resize(std::max({capacity, own_.size() * 2, std::size_t(256)}));
    size_ = held;
    setAreas(getAt, putAt);
}

yc_MemoryBuffer::int_type yc_MemoryBuffer::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    std::size_t putAt = pbase() ? static_cast<std::size_t>(pptr() - pbase()) : 0;
    makeWritable(putAt + 1);
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
    return c;
}

std::streamsize yc_MemoryBuffer::xsputn(const char* s, std::streamsize n)
{
    auto count = static_cast<std::size_t>(n);
    if (!pbase() || static_cast<std::size_t>(epptr() - pptr()) < count) {
        std::size_t putAt = pbase() ? static_cast<std::size_t>(pptr() - pbase()) : 0;
        makeWritable(putAt + count);
    }
    std::memcpy(pptr(), s, count);
    pbump(static_cast<int>(count)); // callers write at most a few MiB at a time
    return n;
}

yc_MemoryBuffer::int_type yc_MemoryBuffer::underflow()
{
    std::size_t held = end();
    std::size_t getAt = static_cast<std::size_t>(gptr() - eback());
    if (getAt >= held) return traits_type::eof();
    const char* first = block_ ? block_ : own_.data();
    char* p = const_cast<char*>(first);
    size_ = held;
    setg(p, p + getAt, p + held);
    return traits_type::to_int_type(*gptr());
}

std::streamsize yc_MemoryBuffer::xsgetn(char* s, std::streamsize n)
{
    std::size_t avail = static_cast<std::size_t>(egptr() - gptr());
    if (avail < static_cast<std::size_t>(n)) {
        if (traits_type::eq_int_type(underflow(), traits_type::eof())) return 0;
        avail = static_cast<std::size_t>(egptr() - gptr());
    }
    std::size_t count = std::min(avail, static_cast<std::size_t>(n));
    std::memcpy(s, gptr(), count);
    gbump(static_cast<int>(count));
    return static_cast<std::streamsize>(count);
}

yc_MemoryBuffer::pos_type yc_MemoryBuffer::seekoff(off_type off, std::ios_base::seekdir dir,
                                                   std::ios_base::openmode which)
{
    bool out = (which & std::ios_base::out) != 0;
    off_type from = 0;
    if (dir == std::ios_base::cur) {
        from = out ? (pbase() ? pptr() - pbase() : 0) : gptr() - eback();
    } else if (dir == std::ios_base::end) {
        from = static_cast<off_type>(end());
    }
    return seekpos(pos_type(from + off), which);
}

yc_MemoryBuffer::pos_type yc_MemoryBuffer::seekpos(pos_type pos, std::ios_base::openmode which)
{
    off_type at = pos;
    if (at < 0) return pos_type(off_type(-1));
    auto target = static_cast<std::size_t>(at);
    std::size_t getAt = static_cast<std::size_t>(gptr() - eback());
    std::size_t putAt = pbase() ? static_cast<std::size_t>(pptr() - pbase()) : 0;
    if (which & std::ios_base::out) {
        // Seeking past the end makes the room real, as zero bytes.
        if (block_ || target > own_.size()) makeWritable(target);
        size_ = std::max(end(), target);
        putAt = target;
    }
    if (which & std::ios_base::in) {
        if (target > end()) return pos_type(off_type(-1));
        getAt = target;
    }
    std::size_t held = end();
    size_ = held;
    if (block_) {
        char* p = const_cast<char*>(block_);
        setg(p, p + getAt, p + held);
    } else if (!own_.empty()) {
        setAreas(getAt, putAt);
    }
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

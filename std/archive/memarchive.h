// Archives in memory.
//
// The storing form writes into a buffer of its own that grows as needed;
// storage() shows the bytes written so far. The loading form reads a caller's
// block in place, and with takeOwnership deletes it (array delete) when it
// goes away; ownership passes at the call, so the block is freed even when
// the constructor throws on a bad header.
#ifndef TLVSTD_ARCHIVE_MEMARCHIVE_H
#define TLVSTD_ARCHIVE_MEMARCHIVE_H

#include "std/archive/archive.h"

#include <memory>
#include <span>
#include <streambuf>
#include <vector>

// A stream buffer over memory that reads and writes the same bytes, seeks
// anywhere inside them, and grows with zero bytes when a seek goes past the
// end. Its own storage grows in place where the allocator can (realloc), so a
// large archive is not copied and touched again at every doubling.
class TLVSTD_API yc_MemoryBuffer : public std::streambuf {
public:
    yc_MemoryBuffer() = default;
    // Reads `size` bytes at `data` in place; the first write copies them.
    yc_MemoryBuffer(const char* data, std::size_t size);
    ~yc_MemoryBuffer() override;
    yc_MemoryBuffer(const yc_MemoryBuffer&) = delete;
    yc_MemoryBuffer& operator=(const yc_MemoryBuffer&) = delete;

    std::span<const char> bytes() const { return {data_, end()}; }

protected:
    int_type overflow(int_type c) override;
    int_type underflow() override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    std::streamsize xsgetn(char* s, std::streamsize n) override;
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

private:
    std::size_t end() const; // bytes held, including what the put area added
    std::size_t putAt() const { return pbase() ? static_cast<std::size_t>(pptr() - pbase()) : 0; }
    std::size_t getAt() const { return static_cast<std::size_t>(gptr() - eback()); }
    // Owns at least `capacity` bytes, keeping what is held and both positions.
    void reserve(std::size_t capacity);
    void setAreas(std::size_t get, std::size_t put);

    char* data_ = nullptr;
    std::size_t size_ = 0;     // bytes held, as of the last area update
    std::size_t capacity_ = 0; // 0 while reading the caller's block in place
};

class TLVSTD_API ycMemoryArchive : public ycArchive {
public:
    // Storing into a growable buffer.
    explicit ycMemoryArchive(Ordering ordering = littleEndian, bool seekable = false);
    // Loading `size` bytes at `data` (null data or a negative size is an assertion).
    ycMemoryArchive(const char* data, std::int32_t size, bool seekable = false, bool takeOwnership = false);
    ~ycMemoryArchive() override;

    std::span<const char> storage() const { return buffer_.bytes(); }

private:
    struct OwnedBlock {
        void operator()(const char* p) const { delete[] p; }
    };
    std::unique_ptr<const char[], OwnedBlock> owned_;
    yc_MemoryBuffer buffer_;
};

#endif

#include "std/archive/filearchive.h"

#include "std/util/text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <ios>
#include <sys/stat.h>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

[[noreturn]] void ioFailure()
{
    throw std::ios_base::failure("file I/O error");
}

#ifdef _WIN32
int openFile(const std::filesystem::path& path, int flags)
{
    int fd = -1;
    return _wsopen_s(&fd, path.c_str(), flags | _O_BINARY, _SH_DENYNO, _S_IREAD | _S_IWRITE) == 0 ? fd : -1;
}
std::int64_t fileSize(int fd)
{
    return _lseeki64(fd, 0, SEEK_END);
}
// Windows has no positioned I/O on descriptors: seek, then transfer.
long long readAt(int fd, char* p, std::size_t n, std::int64_t at)
{
    if (_lseeki64(fd, at, SEEK_SET) < 0) return -1;
    return _read(fd, p, static_cast<unsigned>(std::min<std::size_t>(n, 1u << 30)));
}
long long writeAt(int fd, const char* p, std::size_t n, std::int64_t at)
{
    if (_lseeki64(fd, at, SEEK_SET) < 0) return -1;
    return _write(fd, p, static_cast<unsigned>(std::min<std::size_t>(n, 1u << 30)));
}
void closeFile(int fd)
{
    _close(fd);
}
#else
int openFile(const std::filesystem::path& path, int flags)
{
    return ::open(path.c_str(), flags | O_CLOEXEC, 0666);
}
std::int64_t fileSize(int fd)
{
    struct stat st {};
    return ::fstat(fd, &st) == 0 ? static_cast<std::int64_t>(st.st_size) : -1;
}
long long readAt(int fd, char* p, std::size_t n, std::int64_t at)
{
    return ::pread(fd, p, n, static_cast<off_t>(at));
}
long long writeAt(int fd, const char* p, std::size_t n, std::int64_t at)
{
    return ::pwrite(fd, p, n, static_cast<off_t>(at));
}
void closeFile(int fd)
{
    ::close(fd);
}
#endif

// Reads up to `n` bytes at `at`; fewer only at the end of the file.
std::size_t readFully(int fd, char* p, std::size_t n, std::int64_t at)
{
    std::size_t done = 0;
    while (done < n) {
        long long got = readAt(fd, p + done, n - done, at + static_cast<std::int64_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) ioFailure();
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void writeFully(int fd, const char* p, std::size_t n, std::int64_t at)
{
    std::size_t done = 0;
    while (done < n) {
        long long put = writeAt(fd, p + done, n - done, at + static_cast<std::int64_t>(done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) ioFailure();
        done += static_cast<std::size_t>(put);
    }
}

} // namespace

yc_FileBuffer::~yc_FileBuffer()
{
    if (fd_ < 0) return;
    try {
        flush();
    } catch (const std::ios_base::failure&) {
        // The archive already reported what it could; a destructor cannot.
    }
    closeFile(fd_);
}

bool yc_FileBuffer::open(const std::filesystem::path& path, std::ios_base::openmode mode)
{
    int flags = (mode & std::ios_base::out) ? O_RDWR : O_RDONLY;
    if (mode & std::ios_base::trunc) flags |= O_CREAT | O_TRUNC;
    fd_ = openFile(path, flags);
    if (fd_ < 0) return false;
    fileSize_ = fileSize(fd_);
    if (fileSize_ < 0) {
        closeFile(fd_);
        fd_ = -1;
        return false;
    }
    writable_ = (mode & std::ios_base::out) != 0;
    window_ = std::make_unique<char[]>(kWindow);
    return true;
}

void yc_FileBuffer::flush()
{
    if (dirtyTo_ <= dirtyFrom_) return;
    const std::int64_t at = base_ + static_cast<std::int64_t>(dirtyFrom_);
    writeFully(fd_, window_.get() + dirtyFrom_, dirtyTo_ - dirtyFrom_, at);
    fileSize_ = std::max(fileSize_, base_ + static_cast<std::int64_t>(dirtyTo_));
    dirtyFrom_ = dirtyTo_ = 0;
}

void yc_FileBuffer::moveWindow()
{
    flush();
    // Reading on where the window ended reads whole windows.
    nextRead_ = pos_ == base_ + static_cast<std::int64_t>(held_) ? kWindow : kFirstRead;
    base_ = pos_;
    held_ = 0;
}

bool yc_FileBuffer::fill()
{
    const std::int64_t from = base_ + static_cast<std::int64_t>(held_);
    if (held_ == kWindow || from >= fileSize_) return false;
    const std::size_t room = std::min(kWindow - held_, nextRead_);
    const std::size_t want = static_cast<std::size_t>(std::min<std::int64_t>(room, fileSize_ - from));
    const std::size_t got = readFully(fd_, window_.get() + held_, want, from);
    held_ += got;
    nextRead_ = std::min(nextRead_ * 2, kWindow);
    return got > 0;
}

std::streamsize yc_FileBuffer::xsgetn(char* s, std::streamsize n)
{
    auto left = static_cast<std::size_t>(n);
    while (left > 0 && pos_ < end()) {
        if (!inWindow()) {
            if (left >= kWindow) {
                // A large block: the window's changes first, then straight from the file.
                flush();
                const std::size_t got = readFully(fd_, s, left, pos_);
                pos_ += static_cast<std::int64_t>(got);
                left -= got;
                break;
            }
            moveWindow();
        }
        const auto at = static_cast<std::size_t>(pos_ - base_);
        while (at >= held_ && fill()) {
        }
        if (at >= held_) break;
        const std::size_t count = std::min(left, held_ - at);
        std::memcpy(s, window_.get() + at, count);
        s += count;
        pos_ += static_cast<std::int64_t>(count);
        left -= count;
    }
    return n - static_cast<std::streamsize>(left);
}

std::streamsize yc_FileBuffer::xsputn(const char* s, std::streamsize n)
{
    if (!writable_) return 0;
    auto left = static_cast<std::size_t>(n);
    while (left > 0) {
        if (!inWindow()) {
            if (left >= kWindow) {
                flush();
                // The window must not keep bytes that the file no longer has.
                const std::int64_t to = pos_ + static_cast<std::int64_t>(left);
                if (pos_ < base_ + static_cast<std::int64_t>(held_) && to > base_) held_ = 0;
                writeFully(fd_, s, left, pos_);
                fileSize_ = std::max(fileSize_, to);
                pos_ = to;
                break;
            }
            moveWindow();
        }
        const auto at = static_cast<std::size_t>(pos_ - base_);
        if (at > held_) {
            // The bytes between are the file's, and zero past its end.
            while (at > held_ && fill()) {
            }
            if (at > held_) {
                std::memset(window_.get() + held_, 0, at - held_);
                dirtyFrom_ = dirtyTo_ > dirtyFrom_ ? std::min(dirtyFrom_, held_) : held_;
                dirtyTo_ = at;
                held_ = at;
            }
        }
        const std::size_t count = std::min(left, kWindow - at);
        std::memcpy(window_.get() + at, s, count);
        dirtyFrom_ = dirtyTo_ > dirtyFrom_ ? std::min(dirtyFrom_, at) : at;
        dirtyTo_ = std::max(dirtyTo_, at + count);
        held_ = std::max(held_, at + count);
        s += count;
        pos_ += static_cast<std::int64_t>(count);
        left -= count;
    }
    return n;
}

yc_FileBuffer::int_type yc_FileBuffer::underflow()
{
    char c;
    if (xsgetn(&c, 1) != 1) return traits_type::eof();
    --pos_;
    return traits_type::to_int_type(c);
}

yc_FileBuffer::int_type yc_FileBuffer::uflow()
{
    char c;
    return xsgetn(&c, 1) == 1 ? traits_type::to_int_type(c) : traits_type::eof();
}

yc_FileBuffer::int_type yc_FileBuffer::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char byte = traits_type::to_char_type(c);
    return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

yc_FileBuffer::pos_type yc_FileBuffer::seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode)
{
    if (fd_ < 0) return pos_type(off_type(-1));
    const std::int64_t from = dir == std::ios_base::beg ? 0 : dir == std::ios_base::cur ? pos_ : end();
    const std::int64_t to = from + static_cast<std::int64_t>(off);
    if (to < 0) return pos_type(off_type(-1));
    pos_ = to;
    return pos_type(off_type(to));
}

yc_FileBuffer::pos_type yc_FileBuffer::seekpos(pos_type pos, std::ios_base::openmode which)
{
    return seekoff(off_type(pos), std::ios_base::beg, which);
}

int yc_FileBuffer::sync()
{
    if (fd_ < 0) return -1;
    flush();
    return 0;
}

ycFileArchive::ycFileArchive(const std::wstring& path, Direction direction, Ordering ordering, bool seekable,
                             bool readOnly)
    : ycArchive(&file_, direction, ordering, seekable, readOnly)
{
    auto mode = std::ios_base::binary | std::ios_base::in;
    if (direction == storing) {
        mode |= std::ios_base::out | std::ios_base::trunc;
    } else if (!readOnly) {
        mode |= std::ios_base::out;
    }
    // Some systems open a directory for reading and fail only at the first read.
    std::error_code error;
    if (std::filesystem::is_directory(yfPath(path), error) || !file_.open(yfPath(path), mode))
        throw BadFile((L"Could not open file: " + path).c_str(), 0);
    start();
}

ycFileArchive::~ycFileArchive()
{
    finish();
}

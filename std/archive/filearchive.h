// Archives in files.
//
// The file is opened in binary mode: for loading a read-only archive, for
// reading only; otherwise for reading and writing, and a storing archive
// starts the file anew. A file that cannot be opened (a directory among
// them) is ycArchive::BadFile with the text "Could not open file: " and the
// path; a read or write error of the file later is BadBuffer.
//
// The archive buffers the file itself (yc_FileBuffer): reading records in
// order, looking ahead for a marker, patching a size just written and asking
// where the stream ends all stay inside one window of the file's bytes, so a
// system call is made only when an operation leaves that window.
#ifndef TLVSTD_ARCHIVE_FILEARCHIVE_H
#define TLVSTD_ARCHIVE_FILEARCHIVE_H

#include "std/archive/archive.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <streambuf>
#include <string>

// A stream buffer over a file with one window of its bytes in memory, shared
// by reads and writes at one position (as a file's own buffer has). Seeking
// never touches the file; the file is read when a read or a write inside the
// file's old bytes leaves the window, and written when the window moves on or
// on sync(). Blocks of a window or more go straight to the file. I/O errors
// throw std::ios_base::failure, which the archive reports as BadBuffer.
class TLVSTD_API yc_FileBuffer : public std::streambuf {
public:
    static constexpr std::size_t kWindow = 64 * 1024;
    // A window started by a jump reads this much first, and twice as much
    // at each further read, so that lookups here and there read little.
    static constexpr std::size_t kFirstRead = 4 * 1024;

    yc_FileBuffer() = default;
    ~yc_FileBuffer() override;
    yc_FileBuffer(const yc_FileBuffer&) = delete;
    yc_FileBuffer& operator=(const yc_FileBuffer&) = delete;

    // `mode` as for std::filebuf: in, in|out (the file must exist) or
    // in|out|trunc. False when the file cannot be opened so.
    bool open(const std::filesystem::path& path, std::ios_base::openmode mode);

protected:
    std::streamsize xsgetn(char* s, std::streamsize n) override;
    std::streamsize xsputn(const char* s, std::streamsize n) override;
    int_type underflow() override;
    int_type uflow() override;
    int_type overflow(int_type c) override;
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
    int sync() override;

private:
    std::int64_t end() const { return std::max(fileSize_, base_ + static_cast<std::int64_t>(held_)); }
    bool inWindow() const { return pos_ >= base_ && pos_ < base_ + static_cast<std::int64_t>(kWindow); }
    // Writes the changed bytes of the window to the file.
    void flush();
    // Starts an empty window at the position, after writing the old one.
    void moveWindow();
    // Reads the file's bytes that follow the window's into it; false at the end of the file.
    bool fill();

    int fd_ = -1;
    bool writable_ = false;
    std::unique_ptr<char[]> window_;
    std::int64_t base_ = 0;   // file position of window_[0]
    std::size_t held_ = 0;    // window_[0, held_) are the stream's bytes there
    std::size_t dirtyFrom_ = 0, dirtyTo_ = 0; // bytes not yet in the file
    std::size_t nextRead_ = kWindow;
    std::int64_t pos_ = 0;
    std::int64_t fileSize_ = 0; // what the file itself holds
};

class TLVSTD_API ycFileArchive : public ycArchive {
public:
    ycFileArchive(const std::wstring& path, Direction direction, Ordering ordering = littleEndian,
                  bool seekable = false, bool readOnly = true);
    ~ycFileArchive() override;

private:
    yc_FileBuffer file_;
};

#endif

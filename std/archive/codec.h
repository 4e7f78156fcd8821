// The byte codec of an archive: values to bytes and back, on one stream
// buffer, in one byte order. Every read and write of an archive's stream goes
// through here; ycArchive (archive.h) is the interface that persistent
// classes see, and forwards its transfers to this codec.
//
// Encodings, no padding anywhere ("in order" = in the archive's ordering):
//   8-bit integers          1 byte
//   bool                    1 byte, 1 or 0; any non-zero byte reads as true
//   16/32/64-bit integers   sizeof(T) bytes in order. Persist fixed-width
//                           types only: plain long is 8 bytes on some platforms.
//   float, double           their bit patterns, in order
//   wchar_t                 one UTF-16 unit, 2 bytes in order (above U+FFFF:
//                           ycBadUnicodeChar)
//   std::string             length prefix, 22, the bytes, 22
//   std::wstring            length prefix (UTF-16 units), FF FE, the units as
//                           2-byte little-endian values whatever the ordering,
//                           FF FE. Characters above U+FFFF go as surrogate
//                           pairs, joined again on reading.
//   std::u32string          4-byte count, always most significant byte first,
//                           FF FE 00 00, the characters as 4-byte little-endian
//                           values, FF FE 00 00.
//   containers              a 32-bit count in order, then the elements (a
//                           vector of bytes as one raw block, a vector of bool
//                           one byte each)
// The length prefix is one byte below 128, else 0x80 | length >> 8 and then
// length & 0xFF. A string longer than 32767 is a failed assertion and is then
// written anyway with the truncated prefix.
//
// Reading strings: a narrow and a wide target each accept either kind. A wide
// string whose marker reads FE FF has byte-swapped units. For a 32-bit string
// the marker is read as a 32-bit value in the archive's ordering: 0x0000FEFF
// means as written, 0xFFFE0000 that each character's two middle bytes are
// exchanged (b0 b1 b2 b3 -> b0 b2 b1 b3). So in an archive of ordering 0 a
// character from U+0100 up does not come back as it was stored (U+1234 reads
// as 0x00120034); store 32-bit strings with ordering 1.
//
// Failures, all members of ycArchive::Errors: a value cut short by the end of
// the stream is Eof; a failed write is BadBuffer, and so is a stream that
// reports an error of its own (an I/O error of a file); inside a string,
// everything after the length prefix (or the 32-bit count) that is cut short
// is BadBuffer; a wrong delimiter or marker is BadType.
//
// Bounded reads: a reader never trusts a length from the stream. Every loader
// that takes a count from the stream asks roomFor() before it takes memory
// for it; where the stream can tell how much it still holds, a count that
// cannot fit is refused, and where it cannot (a socket), memory is taken as
// the elements arrive, never more than a sane bound ahead of them.
#ifndef TLVSTD_ARCHIVE_CODEC_H
#define TLVSTD_ARCHIVE_CODEC_H

#include "std/config.h"
#include "std/util/byteorder.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <ios>
#include <streambuf>
#include <string>
#include <vector>

// Values that travel as their bit pattern in sizeof(T) bytes.
template <class T>
concept yc_ArchiveScalar = (std::integral<T> || std::floating_point<T>) && !std::same_as<T, bool> &&
                           !std::same_as<T, wchar_t> &&
                           (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

class TLVSTD_API yc_ArchiveCodec {
public:
    using pos = std::int64_t;
    using Marker = unsigned char[4];
    // What a read cut short is: Eof for a value, BadBuffer inside a string.
    enum class Cut : std::uint8_t { eof, insideString };

    // `buffer` is not owned. Ordering: 0 most significant byte first, 1 least.
    yc_ArchiveCodec(std::streambuf* buffer, bool storing, int ordering);

    bool isStoring() const { return storing_; }
    // Reads and writes move separate positions of the stream; this picks which.
    void direction(bool storing) { storing_ = storing; }
    int ordering() const { return ordering_; }
    void ordering(int ordering);

    template <yc_ArchiveScalar T>
    void transfer(T& value)
    {
        if (storing_) {
            put(value);
        } else {
            value = get<T>();
        }
    }
    void transfer(bool& value);
    void transfer(wchar_t& value);
    void transfer(std::string& value);
    void transfer(std::wstring& value);
    void transfer(std::u32string& value);
    // Vectors of scalars travel as one block (see putBlock).
    template <yc_ArchiveScalar T>
    void transfer(std::vector<T>& value);
    void transfer(std::vector<bool>& value);
    // `n` bytes as they are, no swapping.
    void raw(char* p, std::int64_t n);
    // Storing: moves on by `n` (at most 8) bytes; past the end the room is
    // written as zero bytes, so the stream really holds it.
    void reserve(std::int64_t n);

    template <class T>
    void put(T value)
    {
        auto bits = yfBitsOf(value);
        if (swap_) bits = yfByteSwap(bits);
        putBytes(reinterpret_cast<const char*>(&bits), sizeof bits);
    }
    template <class T>
    T get()
    {
        yc_UnsignedOf<T> bits;
        getBytes(reinterpret_cast<char*>(&bits), sizeof bits);
        if (swap_) bits = yfByteSwap(bits);
        return yfFromBits<T>(bits);
    }
    void putBytes(const char* p, std::size_t n);
    void getBytes(char* p, std::size_t n, Cut cut = Cut::eof);

    // `count` values of `width` bytes each (1, 2, 4 or 8) that lie in memory in
    // ordering `held`, each written in the archive's ordering: the same bytes
    // as putting them one by one. Where the orderings agree the block goes to
    // the stream as it is; else it is swapped through a bounded scratch.
    void putBlock(const void* p, std::size_t count, std::size_t width, int held = yf_MachineOrdering());
    // The reverse; after a failure `p` holds an unspecified part of the values.
    void getBlock(void* p, std::size_t count, std::size_t width, int held = yf_MachineOrdering(),
                  Cut cut = Cut::eof);

    // Record markers go byte by byte, the same in either ordering.
    void putMarker(const Marker& marker) { putBytes(reinterpret_cast<const char*>(marker), sizeof marker); }
    // BadType when the next 4 bytes are not `marker`.
    void expectMarker(const Marker& marker);
    // Whether `marker` comes next; the read position stays.
    bool markerAhead(const Marker& marker);

    // The one bounded-read helper. Checks that the stream can still hold
    // `count` elements of at least `minBytes` bytes each (Eof, or BadBuffer
    // inside a string, when it cannot) and returns how many of them may be
    // made room for now: all where the stream can tell how much it holds,
    // else a sane bound. Never moves the stream nor asks more of it than its
    // end, so reading in order needs nothing else (no seekable index).
    std::size_t roomFor(std::uint64_t count, std::uint64_t minBytes, Cut cut = Cut::eof);
    // A container's 32-bit count, then roomFor(count, minBytes).
    std::size_t readCount(std::uint32_t& count, std::uint64_t minBytes);

    // Positions in the stream of the current direction, counted in bytes
    // from its start. seekTo and streamEnd fail with BadBuffer.
    pos tell();
    void seekTo(pos position);
    // Relative to the start, the position or the end of the stream; false
    // when the stream cannot move there.
    bool seekBy(std::int64_t offset, std::ios_base::seekdir whence);
    pos streamEnd();
    // Flushes what was written (BadBuffer when it cannot).
    void sync();

private:
    void putLengthPrefix(std::size_t length);
    std::size_t getLengthPrefix();
    // Reads a stored string of either kind, as bytes or as UTF-16 units.
    // Returns true when the stored string was wide.
    bool readString(std::string& narrow, std::u16string& wide);
    // Bytes between the read position and the end, if the stream can tell.
    bool bytesLeft(std::uint64_t& left);
    std::ios_base::openmode which() const { return storing_ ? std::ios_base::out : std::ios_base::in; }

    // Bytes of a vector read at a time, so that a stream that cannot tell its
    // length never makes a corrupted count take memory far ahead of the data.
    static constexpr std::size_t kVectorChunk = std::size_t{1} << 20;

    std::streambuf* buffer_;
    bool storing_;
    int ordering_;
    bool swap_;
};

template <yc_ArchiveScalar T>
void yc_ArchiveCodec::transfer(std::vector<T>& value)
{
    std::uint32_t count = static_cast<std::uint32_t>(value.size());
    if (storing_) {
        transfer(count);
        putBlock(value.data(), count, sizeof(T));
        return;
    }
    readCount(count, sizeof(T));
    std::vector<T> out;
    while (out.size() < count) {
        std::size_t at = out.size();
        out.resize(std::min<std::size_t>(count, at + kVectorChunk / sizeof(T)));
        getBlock(out.data() + at, out.size() - at, sizeof(T));
    }
    value = std::move(out);
}

#endif

// The binary archive.
//
// A ycArchive is either loading or storing. A persistent class lists its fields
// once, `ar || a || b`, and the archive reads or writes them by its direction.
// There are no tags: reader and writer agree on the order of the fields.
//
// Stream: a 2-byte header, then the fields.
//   byte 0  version << 1 | seekable   (version is 1 for everything written here)
//   byte 1  ordering: 0 most significant byte first, 1 least significant first
// A reader checks the version (above 1: UnknownArchiveVersion), then the
// seekable bit against the one it asked for (BadType), then the ordering byte
// (above 1: BadBuffer); it adopts the stored ordering.
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
// Failures: a value cut short by the end of the stream is Eof; a failed write
// is BadBuffer; inside a string, everything after the length prefix (or the
// 32-bit count) that is cut short is BadBuffer; a wrong delimiter or marker is
// BadType. A count read from the stream is checked against what the stream
// still holds before any memory is taken for it.
//
// Containers: a 32-bit count in order, then the elements (a vector of bytes as
// one raw block, a vector of bool one byte each).
//
// Objects (see persist.h): an object record is the marker F1 66 4B DF (the same
// bytes in either ordering), the canonical type name as a narrow string, and
// the body. An object reference is a 32-bit tag in order: 0 null, -1 a new
// object record follows, k > 0 the object record with id k. In a plain archive
// the records are numbered 1, 2, ... in the order they appear; in a seekable
// one the id is the one in the record's header.
//
// Seekable archives (header bit 0 set) add numbered marks, an id and a size
// to every object record, and an index at the end, so that a reader finds a
// mark or an object by number without reading what comes before it. Markers
// go byte by byte; numbers are in the archive's ordering; a position counts
// bytes from the start of the stream, header included.
//
//   mark record     A7 4D 4B 31, number (int32). A removed mark keeps its
//                   record with number 0.
//   object record   F1 66 4B DF, id (int32), size (uint32), type name (narrow
//                   string), body. The size counts the bytes of the body;
//                   FF FF FF FF means 4 GiB or more, and the index holds the
//                   size. A removed object keeps its record with id 0.
//   pointer record  A7 50 54 52, id (int32): what storeObject writes for an
//                   object this archive holds already and that has not
//                   changed since. Pointer records and the references inside
//                   bodies (tags k > 0) are the archive's pointers; the index
//                   lists each by the position of its 4-byte id. A removed
//                   pointer has id 0, a null reference.
//
//   index           written where the data ends, by sync() and on closing:
//     A7 49 44 58
//     next object id (int32), next mark number (int32): where the automatic
//         numbering goes on
//     mark count, object count, pointer count (uint32 each)
//     marks         number (int32), position of the record (int64); by number
//     objects       id (int32), position of the record (int64), size (uint32)
//                   and, when that is FF FF FF FF, 6F 8B 68 45 and the size
//                   as uint64; by id
//     pointers      position of the id (int64), id (int32); by position
//     zero bytes    only where an earlier index of the stream reached further
//     trailer       index position (int64), A7 45 4E 44: always the stream's
//                   last 12 bytes
//
// A loading archive reads the index at its first seekable operation (a
// missing trailer is BadType, an index that contradicts itself or the stream
// BadContent). Appending, ycFileArchive(path, loading, ordering, true, false)
// and then append(), reads it, writes on from where the data ended (over the
// old index), and writes the new index after the new data when the archive is
// synced or closed. Data overwritten in place keeps its index entries: remove
// a mark or object first when its bytes are to be reused.
#ifndef TLVSTD_ARCHIVE_ARCHIVE_H
#define TLVSTD_ARCHIVE_ARCHIVE_H

#include "std/archive/persist.h"
#include "std/except/except.h"
#include "std/util/byteorder.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <ios>
#include <memory>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

// Values that travel as their bit pattern in sizeof(T) bytes.
template <class T>
concept yc_ArchiveScalar = (std::integral<T> || std::floating_point<T>) && !std::same_as<T, bool> &&
                           !std::same_as<T, wchar_t> &&
                           (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

class yc_ArchiveObjects;
class yc_ArchiveIndex;

class TLVSTD_API ycArchive {
public:
    enum Direction : std::uint8_t { loading = 0, storing = 1 };
    enum Ordering : std::uint8_t { bigEndian = 0, littleEndian = 1 };
    using pos = std::int64_t;
    // Archive failures carry the reporting source and line, or (line 0) a free
    // text such as "Could not open file: " and the path.
    class TLVSTD_API Errors : public ycException {
    public:
        using ycErrorBase = ycException;
        const std::wstring& file() const { return file_; }
        std::int32_t line() const { return line_; }

    protected:
        Errors() = default;
        Errors(const char* file, int line);
        Errors(const wchar_t* file, int line);
        void message_(std::wostream& os) const override;
        void dispatchSerialize(ycArchive& ar) override;

    private:
        std::wstring file_;
        std::int32_t line_ = 0;
    };

    ymError(Eof, Errors);
    ymError(BadBuffer, Errors);
    ymError(BadType, Errors);
    ymError(BadContent, Errors);
    ymError(NotFound, Errors);
    ymError(Duplicate, Errors);
    ymError(UnknownVersion, Errors);
    ymError(BadFile, Errors);
    ymError(UnknownArchiveVersion, Errors);
    ymError(CannotWriteToOldArchive, Errors);
    ymError(NotSeekable, Errors);

    // A class without a registered factory. The type name is for the catcher
    // and the message; it is not persisted.
    class TLVSTD_API UnknownType : public Errors {
    public:
        using ycErrorBase = Errors;
        UnknownType() = default;
        UnknownType(const char* typeName, const char* file, int line)
            : Errors(file, line), typeName_(typeName ? typeName : "")
        {
        }
        std::string name() const { return typeName_; }
        std::int32_t errorNumber() const override;
        void suicideAndRethrow() override;

    protected:
        void message_(std::wostream& os) const override;
        void dispatchSerialize(ycArchive& ar) override;

    private:
        std::string typeName_;
    };

    virtual ~ycArchive();
    ycArchive(const ycArchive&) = delete;
    ycArchive& operator=(const ycArchive&) = delete;

    bool isLoading() const { return direction_ == loading; }
    bool isStoring() const { return direction_ == storing; }
    bool isReadOnly() const { return readOnly_; }
    bool isSeekable() const { return seekable_; }
    std::uint8_t version() const { return version_; }
    Ordering ordering() const { return ordering_; }
    Direction mode() const { return direction_; }

    pos tell();
    void seek(pos position);
    // In a seekable archive the end is where the data ends: the index is not data.
    void seek(std::int64_t offset, std::ios_base::seekdir whence);
    // Flushes what was written to the stream; a storing seekable archive first
    // writes its index, so that the stream is a whole archive at this point.
    void sync();

    // Everything below needs a seekable archive (NotSeekable otherwise).
    // Numbers of marks and ids of objects are 1 to 0x7ffffffe; where a
    // function returns one, 0 means "none", and a position -1.

    // Switches direction. Each direction keeps its own position: a first
    // switch to storing starts where the data ends, a first switch to loading
    // after the header. Storing needs an archive that is not read-only.
    void mode(Direction direction);
    // Switches to storing at the end of the data.
    void append();

    // Marks: numbered places in the stream. A mark number given as 0 is
    // chosen by the archive (the smallest free one from the starting number
    // on); a number in use is Duplicate. The current mark is the one last
    // written, read or found; renumberMark and removeMark act on it.
    std::int32_t writeNewMark(std::int32_t number = 0);
    std::int32_t renumberMark(std::int32_t number = 0);
    void removeMark();
    // Reads the mark record at the read position (BadType if there is none).
    void readMark(std::int32_t& number);
    // Moves to the record of mark `number` (NotFound if absent); readMark or
    // skipMark then passes it.
    pos findMark(std::int32_t number);
    void skipMark();
    std::int32_t firstMarkNum();
    std::int32_t lastMarkNum();
    std::int32_t nextMarkNum(std::int32_t number);
    std::int32_t prevMarkNum(std::int32_t number);
    void setStartingNum(std::int32_t number);

    // Objects. storeObject writes an object record and returns its new id, or,
    // for an object this archive already holds and that has not changed since
    // (see ycPersistent::mutating), a pointer record to it and its old id.
    std::int32_t storeObject(ycPersistent* object);
    // Loads the object record, or the object a pointer record refers to, at
    // the read position; the caller owns the object.
    std::unique_ptr<ycPersistent> loadObject();
    // Moves to the record of object `id` (NotFound if absent).
    pos findObject(std::int32_t id);
    std::int32_t firstObjectID();
    std::int32_t nextObjectID(std::int32_t id);
    // The id, body size and position of the object record at the read
    // position, which stays where it is. A size of 4 GiB or more is BadType
    // here; readObjectHeader64 gives it.
    void readObjectHeader(std::int32_t& id, std::uint32_t& size, pos& position);
    void readObjectHeader64(std::int32_t& id, std::uint64_t& size, pos& position);
    std::string objectTypeName();
    // Removes the object last stored or found from the index.
    void removeObject();
    void setStartingID(std::int32_t id);

    // Pointers, walked in stream order. pointerObjectID(id) makes the current
    // pointer refer to another stored object; removePointer makes it null.
    pos firstPointerPos();
    pos nextPointerPos();
    std::int32_t pointerObjectID();
    void pointerObjectID(std::int32_t id);
    void removePointer();

    // An archive the caller associates with this one; not owned, not used here.
    ycArchive* secondary();
    void secondary(ycArchive* other);

    template <yc_ArchiveScalar T>
    ycArchive& operator||(T& value)
    {
        if (isStoring()) {
            putScalar(value);
        } else {
            value = getScalar<T>();
        }
        return *this;
    }
    ycArchive& operator||(bool& value);
    ycArchive& operator||(wchar_t& value);
    ycArchive& operator||(std::string& value);
    ycArchive& operator||(std::wstring& value);
    ycArchive& operator||(std::u32string& value);

    // `n` bytes as they are, no swapping.
    void raw(char* p, std::int64_t n);

    // Storing only: move the write position on by 1, 2, 4 or 8 bytes, leaving
    // room that a later seek back fills in.
    void reserve8() { reserveBytes(1); }
    void reserveU8() { reserveBytes(1); }
    void reserve16() { reserveBytes(2); }
    void reserveU16() { reserveBytes(2); }
    void reserve32() { reserveBytes(4); }
    void reserveU32() { reserveBytes(4); }
    void reserve64() { reserveBytes(8); }
    void reserveU64() { reserveBytes(8); }

    // Reads a container's element count and checks that the stream can hold
    // `count` elements of at least `minBytes` each (Eof if not). Returns how
    // many elements may be reserved up front.
    std::size_t readCount(std::uint32_t& count, std::size_t minBytes);

protected:
    // `buffer` is owned by the concrete archive, which calls start() at the
    // end of its constructor and finish() at the start of its destructor.
    ycArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly);
    void start();
    void finish() noexcept;

private:
    friend class ycPersistent;
    friend class yc_ArchiveObjects;
    friend class yc_ArchiveIndex;

    template <class T>
    void putScalar(T value)
    {
        auto bits = yfBitsOf(value);
        if (swap_) bits = yfByteSwap(bits);
        putBytes(reinterpret_cast<const char*>(&bits), sizeof bits);
    }
    template <class T>
    T getScalar()
    {
        yc_UnsignedOf<T> bits;
        getBytes(reinterpret_cast<char*>(&bits), sizeof bits);
        if (swap_) bits = yfByteSwap(bits);
        return yfFromBits<T>(bits);
    }

    // A short write is BadBuffer, a short read Eof (or BadBuffer inside a string).
    void putBytes(const char* p, std::size_t n)
    {
        if (static_cast<std::size_t>(buffer_->sputn(p, static_cast<std::streamsize>(n))) != n) failWrite();
    }
    void getBytes(char* p, std::size_t n)
    {
        if (static_cast<std::size_t>(buffer_->sgetn(p, static_cast<std::streamsize>(n))) != n) failEof();
    }
    void getStringBytes(char* p, std::size_t n);
    [[noreturn]] void failWrite();
    [[noreturn]] void failEof();

    void putLengthPrefix(std::size_t length);
    std::size_t getLengthPrefix();
    // Reads a stored string of either kind, as bytes or as UTF-16 units.
    // Returns true when the stored string was wide.
    bool readString(std::string& narrow, std::u16string& wide);
    void reserveBytes(std::int64_t n);
    // Bytes between the read position and the end; the largest value when the
    // stream cannot tell.
    std::uint64_t bytesLeft();
    yc_ArchiveObjects& objects();

    // Seekable machinery (seekable.cpp).
    void requireSeekable(int line);
    // The index, read from the stream at first use when loading.
    yc_ArchiveIndex& index();
    yc_ArchiveIndex& seekableIndex(int line)
    {
        requireSeekable(line);
        return index();
    }
    // Storing: remembers how far the data reaches before the position moves.
    void noteHigh();
    // Moves without noting how far the data reached.
    void rawSeek(pos position);
    pos streamEnd();
    void writeIndex();
    // Reads 4 bytes at the read position and puts the position back.
    bool markerAhead(const unsigned char (&marker)[4]);
    void expectMarker(const unsigned char (&marker)[4]);
    // Storing: writes `value` at `at`, then returns to where it was.
    void patch(pos at, std::int32_t value);
    void patch(pos at, std::uint32_t value);
    pos objectHeader(std::int32_t& id, std::uint64_t& size, bool& large);

    std::streambuf* buffer_;
    bool readOnly_;
    Direction direction_;
    Ordering ordering_;
    bool swap_ = false;
    bool seekable_;
    std::uint8_t version_ = 1;
    std::unique_ptr<yc_ArchiveObjects> objects_;
    std::unique_ptr<yc_ArchiveIndex> index_;
    ycArchive* secondary_ = nullptr;
    pos high_ = 0;              // how far the data reaches (where the index goes)
    pos saved_[2] = {-1, -1};   // the position of each direction, while the other is in use
    bool indexDirty_ = false;   // the index must be written back
};

// Containers: a 32-bit count, then the elements.
template <class T>
    requires requires(ycArchive& ar, T& v) { ar || v; }
ycArchive& operator||(ycArchive& ar, std::vector<T>& v)
{
    std::uint32_t count = static_cast<std::uint32_t>(v.size());
    if (ar.isStoring()) {
        ar || count;
        for (auto& e : v) ar || e;
        return ar;
    }
    std::size_t room = ar.readCount(count, 1);
    std::vector<T> out;
    out.reserve(room);
    for (std::uint32_t i = 0; i < count; ++i) {
        T e{};
        ar || e;
        out.push_back(std::move(e));
    }
    v = std::move(out);
    return ar;
}
TLVSTD_API ycArchive& operator||(ycArchive& ar, std::vector<unsigned char>& v);
TLVSTD_API ycArchive& operator||(ycArchive& ar, std::vector<bool>& v);

// The same transfers without a direction check: << stores, >> loads. (Whole
// persistent objects have checked forms of their own, see persist.h.)
template <class T>
concept yc_ArchiveValue = !std::derived_from<T, ycPersistent> && requires(ycArchive& ar, T& v) { ar || v; };

template <yc_ArchiveValue T>
ycArchive& operator<<(ycArchive& ar, const T& value)
{
    return ar || const_cast<T&>(value); // storing only reads the value
}
template <yc_ArchiveValue T>
ycArchive& operator>>(ycArchive& ar, T& value)
{
    return ar || value;
}

#endif

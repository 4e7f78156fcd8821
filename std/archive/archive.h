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
// What each part of an archive does, and where its bytes are documented:
//   codec.h      values, strings and containers to bytes and back, the
//                failures of the stream, and the bounded reads every loader
//                uses before it takes memory for a count from the stream
//   objects.h    object records and object references (persist.h has the
//                transfer operators that persistent classes use)
//   seekable.h   marks, stored objects, pointers and the index of a seekable
//                archive
//   filearchive.h, memarchive.h   the concrete archives
// ycArchive is the interface a persistent class sees; its operations forward
// to those parts.
//
// What a loading archive keeps alive. Counted objects that object references
// load are shared again by later references to the same object. A plain
// archive can read each record only once, so it keeps a share of every
// counted object it made until it is destroyed or releaseLoaded() is called:
// call that where a stream's later records no longer refer to earlier ones (a
// socket carrying one image after another), or memory grows with the stream.
// A seekable archive keeps nothing: an object whose last handle went is
// loaded again from its record when a later reference names it. Either way
// the archive's bookkeeping costs the same per object however many it met.
#ifndef TLVSTD_ARCHIVE_ARCHIVE_H
#define TLVSTD_ARCHIVE_ARCHIVE_H

#include "std/archive/codec.h"
#include "std/archive/persist.h"
#include "std/except/except.h"

#include <concepts>
#include <cstdint>
#include <ios>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

class yc_ArchiveObjects;
class yc_ArchiveSeekable;

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

    bool isLoading() const { return !codec_.isStoring(); }
    bool isStoring() const { return codec_.isStoring(); }
    bool isReadOnly() const { return readOnly_; }
    bool isSeekable() const { return seekable_; }
    std::uint8_t version() const { return version_; }
    Ordering ordering() const { return static_cast<Ordering>(codec_.ordering()); }
    Direction mode() const { return isStoring() ? storing : loading; }

    pos tell();
    void seek(pos position);
    // In a seekable archive the end is where the data ends: the index is not data.
    void seek(std::int64_t offset, std::ios_base::seekdir whence);
    // Flushes what was written to the stream; a storing seekable archive first
    // writes its index, so that the stream is a whole archive at this point.
    void sync();
    // Loading: gives up the shares this archive keeps of the counted objects
    // it loaded so far (see above); those nobody else holds go now, and a
    // later reference to one of them in a plain archive is BadContent.
    void releaseLoaded();

    // Everything below needs a seekable archive (NotSeekable otherwise).
    // Numbers of marks and ids of objects are 1 to 0x7ffffffe; where a
    // function returns one, 0 means "none", and a position -1. The layout of
    // what they read and write is in seekable.h.

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

    // Inspection. A tracer is told of every object record and object
    // reference a read meets, as it meets them, for tools that show an
    // archive's structure; a read goes the same with or without one.
    class TLVSTD_API Tracer {
    public:
        virtual ~Tracer();
        // An object record's marker is at `at`; its id and type name were read.
        virtual void recordBegins(pos at, std::int32_t id, const std::string& typeName) = 0;
        // The record that began last ends before `end`; `object` is whole now
        // and lives at least until the call returns.
        virtual void recordEnds(pos end, const ycPersistent& object) = 0;
        // A reference at `at` names no object (id 0) or one met before.
        virtual void referenceMet(pos at, std::int32_t id) = 0;
    };
    // Reads the object record at the read position as ycPersistent::readObject
    // does, telling `tracer` of it and of all it holds. The archive keeps no
    // hold of the tracer after the call.
    std::unique_ptr<ycPersistent> readTraced(Tracer& tracer);

    // An archive the caller associates with this one; not owned, not used here.
    ycArchive* secondary();
    void secondary(ycArchive* other);

    template <yc_ArchiveScalar T>
    ycArchive& operator||(T& value)
    {
        codec_.transfer(value);
        return *this;
    }
    template <class T>
        requires std::same_as<T, bool> || std::same_as<T, wchar_t> || std::same_as<T, std::string> ||
                 std::same_as<T, std::wstring> || std::same_as<T, std::u32string>
    ycArchive& operator||(T& value)
    {
        codec_.transfer(value);
        return *this;
    }

    // Containers of scalars and of bools, in their own forms (codec.h).
    template <yc_ArchiveScalar T>
    friend ycArchive& operator||(ycArchive& ar, std::vector<T>& v)
    {
        ar.codec_.transfer(v);
        return ar;
    }
    friend ycArchive& operator||(ycArchive& ar, std::vector<bool>& v)
    {
        ar.codec_.transfer(v);
        return ar;
    }

    // `n` bytes as they are, no swapping.
    void raw(char* p, std::int64_t n) { codec_.raw(p, n); }
    // `count` values of `width` bytes held in memory in ordering `held`, in
    // the archive's ordering (codec.h): what one transfer per value would do.
    void putBlock(const void* p, std::size_t count, std::size_t width, int held)
    {
        codec_.putBlock(p, count, width, held);
    }
    void getBlock(void* p, std::size_t count, std::size_t width, int held) { codec_.getBlock(p, count, width, held); }

    // Storing only: move the write position on by 1, 2, 4 or 8 bytes, leaving
    // room that a later seek back fills in.
    void reserve8() { codec_.reserve(1); }
    void reserveU8() { codec_.reserve(1); }
    void reserve16() { codec_.reserve(2); }
    void reserveU16() { codec_.reserve(2); }
    void reserve32() { codec_.reserve(4); }
    void reserveU32() { codec_.reserve(4); }
    void reserve64() { codec_.reserve(8); }
    void reserveU64() { codec_.reserve(8); }

    // Bounded reads (see codec.h): loaders call these before they take
    // memory for a count read from the stream. roomFor checks that the
    // stream can still hold `count` elements of at least `minBytes` bytes
    // each (Eof if not) and returns how many may be made room for up front;
    // readCount reads a container's 32-bit count first.
    std::size_t roomFor(std::uint64_t count, std::uint64_t minBytes) { return codec_.roomFor(count, minBytes); }
    std::size_t readCount(std::uint32_t& count, std::uint64_t minBytes) { return codec_.readCount(count, minBytes); }

protected:
    // `buffer` is owned by the concrete archive, which calls start() at the
    // end of its constructor and finish() at the start of its destructor.
    ycArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly);
    void start();
    void finish() noexcept;

private:
    friend class ycPersistent; // transfers objects through the object table

    yc_ArchiveObjects& objects();
    // The seekable layer; NotSeekable for a plain archive.
    yc_ArchiveSeekable& seekable(int line);

    yc_ArchiveCodec codec_;
    bool readOnly_;
    bool seekable_;
    std::uint8_t version_ = 1;
    std::unique_ptr<yc_ArchiveSeekable> layer_;
    std::unique_ptr<yc_ArchiveObjects> objects_;
    ycArchive* secondary_ = nullptr;
};

// Containers: a 32-bit count, then the elements.
template <class T>
    requires(!yc_ArchiveScalar<T>) && requires(ycArchive& ar, T& v) { ar || v; }
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

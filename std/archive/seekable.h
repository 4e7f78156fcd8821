// The seekable layer of an archive: numbered marks, the places of object
// records and pointers, the index that finds them, and the positions of each
// direction. ycArchive forwards its seekable operations here; the object
// table (objects.h) enters its records and pointers through this interface.
// The layer reaches the stream only through the byte codec (codec.h).
//
// Stream: header bit 0 set. Records sit among the data; markers go byte by
// byte, numbers are in the archive's ordering, and a position counts bytes
// from the start of the stream, header included.
//
//   mark record     A7 4D 4B 31, number (int32). A removed mark keeps its
//                   record with number 0.
//   object record   F1 66 4B DF, id (int32), size (uint32), type name (narrow
//                   string), body; see objects.h. The size counts the bytes
//                   of the body; FF FF FF FF means 4 GiB or more, and the
//                   index holds the size. A removed object keeps its record
//                   with id 0.
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
// A loading archive reads the index when an operation first needs it (a
// missing trailer is BadType, an index that contradicts itself or the stream
// BadContent); reading the data in order never does. Appending (a file
// opened loading and not read-only, then append()) reads it, writes on from
// where the data ended (over the old index), and writes the new index after
// the new data when the archive is synced or closed. Data overwritten in
// place keeps its index entries: remove a mark or object first when its bytes
// are to be reused.
//
// Numbers of marks and ids of objects are 1 to 0x7ffffffe; where a function
// returns one, 0 means "none", and a position -1.
#ifndef TLVSTD_ARCHIVE_SEEKABLE_H
#define TLVSTD_ARCHIVE_SEEKABLE_H

#include "std/archive/codec.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <optional>

// Never a mark number or object id.
inline constexpr std::int32_t kYcNoNumber = 0x7FFFFFFF;
inline constexpr bool yf_ValidArchiveNumber(std::int32_t n)
{
    return n >= 1 && n != kYcNoNumber;
}
// The 32-bit size field of an object record that means "see the index".
inline constexpr std::uint32_t kYcLargeSize = 0xFFFFFFFFu;

class yc_ArchiveSeekable {
public:
    using pos = yc_ArchiveCodec::pos;
    // Where an object record is, and the size of its body.
    struct ObjectPlace {
        pos position = -1;
        std::uint64_t size = 0;
        bool large = false; // the record's size field says "see the index"
    };

    // Over an archive's codec, once its header is read or written. A storing
    // archive starts an index of its own; a loading one reads the stream's
    // when first asked.
    explicit yc_ArchiveSeekable(yc_ArchiveCodec& codec);
    ~yc_ArchiveSeekable();
    yc_ArchiveSeekable(const yc_ArchiveSeekable&) = delete;
    yc_ArchiveSeekable& operator=(const yc_ArchiveSeekable&) = delete;

    // Positions. The end of a seekable archive is where the data ends: the
    // index is not data.
    void seek(std::int64_t offset, std::ios_base::seekdir whence);
    // Switches the codec's direction; each direction keeps its own position
    // (a first switch to storing starts where the data ends, a first switch
    // to loading after the header).
    void direction(bool storing);
    // Storing, at the end of the data.
    void toEnd();
    // Writes the index when it changed; the codec then holds a whole archive.
    void sync();
    // True when the index must still be written.
    bool changed() const { return changed_; }
    // Storing: writes `value` at `at`, then returns to where it was.
    void patch(pos at, std::uint32_t value);

    // Marks: the current mark is the one last written, read or found.
    std::int32_t writeMark(std::int32_t number);
    std::int32_t renumberMark(std::int32_t number);
    void removeMark();
    std::int32_t readMark();
    pos findMark(std::int32_t number);
    void skipMark();
    std::int32_t firstMark();
    std::int32_t lastMark();
    std::int32_t nextMark(std::int32_t number);
    std::int32_t prevMark(std::int32_t number);
    void startMarksAt(std::int32_t number);

    // Objects: the current object is the one last stored or found.
    std::int32_t takeObjectId();
    void addObject(std::int32_t id, const ObjectPlace& place);
    std::optional<ObjectPlace> object(std::int32_t id);
    // Moves to the record of `id` (NotFound if absent) and makes it current.
    pos findObject(std::int32_t id);
    // Makes `id`, which the index holds, current.
    void currentObject(std::int32_t id);
    std::int32_t firstObject();
    std::int32_t nextObject(std::int32_t id);
    // Drops the current object from the index and its record; returns its id.
    std::int32_t removeObject();
    void startObjectsAt(std::int32_t id);

    // Pointers, by the position of their id, walked in stream order.
    void addPointer(pos at, std::int32_t id);
    pos firstPointer();
    pos nextPointer();
    std::int32_t pointerId();
    void pointerId(std::int32_t id);
    void removePointer();

private:
    struct Index;
    struct Directory;
    // The index, read from the stream at first use when loading.
    Index& index();
    // Loading before the index is read: the stream's directory, when its
    // entries can be searched in place; else null.
    Directory* inPlace();
    // Where the data ends.
    pos dataEnd();
    // Runs `f`, then puts the codec back where it was.
    template <class F>
    auto keepingPosition(F&& f);
    // Storing: where the automatic numbering of marks or objects goes on.
    void startAt(std::int32_t Index::*counter, std::int32_t number);
    // Storing: remembers how far the data reaches before the position moves.
    void noteHigh();
    void writeIndex();

    yc_ArchiveCodec& codec_;
    std::unique_ptr<Index> index_;
    std::unique_ptr<Directory> directory_;
    pos high_ = 0;            // how far the data reaches (where the index goes)
    pos saved_[2] = {-1, -1}; // each direction's position while the other is in use
    bool changed_ = false;
    // What the last operation landed on: 0 or -1 for nothing.
    std::int32_t currentMark_ = 0;
    std::int32_t currentObject_ = 0;
    pos currentPointer_ = -1;
};

#endif

// Internal to the seekable layer: what its index holds. The byte layout is
// in seekable.h; only seekable.cpp and index.cpp include this.
#ifndef TLVSTD_ARCHIVE_INDEX_H
#define TLVSTD_ARCHIVE_INDEX_H

#include "std/archive/seekable.h"

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>

inline constexpr unsigned char kYcMarkMarker[4] = {0xA7, 0x4D, 0x4B, 0x31};

// What the trailer and the head of a stream's index say, read without its
// entries. While no object entry has the large-size tail every entry has a
// fixed size, and marks and objects are found by a binary search in place.
struct yc_ArchiveSeekable::Directory {
    pos at = 0;       // where the index starts, and the data ends
    pos tableEnd = 0; // where the trailer starts
    std::int32_t nextId = 1;
    std::int32_t nextMark = 1;
    std::uint32_t markCount = 0;
    std::uint32_t objectCount = 0;
    std::uint32_t pointerCount = 0;
    bool fixed = false; // known for sure to have no large-size tail
    // The keys at the top levels of the searches, by position: every search
    // passes them, so later ones read only the few entries near their own.
    std::unordered_map<pos, std::int32_t> topKeys;

    // Reads the trailer and the index head; the codec is left after the head.
    void read(yc_ArchiveCodec& codec);
    // The position of the record of mark `number`, or of object `id`, if the
    // index lists it. Only while `fixed`; the codec's position moves.
    std::optional<pos> findMark(yc_ArchiveCodec& codec, std::int32_t number);
    std::optional<ObjectPlace> findObject(yc_ArchiveCodec& codec, std::int32_t id);

private:
    // Binary search for the entry whose leading key is `key` among `count`
    // entries of `stride` bytes from `from`; leaves the codec after the key.
    bool seekEntry(yc_ArchiveCodec& codec, pos from, std::uint32_t count, std::uint64_t stride, std::int32_t key);
};

struct yc_ArchiveSeekable::Index {
    std::map<std::int32_t, pos> marks;
    std::map<std::int32_t, ObjectPlace> objects;
    std::map<pos, std::int32_t> pointers; // position of the id -> id
    std::int32_t nextId = 1;
    std::int32_t nextMark = 1;

    // The smallest unused number from the counter on; the counter moves past it.
    template <class Map>
    static std::int32_t take(std::int32_t& counter, const Map& used);

    // Reads an index from the end of the stream; returns where the data ends.
    pos read(yc_ArchiveCodec& codec);
    // Writes it at the codec's position, then padding up to `oldEnd - 12`
    // and the trailer naming `indexAt`.
    void write(yc_ArchiveCodec& codec, pos indexAt, pos oldEnd) const;
};

#endif

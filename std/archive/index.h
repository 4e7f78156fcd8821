// Internal to the archive: the index of a seekable archive and the markers of
// its records. The byte layout is documented in archive.h.
#ifndef TLVSTD_ARCHIVE_INDEX_H
#define TLVSTD_ARCHIVE_INDEX_H

#include "std/archive/archive.h"

#include <cstdint>
#include <map>

inline constexpr unsigned char kYcObjectMarker[4] = {0xF1, 0x66, 0x4B, 0xDF};
inline constexpr unsigned char kYcLargeSizeMarker[4] = {0x6F, 0x8B, 0x68, 0x45};
inline constexpr unsigned char kYcMarkMarker[4] = {0xA7, 0x4D, 0x4B, 0x31};
inline constexpr unsigned char kYcPointerMarker[4] = {0xA7, 0x50, 0x54, 0x52};
inline constexpr unsigned char kYcIndexMarker[4] = {0xA7, 0x49, 0x44, 0x58};
inline constexpr unsigned char kYcTrailerMarker[4] = {0xA7, 0x45, 0x4E, 0x44};

// The 32-bit size field of an object record that means "see the index".
inline constexpr std::uint32_t kYcLargeSize = 0xFFFFFFFFu;
// Never a mark number or object id.
inline constexpr std::int32_t kYcNoNumber = 0x7FFFFFFF;
inline constexpr std::int64_t kYcTrailerSize = 12;

class yc_ArchiveIndex {
public:
    using pos = ycArchive::pos;
    struct Object {
        pos position;
        std::uint64_t size;
        bool large = false; // the record's size field says "see the index"
    };

    std::map<std::int32_t, pos> marks;
    std::map<std::int32_t, Object> objects;
    std::map<pos, std::int32_t> pointers; // position of the id -> id
    std::int32_t nextId = 1;
    std::int32_t nextMark = 1;

    // What the last operation landed on: 0 or -1 for nothing.
    std::int32_t currentMark = 0;
    std::int32_t currentObject = 0;
    pos currentPointer = -1;

    // The smallest unused number from the counter on; the counter moves past it.
    std::int32_t takeMarkNumber() { return take(nextMark, marks); }
    std::int32_t takeObjectId() { return take(nextId, objects); }

    // Reads the index of `ar` from the end of its stream. Returns where the
    // data ends (the index position). The read position is not kept.
    pos read(ycArchive& ar);
    // Writes the index at the current position, then padding up to
    // `oldEnd - 12` and the trailer naming `indexAt`.
    void write(ycArchive& ar, pos indexAt, pos oldEnd) const;

private:
    template <class Map>
    static std::int32_t take(std::int32_t& counter, const Map& used);
};

#endif

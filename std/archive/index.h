// Internal to the seekable layer: what its index holds. The byte layout is
// in seekable.h; only seekable.cpp and index.cpp include this.
#ifndef TLVSTD_ARCHIVE_INDEX_H
#define TLVSTD_ARCHIVE_INDEX_H

#include "std/archive/seekable.h"

#include <cstdint>
#include <map>

inline constexpr unsigned char kYcMarkMarker[4] = {0xA7, 0x4D, 0x4B, 0x31};

struct yc_ArchiveSeekable::Index {
    std::map<std::int32_t, pos> marks;
    std::map<std::int32_t, ObjectPlace> objects;
    std::map<pos, std::int32_t> pointers; // position of the id -> id
    std::int32_t nextId = 1;
    std::int32_t nextMark = 1;

    // What the last operation landed on: 0 or -1 for nothing.
    std::int32_t currentMark = 0;
    std::int32_t currentObject = 0;
    pos currentPointer = -1;

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

// Internal to the archive: the object table, the objects an archive has met
// and the records that carry them.
//
// Stream: an object record is the marker F1 66 4B DF (the same bytes in
// either ordering), in a seekable archive its id (int32) and body size
// (uint32, see seekable.h), the canonical type name as a narrow string, and
// the body. An object reference is a 32-bit tag in order: 0 null, -1 a new
// object record follows, k > 0 the object record with id k. A pointer record
// (seekable archives) is A7 50 54 52 and the id of a record stored earlier.
//
// Object references name an object by its id: in a plain archive the order of
// its record (1, 2, ...), in a seekable one the id in the record's header. A
// storing archive remembers which objects it wrote, a loading one which
// objects it made, so a second reference to an object refers back to the
// first. Tables join a process-wide list, so that an object that changes
// (mutating()) or dies is forgotten by every archive that knows it: a later
// store writes it again, and a new object at the same address is never taken
// for the old one. Each table keeps both directions of its maps, so that
// forgetting costs the same whatever the table holds.
//
// Holding: a plain archive keeps a share of every counted object it makes
// until it goes away or releaseHeld() is called, because a later reference
// can find the object nowhere else. A seekable archive holds nothing: an
// object that died is loaded again from its record when referred to.
#ifndef TLVSTD_ARCHIVE_OBJECTS_H
#define TLVSTD_ARCHIVE_OBJECTS_H

#include "std/archive/archive.h"
#include "std/archive/codec.h"
#include "std/archive/seekable.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

inline constexpr unsigned char kYcObjectMarker[4] = {0xF1, 0x66, 0x4B, 0xDF};
inline constexpr unsigned char kYcPointerMarker[4] = {0xA7, 0x50, 0x54, 0x52};

class yc_ArchiveObjects {
public:
    // Bodies go through `ar`, record headers through its codec; `seekable`
    // is null for a plain archive.
    yc_ArchiveObjects(ycArchive& ar, yc_ArchiveCodec& codec, yc_ArchiveSeekable* seekable);
    ~yc_ArchiveObjects();
    yc_ArchiveObjects(const yc_ArchiveObjects&) = delete;
    yc_ArchiveObjects& operator=(const yc_ArchiveObjects&) = delete;

    // Storing: the record of `object` (marker, header when seekable, type
    // name, body). Returns its id.
    std::int32_t writeRecord(ycPersistent& object);
    // Storing: null, a reference back to a record of this archive, or a new record.
    void writeReference(ycPersistent* object);
    // Storing, seekable: a pointer record for an object held unchanged, else a record.
    std::int32_t storeObject(ycPersistent& object);

    // Loading: a record read into `object`, whose type must match.
    void readRecordInto(ycPersistent& object);
    // Loading: a record read into a new object made through the registry.
    std::unique_ptr<ycPersistent> readRecord();
    // Loading: what writeReference wrote: nothing (null), a new object, or
    // the object already loaded under that id.
    struct Reference {
        std::unique_ptr<ycPersistent> fresh;
        ycPersistent* known = nullptr;
        std::int32_t id = 0;
        ycPersistent* get() const { return fresh ? fresh.get() : known; }
    };
    Reference readReference();
    // Loading, seekable: a new object from the record of `id`, found through
    // the index; the read position is kept.
    std::unique_ptr<ycPersistent> loadIndexed(std::int32_t id);
    // True when a seekable archive can load the record of `id` again.
    bool canReload(std::int32_t id);
    // Loading, seekable: the object record, or the object a pointer record
    // refers to, at the read position.
    std::unique_ptr<ycPersistent> loadStored();

    // Loading, seekable: the header of the object record at the read
    // position, which stays where it is.
    struct Header {
        std::int32_t id = 0;
        std::uint64_t size = 0;
        bool large = false; // the size is one only the index holds
        ycArchive::pos position = -1;
    };
    Header peekHeader();
    std::string peekTypeName();

    // The tracer told of records and references while one read lasts
    // (ycArchive::readTraced), or null.
    void trace(ycArchive::Tracer* tracer) { tracer_ = tracer; }

    // True while the record of `object` is being read: a counted reference to
    // it then is a cycle, and a share taken of it would end its life early.
    bool isBeingRead(const ycPersistent* object) const;

    // Whether the archive keeps a share of each counted object it makes.
    bool holdsLoaded() const { return seekable_ == nullptr; }
    // Keeps a share of a loaded counted object until the archive goes away
    // or releaseHeld() is called.
    void hold(ycPersistent* object, void (*release)(ycPersistent*));
    void releaseHeld() noexcept;

    // The id of an object already written, or 0.
    std::int32_t idOf(const ycPersistent* object) const;
    // The object loaded under `id`, or null.
    ycPersistent* find(std::int32_t id) const;
    // A removed record is never referred to again.
    void forgetId(std::int32_t id);

    // Every archive forgets `object` as written (it changed) or, when
    // `destroyed`, as loaded too.
    static void forget(ycPersistent* object, bool destroyed) noexcept;

private:
    struct Head {
        std::int32_t id;
        std::string name;
    };
    Head readHead();
    // Runs `read` after the marker of the record at the read position, then
    // puts the position back.
    template <class F>
    auto peek(F&& read);
    std::unique_ptr<ycPersistent> readRecord(std::int32_t expectedId);
    void enter(ycPersistent* object, std::int32_t id);

    ycArchive& ar_;
    yc_ArchiveCodec& codec_;
    yc_ArchiveSeekable* seekable_;
    std::int32_t next_ = 1; // plain archives number records as they come
    std::vector<const ycPersistent*> reading_; // records being read inside one another
    ycArchive::Tracer* tracer_ = nullptr;
    std::unordered_map<const ycPersistent*, std::int32_t> written_;
    std::unordered_map<std::int32_t, const ycPersistent*> writtenIds_;
    std::unordered_map<std::int32_t, ycPersistent*> loaded_;
    std::unordered_map<const ycPersistent*, std::int32_t> loadedIds_;
    std::vector<std::pair<ycPersistent*, void (*)(ycPersistent*)>> held_;
};

// For tests: object bodies of at least `bytes` bytes get the 64-bit size form
// (normally 4 GiB). Returns the previous threshold.
TLVSTD_API std::uint64_t yf_SetArchiveLargeObjectSize(std::uint64_t bytes);

#endif

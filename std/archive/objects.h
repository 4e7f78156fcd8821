// Internal to the archive: the objects an archive has met.
//
// Object references name an object by its id: in a plain archive the order of
// its record (1, 2, ...), in a seekable one the id in the record's header. A
// storing archive remembers which objects it wrote, a loading one which
// objects it made, so a second reference to an object refers back to the
// first. Tables join a process-wide list, so that an object that changes
// (mutating()) or dies is forgotten by every archive that knows it: a later
// store writes it again, and a new object at the same address is never taken
// for the old one.
#ifndef TLVSTD_ARCHIVE_OBJECTS_H
#define TLVSTD_ARCHIVE_OBJECTS_H

#include "std/archive/archive.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

class yc_ArchiveObjects {
public:
    explicit yc_ArchiveObjects(ycArchive& ar);
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

    // True while the record of `object` is being read: a counted reference to
    // it then is a cycle, and a share taken of it would end its life early.
    bool isBeingRead(const ycPersistent* object) const;

    // Keeps a share of a loaded counted object until the archive goes away.
    void hold(ycPersistent* object, void (*release)(ycPersistent*));

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
    std::unique_ptr<ycPersistent> readRecord(std::int32_t expectedId);
    void enter(ycPersistent* object, std::int32_t id);

    ycArchive& ar_;
    std::int32_t next_ = 1; // plain archives number records as they come
    std::vector<const ycPersistent*> reading_; // records being read inside one another
    std::unordered_map<const ycPersistent*, std::int32_t> written_;
    std::unordered_map<std::int32_t, ycPersistent*> loaded_;
    std::vector<std::pair<ycPersistent*, void (*)(ycPersistent*)>> held_;
};

// For tests: object bodies of at least `bytes` bytes get the 64-bit size form
// (normally 4 GiB). Returns the previous threshold.
TLVSTD_API std::uint64_t yf_SetArchiveLargeObjectSize(std::uint64_t bytes);

#endif

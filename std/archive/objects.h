// Internal to the archive: the objects an archive has met.
//
// Object references name an object by the order of its record in the archive
// (1, 2, ...). A storing archive remembers which objects it wrote, a loading
// one which objects it made, so a second reference to an object refers back
// to the first. Tables join a process-wide list, so that an object that
// changes (mutating()) or dies is forgotten by every archive that knows it:
// a later store writes it again, and a new object at the same address is
// never taken for the old one.
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

    // Storing: the record of `object` (marker, type name, body).
    void writeRecord(ycPersistent& object);
    // Loading: a record read into `object`, whose type must match.
    void readRecordInto(ycPersistent& object);
    // Loading: a record read into a new object made through the registry.
    std::unique_ptr<ycPersistent> readRecord();

    // Keeps a share of a loaded counted object until the archive goes away.
    void hold(ycPersistent* object, void (*release)(ycPersistent*));

    // The reference id of an object already written, or 0.
    std::int32_t idOf(const ycPersistent* object) const;
    // The object loaded under reference id `id`, or null.
    ycPersistent* find(std::int32_t id) const;

    // Every archive forgets `object` as written (it changed) or, when
    // `destroyed`, as loaded too.
    static void forget(ycPersistent* object, bool destroyed) noexcept;

private:
    void enter(ycPersistent* object);
    std::string readHead();

    ycArchive& ar_;
    std::int32_t next_ = 1;
    std::unordered_map<const ycPersistent*, std::int32_t> written_;
    std::unordered_map<std::int32_t, ycPersistent*> loaded_;
    std::vector<std::pair<ycPersistent*, void (*)(ycPersistent*)>> held_;
};

#endif

// Persistent objects.
//
// ycPersistent is the base of every class that travels through a ycArchive.
// It is declared here, beside the error model, because every exception is
// persistent; the archive module implements the transfer (std/archive/
// persist.cpp) and adds the transfer operators and object references to
// counted objects (std/archive/persist.h).
//
// Each class level writes one version byte, then its base's level, then its
// own fields, so a stream holds the version bytes from the most-derived class
// down to ycPersistent followed by the fields from the root up:
//
//     void ycCircle::dispatchSerialize(ycArchive& ar)
//     {
//         serializeLevel(ar, this, 0, [&](std::uint8_t version) {
//             if (version != 0) unknownVersion(kSourceName, __LINE__);
//             ycShape::dispatchSerialize(ar);
//             ar || center_ || radius_;
//         });
//     }
//
// A level reached twice in one transfer (a base shared through multiple
// inheritance) is written once: the visited set is keyed by the address and
// size of the level, so an empty base at the start of a derived part is told
// apart from it.
//
// Concurrency: the visited set is per thread, and a nested whole-object
// transfer (an object whose fields hold other objects) works on a set of its
// own and gives the outer one back when it ends. No process-wide lock is held
// while an archive waits on its stream, so a thread storing an object never
// blocks a thread loading one.
//
// Change notification: every mutator calls mutating() before it changes the
// object. When the object is known to an open archive (it was written there
// and may be referred to again), the archive forgets it, so a later store
// writes it again instead of referring to the earlier copy.
#ifndef TLVSTD_EXCEPT_PERSISTENT_H
#define TLVSTD_EXCEPT_PERSISTENT_H

#include "std/config.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

class ycArchive;

class TLVSTD_API ycPersistent {
public:
    virtual ~ycPersistent();

    // Whole-object transfer: an object record (marker, type name, body) when
    // storing; when loading, the record is read into this existing object,
    // whose type must be the one recorded.
    static void serializeObject(ycArchive& ar, ycPersistent& object);

    // Object references. Storing writes null, a new object record the first
    // time an object is met in this archive, or a reference back to it after
    // that. Loading comes in three forms, by who owns what is loaded; the
    // last two (used through yfSerializeOwned and yfSerializeHandle in
    // std/archive/persist.h) give every loaded object an owner:
    //  - serializePointer: `out` is null, a new object made through the type
    //    registry, or the object already loaded for that reference. The
    //    pointer does not say which; the caller must know, and owns the new.
    //  - serializeOwned: a new object into `out`, its one owner; a reference
    //    back to an object loaded earlier is BadContent. `isA` checks the
    //    type. Returns true when the archive is loading.
    //  - serializeCounted: counted objects, shared through handles; a plain
    //    archive holds a share of each object it makes (`acquire`) and gives
    //    it back (`release`) when it goes away; where it holds none, `out`
    //    has no share yet and the caller's handle must take it at once.
    static void serializePointer(ycArchive& ar, ycPersistent* in, ycPersistent*& out);
    static bool serializeOwned(ycArchive& ar, ycPersistent* in, std::unique_ptr<ycPersistent>& out,
                               bool (*isA)(ycPersistent*));
    static void serializeCounted(ycArchive& ar, ycPersistent* in, ycPersistent*& out, bool (*isA)(ycPersistent*),
                                 void (*acquire)(ycPersistent*), void (*release)(ycPersistent*));

    // Reads one object record and returns the new object it describes.
    static std::unique_ptr<ycPersistent> readObject(ycArchive& ar);

    bool isStored() const { return stored_.load(std::memory_order_acquire); }

protected:
    ycPersistent() = default;
    ycPersistent(const ycPersistent&) noexcept {}
    ycPersistent& operator=(const ycPersistent&) noexcept
    {
        mutating();
        return *this;
    }

    // This object's body: the version byte of each level and its fields.
    virtual void dispatchSerialize(ycArchive& ar);
    // Called before an object is loaded in place.
    virtual void reInit() {}
    virtual bool loadSimple(ycArchive&) { return false; }

    static bool haveVisited(const void* address, std::size_t size);
    static void setVisited(const void* address, std::size_t size);

    void mutating() noexcept;

    template <class Level, class Body>
    static void serializeLevel(ycArchive& ar, Level* self, std::uint8_t current, Body&& body)
    {
        if (haveVisited(self, sizeof(Level))) return;
        std::uint8_t version = current;
        transferVersion(ar, version);
        body(version);
        setVisited(self, sizeof(Level));
    }

    // Throws ycArchive::UnknownVersion(file, line).
    [[noreturn]] static void unknownVersion(const char* file, int line);

private:
    friend class ycArchive;
    friend class yc_ArchiveObjects;

    static void transferVersion(ycArchive& ar, std::uint8_t& version);
    // The body transfer of one whole object, with a visited set of its own.
    void serialize(ycArchive& ar, bool reInitFirst);

    // Atomic: threads that write disjoint pels of one stored image all call
    // mutating(), and only one of them may tell the archives.
    std::atomic<bool> stored_{false}; // known to an archive as written
    std::atomic<bool> loaded_{false}; // known to an archive as loaded
};

#endif

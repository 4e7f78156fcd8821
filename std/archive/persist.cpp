#include "std/archive/persist.h"

#include "std/archive/objects.h"
#include "std/util/handle.h"
#include "std/util/assert.h"

#include <set>
#include <utility>
#include <vector>

namespace {

constexpr const char* kSourceName = ycSource::archive;

using VisitedSet = std::set<std::pair<const void*, std::size_t>>;

// One visited set per whole-object transfer in progress on this thread; a
// nested transfer pushes its own.
thread_local std::vector<VisitedSet> tVisited;

class VisitedScope {
public:
    explicit VisitedScope(const void* object) : object_(object) { tVisited.emplace_back().emplace(object, 0); }
    ~VisitedScope() { tVisited.pop_back(); }
    VisitedScope(const VisitedScope&) = delete;
    VisitedScope& operator=(const VisitedScope&) = delete;
    bool holdsSeed() const { return tVisited.back().count({object_, 0}) == 1; }

private:
    const void* object_;
};

} // namespace

ycPersistent::~ycPersistent()
{
    mutating();
    if (loaded_) yc_ArchiveObjects::forget(this, true);
}

void ycPersistent::mutating() noexcept
{
    // One relaxed load when nothing is stored; the exchange lets one of many
    // concurrent writers do the forgetting.
    if (!stored_.load(std::memory_order_relaxed) || !stored_.exchange(false)) return;
    yc_ArchiveObjects::forget(this, false);
}

bool ycPersistent::haveVisited(const void* address, std::size_t size)
{
    return !tVisited.empty() && tVisited.back().count({address, size}) != 0;
}

void ycPersistent::setVisited(const void* address, std::size_t size)
{
    if (!tVisited.empty()) tVisited.back().emplace(address, size);
}

void ycPersistent::transferVersion(ycArchive& ar, std::uint8_t& version)
{
    ar || version;
}

void ycPersistent::unknownVersion(const char* file, int line)
{
    throw ycArchive::UnknownVersion(file, line);
}

void ycPersistent::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [](std::uint8_t version) {
        if (version != 0) unknownVersion(kSourceName, __LINE__);
    });
}

void ycPersistent::serialize(ycArchive& ar, bool reInitFirst)
{
    if (ar.isLoading() && reInitFirst) reInit();
    VisitedScope scope(this);
    dispatchSerialize(ar);
    ymAssert(scope.holdsSeed());
}

void ycPersistent::serializeObject(ycArchive& ar, ycPersistent& object)
{
    if (ar.isStoring()) {
        ar.objects().writeRecord(object);
    } else {
        ar.objects().readRecordInto(object);
    }
}

std::unique_ptr<ycPersistent> ycPersistent::readObject(ycArchive& ar)
{
    return ar.objects().readRecord();
}

void ycPersistent::serializePointer(ycArchive& ar, ycPersistent* in, ycPersistent*& out)
{
    if (ar.isStoring()) {
        ar.objects().writeReference(in);
        out = in;
        return;
    }
    yc_ArchiveObjects::Reference ref = ar.objects().readReference();
    out = ref.fresh ? ref.fresh.release() : ref.known;
}

bool ycPersistent::serializeOwned(ycArchive& ar, ycPersistent* in, std::unique_ptr<ycPersistent>& out,
                                  bool (*isA)(ycPersistent*))
{
    if (ar.isStoring()) {
        ar.objects().writeReference(in);
        return false;
    }
    yc_ArchiveObjects::Reference ref = ar.objects().readReference();
    // An object has one owner: the one that loaded it first.
    if (ref.known) throw ycArchive::BadContent(kSourceName, __LINE__);
    if (ref.fresh && !isA(ref.fresh.get())) throw ycArchive::BadType(kSourceName, __LINE__);
    out = std::move(ref.fresh);
    return true;
}

void ycPersistent::serializeCounted(ycArchive& ar, ycPersistent* in, ycPersistent*& out, bool (*isA)(ycPersistent*),
                                    void (*acquire)(ycPersistent*), void (*release)(ycPersistent*))
{
    if (ar.isStoring()) {
        serializePointer(ar, in, out);
        return;
    }
    yc_ArchiveObjects& objects = ar.objects();
    yc_ArchiveObjects::Reference ref = objects.readReference();
    if (ref.get() && !isA(ref.get())) throw ycArchive::BadType(kSourceName, __LINE__);
    if (ref.known && objects.isBeingRead(ref.known)) throw ycArchive::BadContent(kSourceName, __LINE__);
    // An object loaded as a whole record that no handle holds belongs to
    // whoever loaded it: a share taken here would delete it under them, so
    // the reference gets a copy of its own where the archive can read one.
    const auto* counted = dynamic_cast<const ycRepBase*>(ref.known);
    if (counted && counted->refCount() == 0) {
        if (!objects.canReload(ref.id)) throw ycArchive::BadContent(kSourceName, __LINE__);
        ref.fresh = objects.loadIndexed(ref.id);
        ref.known = nullptr;
    }
    out = ref.get();
    // A seekable archive can read a record again, so it lets what it made go
    // with its last handle; a plain one keeps a share for later references.
    if (ref.fresh && objects.holdsLoaded()) {
        acquire(ref.fresh.release());
        objects.hold(out, release);
    } else {
        ref.fresh.release(); // the caller's handle takes it next, without a throw between
    }
}

ycArchive& operator||(ycArchive& ar, ycPersistent& object)
{
    ycPersistent::serializeObject(ar, object);
    return ar;
}

ycArchive& operator<<(ycArchive& ar, const ycPersistent& object)
{
    ymAssert(ar.isStoring());
    ycPersistent::serializeObject(ar, const_cast<ycPersistent&>(object));
    return ar;
}

ycArchive& operator>>(ycArchive& ar, ycPersistent& object)
{
    ymAssert(ar.isLoading());
    ycPersistent::serializeObject(ar, object);
    return ar;
}

#include "std/archive/objects.h"

#include "std/archive/index.h"
#include "std/except/registry.h"
#include "std/util/assert.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

namespace {

constexpr const char* kSourceName = ycSource::archive;
constexpr std::int32_t kNullTag = 0;
constexpr std::int32_t kNewTag = -1;
constexpr std::size_t kMaxDepth = 1000;

// Keeps an object on the stack of records being read while its body loads.
class Reading {
public:
    Reading(std::vector<const ycPersistent*>& stack, const ycPersistent* object) : stack_(stack)
    {
        stack_.push_back(object);
    }
    ~Reading() { stack_.pop_back(); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

private:
    std::vector<const ycPersistent*>& stack_;
};

std::atomic<std::uint64_t> gLargeObjectSize{kYcLargeSize};

// The open tables. Never destroyed: objects may die at exit after it would be.
struct OpenTables {
    std::mutex lock;
    std::vector<yc_ArchiveObjects*> all;
};

OpenTables& openTables()
{
    static OpenTables* tables = new OpenTables;
    return *tables;
}

} // namespace

std::uint64_t yf_SetArchiveLargeObjectSize(std::uint64_t bytes)
{
    return gLargeObjectSize.exchange(std::min<std::uint64_t>(bytes, kYcLargeSize));
}

yc_ArchiveObjects::yc_ArchiveObjects(ycArchive& ar) : ar_(ar)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    openTables().all.push_back(this);
}

yc_ArchiveObjects::~yc_ArchiveObjects()
{
    {
        OpenTables& open = openTables();
        std::lock_guard<std::mutex> guard(open.lock);
        open.all.erase(std::find(open.all.begin(), open.all.end(), this));
    }
    // Outside the lock: a release may destroy an object, which forgets itself.
    for (auto [object, release] : held_) release(object);
}

void yc_ArchiveObjects::hold(ycPersistent* object, void (*release)(ycPersistent*))
{
    held_.emplace_back(object, release);
}

void yc_ArchiveObjects::forget(ycPersistent* object, bool destroyed) noexcept
{
    OpenTables& open = openTables();
    std::lock_guard<std::mutex> guard(open.lock);
    for (yc_ArchiveObjects* table : open.all) {
        table->written_.erase(object);
        if (destroyed) std::erase_if(table->loaded_, [object](const auto& entry) { return entry.second == object; });
    }
}

void yc_ArchiveObjects::forgetId(std::int32_t id)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    std::erase_if(written_, [id](const auto& entry) { return entry.second == id; });
}

void yc_ArchiveObjects::enter(ycPersistent* object, std::int32_t id)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    if (ar_.isStoring()) {
        written_[object] = id;
        object->stored_ = true;
    } else if (id > 0) {
        loaded_[id] = object;
        object->loaded_ = true;
    }
}

std::int32_t yc_ArchiveObjects::idOf(const ycPersistent* object) const
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    auto it = written_.find(object);
    return it == written_.end() ? 0 : it->second;
}

ycPersistent* yc_ArchiveObjects::find(std::int32_t id) const
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    auto it = loaded_.find(id);
    return it == loaded_.end() ? nullptr : it->second;
}

std::int32_t yc_ArchiveObjects::writeRecord(ycPersistent& object)
{
    if (ar_.version() == 0) throw ycArchive::CannotWriteToOldArchive(kSourceName, __LINE__);
    const yc_TypeRegistry& registry = yc_TypeRegistry::instance();
    std::string name = registry.nameOf(typeid(object));
    if (name.empty() || !registry.factory(name))
        throw ycArchive::UnknownType(yfTypeName(typeid(object)).c_str(), kSourceName, __LINE__);

    const bool seekable = ar_.isSeekable();
    const std::int32_t id = seekable ? ar_.index().takeObjectId() : next_++;
    ycArchive::pos at = seekable ? ar_.tell() : 0;
    ar_.putBytes(reinterpret_cast<const char*>(kYcObjectMarker), sizeof kYcObjectMarker);
    ycArchive::pos sizeAt = 0;
    if (seekable) {
        ar_.putScalar(id);
        sizeAt = ar_.tell();
        ar_.putScalar<std::uint32_t>(0); // filled in once the body is written
    }
    ar_ || name;
    ycArchive::pos bodyAt = seekable ? ar_.tell() : 0;
    enter(&object, id);
    try {
        object.serialize(ar_, false);
    } catch (...) {
        // Half a record: nothing may refer to it.
        std::lock_guard<std::mutex> guard(openTables().lock);
        written_.erase(&object);
        throw;
    }
    if (seekable) {
        auto size = static_cast<std::uint64_t>(ar_.tell() - bodyAt);
        const bool large = size >= gLargeObjectSize.load();
        ar_.patch(sizeAt, large ? kYcLargeSize : static_cast<std::uint32_t>(size));
        yc_ArchiveIndex& index = ar_.index();
        index.objects[id] = {at, size, large};
        index.currentObject = id;
    }
    return id;
}

void yc_ArchiveObjects::writeReference(ycPersistent* object)
{
    std::int32_t id = object ? idOf(object) : kNullTag;
    if (object && id == 0) {
        std::int32_t tag = kNewTag;
        ar_ || tag;
        writeRecord(*object);
        return;
    }
    ycArchive::pos at = ar_.isSeekable() ? ar_.tell() : 0;
    ar_ || id;
    if (id != kNullTag && ar_.isSeekable()) ar_.index().pointers[at] = id;
}

std::int32_t yc_ArchiveObjects::storeObject(ycPersistent& object)
{
    yc_ArchiveIndex& index = ar_.index();
    std::int32_t id = idOf(&object);
    if (id == 0 || !index.objects.count(id)) return writeRecord(object);
    ar_.putBytes(reinterpret_cast<const char*>(kYcPointerMarker), sizeof kYcPointerMarker);
    index.pointers[ar_.tell()] = id;
    ar_ || id;
    index.currentObject = id;
    return id;
}

yc_ArchiveObjects::Head yc_ArchiveObjects::readHead()
{
    ar_.expectMarker(kYcObjectMarker);
    Head head{0, {}};
    if (ar_.isSeekable()) {
        std::uint32_t size = 0;
        ar_ || head.id || size;
    } else {
        head.id = next_++;
    }
    ar_ || head.name;
    return head;
}

void yc_ArchiveObjects::readRecordInto(ycPersistent& object)
{
    Head head = readHead();
    if (head.name != yc_TypeRegistry::instance().nameOf(typeid(object)))
        throw ycArchive::BadType(kSourceName, __LINE__);
    enter(&object, head.id);
    Reading reading(reading_, &object);
    object.serialize(ar_, true);
}

bool yc_ArchiveObjects::isBeingRead(const ycPersistent* object) const
{
    return std::find(reading_.begin(), reading_.end(), object) != reading_.end();
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::readRecord()
{
    return readRecord(0);
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::readRecord(std::int32_t expectedId)
{
    // Records inside records recurse: a stream must not be able to exhaust the stack.
    if (reading_.size() >= kMaxDepth) throw ycArchive::BadContent(kSourceName, __LINE__);
    Head head = readHead();
    if (expectedId != 0 && head.id != expectedId) throw ycArchive::BadContent(kSourceName, __LINE__);
    ycFactory factory = yc_TypeRegistry::instance().factory(head.name);
    if (!factory) throw ycArchive::UnknownType(head.name.c_str(), kSourceName, __LINE__);
    std::unique_ptr<ycPersistent> object(factory());
    if (!object) throw std::bad_alloc();
    enter(object.get(), head.id);
    Reading reading(reading_, object.get());
    object->serialize(ar_, false);
    return object;
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::loadIndexed(std::int32_t id)
{
    const yc_ArchiveIndex& index = ar_.index();
    auto it = index.objects.find(id);
    if (it == index.objects.end()) throw ycArchive::NotFound(kSourceName, __LINE__);
    ycArchive::pos back = ar_.tell();
    ar_.rawSeek(it->second.position);
    std::unique_ptr<ycPersistent> object = readRecord(id);
    ar_.rawSeek(back);
    return object;
}

yc_ArchiveObjects::Reference yc_ArchiveObjects::readReference()
{
    Reference ref;
    ar_ || ref.id;
    if (ref.id == kNullTag) return ref;
    if (ref.id == kNewTag) {
        ref.fresh = readRecord();
    } else if (ref.id > 0) {
        ref.known = find(ref.id);
        // A seekable archive read from the middle: the object is further back.
        if (!ref.known && !canReload(ref.id)) throw ycArchive::BadContent(kSourceName, __LINE__);
        if (!ref.known) ref.fresh = loadIndexed(ref.id);
    } else {
        throw ycArchive::BadContent(kSourceName, __LINE__);
    }
    return ref;
}

bool yc_ArchiveObjects::canReload(std::int32_t id)
{
    return ar_.isSeekable() && ar_.index().objects.count(id) != 0;
}

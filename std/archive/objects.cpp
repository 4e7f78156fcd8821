#include "std/archive/objects.h"

#include "std/archive/registry.h"
#include "std/util/assert.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

constexpr const char* kSourceName = ycSource::archive;
constexpr unsigned char kObjectMarker[4] = {0xF1, 0x66, 0x4B, 0xDF};

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

void yc_ArchiveObjects::enter(ycPersistent* object)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    std::int32_t id = next_++;
    if (ar_.isStoring()) {
        written_[object] = id;
        object->stored_ = true;
    } else {
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

void yc_ArchiveObjects::writeRecord(ycPersistent& object)
{
    if (ar_.version() == 0) throw ycArchive::CannotWriteToOldArchive(kSourceName, __LINE__);
    const yc_TypeRegistry& registry = yc_TypeRegistry::instance();
    std::string name = registry.nameOf(typeid(object));
    if (name.empty() || !registry.factory(name))
        throw ycArchive::UnknownType(yfTypeName(typeid(object)).c_str(), kSourceName, __LINE__);
    ar_.putBytes(reinterpret_cast<const char*>(kObjectMarker), sizeof kObjectMarker);
    ar_ || name;
    enter(&object);
    object.serialize(ar_, false);
}

std::string yc_ArchiveObjects::readHead()
{
    unsigned char marker[sizeof kObjectMarker];
    ar_.getBytes(reinterpret_cast<char*>(marker), sizeof marker);
    if (!std::equal(marker, marker + sizeof marker, kObjectMarker)) throw ycArchive::BadType(kSourceName, __LINE__);
    std::string name;
    ar_ || name;
    return name;
}

void yc_ArchiveObjects::readRecordInto(ycPersistent& object)
{
    if (readHead() != yc_TypeRegistry::instance().nameOf(typeid(object)))
        throw ycArchive::BadType(kSourceName, __LINE__);
    enter(&object);
    object.serialize(ar_, true);
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::readRecord()
{
    std::string name = readHead();
    ycFactory factory = yc_TypeRegistry::instance().factory(name);
    if (!factory) throw ycArchive::UnknownType(name.c_str(), kSourceName, __LINE__);
    std::unique_ptr<ycPersistent> object(factory());
    if (!object) throw std::bad_alloc();
    enter(object.get());
    object->serialize(ar_, false);
    return object;
}

#include "std/archive/objects.h"

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

yc_ArchiveObjects::yc_ArchiveObjects(ycArchive& ar, yc_ArchiveCodec& codec, yc_ArchiveSeekable* seekable)
    : ar_(ar), codec_(codec), seekable_(seekable)
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
    releaseHeld();
}

void yc_ArchiveObjects::hold(ycPersistent* object, void (*release)(ycPersistent*))
{
    held_.emplace_back(object, release);
}

void yc_ArchiveObjects::releaseHeld() noexcept
{
    // Outside the lock: a release may destroy an object, which forgets itself.
    for (auto [object, release] : std::exchange(held_, {})) release(object);
}

namespace {

// Erases the pair (key, value) from a map and its reverse, if the map holds it.
template <class Forward, class Reverse>
void erasePair(Forward& forward, Reverse& reverse, const typename Forward::key_type& key)
{
    auto it = forward.find(key);
    if (it == forward.end()) return;
    auto back = reverse.find(it->second);
    if (back != reverse.end() && back->second == key) reverse.erase(back);
    forward.erase(it);
}

// Enters (key, value) in a map and its reverse, dropping what either held.
template <class Forward, class Reverse>
void enterPair(Forward& forward, Reverse& reverse, const typename Forward::key_type& key,
               const typename Forward::mapped_type& value)
{
    erasePair(forward, reverse, key);
    erasePair(reverse, forward, value);
    forward.emplace(key, value);
    reverse.emplace(value, key);
}

} // namespace

void yc_ArchiveObjects::forget(ycPersistent* object, bool destroyed) noexcept
{
    OpenTables& open = openTables();
    std::lock_guard<std::mutex> guard(open.lock);
    // A dying object was forgotten as written by its mutating() already.
    for (yc_ArchiveObjects* table : open.all) {
        if (destroyed) {
            erasePair(table->loadedIds_, table->loaded_, object);
        } else {
            erasePair(table->written_, table->writtenIds_, object);
        }
    }
}

void yc_ArchiveObjects::forgetId(std::int32_t id)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    erasePair(writtenIds_, written_, id);
}

void yc_ArchiveObjects::enter(ycPersistent* object, std::int32_t id)
{
    std::lock_guard<std::mutex> guard(openTables().lock);
    if (ar_.isStoring()) {
        enterPair(written_, writtenIds_, object, id);
        object->stored_ = true;
    } else if (id > 0) {
        enterPair(loaded_, loadedIds_, id, object);
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

    const std::int32_t id = seekable_ ? seekable_->takeObjectId() : next_++;
    ycArchive::pos at = seekable_ ? codec_.tell() : 0;
    codec_.putMarker(kYcObjectMarker);
    ycArchive::pos sizeAt = 0;
    if (seekable_) {
        codec_.put(id);
        sizeAt = codec_.tell();
        codec_.put<std::uint32_t>(0); // filled in once the body is written
    }
    codec_.transfer(name);
    ycArchive::pos bodyAt = seekable_ ? codec_.tell() : 0;
    enter(&object, id);
    try {
        object.serialize(ar_, false);
    } catch (...) {
        // Half a record: nothing may refer to it.
        std::lock_guard<std::mutex> guard(openTables().lock);
        written_.erase(&object);
        throw;
    }
    if (seekable_) {
        auto size = static_cast<std::uint64_t>(codec_.tell() - bodyAt);
        const bool large = size >= gLargeObjectSize.load();
        seekable_->patch(sizeAt, large ? kYcLargeSize : static_cast<std::uint32_t>(size));
        seekable_->addObject(id, {at, size, large});
    }
    return id;
}

void yc_ArchiveObjects::writeReference(ycPersistent* object)
{
    std::int32_t id = object ? idOf(object) : kNullTag;
    if (object && id == 0) {
        codec_.put(kNewTag);
        writeRecord(*object);
        return;
    }
    ycArchive::pos at = seekable_ ? codec_.tell() : 0;
    codec_.put(id);
    if (id != kNullTag && seekable_) seekable_->addPointer(at, id);
}

std::int32_t yc_ArchiveObjects::storeObject(ycPersistent& object)
{
    std::int32_t id = idOf(&object);
    if (id == 0 || !seekable_->object(id)) return writeRecord(object);
    codec_.putMarker(kYcPointerMarker);
    seekable_->addPointer(codec_.tell(), id);
    codec_.put(id);
    seekable_->currentObject(id);
    return id;
}

yc_ArchiveObjects::Head yc_ArchiveObjects::readHead()
{
    codec_.expectMarker(kYcObjectMarker);
    Head head{0, {}};
    if (seekable_) {
        head.id = codec_.get<std::int32_t>();
        codec_.get<std::uint32_t>();
    } else {
        head.id = next_++;
    }
    codec_.transfer(head.name);
    return head;
}

void yc_ArchiveObjects::readRecordInto(ycPersistent& object)
{
    const ycArchive::pos at = codec_.tell();
    Head head = readHead();
    if (tracer_) tracer_->recordBegins(at, head.id, head.name);
    if (head.name != yc_TypeRegistry::instance().nameOf(typeid(object)))
        throw ycArchive::BadType(kSourceName, __LINE__);
    enter(&object, head.id);
    Reading reading(reading_, &object);
    object.serialize(ar_, true);
    if (tracer_) tracer_->recordEnds(codec_.tell(), object);
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
    const ycArchive::pos at = codec_.tell();
    Head head = readHead();
    if (tracer_) tracer_->recordBegins(at, head.id, head.name);
    if (expectedId != 0 && head.id != expectedId) throw ycArchive::BadContent(kSourceName, __LINE__);
    ycFactory factory = yc_TypeRegistry::instance().factory(head.name);
    if (!factory) throw ycArchive::UnknownType(head.name.c_str(), kSourceName, __LINE__);
    std::unique_ptr<ycPersistent> object(factory());
    if (!object) throw std::bad_alloc();
    enter(object.get(), head.id);
    Reading reading(reading_, object.get());
    object->serialize(ar_, false);
    if (tracer_) tracer_->recordEnds(codec_.tell(), *object);
    return object;
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::loadIndexed(std::int32_t id)
{
    std::optional<yc_ArchiveSeekable::ObjectPlace> place = seekable_ ? seekable_->object(id) : std::nullopt;
    if (!place) throw ycArchive::NotFound(kSourceName, __LINE__);
    ycArchive::pos back = codec_.tell();
    codec_.seekTo(place->position);
    std::unique_ptr<ycPersistent> object = readRecord(id);
    codec_.seekTo(back);
    return object;
}

yc_ArchiveObjects::Reference yc_ArchiveObjects::readReference()
{
    Reference ref;
    const ycArchive::pos at = codec_.tell();
    ref.id = codec_.get<std::int32_t>();
    if (tracer_ && ref.id != kNewTag) tracer_->referenceMet(at, ref.id);
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
    return seekable_ && seekable_->object(id);
}

std::unique_ptr<ycPersistent> yc_ArchiveObjects::loadStored()
{
    if (!codec_.markerAhead(kYcPointerMarker)) return readRecord();
    codec_.expectMarker(kYcPointerMarker);
    return loadIndexed(codec_.get<std::int32_t>());
}

template <class F>
auto yc_ArchiveObjects::peek(F&& read)
{
    const ycArchive::pos at = codec_.tell();
    try {
        codec_.expectMarker(kYcObjectMarker);
        auto result = read(at);
        codec_.seekTo(at);
        return result;
    } catch (...) {
        codec_.seekTo(at);
        throw;
    }
}

yc_ArchiveObjects::Header yc_ArchiveObjects::peekHeader()
{
    return peek([this](ycArchive::pos at) {
        Header head{codec_.get<std::int32_t>(), codec_.get<std::uint32_t>(), false, at};
        head.large = head.size == kYcLargeSize;
        if (head.large) {
            std::optional<yc_ArchiveSeekable::ObjectPlace> place = seekable_->object(head.id);
            if (!place || place->position != at) throw ycArchive::BadContent(kSourceName, __LINE__);
            head.size = place->size;
        }
        return head;
    });
}

std::string yc_ArchiveObjects::peekTypeName()
{
    return peek([this](ycArchive::pos) {
        codec_.get<std::int32_t>();
        codec_.get<std::uint32_t>();
        std::string name;
        codec_.transfer(name);
        return name;
    });
}

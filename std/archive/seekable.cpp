#include "std/archive/seekable.h"

#include "std/archive/archive.h"
#include "std/archive/index.h"
#include "std/util/assert.h"

#include <algorithm>

namespace {

constexpr const char* kSourceName = ycSource::archive;
// The header; a first switch to loading starts after it.
constexpr yc_ArchiveSeekable::pos kDataStart = 2;
constexpr std::int64_t kMarkRecord = 8;

bool validOrFree(std::int32_t n)
{
    return n == 0 || yf_ValidArchiveNumber(n);
}

// Walking marks and objects by number: 0 where there is none.
template <class Map>
std::int32_t firstKey(const Map& map)
{
    return map.empty() ? 0 : map.begin()->first;
}

template <class Map>
std::int32_t keyAfter(const Map& map, std::int32_t key)
{
    auto it = map.upper_bound(key);
    return it == map.end() ? 0 : it->first;
}

[[noreturn]] void notFound(int line)
{
    throw ycArchive::NotFound(kSourceName, line);
}

// Removes the entry `key` of `map` (NotFound if absent) and zeroes the
// number of its record, at the position `numberAt` gives for the entry.
template <class Map, class At>
void dropEntry(yc_ArchiveSeekable& layer, Map& map, typename Map::key_type key, At numberAt)
{
    auto it = map.find(key);
    if (it == map.end()) notFound(__LINE__);
    layer.patch(numberAt(*it), 0);
    map.erase(it);
}

} // namespace

yc_ArchiveSeekable::yc_ArchiveSeekable(yc_ArchiveCodec& codec) : codec_(codec)
{
    if (codec_.isStoring()) {
        index_ = std::make_unique<Index>();
        high_ = codec_.tell();
        changed_ = true;
    }
}

yc_ArchiveSeekable::~yc_ArchiveSeekable() = default;

template <class F>
auto yc_ArchiveSeekable::keepingPosition(F&& f)
{
    const pos here = codec_.tell();
    try {
        auto result = f();
        codec_.seekTo(here);
        return result;
    } catch (...) {
        codec_.seekTo(here);
        throw;
    }
}

yc_ArchiveSeekable::Index& yc_ArchiveSeekable::index()
{
    if (!index_) {
        auto read = std::make_unique<Index>();
        high_ = keepingPosition([&] { return read->read(codec_); });
        index_ = std::move(read);
        directory_.reset();
    }
    return *index_;
}

yc_ArchiveSeekable::Directory* yc_ArchiveSeekable::inPlace()
{
    if (index_ || codec_.isStoring()) return nullptr;
    if (!directory_) {
        auto read = std::make_unique<Directory>();
        keepingPosition([&] {
            read->read(codec_);
            return 0;
        });
        directory_ = std::move(read);
    }
    return directory_->fixed ? directory_.get() : nullptr;
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::dataEnd()
{
    if (Directory* d = inPlace()) return d->at;
    index();
    return high_;
}

// --- positions ----------------------------------------------------------------

void yc_ArchiveSeekable::noteHigh()
{
    if (codec_.isStoring()) high_ = std::max(high_, codec_.tell());
}

void yc_ArchiveSeekable::seek(std::int64_t offset, std::ios_base::seekdir whence)
{
    noteHigh();
    pos from = whence == std::ios_base::beg ? 0 : whence == std::ios_base::cur ? codec_.tell() : dataEnd();
    codec_.seekTo(from + offset);
}

void yc_ArchiveSeekable::direction(bool storing)
{
    if (storing == codec_.isStoring()) return;
    index(); // a loading archive needs its index before it can write one
    noteHigh();
    saved_[codec_.isStoring() ? 1 : 0] = codec_.tell();
    codec_.direction(storing);
    pos target = saved_[storing ? 1 : 0];
    if (target < 0) target = storing ? high_ : kDataStart;
    codec_.seekTo(target);
    if (storing) changed_ = true;
}

void yc_ArchiveSeekable::toEnd()
{
    direction(true);
    noteHigh();
    codec_.seekTo(high_);
}

void yc_ArchiveSeekable::sync()
{
    if (changed_ && codec_.isStoring()) writeIndex();
}

void yc_ArchiveSeekable::writeIndex()
{
    noteHigh();
    const pos back = codec_.tell();
    const pos oldEnd = codec_.streamEnd();
    codec_.seekTo(high_);
    index_->write(codec_, high_, oldEnd);
    codec_.seekTo(back);
}

void yc_ArchiveSeekable::patch(pos at, std::uint32_t value)
{
    noteHigh();
    const pos back = codec_.tell();
    codec_.seekTo(at);
    codec_.put(value);
    codec_.seekTo(back);
}

// --- marks ----------------------------------------------------------------------

std::int32_t yc_ArchiveSeekable::writeMark(std::int32_t number)
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    ymAssert(validOrFree(number));
    if (!codec_.isStoring() || !validOrFree(number)) return 0;
    if (number != 0 && ix.marks.count(number)) throw ycArchive::Duplicate(kSourceName, __LINE__);
    if (number == 0) number = Index::take(ix.nextMark, ix.marks);
    const pos at = codec_.tell();
    codec_.putMarker(kYcMarkMarker);
    codec_.put(number);
    ix.marks[number] = at;
    currentMark_ = number;
    return number;
}

std::int32_t yc_ArchiveSeekable::renumberMark(std::int32_t number)
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    ymAssert(validOrFree(number));
    if (!codec_.isStoring() || !validOrFree(number)) return 0;
    auto it = ix.marks.find(currentMark_);
    if (it == ix.marks.end()) notFound(__LINE__);
    if (number == it->first) return number;
    if (number != 0 && ix.marks.count(number)) throw ycArchive::Duplicate(kSourceName, __LINE__);
    if (number == 0) number = Index::take(ix.nextMark, ix.marks);
    const pos at = it->second;
    patch(at + 4, static_cast<std::uint32_t>(number));
    ix.marks.erase(it);
    ix.marks[number] = at;
    currentMark_ = number;
    return number;
}

void yc_ArchiveSeekable::removeMark()
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    if (!codec_.isStoring()) return;
    dropEntry(*this, ix.marks, currentMark_, [](const auto& mark) { return mark.second + 4; });
    currentMark_ = 0;
}

std::int32_t yc_ArchiveSeekable::readMark()
{
    codec_.expectMarker(kYcMarkMarker);
    currentMark_ = codec_.get<std::int32_t>();
    return currentMark_;
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::findMark(std::int32_t number)
{
    ymAssert(yf_ValidArchiveNumber(number));
    std::optional<pos> at;
    if (Directory* d = inPlace()) {
        at = keepingPosition([&] { return d->findMark(codec_, number); });
    } else {
        const auto& marks = index().marks;
        auto it = marks.find(number);
        if (it != marks.end()) at = it->second;
    }
    if (!at) notFound(__LINE__);
    noteHigh();
    codec_.seekTo(*at);
    currentMark_ = number;
    return *at;
}

void yc_ArchiveSeekable::skipMark()
{
    Index& ix = index();
    if (!codec_.isStoring()) {
        readMark();
        return;
    }
    // Storing over earlier data: only the index knows a mark is here.
    const pos at = codec_.tell();
    auto it = std::find_if(ix.marks.begin(), ix.marks.end(), [at](const auto& m) { return m.second == at; });
    if (it == ix.marks.end()) throw ycArchive::BadType(kSourceName, __LINE__);
    currentMark_ = it->first;
    seek(at + kMarkRecord, std::ios_base::beg);
}

std::int32_t yc_ArchiveSeekable::firstMark()
{
    return firstKey(index().marks);
}

std::int32_t yc_ArchiveSeekable::lastMark()
{
    const auto& marks = index().marks;
    return marks.empty() ? 0 : marks.rbegin()->first;
}

std::int32_t yc_ArchiveSeekable::nextMark(std::int32_t number)
{
    return keyAfter(index().marks, number);
}

std::int32_t yc_ArchiveSeekable::prevMark(std::int32_t number)
{
    const auto& marks = index().marks;
    auto it = marks.lower_bound(number);
    return it == marks.begin() ? 0 : std::prev(it)->first;
}

void yc_ArchiveSeekable::startMarksAt(std::int32_t number)
{
    startAt(&Index::nextMark, number);
}

void yc_ArchiveSeekable::startAt(std::int32_t Index::*counter, std::int32_t number)
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    ymAssert(yf_ValidArchiveNumber(number));
    if (!codec_.isStoring() || !yf_ValidArchiveNumber(number)) return;
    ix.*counter = number;
}

// --- objects --------------------------------------------------------------------

std::int32_t yc_ArchiveSeekable::takeObjectId()
{
    Index& ix = index();
    return Index::take(ix.nextId, ix.objects);
}

void yc_ArchiveSeekable::addObject(std::int32_t id, const ObjectPlace& place)
{
    Index& ix = index();
    ix.objects[id] = place;
    currentObject_ = id;
}

std::optional<yc_ArchiveSeekable::ObjectPlace> yc_ArchiveSeekable::object(std::int32_t id)
{
    if (Directory* d = inPlace()) return keepingPosition([&] { return d->findObject(codec_, id); });
    const auto& objects = index().objects;
    auto it = objects.find(id);
    if (it == objects.end()) return std::nullopt;
    return it->second;
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::findObject(std::int32_t id)
{
    std::optional<ObjectPlace> place = object(id);
    if (!place) notFound(__LINE__);
    codec_.seekTo(place->position);
    currentObject_ = id;
    return place->position;
}

void yc_ArchiveSeekable::currentObject(std::int32_t id)
{
    currentObject_ = id;
}

std::int32_t yc_ArchiveSeekable::firstObject()
{
    return firstKey(index().objects);
}

std::int32_t yc_ArchiveSeekable::nextObject(std::int32_t id)
{
    return keyAfter(index().objects, id);
}

std::int32_t yc_ArchiveSeekable::removeObject()
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    if (!codec_.isStoring()) return 0;
    const std::int32_t id = currentObject_;
    dropEntry(*this, ix.objects, id, [](const auto& object) { return object.second.position + 4; });
    currentObject_ = 0;
    return id;
}

void yc_ArchiveSeekable::startObjectsAt(std::int32_t id)
{
    startAt(&Index::nextId, id);
}

// --- pointers -------------------------------------------------------------------

void yc_ArchiveSeekable::addPointer(pos at, std::int32_t id)
{
    index().pointers[at] = id;
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::firstPointer()
{
    Index& ix = index();
    currentPointer_ = ix.pointers.empty() ? -1 : ix.pointers.begin()->first;
    return currentPointer_;
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::nextPointer()
{
    Index& ix = index();
    if (currentPointer_ < 0) return -1;
    auto it = ix.pointers.upper_bound(currentPointer_);
    currentPointer_ = it == ix.pointers.end() ? -1 : it->first;
    return currentPointer_;
}

std::int32_t yc_ArchiveSeekable::pointerId()
{
    Index& ix = index();
    auto it = ix.pointers.find(currentPointer_);
    if (it == ix.pointers.end()) notFound(__LINE__);
    return it->second;
}

void yc_ArchiveSeekable::pointerId(std::int32_t id)
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    ymAssert(yf_ValidArchiveNumber(id));
    if (!codec_.isStoring() || !yf_ValidArchiveNumber(id)) return;
    auto it = ix.pointers.find(currentPointer_);
    if (it == ix.pointers.end() || !ix.objects.count(id)) notFound(__LINE__);
    patch(it->first, static_cast<std::uint32_t>(id));
    it->second = id;
}

void yc_ArchiveSeekable::removePointer()
{
    Index& ix = index();
    ymAssert(codec_.isStoring());
    if (!codec_.isStoring()) return;
    dropEntry(*this, ix.pointers, currentPointer_, [](const auto& pointer) { return pointer.first; });
}

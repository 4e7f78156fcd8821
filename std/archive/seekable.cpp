// The seekable operations of ycArchive: direction switches, marks, stored
// objects, pointers and the index's place in the stream.
#include "std/archive/archive.h"

#include "std/archive/index.h"
#include "std/archive/objects.h"
#include "std/util/assert.h"

#include <algorithm>

namespace {

constexpr const char* kSourceName = ycSource::archive;
// The header; a first switch to loading starts after it.
constexpr ycArchive::pos kDataStart = 2;

bool validNumber(std::int32_t n)
{
    return n >= 1 && n != kYcNoNumber;
}

bool validOrFree(std::int32_t n)
{
    return n == 0 || validNumber(n);
}

} // namespace

void ycArchive::requireSeekable(int line)
{
    if (!seekable_) throw NotSeekable(kSourceName, line);
}

yc_ArchiveIndex& ycArchive::index()
{
    if (!index_) {
        // Storing archives made theirs in start(); a loading one reads it now.
        auto read = std::make_unique<yc_ArchiveIndex>();
        pos here = tell();
        try {
            high_ = read->read(*this);
        } catch (...) {
            rawSeek(here);
            throw;
        }
        rawSeek(here);
        index_ = std::move(read);
    }
    return *index_;
}

void ycArchive::noteHigh()
{
    if (seekable_ && isStoring()) high_ = std::max(high_, tell());
}

void ycArchive::rawSeek(pos position)
{
    auto which = isStoring() ? std::ios_base::out : std::ios_base::in;
    if (position < 0 || buffer_->pubseekpos(position, which) == std::streampos(-1))
        throw BadBuffer(kSourceName, __LINE__);
}

ycArchive::pos ycArchive::streamEnd()
{
    auto which = isStoring() ? std::ios_base::out : std::ios_base::in;
    pos here = tell();
    auto end = buffer_->pubseekoff(0, std::ios_base::end, which);
    rawSeek(here);
    if (end == std::streampos(-1)) throw BadBuffer(kSourceName, __LINE__);
    return static_cast<pos>(end);
}

void ycArchive::writeIndex()
{
    noteHigh();
    pos back = tell();
    pos oldEnd = streamEnd();
    rawSeek(high_);
    index_->write(*this, high_, oldEnd);
    rawSeek(back);
}

bool ycArchive::markerAhead(const unsigned char (&marker)[4])
{
    pos at = tell();
    unsigned char bytes[4];
    bool whole = buffer_->sgetn(reinterpret_cast<char*>(bytes), 4) == 4;
    rawSeek(at);
    return whole && std::equal(bytes, bytes + 4, marker);
}

void ycArchive::expectMarker(const unsigned char (&marker)[4])
{
    unsigned char bytes[4];
    getBytes(reinterpret_cast<char*>(bytes), 4);
    if (!std::equal(bytes, bytes + 4, marker)) throw BadType(kSourceName, __LINE__);
}

void ycArchive::patch(pos at, std::int32_t value)
{
    patch(at, static_cast<std::uint32_t>(value));
}

void ycArchive::patch(pos at, std::uint32_t value)
{
    noteHigh();
    pos back = tell();
    rawSeek(at);
    putScalar(value);
    rawSeek(back);
}

// --- directions -------------------------------------------------------------

void ycArchive::mode(Direction direction)
{
    requireSeekable(__LINE__);
    if (direction == storing) {
        ymAssert(!readOnly_);
        if (readOnly_) return;
    }
    if (direction == direction_) return;
    index(); // a loading archive needs its index before it can write one
    noteHigh();
    saved_[direction_] = tell();
    direction_ = direction;
    pos target = saved_[direction];
    if (target < 0) target = direction == storing ? high_ : kDataStart;
    rawSeek(target);
    if (direction == storing) indexDirty_ = true;
}

void ycArchive::append()
{
    requireSeekable(__LINE__);
    ymAssert(!readOnly_);
    if (readOnly_) return;
    mode(storing);
    noteHigh();
    rawSeek(high_);
}

ycArchive* ycArchive::secondary()
{
    requireSeekable(__LINE__);
    return secondary_;
}

void ycArchive::secondary(ycArchive* other)
{
    requireSeekable(__LINE__);
    secondary_ = other;
}

// --- marks ------------------------------------------------------------------

std::int32_t ycArchive::writeNewMark(std::int32_t number)
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(validOrFree(number));
    if (!isStoring() || !validOrFree(number)) return 0;
    if (number != 0 && marks.marks.count(number)) throw Duplicate(kSourceName, __LINE__);
    if (number == 0) number = marks.takeMarkNumber();
    pos at = tell();
    putBytes(reinterpret_cast<const char*>(kYcMarkMarker), 4);
    putScalar(number);
    marks.marks[number] = at;
    marks.currentMark = number;
    return number;
}

std::int32_t ycArchive::renumberMark(std::int32_t number)
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(validOrFree(number));
    if (!isStoring() || !validOrFree(number)) return 0;
    auto it = marks.marks.find(marks.currentMark);
    if (it == marks.marks.end()) throw NotFound(kSourceName, __LINE__);
    if (number == it->first) return number;
    if (number != 0 && marks.marks.count(number)) throw Duplicate(kSourceName, __LINE__);
    if (number == 0) number = marks.takeMarkNumber();
    pos at = it->second;
    patch(at + 4, number);
    marks.marks.erase(it);
    marks.marks[number] = at;
    marks.currentMark = number;
    return number;
}

void ycArchive::removeMark()
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(isStoring());
    if (!isStoring()) return;
    auto it = marks.marks.find(marks.currentMark);
    if (it == marks.marks.end()) throw NotFound(kSourceName, __LINE__);
    patch(it->second + 4, std::int32_t{0});
    marks.marks.erase(it);
    marks.currentMark = 0;
}

void ycArchive::readMark(std::int32_t& number)
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return;
    expectMarker(kYcMarkMarker);
    number = getScalar<std::int32_t>();
    marks.currentMark = number;
}

ycArchive::pos ycArchive::findMark(std::int32_t number)
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(validNumber(number));
    auto it = marks.marks.find(number);
    if (it == marks.marks.end()) throw NotFound(kSourceName, __LINE__);
    noteHigh();
    rawSeek(it->second);
    marks.currentMark = number;
    return it->second;
}

void ycArchive::skipMark()
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    if (isLoading()) {
        std::int32_t number = 0;
        readMark(number);
        return;
    }
    // Storing over earlier data: only the index knows a mark is here.
    pos at = tell();
    auto it = std::find_if(marks.marks.begin(), marks.marks.end(), [at](const auto& m) { return m.second == at; });
    if (it == marks.marks.end()) throw BadType(kSourceName, __LINE__);
    marks.currentMark = it->first;
    seek(at + 8);
}

std::int32_t ycArchive::firstMarkNum()
{
    const auto& marks = seekableIndex(__LINE__).marks;
    return marks.empty() ? 0 : marks.begin()->first;
}

std::int32_t ycArchive::lastMarkNum()
{
    const auto& marks = seekableIndex(__LINE__).marks;
    return marks.empty() ? 0 : marks.rbegin()->first;
}

std::int32_t ycArchive::nextMarkNum(std::int32_t number)
{
    const auto& marks = seekableIndex(__LINE__).marks;
    auto it = marks.upper_bound(number);
    return it == marks.end() ? 0 : it->first;
}

std::int32_t ycArchive::prevMarkNum(std::int32_t number)
{
    const auto& marks = seekableIndex(__LINE__).marks;
    auto it = marks.lower_bound(number);
    return it == marks.begin() ? 0 : std::prev(it)->first;
}

void ycArchive::setStartingNum(std::int32_t number)
{
    yc_ArchiveIndex& marks = seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(validNumber(number));
    if (!isStoring() || !validNumber(number)) return;
    marks.nextMark = number;
}

// --- objects ----------------------------------------------------------------

std::int32_t ycArchive::storeObject(ycPersistent* object)
{
    seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(object != nullptr);
    if (!isStoring() || object == nullptr) return 0;
    if (version_ == 0) throw CannotWriteToOldArchive(kSourceName, __LINE__);
    return objects().storeObject(*object);
}

std::unique_ptr<ycPersistent> ycArchive::loadObject()
{
    seekableIndex(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return nullptr;
    if (!markerAhead(kYcPointerMarker)) return objects().readRecord();
    expectMarker(kYcPointerMarker);
    std::int32_t id = getScalar<std::int32_t>();
    return objects().loadIndexed(id);
}

ycArchive::pos ycArchive::findObject(std::int32_t id)
{
    yc_ArchiveIndex& objects = seekableIndex(__LINE__);
    ymAssert(isLoading());
    ymAssert(validNumber(id));
    if (!isLoading()) return -1;
    auto it = objects.objects.find(id);
    if (it == objects.objects.end()) throw NotFound(kSourceName, __LINE__);
    rawSeek(it->second.position);
    objects.currentObject = id;
    return it->second.position;
}

std::int32_t ycArchive::firstObjectID()
{
    const auto& objects = seekableIndex(__LINE__).objects;
    ymAssert(isLoading());
    return objects.empty() ? 0 : objects.begin()->first;
}

std::int32_t ycArchive::nextObjectID(std::int32_t id)
{
    const auto& objects = seekableIndex(__LINE__).objects;
    ymAssert(isLoading());
    auto it = objects.upper_bound(id);
    return it == objects.end() ? 0 : it->first;
}

ycArchive::pos ycArchive::objectHeader(std::int32_t& id, std::uint64_t& size, bool& large)
{
    pos at = tell();
    try {
        expectMarker(kYcObjectMarker);
        std::int32_t readId = getScalar<std::int32_t>();
        std::uint32_t small = getScalar<std::uint32_t>();
        std::uint64_t readSize = small;
        if (small == kYcLargeSize) {
            const auto& objects = index().objects;
            auto it = objects.find(readId);
            if (it == objects.end() || it->second.position != at) throw BadContent(kSourceName, __LINE__);
            readSize = it->second.size;
        }
        rawSeek(at);
        id = readId;
        size = readSize;
        large = small == kYcLargeSize;
        return at;
    } catch (...) {
        rawSeek(at);
        throw;
    }
}

void ycArchive::readObjectHeader(std::int32_t& id, std::uint32_t& size, pos& position)
{
    seekableIndex(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return;
    std::int32_t readId = 0;
    std::uint64_t readSize = 0;
    bool large = false;
    pos at = objectHeader(readId, readSize, large);
    if (large) throw BadType(kSourceName, __LINE__); // only the 64-bit form holds it
    id = readId;
    size = static_cast<std::uint32_t>(readSize);
    position = at;
}

void ycArchive::readObjectHeader64(std::int32_t& id, std::uint64_t& size, pos& position)
{
    seekableIndex(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return;
    bool large = false;
    position = objectHeader(id, size, large);
}

std::string ycArchive::objectTypeName()
{
    seekableIndex(__LINE__);
    ymAssert(isLoading());
    if (!isLoading()) return {};
    pos at = tell();
    std::string name;
    try {
        expectMarker(kYcObjectMarker);
        getScalar<std::int32_t>();
        getScalar<std::uint32_t>();
        *this || name;
    } catch (...) {
        rawSeek(at);
        throw;
    }
    rawSeek(at);
    return name;
}

void ycArchive::removeObject()
{
    yc_ArchiveIndex& objects = seekableIndex(__LINE__);
    ymAssert(isStoring());
    if (!isStoring()) return;
    auto it = objects.objects.find(objects.currentObject);
    if (it == objects.objects.end()) throw NotFound(kSourceName, __LINE__);
    patch(it->second.position + 4, std::int32_t{0});
    this->objects().forgetId(it->first);
    objects.objects.erase(it);
    objects.currentObject = 0;
}

void ycArchive::setStartingID(std::int32_t id)
{
    yc_ArchiveIndex& objects = seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(validNumber(id));
    if (!isStoring() || !validNumber(id)) return;
    objects.nextId = id;
}

// --- pointers ---------------------------------------------------------------

ycArchive::pos ycArchive::firstPointerPos()
{
    yc_ArchiveIndex& pointers = seekableIndex(__LINE__);
    pointers.currentPointer = pointers.pointers.empty() ? -1 : pointers.pointers.begin()->first;
    return pointers.currentPointer;
}

ycArchive::pos ycArchive::nextPointerPos()
{
    yc_ArchiveIndex& pointers = seekableIndex(__LINE__);
    if (pointers.currentPointer < 0) return -1;
    auto it = pointers.pointers.upper_bound(pointers.currentPointer);
    pointers.currentPointer = it == pointers.pointers.end() ? -1 : it->first;
    return pointers.currentPointer;
}

std::int32_t ycArchive::pointerObjectID()
{
    yc_ArchiveIndex& pointers = seekableIndex(__LINE__);
    auto it = pointers.pointers.find(pointers.currentPointer);
    if (it == pointers.pointers.end()) throw NotFound(kSourceName, __LINE__);
    return it->second;
}

void ycArchive::pointerObjectID(std::int32_t id)
{
    yc_ArchiveIndex& pointers = seekableIndex(__LINE__);
    ymAssert(isStoring());
    ymAssert(validNumber(id));
    if (!isStoring() || !validNumber(id)) return;
    auto it = pointers.pointers.find(pointers.currentPointer);
    if (it == pointers.pointers.end() || !pointers.objects.count(id)) throw NotFound(kSourceName, __LINE__);
    patch(it->first, id);
    it->second = id;
}

void ycArchive::removePointer()
{
    yc_ArchiveIndex& pointers = seekableIndex(__LINE__);
    ymAssert(isStoring());
    if (!isStoring()) return;
    auto it = pointers.pointers.find(pointers.currentPointer);
    if (it == pointers.pointers.end()) throw NotFound(kSourceName, __LINE__);
    patch(it->first, std::int32_t{0});
    pointers.pointers.erase(it);
}

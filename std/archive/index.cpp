#include "std/archive/index.h"

#include "std/util/sources.h"

#include <algorithm>

namespace {

constexpr const char* kSourceName = ycSource::archive;
// Marker, the two counters and the three counts.
constexpr std::int64_t kIndexHead = 4 + 4 + 4 + 3 * 4;
constexpr std::uint64_t kMarkEntry = 4 + 8;
constexpr std::uint64_t kObjectEntry = 4 + 8 + 4;
constexpr std::uint64_t kLargeTail = 4 + 8;
constexpr std::uint64_t kPointerEntry = 8 + 4;
// The shortest records: a mark, a pointer's id, an object (marker, id, size
// and an empty type name).
constexpr std::int64_t kMarkRecord = 8;
constexpr std::int64_t kPointerId = 4;
constexpr std::int64_t kObjectRecord = 4 + 4 + 4 + 3;

bool validNumber(std::int32_t n)
{
    return n >= 1 && n != kYcNoNumber;
}

[[noreturn]] void badContent(int line)
{
    throw ycArchive::BadContent(kSourceName, line);
}

} // namespace

template <class Map>
std::int32_t yc_ArchiveIndex::take(std::int32_t& counter, const Map& used)
{
    std::int32_t n = std::max(counter, 1);
    for (auto it = used.lower_bound(n); it != used.end() && it->first == n && n < kYcNoNumber; ++it) ++n;
    if (n >= kYcNoNumber) throw ycArchive::BadContent(kSourceName, __LINE__); // every number taken
    counter = n + 1;
    return n;
}

template std::int32_t yc_ArchiveIndex::take(std::int32_t&, const std::map<std::int32_t, pos>&);
template std::int32_t yc_ArchiveIndex::take(std::int32_t&, const std::map<std::int32_t, Object>&);

yc_ArchiveIndex::pos yc_ArchiveIndex::read(ycArchive& ar)
{
    const pos end = ar.streamEnd();
    if (end < 2 + kYcTrailerSize) throw ycArchive::BadType(kSourceName, __LINE__);
    const pos tableEnd = end - kYcTrailerSize;
    ar.rawSeek(tableEnd);
    const pos at = ar.getScalar<std::int64_t>();
    ar.expectMarker(kYcTrailerMarker);
    if (at < 2 || at > tableEnd - kIndexHead) badContent(__LINE__);

    ar.rawSeek(at);
    ar.expectMarker(kYcIndexMarker);
    std::int32_t firstFreeId = ar.getScalar<std::int32_t>();
    std::int32_t firstFreeMark = ar.getScalar<std::int32_t>();
    // A counter past the last usable number (0x7FFFFFFF) says they are all used.
    if (firstFreeId < 1 || firstFreeMark < 1) badContent(__LINE__);
    std::uint32_t markCount = ar.getScalar<std::uint32_t>();
    std::uint32_t objectCount = ar.getScalar<std::uint32_t>();
    std::uint32_t pointerCount = ar.getScalar<std::uint32_t>();
    // The counts must fit where the index is before anything is read for them.
    const auto room = static_cast<std::uint64_t>(tableEnd - at - kIndexHead);
    if (markCount * kMarkEntry + objectCount * kObjectEntry + pointerCount * kPointerEntry > room)
        badContent(__LINE__);

    std::map<std::int32_t, pos> readMarks;
    for (std::uint32_t i = 0; i < markCount; ++i) {
        std::int32_t number = ar.getScalar<std::int32_t>();
        pos position = ar.getScalar<std::int64_t>();
        if (!validNumber(number) || position < 2 || position > at - kMarkRecord) badContent(__LINE__);
        if (!readMarks.emplace(number, position).second) badContent(__LINE__);
    }
    std::map<std::int32_t, Object> readObjects;
    std::uint64_t largeBytes = 0;
    for (std::uint32_t i = 0; i < objectCount; ++i) {
        std::int32_t id = ar.getScalar<std::int32_t>();
        pos position = ar.getScalar<std::int64_t>();
        std::uint64_t size = ar.getScalar<std::uint32_t>();
        const bool large = size == kYcLargeSize;
        if (large) {
            largeBytes += kLargeTail;
            if (markCount * kMarkEntry + objectCount * kObjectEntry + pointerCount * kPointerEntry + largeBytes > room)
                badContent(__LINE__);
            ar.expectMarker(kYcLargeSizeMarker);
            size = ar.getScalar<std::uint64_t>();
        }
        if (!validNumber(id) || position < 2 || position > at - kObjectRecord) badContent(__LINE__);
        if (size > static_cast<std::uint64_t>(at - position - kObjectRecord)) badContent(__LINE__);
        if (!readObjects.emplace(id, Object{position, size, large}).second) badContent(__LINE__);
    }
    std::map<pos, std::int32_t> readPointers;
    for (std::uint32_t i = 0; i < pointerCount; ++i) {
        pos position = ar.getScalar<std::int64_t>();
        std::int32_t id = ar.getScalar<std::int32_t>();
        if (!validNumber(id) || position < 2 || position > at - kPointerId) badContent(__LINE__);
        if (!readPointers.emplace(position, id).second) badContent(__LINE__);
    }

    marks = std::move(readMarks);
    objects = std::move(readObjects);
    pointers = std::move(readPointers);
    nextId = firstFreeId;
    nextMark = firstFreeMark;
    return at;
}

void yc_ArchiveIndex::write(ycArchive& ar, pos indexAt, pos oldEnd) const
{
    ar.putBytes(reinterpret_cast<const char*>(kYcIndexMarker), 4);
    ar.putScalar(nextId);
    ar.putScalar(nextMark);
    ar.putScalar(static_cast<std::uint32_t>(marks.size()));
    ar.putScalar(static_cast<std::uint32_t>(objects.size()));
    ar.putScalar(static_cast<std::uint32_t>(pointers.size()));
    for (const auto& [number, position] : marks) {
        ar.putScalar(number);
        ar.putScalar<std::int64_t>(position);
    }
    for (const auto& [id, object] : objects) {
        ar.putScalar(id);
        ar.putScalar<std::int64_t>(object.position);
        if (!object.large && object.size < kYcLargeSize) {
            ar.putScalar(static_cast<std::uint32_t>(object.size));
        } else {
            ar.putScalar(kYcLargeSize);
            ar.putBytes(reinterpret_cast<const char*>(kYcLargeSizeMarker), 4);
            ar.putScalar(object.size);
        }
    }
    for (const auto& [position, id] : pointers) {
        ar.putScalar<std::int64_t>(position);
        ar.putScalar(id);
    }
    // The trailer must stay the stream's last bytes, also when this index is
    // shorter than the one it replaces.
    static constexpr char zeros[256] = {};
    for (pos left = oldEnd - kYcTrailerSize - ar.tell(); left > 0; left -= static_cast<pos>(sizeof zeros))
        ar.putBytes(zeros, static_cast<std::size_t>(std::min<pos>(left, sizeof zeros)));
    ar.putScalar<std::int64_t>(indexAt);
    ar.putBytes(reinterpret_cast<const char*>(kYcTrailerMarker), 4);
}

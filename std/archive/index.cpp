// The bytes of a seekable archive's index.
#include "std/archive/index.h"

#include "std/archive/archive.h"
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

constexpr unsigned char kLargeSizeMarker[4] = {0x6F, 0x8B, 0x68, 0x45};
constexpr unsigned char kIndexMarker[4] = {0xA7, 0x49, 0x44, 0x58};
constexpr unsigned char kTrailerMarker[4] = {0xA7, 0x45, 0x4E, 0x44};
constexpr std::int64_t kTrailerSize = 12;
// Levels of the searches in place whose keys are kept: at most 2^12 keys.
constexpr int kTopLevels = 12;

[[noreturn]] void badContent(int line)
{
    throw ycArchive::BadContent(kSourceName, line);
}

} // namespace

template <class Map>
std::int32_t yc_ArchiveSeekable::Index::take(std::int32_t& counter, const Map& used)
{
    std::int32_t n = std::max(counter, 1);
    for (auto it = used.lower_bound(n); it != used.end() && it->first == n && n < kYcNoNumber; ++it) ++n;
    if (n >= kYcNoNumber) throw ycArchive::BadContent(kSourceName, __LINE__); // every number taken
    counter = n + 1;
    return n;
}

template std::int32_t yc_ArchiveSeekable::Index::take(std::int32_t&, const std::map<std::int32_t, pos>&);
template std::int32_t yc_ArchiveSeekable::Index::take(std::int32_t&,
                                                      const std::map<std::int32_t, ObjectPlace>&);

void yc_ArchiveSeekable::Directory::read(yc_ArchiveCodec& codec)
{
    const pos end = codec.streamEnd();
    if (end < 2 + kTrailerSize) throw ycArchive::BadType(kSourceName, __LINE__);
    tableEnd = end - kTrailerSize;
    codec.seekTo(tableEnd);
    at = codec.get<std::int64_t>();
    codec.expectMarker(kTrailerMarker);
    if (at < 2 || at > tableEnd - kIndexHead) badContent(__LINE__);

    codec.seekTo(at);
    codec.expectMarker(kIndexMarker);
    nextId = codec.get<std::int32_t>();
    nextMark = codec.get<std::int32_t>();
    // A counter past the last usable number (0x7FFFFFFF) says they are all used.
    if (nextId < 1 || nextMark < 1) badContent(__LINE__);
    markCount = codec.get<std::uint32_t>();
    objectCount = codec.get<std::uint32_t>();
    pointerCount = codec.get<std::uint32_t>();
    // The counts must fit where the index is before anything is read for them.
    const auto room = static_cast<std::uint64_t>(tableEnd - at - kIndexHead);
    const std::uint64_t entries = markCount * kMarkEntry + objectCount * kObjectEntry + pointerCount * kPointerEntry;
    if (entries > room) badContent(__LINE__);
    // Each large-size tail adds 12 bytes, and only an earlier, longer index
    // leaves zero bytes: less than a tail's room left over means neither can
    // be there. Otherwise the entries are read as a whole.
    fixed = room - entries < kLargeTail;
}

bool yc_ArchiveSeekable::Directory::seekEntry(yc_ArchiveCodec& codec, pos from, std::uint32_t count,
                                              std::uint64_t stride, std::int32_t key)
{
    // Ids and numbers are usually 1, 2, ...: one probe where that puts the
    // key finds it without a search.
    if (key >= 1 && static_cast<std::uint32_t>(key) <= count) {
        const pos guess = from + static_cast<pos>((static_cast<std::uint64_t>(key) - 1) * stride);
        codec.seekTo(guess);
        if (codec.get<std::int32_t>() == key) return true;
    }
    std::uint32_t low = 0, high = count;
    for (int depth = 0; low < high; ++depth) {
        const std::uint32_t mid = low + (high - low) / 2;
        const pos entry = from + static_cast<pos>(mid * stride);
        std::int32_t found = 0;
        auto known = topKeys.find(entry);
        if (known != topKeys.end()) {
            found = known->second;
            if (found == key) codec.seekTo(entry + 4);
        } else {
            codec.seekTo(entry);
            found = codec.get<std::int32_t>();
            if (depth < kTopLevels) topKeys.emplace(entry, found);
        }
        if (found == key) return true;
        if (found < key) {
            low = mid + 1;
        } else {
            high = mid;
        }
    }
    return false;
}

std::optional<yc_ArchiveSeekable::pos> yc_ArchiveSeekable::Directory::findMark(yc_ArchiveCodec& codec,
                                                                              std::int32_t number)
{
    if (!seekEntry(codec, at + kIndexHead, markCount, kMarkEntry, number)) return std::nullopt;
    const pos position = codec.get<std::int64_t>();
    if (position < 2 || position > at - kMarkRecord) badContent(__LINE__);
    return position;
}

std::optional<yc_ArchiveSeekable::ObjectPlace> yc_ArchiveSeekable::Directory::findObject(yc_ArchiveCodec& codec,
                                                                                        std::int32_t id)
{
    const pos objectsAt = at + kIndexHead + static_cast<pos>(markCount * kMarkEntry);
    if (!seekEntry(codec, objectsAt, objectCount, kObjectEntry, id)) return std::nullopt;
    const pos position = codec.get<std::int64_t>();
    const std::uint64_t size = codec.get<std::uint32_t>();
    if (size == kYcLargeSize) badContent(__LINE__); // a tail the index has no room for
    if (position < 2 || position > at - kObjectRecord) badContent(__LINE__);
    if (size > static_cast<std::uint64_t>(at - position - kObjectRecord)) badContent(__LINE__);
    return ObjectPlace{position, size, false};
}

yc_ArchiveSeekable::pos yc_ArchiveSeekable::Index::read(yc_ArchiveCodec& codec)
{
    Directory head;
    head.read(codec);
    const pos at = head.at;
    const std::uint32_t markCount = head.markCount, objectCount = head.objectCount, pointerCount = head.pointerCount;
    const auto room = static_cast<std::uint64_t>(head.tableEnd - at - kIndexHead);

    std::map<std::int32_t, pos> readMarks;
    for (std::uint32_t i = 0; i < markCount; ++i) {
        std::int32_t number = codec.get<std::int32_t>();
        pos position = codec.get<std::int64_t>();
        if (!yf_ValidArchiveNumber(number) || position < 2 || position > at - kMarkRecord) badContent(__LINE__);
        if (!readMarks.emplace(number, position).second) badContent(__LINE__);
    }
    std::map<std::int32_t, ObjectPlace> readObjects;
    std::uint64_t largeBytes = 0;
    for (std::uint32_t i = 0; i < objectCount; ++i) {
        std::int32_t id = codec.get<std::int32_t>();
        pos position = codec.get<std::int64_t>();
        std::uint64_t size = codec.get<std::uint32_t>();
        const bool large = size == kYcLargeSize;
        if (large) {
            largeBytes += kLargeTail;
            if (markCount * kMarkEntry + objectCount * kObjectEntry + pointerCount * kPointerEntry + largeBytes > room)
                badContent(__LINE__);
            codec.expectMarker(kLargeSizeMarker);
            size = codec.get<std::uint64_t>();
        }
        if (!yf_ValidArchiveNumber(id) || position < 2 || position > at - kObjectRecord) badContent(__LINE__);
        if (size > static_cast<std::uint64_t>(at - position - kObjectRecord)) badContent(__LINE__);
        if (!readObjects.emplace(id, ObjectPlace{position, size, large}).second) badContent(__LINE__);
    }
    std::map<pos, std::int32_t> readPointers;
    for (std::uint32_t i = 0; i < pointerCount; ++i) {
        pos position = codec.get<std::int64_t>();
        std::int32_t id = codec.get<std::int32_t>();
        if (!yf_ValidArchiveNumber(id) || position < 2 || position > at - kPointerId) badContent(__LINE__);
        if (!readPointers.emplace(position, id).second) badContent(__LINE__);
    }

    marks = std::move(readMarks);
    objects = std::move(readObjects);
    pointers = std::move(readPointers);
    nextId = head.nextId;
    nextMark = head.nextMark;
    return at;
}

void yc_ArchiveSeekable::Index::write(yc_ArchiveCodec& codec, pos indexAt, pos oldEnd) const
{
    codec.putMarker(kIndexMarker);
    codec.put(nextId);
    codec.put(nextMark);
    codec.put(static_cast<std::uint32_t>(marks.size()));
    codec.put(static_cast<std::uint32_t>(objects.size()));
    codec.put(static_cast<std::uint32_t>(pointers.size()));
    for (const auto& [number, position] : marks) {
        codec.put(number);
        codec.put<std::int64_t>(position);
    }
    for (const auto& [id, object] : objects) {
        codec.put(id);
        codec.put<std::int64_t>(object.position);
        if (!object.large && object.size < kYcLargeSize) {
            codec.put(static_cast<std::uint32_t>(object.size));
        } else {
            codec.put(kYcLargeSize);
            codec.putMarker(kLargeSizeMarker);
            codec.put(object.size);
        }
    }
    for (const auto& [position, id] : pointers) {
        codec.put<std::int64_t>(position);
        codec.put(id);
    }
    // The trailer must stay the stream's last bytes, also when this index is
    // shorter than the one it replaces.
    static constexpr char zeros[256] = {};
    for (pos left = oldEnd - kTrailerSize - codec.tell(); left > 0; left -= static_cast<pos>(sizeof zeros))
        codec.putBytes(zeros, static_cast<std::size_t>(std::min<pos>(left, sizeof zeros)));
    codec.put<std::int64_t>(indexAt);
    codec.putMarker(kTrailerMarker);
}

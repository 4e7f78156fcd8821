#include "std/archive/archive.h"

#include "std/archive/index.h"
#include "std/archive/objects.h"
#include "std/util/assert.h"
#include "std/util/debug.h"
#include "std/util/text.h"

#include <array>
#include <limits>

namespace {

constexpr const char* kSourceName = ycSource::archive;
constexpr std::size_t kLocalUnits = 64;
constexpr std::size_t kMaxLength = 32767;
constexpr unsigned char kQuote = 0x22;
constexpr std::uint16_t kWideMarker = 0xFEFF;   // bytes FF FE read little-endian
constexpr std::uint16_t kWideSwapped = 0xFFFE;  // bytes FE FF
constexpr std::uint32_t kU32Marker = 0x0000FEFF;
constexpr std::uint32_t kU32Swapped = 0xFFFE0000;
constexpr unsigned char kU32MarkerBytes[4] = {0xFF, 0xFE, 0x00, 0x00};
// Where a stream cannot say how much it holds, containers grow as elements
// arrive instead of trusting the count.
constexpr std::size_t kUpFront = 1 << 16;

// Exchanges the two middle bytes of a 32-bit character: b0 b1 b2 b3 -> b0 b2 b1 b3.
constexpr std::uint32_t swapMiddle(std::uint32_t c)
{
    return (c & 0xFF0000FFu) | ((c & 0x0000FF00u) << 8) | ((c & 0x00FF0000u) >> 8);
}

} // namespace

ycArchive::ycArchive(std::streambuf* buffer, Direction direction, Ordering ordering, bool seekable, bool readOnly)
    : buffer_(buffer),
      readOnly_(direction == storing ? false : readOnly),
      direction_(direction),
      ordering_(ordering),
      seekable_(seekable)
{
}

ycArchive::~ycArchive() = default;

void ycArchive::start()
{
    if (isStoring()) {
        ymAssert(version_ <= 127);
        std::uint8_t head[2] = {static_cast<std::uint8_t>(version_ << 1 | (seekable_ ? 1 : 0)), ordering_};
        putBytes(reinterpret_cast<const char*>(head), 2);
    } else {
        std::uint8_t first = getScalar<std::uint8_t>();
        std::uint8_t order = getScalar<std::uint8_t>();
        if ((first >> 1) > 1) throw UnknownArchiveVersion(kSourceName, __LINE__);
        if (((first & 1) != 0) != seekable_) throw BadType(kSourceName, __LINE__);
        if (order > 1) throw BadBuffer(kSourceName, __LINE__);
        version_ = static_cast<std::uint8_t>(first >> 1);
        ordering_ = static_cast<Ordering>(order);
    }
    swap_ = ordering_ != yf_MachineOrdering();
    if (seekable_ && isStoring()) {
        index_ = std::make_unique<yc_ArchiveIndex>();
        high_ = tell();
        indexDirty_ = true;
    }
}

void ycArchive::finish() noexcept
{
    try {
        if (indexDirty_ && isLoading()) mode(storing);
        if (isStoring()) sync();
    } catch (const ycException& e) {
        yfDebugLine(L"archive:" + std::to_wstring(__LINE__) +
                    L": (warning) ignoring exception thrown in ycArchive destructor: " + e.message(true));
    } catch (...) {
    }
}

ycArchive::pos ycArchive::tell()
{
    auto which = isStoring() ? std::ios_base::out : std::ios_base::in;
    return static_cast<pos>(buffer_->pubseekoff(0, std::ios_base::cur, which));
}

void ycArchive::seek(pos position)
{
    seek(position, std::ios_base::beg);
}

void ycArchive::seek(std::int64_t offset, std::ios_base::seekdir whence)
{
    if (seekable_) {
        // The index is not data: the end of a seekable archive is where the data ends.
        noteHigh();
        pos from = whence == std::ios_base::beg ? 0 : whence == std::ios_base::cur ? tell() : (index(), high_);
        rawSeek(from + offset);
        return;
    }
    auto which = isStoring() ? std::ios_base::out : std::ios_base::in;
    if (buffer_->pubseekoff(offset, whence, which) == std::streampos(-1)) throw BadBuffer(kSourceName, __LINE__);
}

void ycArchive::sync()
{
    if (indexDirty_ && isStoring()) writeIndex();
    if (buffer_->pubsync() != 0) throw BadBuffer(kSourceName, __LINE__);
}

void ycArchive::failWrite()
{
    throw BadBuffer(kSourceName, __LINE__);
}

void ycArchive::failEof()
{
    throw Eof(kSourceName, __LINE__);
}

void ycArchive::getStringBytes(char* p, std::size_t n)
{
    if (static_cast<std::size_t>(buffer_->sgetn(p, static_cast<std::streamsize>(n))) != n)
        throw BadBuffer(kSourceName, __LINE__);
}

ycArchive& ycArchive::operator||(bool& value)
{
    if (isStoring()) {
        putScalar<std::uint8_t>(value ? 1 : 0);
    } else {
        value = getScalar<std::uint8_t>() != 0;
    }
    return *this;
}

ycArchive& ycArchive::operator||(wchar_t& value)
{
    if (isStoring()) {
        auto c = static_cast<std::make_unsigned_t<wchar_t>>(value);
        if (c > 0xFFFF) throw ycBadUnicodeChar();
        putScalar(static_cast<std::uint16_t>(c));
    } else {
        value = static_cast<wchar_t>(getScalar<std::uint16_t>());
    }
    return *this;
}

void ycArchive::putLengthPrefix(std::size_t length)
{
    ymAssert(length <= kMaxLength);
    if (length < 0x80) {
        putScalar(static_cast<std::uint8_t>(length));
    } else {
        std::uint8_t prefix[2] = {static_cast<std::uint8_t>(0x80 | ((length >> 8) & 0xFF)),
                                  static_cast<std::uint8_t>(length & 0xFF)};
        putBytes(reinterpret_cast<const char*>(prefix), 2);
    }
}

std::size_t ycArchive::getLengthPrefix()
{
    std::uint8_t first = getScalar<std::uint8_t>();
    if (!(first & 0x80)) return first;
    return static_cast<std::size_t>(first & 0x7F) << 8 | getScalar<std::uint8_t>();
}

ycArchive& ycArchive::operator||(std::string& value)
{
    if (isStoring()) {
        putLengthPrefix(value.size());
        const char quote = static_cast<char>(kQuote);
        putBytes(&quote, 1);
        putBytes(value.data(), value.size());
        putBytes(&quote, 1);
    } else {
        std::string narrow;
        std::u16string wide;
        value = readString(narrow, wide) ? yfNarrow(yfFromUtf16(wide)) : std::move(narrow);
    }
    return *this;
}

ycArchive& ycArchive::operator||(std::wstring& value)
{
    if (isStoring()) {
        std::optional<std::u16string> utf16 = yfToUtf16(value);
        if (!utf16) throw ycBadUnicodeChar();
        const std::u16string& units = *utf16;
        putLengthPrefix(units.size());
        const char marker[2] = {char(0xFF), char(0xFE)};
        putBytes(marker, 2);
        std::array<char, 2 * kLocalUnits> local;
        for (std::size_t at = 0; at < units.size(); at += kLocalUnits) {
            std::size_t n = std::min(kLocalUnits, units.size() - at);
            for (std::size_t i = 0; i < n; ++i) {
                local[2 * i] = static_cast<char>(units[at + i] & 0xFF);
                local[2 * i + 1] = static_cast<char>(units[at + i] >> 8);
            }
            putBytes(local.data(), 2 * n);
        }
        putBytes(marker, 2);
    } else {
        std::string narrow;
        std::u16string wide;
        value = readString(narrow, wide) ? yfFromUtf16(wide) : yfWiden(narrow);
    }
    return *this;
}

bool ycArchive::readString(std::string& narrow, std::u16string& wide)
{
    std::size_t length = getLengthPrefix();
    std::array<unsigned char, 2 * kLocalUnits> local;
    getStringBytes(reinterpret_cast<char*>(local.data()), 1);
    if (local[0] == kQuote) {
        narrow.resize(length);
        getStringBytes(narrow.data(), length);
        getStringBytes(reinterpret_cast<char*>(local.data()), 1);
        if (local[0] != kQuote) throw BadType(kSourceName, __LINE__);
        return false;
    }
    getStringBytes(reinterpret_cast<char*>(local.data()) + 1, 1);
    std::uint16_t marker = static_cast<std::uint16_t>(local[0] | local[1] << 8);
    if (marker != kWideMarker && marker != kWideSwapped) throw BadType(kSourceName, __LINE__);
    bool swapUnits = marker == kWideSwapped;
    wide.resize(length);
    for (std::size_t at = 0; at < length; at += kLocalUnits) {
        std::size_t n = std::min(kLocalUnits, length - at);
        getStringBytes(reinterpret_cast<char*>(local.data()), 2 * n);
        for (std::size_t i = 0; i < n; ++i) {
            auto unit = static_cast<std::uint16_t>(local[2 * i] | local[2 * i + 1] << 8);
            wide[at + i] = static_cast<char16_t>(swapUnits ? yfByteSwap(unit) : unit);
        }
    }
    getStringBytes(reinterpret_cast<char*>(local.data()), 2);
    std::uint16_t trailer = static_cast<std::uint16_t>(local[0] | local[1] << 8);
    if (trailer != (swapUnits ? kWideSwapped : kWideMarker)) throw BadType(kSourceName, __LINE__);
    return true;
}

ycArchive& ycArchive::operator||(std::u32string& value)
{
    if (isStoring()) {
        unsigned char count[4];
        yfPutOrdered(count, static_cast<std::uint32_t>(value.size()), bigEndian);
        putBytes(reinterpret_cast<const char*>(count), 4);
        putBytes(reinterpret_cast<const char*>(kU32MarkerBytes), 4);
        std::array<unsigned char, 4 * kLocalUnits> local;
        for (std::size_t at = 0; at < value.size(); at += kLocalUnits) {
            std::size_t n = std::min(kLocalUnits, value.size() - at);
            for (std::size_t i = 0; i < n; ++i)
                yfPutOrdered(&local[4 * i], static_cast<std::uint32_t>(value[at + i]), littleEndian);
            putBytes(reinterpret_cast<const char*>(local.data()), 4 * n);
        }
        putBytes(reinterpret_cast<const char*>(kU32MarkerBytes), 4);
        return *this;
    }
    unsigned char word[4];
    getBytes(reinterpret_cast<char*>(word), 4);
    std::uint32_t count = yfGetOrdered<std::uint32_t>(word, bigEndian);
    std::uint64_t left = bytesLeft();
    if (count > (left - std::min<std::uint64_t>(left, 8)) / 4) throw BadBuffer(kSourceName, __LINE__);
    getStringBytes(reinterpret_cast<char*>(word), 4);
    std::uint32_t marker = yfGetOrdered<std::uint32_t>(word, ordering_);
    if (marker != kU32Marker && marker != kU32Swapped) throw BadType(kSourceName, __LINE__);
    bool swapChars = marker == kU32Swapped;
    std::u32string out;
    out.reserve(std::min<std::size_t>(count, kUpFront));
    std::array<unsigned char, 4 * kLocalUnits> local;
    for (std::size_t at = 0; at < count; at += kLocalUnits) {
        std::size_t n = std::min<std::size_t>(kLocalUnits, count - at);
        getStringBytes(reinterpret_cast<char*>(local.data()), 4 * n);
        for (std::size_t i = 0; i < n; ++i) {
            std::uint32_t c = yfGetOrdered<std::uint32_t>(&local[4 * i], littleEndian);
            out.push_back(static_cast<char32_t>(swapChars ? swapMiddle(c) : c));
        }
    }
    getStringBytes(reinterpret_cast<char*>(word), 4);
    if (yfGetOrdered<std::uint32_t>(word, ordering_) != marker) throw BadType(kSourceName, __LINE__);
    value = std::move(out);
    return *this;
}

void ycArchive::raw(char* p, std::int64_t n)
{
    ymAssert(p != nullptr && n >= 0);
    if (p == nullptr || n < 0) return;
    if (isStoring()) {
        putBytes(p, static_cast<std::size_t>(n));
    } else {
        getBytes(p, static_cast<std::size_t>(n));
    }
}

void ycArchive::reserveBytes(std::int64_t n)
{
    ymAssert(isStoring());
    if (!isStoring()) return;
    // Inside what was already written the room is skipped; past the end it is
    // made of zero bytes, so the stream really holds it.
    std::int64_t here = tell();
    std::int64_t end = static_cast<std::int64_t>(buffer_->pubseekoff(0, std::ios_base::end, std::ios_base::out));
    if (here < 0 || end < 0) {
        static constexpr char zeros[8] = {};
        putBytes(zeros, static_cast<std::size_t>(n));
        return;
    }
    std::int64_t skip = std::min(n, std::max<std::int64_t>(end - here, 0));
    rawSeek(here + skip); // the stream's end may lie past the data: it is not a place the data reached
    static constexpr char zeros[8] = {};
    putBytes(zeros, static_cast<std::size_t>(n - skip));
}

std::uint64_t ycArchive::bytesLeft()
{
    auto here = buffer_->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    if (here == std::streampos(-1)) return std::numeric_limits<std::uint64_t>::max();
    auto end = buffer_->pubseekoff(0, std::ios_base::end, std::ios_base::in);
    buffer_->pubseekpos(here, std::ios_base::in);
    if (end == std::streampos(-1) || end < here) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(end - here));
}

std::size_t ycArchive::readCount(std::uint32_t& count, std::size_t minBytes)
{
    *this || count;
    std::uint64_t left = bytesLeft();
    if (minBytes > 0 && count > left / minBytes) throw Eof(kSourceName, __LINE__);
    return left == std::numeric_limits<std::uint64_t>::max() ? std::min<std::size_t>(count, kUpFront) : count;
}

yc_ArchiveObjects& ycArchive::objects()
{
    if (!objects_) objects_ = std::make_unique<yc_ArchiveObjects>(*this);
    return *objects_;
}

ycArchive& operator||(ycArchive& ar, std::vector<unsigned char>& v)
{
    std::uint32_t count = static_cast<std::uint32_t>(v.size());
    if (ar.isStoring()) {
        ar || count;
        ar.raw(reinterpret_cast<char*>(v.data()), count);
        return ar;
    }
    ar.readCount(count, 1);
    std::vector<unsigned char> out;
    while (out.size() < count) {
        std::size_t at = out.size();
        out.resize(std::min<std::size_t>(count, at + kUpFront * 16));
        ar.raw(reinterpret_cast<char*>(out.data() + at), static_cast<std::int64_t>(out.size() - at));
    }
    v = std::move(out);
    return ar;
}

ycArchive& operator||(ycArchive& ar, std::vector<bool>& v)
{
    std::uint32_t count = static_cast<std::uint32_t>(v.size());
    if (ar.isStoring()) {
        ar || count;
        for (bool b : v) ar << b;
        return ar;
    }
    std::size_t room = ar.readCount(count, 1);
    std::vector<bool> out;
    out.reserve(room);
    for (std::uint32_t i = 0; i < count; ++i) {
        bool b = false;
        ar || b;
        out.push_back(b);
    }
    v = std::move(out);
    return ar;
}

#include "std/archive/codec.h"

#include "std/archive/archive.h"
#include "std/util/assert.h"
#include "std/util/text.h"

#include <algorithm>
#include <array>
#include <optional>

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
// Where a stream cannot say how much it holds, memory is taken no further
// than this many elements ahead of what arrived.
constexpr std::size_t kUpFront = 1 << 16;
// Bytes swapped at a time: small enough to stay in cache between the swap
// and the stream's copy, large enough that a file sees few writes.
constexpr std::size_t kSwapChunk = 64 * 1024;

// Swaps `count` values of `width` bytes from `from` into `to`.
void swapInto(unsigned char* to, const unsigned char* from, std::size_t count, std::size_t width)
{
    switch (width) {
    case 2: yfByteSwapRow<2>(to, from, count); break;
    case 4: yfByteSwapRow<4>(to, from, count); break;
    default: yfByteSwapRow<8>(to, from, count); break;
    }
}

// Exchanges the two middle bytes of a 32-bit character: b0 b1 b2 b3 -> b0 b2 b1 b3.
constexpr std::uint32_t swapMiddle(std::uint32_t c)
{
    return (c & 0xFF0000FFu) | ((c & 0x0000FF00u) << 8) | ((c & 0x00FF0000u) >> 8);
}

// A stream buffer may report an I/O error by throwing (a file's buffer does);
// the archive reports it as its own failure.
template <class F>
auto guarded(int line, F&& f)
{
    try {
        return f();
    } catch (const std::ios_base::failure&) {
        throw ycArchive::BadBuffer(kSourceName, line);
    }
}

} // namespace

yc_ArchiveCodec::yc_ArchiveCodec(std::streambuf* buffer, bool storing, int ordering)
    : buffer_(buffer), storing_(storing), ordering_(ordering), swap_(ordering != yf_MachineOrdering())
{
}

void yc_ArchiveCodec::ordering(int ordering)
{
    ordering_ = ordering;
    swap_ = ordering != yf_MachineOrdering();
}

void yc_ArchiveCodec::putBytes(const char* p, std::size_t n)
{
    auto put = guarded(__LINE__, [&] { return buffer_->sputn(p, static_cast<std::streamsize>(n)); });
    if (static_cast<std::size_t>(put) != n) throw ycArchive::BadBuffer(kSourceName, __LINE__);
}

void yc_ArchiveCodec::getBytes(char* p, std::size_t n, Cut cut)
{
    auto got = guarded(__LINE__, [&] { return buffer_->sgetn(p, static_cast<std::streamsize>(n)); });
    if (static_cast<std::size_t>(got) == n) return;
    if (cut == Cut::insideString) throw ycArchive::BadBuffer(kSourceName, __LINE__);
    throw ycArchive::Eof(kSourceName, __LINE__);
}

void yc_ArchiveCodec::putBlock(const void* p, std::size_t count, std::size_t width, int held)
{
    ymAssert(width == 1 || width == 2 || width == 4 || width == 8);
    if (count == 0) return; // an empty block may have no address
    const auto* from = static_cast<const unsigned char*>(p);
    if (width == 1 || held == ordering_) {
        putBytes(reinterpret_cast<const char*>(from), count * width);
        return;
    }
    alignas(8) unsigned char scratch[kSwapChunk];
    const std::size_t step = kSwapChunk / width;
    for (std::size_t at = 0; at < count; at += step) {
        const std::size_t n = std::min(step, count - at);
        swapInto(scratch, from + at * width, n, width);
        putBytes(reinterpret_cast<const char*>(scratch), n * width);
    }
}

void yc_ArchiveCodec::getBlock(void* p, std::size_t count, std::size_t width, int held, Cut cut)
{
    ymAssert(width == 1 || width == 2 || width == 4 || width == 8);
    if (count == 0) return; // an empty block may have no address
    auto* to = static_cast<unsigned char*>(p);
    if (width == 1 || held == ordering_) {
        getBytes(reinterpret_cast<char*>(to), count * width, cut);
        return;
    }
    alignas(8) unsigned char scratch[kSwapChunk];
    const std::size_t step = kSwapChunk / width;
    for (std::size_t at = 0; at < count; at += step) {
        const std::size_t n = std::min(step, count - at);
        getBytes(reinterpret_cast<char*>(scratch), n * width, cut);
        swapInto(to + at * width, scratch, n, width);
    }
}

void yc_ArchiveCodec::expectMarker(const Marker& marker)
{
    unsigned char bytes[4];
    getBytes(reinterpret_cast<char*>(bytes), 4);
    if (!std::equal(bytes, bytes + 4, marker)) throw ycArchive::BadType(kSourceName, __LINE__);
}

bool yc_ArchiveCodec::markerAhead(const Marker& marker)
{
    pos at = tell();
    unsigned char bytes[4];
    bool whole = guarded(__LINE__, [&] { return buffer_->sgetn(reinterpret_cast<char*>(bytes), 4); }) == 4;
    seekTo(at);
    return whole && std::equal(bytes, bytes + 4, marker);
}

// --- positions ----------------------------------------------------------------

yc_ArchiveCodec::pos yc_ArchiveCodec::tell()
{
    return static_cast<pos>(guarded(__LINE__, [&] { return buffer_->pubseekoff(0, std::ios_base::cur, which()); }));
}

void yc_ArchiveCodec::seekTo(pos position)
{
    if (position < 0 || !seekBy(position, std::ios_base::beg)) throw ycArchive::BadBuffer(kSourceName, __LINE__);
}

bool yc_ArchiveCodec::seekBy(std::int64_t offset, std::ios_base::seekdir whence)
{
    auto to = guarded(__LINE__, [&] { return buffer_->pubseekoff(offset, whence, which()); });
    return to != std::streampos(-1);
}

yc_ArchiveCodec::pos yc_ArchiveCodec::streamEnd()
{
    pos here = tell();
    if (!seekBy(0, std::ios_base::end)) throw ycArchive::BadBuffer(kSourceName, __LINE__);
    pos end = tell();
    seekTo(here);
    return end;
}

void yc_ArchiveCodec::sync()
{
    if (guarded(__LINE__, [&] { return buffer_->pubsync(); }) != 0) throw ycArchive::BadBuffer(kSourceName, __LINE__);
}

// --- bounded reads --------------------------------------------------------------

bool yc_ArchiveCodec::bytesLeft(std::uint64_t& left)
{
    // The read position, whatever the direction: a loader may run while storing.
    auto here = guarded(__LINE__, [&] { return buffer_->pubseekoff(0, std::ios_base::cur, std::ios_base::in); });
    if (here == std::streampos(-1)) return false;
    auto end = guarded(__LINE__, [&] { return buffer_->pubseekoff(0, std::ios_base::end, std::ios_base::in); });
    guarded(__LINE__, [&] { return buffer_->pubseekpos(here, std::ios_base::in); });
    if (end == std::streampos(-1) || end < here) return false;
    left = static_cast<std::uint64_t>(static_cast<std::int64_t>(end - here));
    return true;
}

std::size_t yc_ArchiveCodec::roomFor(std::uint64_t count, std::uint64_t minBytes, Cut cut)
{
    std::uint64_t left = 0;
    if (!bytesLeft(left)) return static_cast<std::size_t>(std::min<std::uint64_t>(count, kUpFront));
    if (minBytes > 0 && count > left / minBytes) {
        if (cut == Cut::insideString) throw ycArchive::BadBuffer(kSourceName, __LINE__);
        throw ycArchive::Eof(kSourceName, __LINE__);
    }
    return static_cast<std::size_t>(count);
}

std::size_t yc_ArchiveCodec::readCount(std::uint32_t& count, std::uint64_t minBytes)
{
    transfer(count);
    return roomFor(count, minBytes);
}

// --- primitives -----------------------------------------------------------------

void yc_ArchiveCodec::transfer(bool& value)
{
    if (storing_) {
        put<std::uint8_t>(value ? 1 : 0);
    } else {
        value = get<std::uint8_t>() != 0;
    }
}

void yc_ArchiveCodec::transfer(wchar_t& value)
{
    if (storing_) {
        auto c = static_cast<std::make_unsigned_t<wchar_t>>(value);
        if (c > 0xFFFF) throw ycBadUnicodeChar();
        put(static_cast<std::uint16_t>(c));
    } else {
        value = static_cast<wchar_t>(get<std::uint16_t>());
    }
}

void yc_ArchiveCodec::raw(char* p, std::int64_t n)
{
    ymAssert(p != nullptr && n >= 0);
    if (p == nullptr || n < 0) return;
    if (storing_) {
        putBytes(p, static_cast<std::size_t>(n));
    } else {
        getBytes(p, static_cast<std::size_t>(n));
    }
}

void yc_ArchiveCodec::reserve(std::int64_t n)
{
    ymAssert(storing_ && n >= 0 && n <= 8);
    if (!storing_ || n < 0 || n > 8) return;
    static constexpr char zeros[8] = {};
    // Inside what was already written the room is skipped; past the end it is
    // made of zero bytes.
    const pos here = tell();
    if (here < 0 || !seekBy(0, std::ios_base::end)) {
        putBytes(zeros, static_cast<std::size_t>(n));
        return;
    }
    const pos end = tell();
    const std::int64_t skip = std::min(n, std::max<std::int64_t>(end - here, 0));
    seekTo(here + skip);
    putBytes(zeros, static_cast<std::size_t>(n - skip));
}

// --- strings --------------------------------------------------------------------

void yc_ArchiveCodec::putLengthPrefix(std::size_t length)
{
    ymAssert(length <= kMaxLength);
    if (length < 0x80) {
        put(static_cast<std::uint8_t>(length));
    } else {
        std::uint8_t prefix[2] = {static_cast<std::uint8_t>(0x80 | ((length >> 8) & 0xFF)),
                                  static_cast<std::uint8_t>(length & 0xFF)};
        putBytes(reinterpret_cast<const char*>(prefix), 2);
    }
}

std::size_t yc_ArchiveCodec::getLengthPrefix()
{
    std::uint8_t first = get<std::uint8_t>();
    if (!(first & 0x80)) return first;
    return static_cast<std::size_t>(first & 0x7F) << 8 | get<std::uint8_t>();
}

void yc_ArchiveCodec::transfer(std::string& value)
{
    if (storing_) {
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
}

void yc_ArchiveCodec::transfer(std::wstring& value)
{
    if (storing_) {
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
}

bool yc_ArchiveCodec::readString(std::string& narrow, std::u16string& wide)
{
    constexpr Cut cut = Cut::insideString;
    std::size_t length = getLengthPrefix();
    std::array<unsigned char, 2 * kLocalUnits> local;
    auto bytes = [&](std::size_t at) { return reinterpret_cast<char*>(local.data()) + at; };
    getBytes(bytes(0), 1, cut);
    if (local[0] == kQuote) {
        narrow.resize(length);
        getBytes(narrow.data(), length, cut);
        getBytes(bytes(0), 1, cut);
        if (local[0] != kQuote) throw ycArchive::BadType(kSourceName, __LINE__);
        return false;
    }
    getBytes(bytes(1), 1, cut);
    std::uint16_t marker = static_cast<std::uint16_t>(local[0] | local[1] << 8);
    if (marker != kWideMarker && marker != kWideSwapped) throw ycArchive::BadType(kSourceName, __LINE__);
    bool swapUnits = marker == kWideSwapped;
    wide.resize(length);
    for (std::size_t at = 0; at < length; at += kLocalUnits) {
        std::size_t n = std::min(kLocalUnits, length - at);
        getBytes(bytes(0), 2 * n, cut);
        for (std::size_t i = 0; i < n; ++i) {
            auto unit = static_cast<std::uint16_t>(local[2 * i] | local[2 * i + 1] << 8);
            wide[at + i] = static_cast<char16_t>(swapUnits ? yfByteSwap(unit) : unit);
        }
    }
    getBytes(bytes(0), 2, cut);
    std::uint16_t trailer = static_cast<std::uint16_t>(local[0] | local[1] << 8);
    if (trailer != (swapUnits ? kWideSwapped : kWideMarker)) throw ycArchive::BadType(kSourceName, __LINE__);
    return true;
}

void yc_ArchiveCodec::transfer(std::u32string& value)
{
    constexpr int big = 0, little = 1;
    if (storing_) {
        unsigned char count[4];
        yfPutOrdered(count, static_cast<std::uint32_t>(value.size()), big);
        putBytes(reinterpret_cast<const char*>(count), 4);
        putBytes(reinterpret_cast<const char*>(kU32MarkerBytes), 4);
        std::array<unsigned char, 4 * kLocalUnits> local;
        for (std::size_t at = 0; at < value.size(); at += kLocalUnits) {
            std::size_t n = std::min(kLocalUnits, value.size() - at);
            for (std::size_t i = 0; i < n; ++i)
                yfPutOrdered(&local[4 * i], static_cast<std::uint32_t>(value[at + i]), little);
            putBytes(reinterpret_cast<const char*>(local.data()), 4 * n);
        }
        putBytes(reinterpret_cast<const char*>(kU32MarkerBytes), 4);
        return;
    }
    constexpr Cut cut = Cut::insideString;
    unsigned char word[4];
    getBytes(reinterpret_cast<char*>(word), 4);
    std::uint32_t count = yfGetOrdered<std::uint32_t>(word, big);
    // The characters and the two markers, 4 bytes each.
    std::size_t room = roomFor(std::uint64_t{count} + 2, 4, cut);
    getBytes(reinterpret_cast<char*>(word), 4, cut);
    std::uint32_t marker = yfGetOrdered<std::uint32_t>(word, ordering_);
    if (marker != kU32Marker && marker != kU32Swapped) throw ycArchive::BadType(kSourceName, __LINE__);
    bool swapChars = marker == kU32Swapped;
    std::u32string out;
    out.reserve(std::min<std::size_t>(count, room));
    std::array<unsigned char, 4 * kLocalUnits> local;
    for (std::size_t at = 0; at < count; at += kLocalUnits) {
        std::size_t n = std::min<std::size_t>(kLocalUnits, count - at);
        getBytes(reinterpret_cast<char*>(local.data()), 4 * n, cut);
        for (std::size_t i = 0; i < n; ++i) {
            std::uint32_t c = yfGetOrdered<std::uint32_t>(&local[4 * i], little);
            out.push_back(static_cast<char32_t>(swapChars ? swapMiddle(c) : c));
        }
    }
    getBytes(reinterpret_cast<char*>(word), 4, cut);
    if (yfGetOrdered<std::uint32_t>(word, ordering_) != marker) throw ycArchive::BadType(kSourceName, __LINE__);
    value = std::move(out);
}

// --- containers -----------------------------------------------------------------

void yc_ArchiveCodec::transfer(std::vector<bool>& value)
{
    std::uint32_t count = static_cast<std::uint32_t>(value.size());
    if (storing_) {
        transfer(count);
        for (bool b : value) transfer(b);
        return;
    }
    std::vector<bool> out;
    out.reserve(readCount(count, 1));
    for (std::uint32_t i = 0; i < count; ++i) {
        bool b = false;
        transfer(b);
        out.push_back(b);
    }
    value = std::move(out);
}

// Golden bytes of every primitive and string form, in both byte orders, and
// the reading rules for each.
#include "../support/bytes.h"

#include "std/archive/archive.h"
#include "std/except/except.h"
#include "std/util/assert.h"
#include "std/util/byteorder.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using O = ycArchive::Ordering;
constexpr O BE = ycArchive::bigEndian;
constexpr O LE = ycArchive::littleEndian;

template <class T>
T readAs(O ordering, const Bytes& body)
{
    LoadArchive in(ordering, body);
    T back{};
    *in >> back;
    return back;
}

template <class T>
T readAs(O ordering, const char* body)
{
    return readAs<T>(ordering, hex(body));
}

// `value` is stored as these bytes in each order and reads back from them.
template <class T>
void expectBothOrders(const T& value, const std::string& bigBytes, const std::string& littleBytes)
{
    for (auto [ordering, text] : {std::pair{BE, bigBytes}, std::pair{LE, littleBytes}}) {
        EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << value; }), hex(text)) << text;
        T back = readAs<T>(ordering, hex(text));
        if constexpr (std::is_floating_point_v<T>)
            EXPECT_EQ(yfBitsOf(back), yfBitsOf(value)) << text; // -0.0 and NaN too
        else
            EXPECT_EQ(back, value) << text;
    }
}

TEST(ArchivePrimitives, ScalarsInBothOrders)
{
    expectBothOrders<std::int8_t>(-2, "fe", "fe");
    expectBothOrders<char>('A', "41", "41");
    expectBothOrders<std::uint8_t>(0xAB, "ab", "ab");
    expectBothOrders<bool>(true, "01", "01");
    expectBothOrders<bool>(false, "00", "00");
    expectBothOrders<std::int16_t>(-2, "ff fe", "fe ff");
    expectBothOrders<std::uint16_t>(0x1234, "12 34", "34 12");
    expectBothOrders<wchar_t>(L'A', "00 41", "41 00");
    expectBothOrders<std::int32_t>(1, "00 00 00 01", "01 00 00 00");
    expectBothOrders<std::uint32_t>(0xDEADBEEF, "de ad be ef", "ef be ad de");
    expectBothOrders<std::int64_t>(-2, "ff ff ff ff ff ff ff fe", "fe ff ff ff ff ff ff ff");
    expectBothOrders<std::uint64_t>(0x0102030405060708, "01 02 03 04 05 06 07 08", "08 07 06 05 04 03 02 01");
    expectBothOrders<float>(1.0f, "3f 80 00 00", "00 00 80 3f");
    expectBothOrders<double>(1.0, "3f f0 00 00 00 00 00 00", "00 00 00 00 00 00 f0 3f");
    expectBothOrders<double>(-0.0, "80 00 00 00 00 00 00 00", "00 00 00 00 00 00 00 80");
    expectBothOrders<double>(std::numeric_limits<double>::quiet_NaN(), "7f f8 00 00 00 00 00 00",
                             "00 00 00 00 00 00 f8 7f");
    EXPECT_TRUE(readAs<bool>(LE, "02"));
    EXPECT_TRUE(readAs<bool>(LE, "ff"));
}

TEST(ArchiveStrings, NarrowFormsAndPrefixes)
{
    for (auto [length, prefix] : {std::pair<std::size_t, const char*>{0, "00"}, {1, "01"}, {127, "7f"},
                                  {128, "80 80"}, {300, "81 2c"}, {32767, "ff ff"}}) {
        const std::string text(length, 'x'), bytes = std::string(prefix) + " 22 '" + text + " 22";
        expectBothOrders(text, bytes, bytes);
    }
}

TEST(ArchiveStrings, OverlongStringAssertsAndIsWrittenAnyway)
{
    ycAssertHandlerScope counting(&yfCountingAssertHandler);
    std::int64_t before = yfAssertCount();
    Bytes body = storedBody(LE, [&](ycArchive& ar) { ar << std::string(40000, 'y'); });
    EXPECT_EQ(yfAssertCount(), before + 1);
    ASSERT_EQ(body.size(), 2u + 1 + 40000 + 1);
    EXPECT_EQ(body[0], 0x9c);
    EXPECT_EQ(body[1], 0x40);
}

TEST(ArchiveStrings, WideUnitsAreLittleEndianInEitherOrder)
{
    for (auto [text, bytes] : {std::pair<std::wstring, std::string>{L"", "00 ff fe ff fe"},
                               {L"A", "01 ff fe 41 00 ff fe"},
                               {L"\u00e9\u1234", "02 ff fe e9 00 34 12 ff fe"},
                               {L"\U0001F600", "02 ff fe 3d d8 00 de ff fe"}})
        expectBothOrders(text, bytes, bytes);
    // 32-bit characters: count big-endian, marker bytes fixed, characters
    // little-endian, in either order. Read in ordering 0 the marker says
    // "swapped", and only the middle bytes of each character are exchanged.
    const char* u32 = "00 00 00 02 ff fe 00 00 41 00 00 00 34 12 00 00 ff fe 00 00";
    for (O ordering : {BE, LE})
        EXPECT_EQ(storedBody(ordering, [](ycArchive& ar) { ar << std::u32string(U"A\u1234"); }), hex(u32));
    EXPECT_EQ(readAs<std::u32string>(LE, u32), U"A\u1234");
    EXPECT_EQ(readAs<std::u32string>(BE, u32), std::u32string({U'A', char32_t(0x00120034)}));
}

TEST(ArchiveStrings, ReadingRules)
{
    // Narrow and wide forms are interchangeable on reading.
    EXPECT_EQ(readAs<std::wstring>(LE, "02 22 61 e9 22"), L"a\u00e9");
    EXPECT_EQ(readAs<std::string>(BE, "03 ff fe 61 00 e9 00 34 12 ff fe"), "a\xe9?");
    // A byte-swapped marker swaps the wide units.
    EXPECT_EQ(readAs<std::wstring>(LE, "02 fe ff 00 41 12 34 fe ff"), L"A\u1234");
    // Lone surrogates survive a round trip.
    const Bytes lone = hex("02 ff fe 00 d8 41 00 ff fe");
    std::wstring back = readAs<std::wstring>(LE, lone);
    EXPECT_EQ(storedBody(LE, [&](ycArchive& ar) { ar << back; }), lone);
}

TEST(ArchiveStrings, CharactersBeyondTheFormWriteNothing)
{
    if constexpr (sizeof(wchar_t) == 4) {
        std::wstring bad = L"ab";
        bad.push_back(static_cast<wchar_t>(0x110000));
        ycMemoryArchive ar;
        EXPECT_THROW(ar << static_cast<wchar_t>(0x1F600), ycBadUnicodeChar);
        EXPECT_THROW(ar << bad, ycBadUnicodeChar);
        EXPECT_EQ(ar.storage().size(), 2u);
    }
}

TEST(ArchiveStrings, BadDelimitersAndMarkersAreBadType)
{
    EXPECT_THROW(readAs<std::string>(LE, "01 22 61 21"), ycArchive::BadType);          // closing quote missing
    EXPECT_THROW(readAs<std::string>(LE, "01 41 42"), ycArchive::BadType);             // neither quote nor marker
    EXPECT_THROW(readAs<std::string>(LE, "01 ff fe 41 00 fe ff"), ycArchive::BadType); // trailer differs
    EXPECT_THROW(readAs<std::u32string>(LE, "00 00 00 01 ff fe 00 01 41 00 00 00 ff fe 00 00"), ycArchive::BadType);
}

// A value cut short is Eof; inside a string (after its prefix or 32-bit
// count) a short read is BadBuffer.
TEST(ArchiveTruncation, EveryCutOfEveryForm)
{
    std::int32_t i32 = 0x01020304;
    double d = 1.5;
    std::string narrow = "abc";
    std::wstring wide = L"abc";
    std::u32string u32 = U"abc";
    struct Form {
        const char* name;
        std::function<void(ycArchive&)> io;
        std::size_t eofUpTo; // cuts shorter than this are Eof, longer BadBuffer
    } forms[] = {
        {"int32", [&](ycArchive& ar) { ar || i32; }, 4},     {"double", [&](ycArchive& ar) { ar || d; }, 8},
        {"narrow", [&](ycArchive& ar) { ar || narrow; }, 1}, {"wide", [&](ycArchive& ar) { ar || wide; }, 1},
        {"u32", [&](ycArchive& ar) { ar || u32; }, 4},
    };
    for (Form& form : forms) {
        Bytes full = storedBody(LE, form.io);
        for (std::size_t cut = 0; cut < full.size(); ++cut) {
            LoadArchive in(LE, Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(cut)));
            if (cut < form.eofUpTo)
                EXPECT_THROW(form.io(*in), ycArchive::Eof) << form.name << " cut at " << cut;
            else
                EXPECT_THROW(form.io(*in), ycArchive::BadBuffer) << form.name << " cut at " << cut;
        }
        LoadArchive whole(LE, full);
        EXPECT_NO_THROW(form.io(*whole)) << form.name;
    }
}

TEST(ArchiveTruncation, HugeCountsAreRefusedBeforeAllocating)
{
    EXPECT_THROW(readAs<std::vector<std::int32_t>>(LE, "ff ff ff 7f 01 00 00 00"), ycArchive::Eof);
    EXPECT_THROW(readAs<std::vector<unsigned char>>(LE, "00 00 00 40 01 02"), ycArchive::Eof);
    EXPECT_THROW(readAs<std::u32string>(LE, "7f ff ff ff ff fe 00 00"), ycArchive::BadBuffer);
}

TEST(ArchiveContainers, CountThenElements)
{
    expectBothOrders(std::vector<unsigned char>{1, 2, 3}, "00 00 00 03 01 02 03", "03 00 00 00 01 02 03");
    expectBothOrders(std::vector<bool>{true, false, true}, "00 00 00 03 01 00 01", "03 00 00 00 01 00 01");
    expectBothOrders(std::vector<std::int16_t>{1, -1}, "00 00 00 02 00 01 ff ff", "02 00 00 00 01 00 ff ff");
    expectBothOrders(std::vector<std::string>{"a", ""}, "00 00 00 02 01 22 61 22 00 22 22",
                     "02 00 00 00 01 22 61 22 00 22 22");
}

// Blocks of every width, held in either ordering, against one transfer per
// value; counts around the swap chunk so that the last chunk is partial.
TEST(ArchiveBlocks, SameBytesAsOneValueAtATime)
{
    constexpr std::size_t counts[] = {0, 1, 8191, 8192, 8193, 16385, 32769, 40001};
    std::vector<unsigned char> pattern(8 * 40001);
    for (std::size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<unsigned char>(i * 7 + i / 251);
    auto one = [&](auto tag, std::size_t count, int held) {
        using U = decltype(tag);
        return [&, count, held](ycArchive& ar) {
            for (std::size_t i = 0; i < count; ++i) {
                U v = yfGetOrdered<U>(&pattern[i * sizeof(U)], held);
                ar << v;
            }
        };
    };
    auto check = [&](auto tag) {
        using U = decltype(tag);
        for (std::size_t count : counts) {
            for (int held : {0, 1}) {
                for (O o : {BE, LE}) {
                    const Bytes expected = storedBody(o, one(tag, count, held));
                    const Bytes body = storedBody(o, [&](ycArchive& ar) { ar.putBlock(pattern.data(), count, sizeof(U), held); });
                    EXPECT_EQ(body, expected) << sizeof(U) << " " << count << " " << held << " " << int(o);
                    std::vector<unsigned char> back(count * sizeof(U) + 1, 0xEE);
                    LoadArchive in(o, body);
                    in->getBlock(back.data(), count, sizeof(U), held);
                    EXPECT_TRUE(std::equal(back.begin(), back.end() - 1, pattern.begin())) << sizeof(U) << " " << count;
                    EXPECT_EQ(back.back(), 0xEE);
                }
            }
        }
    };
    check(std::uint8_t{});
    check(std::uint16_t{});
    check(std::uint32_t{});
    check(std::uint64_t{});
}

TEST(ArchiveBlocks, CutShortIsEof)
{
    std::vector<std::uint32_t> values(5000, 0x01020304);
    for (O o : {BE, LE}) {
        Bytes body = storedBody(o, [&](ycArchive& ar) { ar.putBlock(values.data(), values.size(), 4, 1 - int(o)); });
        body.pop_back();
        LoadArchive in(o, body);
        EXPECT_THROW(in->getBlock(values.data(), values.size(), 4, 1 - int(o)), ycArchive::Eof);
    }
}

// Vectors of scalars go as one block; a long one of each width round-trips.
TEST(ArchiveContainers, LongScalarVectorsRoundTrip)
{
    auto roundTrip = [](auto v) {
        for (O o : {BE, LE}) EXPECT_TRUE(readAs<decltype(v)>(o, storedBody(o, [&](ycArchive& ar) { ar << v; })) == v);
    };
    std::vector<std::int16_t> shorts(10007);
    std::vector<float> floats(10007);
    std::vector<double> doubles(10007);
    std::vector<std::int8_t> bytes(10007);
    for (std::size_t i = 0; i < shorts.size(); ++i) {
        shorts[i] = static_cast<std::int16_t>(i * 40503u);
        floats[i] = static_cast<float>(i) / 7 - 300;
        doubles[i] = -static_cast<double>(i) / 3;
        bytes[i] = static_cast<std::int8_t>(i);
    }
    roundTrip(shorts);
    roundTrip(floats);
    roundTrip(doubles);
    roundTrip(bytes);
    expectBothOrders(std::vector<double>{1.0}, "00 00 00 01 3f f0 00 00 00 00 00 00",
                     "01 00 00 00 00 00 00 00 00 00 f0 3f");
}

TEST(ArchiveRaw, BytesUnchangedAndReserveLeavesRoom)
{
    char data[] = {1, 2, 3};
    Bytes body = storedBody(BE, [&](ycArchive& ar) {
        ar.raw(data, 3);
        ar.reserve32();
        ar << std::int16_t(0x0506);
        ar.seek(5);
        ar << std::int32_t(0x0A0B0C0D);
        ar.seek(0, std::ios_base::end);
        ar.reserveU16();
    });
    EXPECT_EQ(body, hex("01 02 03 0a 0b 0c 0d 05 06 00 00"));
    EXPECT_THROW(storedBody(BE, [](ycArchive& ar) { ar.raw(nullptr, 1); }), ycAssertFailure);

    LoadArchive in(LE, hex("09 08"));
    char back[3] = {};
    EXPECT_THROW(in->raw(back, 3), ycArchive::Eof);
    EXPECT_THROW(in->reserve8(), ycAssertFailure);
}

} // namespace

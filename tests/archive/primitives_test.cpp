// Golden bytes of every primitive and string form, in both byte orders, and
// the reading rules for each.
#include "../support/bytes.h"

#include "std/archive/archive.h"
#include "std/except/except.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using O = ycArchive::Ordering;
constexpr O BE = ycArchive::bigEndian;
constexpr O LE = ycArchive::littleEndian;

template <class T>
void expectBothOrders(T value, const std::string& bigBytes, const std::string& littleBytes)
{
    SCOPED_TRACE(bigBytes);
    for (auto [ordering, text] : {std::pair{BE, bigBytes}, std::pair{LE, littleBytes}}) {
        EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << value; }), hex(text));
        LoadArchive in(ordering, hex(text));
        T back{};
        *in >> back;
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(value)) {
                EXPECT_TRUE(std::isnan(back));
                continue;
            }
        }
        EXPECT_EQ(back, value);
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
}

TEST(ArchivePrimitives, AnyNonZeroByteReadsAsTrue)
{
    LoadArchive in(LE, hex("02 ff 00"));
    bool a = false, b = false, c = true;
    *in >> a >> b >> c;
    EXPECT_TRUE(a);
    EXPECT_TRUE(b);
    EXPECT_FALSE(c);
}

TEST(ArchivePrimitives, WideCharAboveSixteenBitsIsRefused)
{
    if constexpr (sizeof(wchar_t) == 4) {
        ycMemoryArchive ar;
        EXPECT_THROW(ar << static_cast<wchar_t>(0x1F600), ycBadUnicodeChar);
        EXPECT_EQ(ar.storage().size(), 2u);
    }
}

TEST(ArchiveStrings, NarrowFormsAndPrefixes)
{
    struct Row {
        std::size_t length;
        std::string prefix;
    } rows[] = {{0, "00"}, {1, "01"}, {127, "7f"}, {128, "80 80"}, {300, "81 2c"}, {32767, "ff ff"}};
    for (const Row& row : rows) {
        std::string text(row.length, 'x');
        Bytes expect = hex(row.prefix + " 22");
        expect.insert(expect.end(), text.begin(), text.end());
        expect.push_back(0x22);
        for (O ordering : {BE, LE}) {
            EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << text; }), expect) << row.length;
            LoadArchive in(ordering, expect);
            std::string back;
            *in >> back;
            EXPECT_EQ(back, text);
        }
    }
}

TEST(ArchiveStrings, OverlongStringAssertsAndIsWrittenAnyway)
{
    ycAssertHandlerScope counting(&yfCountingAssertHandler);
    std::int64_t before = yfAssertCount();
    std::string text(40000, 'y');
    Bytes body = storedBody(LE, [&](ycArchive& ar) { ar << text; });
    EXPECT_EQ(yfAssertCount(), before + 1);
    ASSERT_EQ(body.size(), 2u + 1 + 40000 + 1);
    EXPECT_EQ(body[0], 0x9c);
    EXPECT_EQ(body[1], 0x40);
}

TEST(ArchiveStrings, WideUnitsAreLittleEndianInEitherOrder)
{
    struct Row {
        std::wstring text;
        std::string bytes;
    } rows[] = {
        {L"", "00 ff fe ff fe"},
        {L"A", "01 ff fe 41 00 ff fe"},
        {L"\u00e9\u1234", "02 ff fe e9 00 34 12 ff fe"},
        {L"\U0001F600", "02 ff fe 3d d8 00 de ff fe"},
    };
    for (const Row& row : rows) {
        for (O ordering : {BE, LE}) {
            EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << row.text; }), hex(row.bytes)) << row.bytes;
            LoadArchive in(ordering, hex(row.bytes));
            std::wstring back;
            *in >> back;
            EXPECT_EQ(back, row.text);
        }
    }
}

TEST(ArchiveStrings, WideCharacterBeyondUnicodeWritesNothing)
{
    if constexpr (sizeof(wchar_t) == 4) {
        ycMemoryArchive ar;
        std::wstring bad = L"ab";
        bad.push_back(static_cast<wchar_t>(0x110000));
        EXPECT_THROW(ar << bad, ycBadUnicodeChar);
        EXPECT_EQ(ar.storage().size(), 2u);
    }
}

TEST(ArchiveStrings, NarrowAndWideAreInterchangeableOnReading)
{
    LoadArchive narrowStored(LE, hex("02 22 61 e9 22"));
    std::wstring wide;
    *narrowStored >> wide;
    EXPECT_EQ(wide, L"a\u00e9");

    LoadArchive wideStored(BE, hex("03 ff fe 61 00 e9 00 34 12 ff fe"));
    std::string narrow;
    *wideStored >> narrow;
    EXPECT_EQ(narrow, "a\xe9?");
}

TEST(ArchiveStrings, ByteSwappedWideUnits)
{
    LoadArchive in(LE, hex("02 fe ff 00 41 12 34 fe ff"));
    std::wstring back;
    *in >> back;
    EXPECT_EQ(back, L"A\u1234");
}

TEST(ArchiveStrings, LoneSurrogatesSurviveARoundTrip)
{
    Bytes stored = hex("02 ff fe 00 d8 41 00 ff fe");
    LoadArchive in(LE, stored);
    std::wstring back;
    *in >> back;
    EXPECT_EQ(storedBody(LE, [&](ycArchive& ar) { ar << back; }), stored);
}

TEST(ArchiveStrings, ThirtyTwoBitCharacters)
{
    // Count big-endian, marker bytes fixed, characters little-endian, in either order.
    const std::string bytes = "00 00 00 02 ff fe 00 00 41 00 00 00 34 12 00 00 ff fe 00 00";
    for (O ordering : {BE, LE})
        EXPECT_EQ(storedBody(ordering, [&](ycArchive& ar) { ar << std::u32string(U"A\u1234"); }), hex(bytes));

    std::u32string back;
    LoadArchive little(LE, hex(bytes));
    *little >> back;
    EXPECT_EQ(back, U"A\u1234");

    // Read in ordering 0 the marker says "swapped", and only the middle bytes
    // of each character are exchanged: U+1234 comes back as 0x00120034.
    LoadArchive big(BE, hex(bytes));
    *big >> back;
    EXPECT_EQ(back, std::u32string({U'A', char32_t(0x00120034)}));
}

TEST(ArchiveStrings, BadDelimitersAndMarkers)
{
    struct Row {
        const char* bytes;
        bool narrowTarget;
    } badType[] = {
        {"01 22 61 21", true},                       // closing quote missing
        {"01 41 42", true},                          // neither quote nor wide marker
        {"01 ff fe 41 00 fe ff", false},             // trailer does not match marker
        {"00 00 00 01 ff fe 00 01 41 00 00 00 ff fe 00 00", false},  // bad 32-bit marker
    };
    for (const Row& row : badType) {
        LoadArchive in(LE, hex(row.bytes));
        std::string narrow;
        std::u32string u32;
        if (std::string(row.bytes).size() > 40) {
            EXPECT_THROW(*in >> u32, ycArchive::BadType) << row.bytes;
        } else {
            EXPECT_THROW(*in >> narrow, ycArchive::BadType) << row.bytes;
        }
    }
}

// A value cut short is Eof; inside a string (after its prefix or 32-bit
// count) a short read is BadBuffer.
TEST(ArchiveTruncation, EveryCutOfEveryForm)
{
    struct Form {
        const char* name;
        std::function<void(ycArchive&)> io;
        std::size_t eofUpTo; // cuts shorter than this are Eof, longer BadBuffer
    };
    std::int32_t i32 = 0x01020304;
    double d = 1.5;
    std::string narrow = "abc";
    std::wstring wide = L"abc";
    std::u32string u32 = U"abc";
    Form forms[] = {
        {"int32", [&](ycArchive& ar) { ar || i32; }, 4},
        {"double", [&](ycArchive& ar) { ar || d; }, 8},
        {"narrow", [&](ycArchive& ar) { ar || narrow; }, 1},
        {"wide", [&](ycArchive& ar) { ar || wide; }, 1},
        {"u32", [&](ycArchive& ar) { ar || u32; }, 4},
    };
    for (Form& form : forms) {
        Bytes full = storedBody(LE, form.io);
        for (std::size_t cut = 0; cut < full.size(); ++cut) {
            LoadArchive in(LE, Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(cut)));
            if (cut < form.eofUpTo) {
                EXPECT_THROW(form.io(*in), ycArchive::Eof) << form.name << " cut at " << cut;
            } else {
                EXPECT_THROW(form.io(*in), ycArchive::BadBuffer) << form.name << " cut at " << cut;
            }
        }
        LoadArchive whole(LE, full);
        EXPECT_NO_THROW(form.io(*whole)) << form.name;
    }
}

TEST(ArchiveTruncation, HugeCountsAreRefusedBeforeAllocating)
{
    std::vector<std::int32_t> ints;
    LoadArchive many(LE, hex("ff ff ff 7f 01 00 00 00"));
    EXPECT_THROW(*many >> ints, ycArchive::Eof);

    std::vector<unsigned char> bytes;
    LoadArchive block(LE, hex("00 00 00 40 01 02"));
    EXPECT_THROW(*block >> bytes, ycArchive::Eof);

    std::u32string text;
    LoadArchive chars(LE, hex("7f ff ff ff ff fe 00 00"));
    EXPECT_THROW(*chars >> text, ycArchive::BadBuffer);
}

TEST(ArchiveContainers, CountThenElements)
{
    std::vector<unsigned char> bytes{1, 2, 3};
    std::vector<bool> bits{true, false, true};
    std::vector<std::int16_t> shorts{1, -1};
    std::vector<std::string> names{"a", ""};
    Bytes be = storedBody(BE, [&](ycArchive& ar) { ar || bytes || bits || shorts || names; });
    EXPECT_EQ(be, hex("00 00 00 03 01 02 03  00 00 00 03 01 00 01  00 00 00 02 00 01 ff ff"
                      "  00 00 00 02 01 22 61 22 00 22 22"));
    Bytes le = storedBody(LE, [&](ycArchive& ar) { ar || bytes || bits || shorts || names; });
    EXPECT_EQ(le, hex("03 00 00 00 01 02 03  03 00 00 00 01 00 01  02 00 00 00 01 00 ff ff"
                      "  02 00 00 00 01 22 61 22 00 22 22"));

    LoadArchive in(BE, be);
    std::vector<unsigned char> bytes2;
    std::vector<bool> bits2;
    std::vector<std::int16_t> shorts2;
    std::vector<std::string> names2;
    *in || bytes2 || bits2 || shorts2 || names2;
    EXPECT_EQ(bytes2, bytes);
    EXPECT_EQ(bits2, bits);
    EXPECT_EQ(shorts2, shorts);
    EXPECT_EQ(names2, names);
}

TEST(ArchiveRaw, BytesUnchangedAndReserveLeavesRoom)
{
    char data[] = {1, 2, 3};
    Bytes body = storedBody(BE, [&](ycArchive& ar) {
        ar.raw(data, 3);
        ar.reserve32();
        std::int16_t tail = 0x0506;
        ar << tail;
        ar.seek(5);
        std::int32_t filled = 0x0A0B0C0D;
        ar << filled;
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

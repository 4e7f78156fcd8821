// The platform layer: text conversions, byte order, saturating conversions,
// core statuses, assertion handlers, the debug stream and canonical names.
#include "core/ycore.h"
#include "std/archive/archive.h"
#include "std/except/status.h"
#include "std/util/assert.h"
#include "std/util/byteorder.h"
#include "std/util/debug.h"
#include "std/except/devenv.h"
#include "std/util/numeric.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr const char* kSourceName = "tests/util";

TEST(Text, WideningIsByteForByteNarrowingKeepsLatin1AndMarksTheRest)
{
    EXPECT_EQ(yfWiden(std::string("a\xe9\xff\0x", 5)), std::wstring({L'a', wchar_t(0xE9), wchar_t(0xFF), L'\0', L'x'}));
    struct Row {
        std::wstring wide;
        std::string narrow;
    } rows[] = {
        {L"abc", "abc"},
        {L"\u00e9\u00ff", "\xe9\xff"},
        {L"\u0100x", "?x"},
        {L"\U0001F600", "?"},
        {std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)}, "?"}, // a pair is one character
        {std::wstring{wchar_t(0xD83D), L'a'}, "?a"},           // a lone surrogate too
    };
    for (const Row& row : rows) EXPECT_EQ(yfNarrow(row.wide), row.narrow);
    EXPECT_EQ(yfHex8(0), L"00000000");
    EXPECT_EQ(yfHex8(0xFFFFABCD), L"ffffabcd");
#ifndef _WIN32
    EXPECT_EQ(yfPath(L"dir/\u00e9.bin").string(), "dir/\xc3\xa9.bin");
#endif
}

TEST(Text, Utf16RoundTrips)
{
    struct Row {
        std::wstring wide;
        std::u16string units;
    } rows[] = {
        {L"A\u00e9\uffff", u"A\u00e9\uffff"},
        {L"\U0001F600", std::u16string{char16_t(0xD83D), char16_t(0xDE00)}},
        {L"\U0010FFFF", std::u16string{char16_t(0xDBFF), char16_t(0xDFFF)}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(yfToUtf16(row.wide), row.units);
        EXPECT_EQ(yfFromUtf16(row.units), row.wide);
    }
    // Lone surrogates pass through both ways.
    std::u16string lone{char16_t(0xDC00), u'a', char16_t(0xD800)};
    EXPECT_EQ(yfToUtf16(yfFromUtf16(lone)), lone);
    if constexpr (sizeof(wchar_t) == 4) {
        EXPECT_FALSE(yfToUtf16(std::wstring(1, wchar_t(0x110000))));
    }
}

TEST(Text, Utf8RoundTripsAndReplacesMalformedBytes)
{
    struct Row {
        std::string utf8;
        std::wstring wide;
        bool wellFormed;
    } rows[] = {
        {"a", L"a", true},
        {"\xc3\xa9", L"\u00e9", true},
        {"\xe2\x82\xac", L"\u20ac", true},
        {"\xf0\x9f\x98\x80", L"\U0001F600", true},
        {"\xff" "a", L"\ufffd" "a", false},
        {"\xc3", L"\ufffd", false},                      // cut short
        {"\xc0\xaf", L"\ufffd\ufffd", false},            // overlong
        {"\xed\xa0\x80", L"\ufffd\ufffd\ufffd", false}, // a surrogate
    };
    for (const Row& row : rows) {
        EXPECT_EQ(yfFromUtf8(row.utf8), row.wide);
        if (row.wellFormed) {
            EXPECT_EQ(yfToUtf8(row.wide), row.utf8);
        }
    }
}

TEST(ByteOrder, PutAndGetInBothOrders)
{
    unsigned char bytes[8];
    for (auto [ordering, expect] : {std::pair{0, "\x01\x02\x03\x04"}, std::pair{1, "\x04\x03\x02\x01"}}) {
        yfPutOrdered<std::uint32_t>(bytes, 0x01020304, ordering);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), 4), expect);
        EXPECT_EQ(yfGetOrdered<std::uint32_t>(bytes, ordering), 0x01020304u);
        EXPECT_EQ(yfGetOrdered<std::uint32_t>(bytes, 1 - ordering), 0x04030201u);
    }
    yfPutOrdered<std::uint64_t>(bytes, 0x0102030405060708, 0);
    EXPECT_EQ(yfGetOrdered<std::uint64_t>(bytes, 0), 0x0102030405060708u);
    EXPECT_EQ(yfGetOrdered<std::uint16_t>(bytes, 1), 0x0201u);
    EXPECT_EQ(yfByteSwap<std::uint16_t>(0x1234), 0x3412);
    EXPECT_EQ(yfByteSwap<std::uint32_t>(0x12345678), 0x78563412u);
    EXPECT_EQ(yfByteSwap<std::uint64_t>(0x0102030405060708), 0x0807060504030201u);
    std::uint32_t probe = 0x01020304;
    EXPECT_EQ(yf_MachineOrdering(), *reinterpret_cast<unsigned char*>(&probe) == 1 ? 0 : 1);
    EXPECT_EQ(yfFromBits<double>(yfBitsOf(2.5)), 2.5);
}

TEST(Numeric, SaturatingConversions)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    constexpr auto min32 = std::numeric_limits<std::int32_t>::min();
    constexpr auto min64 = std::numeric_limits<std::int64_t>::min();
    struct Row {
        double in;
        std::int32_t out32;
        std::int64_t out64;
    } rows[] = {
        {0.0, 0, 0},           {1.9, 1, 1},
        {-1.9, -1, -1},        {2147483647.0, 2147483647, 2147483647},
        {2147483648.0, min32, 2147483648LL}, {-2147483648.0, min32, -2147483648LL},
        {-2147483649.0, min32, -2147483649LL}, {9.3e18, min32, min64},
        {-9223372036854775808.0, min32, min64}, {nan, min32, min64},
        {inf, min32, min64},   {-inf, min32, min64},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(yf_ToInt32Sat(row.in), row.out32) << row.in;
        EXPECT_EQ(yf_ToInt64Sat(row.in), row.out64) << row.in;
    }
}

TEST(Status, OneTableMapsCoreStatuses)
{
    EXPECT_NO_THROW(yfThrowExceptionOnFailure(YSTD_OK));
    EXPECT_NO_THROW(yfThrowExceptionOnFailure(5));
    EXPECT_THROW(yfThrowExceptionOnFailure(YSTD_ERR_NO_MEMORY), std::bad_alloc);
    EXPECT_THROW(yfThrowExceptionOnFailure<ycArchive::BadContent>(YSTD_ERR_BAD_ARGUMENT), ycArchive::BadContent);
    EXPECT_THROW(yfThrowExceptionOnFailure(YSTD_ERR_UNSUPPORTED), ycUnsupportedHW);
    try {
        yfThrowExceptionOnFailure(-77);
        ADD_FAILURE();
    } catch (const ycUnknownError& e) {
        EXPECT_EQ(e.message(false), L"Internal error code: ffffffb3");
    }
}

TEST(Core, AllocationStatusesAndAlignment)
{
    std::int64_t before = ysys_memory_outstanding();
    void* block = nullptr;
    ASSERT_EQ(ysys_memory_alloc64_internal(&block, 1000, 256, "tests", 1), YSTD_OK);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 256, 0u);
    void* small = nullptr;
    ASSERT_EQ(ysys_memory_alloc_internal(&small, 3, "tests", 2), YSTD_OK);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(small) % 16, 0u);
    EXPECT_EQ(ysys_memory_outstanding(), before + 2);
    EXPECT_EQ(ysys_memory_free_internal(block), YSTD_OK);
    EXPECT_EQ(ysys_memory_free_internal(small), YSTD_OK);
    EXPECT_EQ(ysys_memory_outstanding(), before);
    EXPECT_EQ(ysys_memory_alloc64_internal(&block, ~std::uint64_t(0), 16, "tests", 3), YSTD_ERR_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(ysys_memory_alloc_internal(nullptr, 1, "tests", 4), YSTD_ERR_BAD_ARGUMENT);
}

TEST(Assertions, HandlersAreReplaceable)
{
    EXPECT_THROW(ymAssert(1 + 1 == 3), ycAssertFailure);
    try {
        ymAssert(false);
    } catch (const ycAssertFailure& e) {
        EXPECT_EQ(e.info().rfind(L"tests/util(", 0), 0u);
        EXPECT_NE(e.info().find(L"): assertion failed"), std::wstring::npos);
    }
    {
        ycAssertHandlerScope counting(&yfCountingAssertHandler);
        std::int64_t before = yfAssertCount();
        ymAssert(false);
        ymAssert(true);
        EXPECT_EQ(yfAssertCount(), before + 1);
    }
    {
        ycAssertHandlerScope standard(nullptr);
        ycDebugCapture capture;
        ymAssert(false);
        EXPECT_EQ(capture.text().rfind("tests/util(", 0), 0u);
        EXPECT_NE(capture.text().find("): assertion failed\n"), std::string::npos);
    }
    EXPECT_THROW(ymAssert(false), ycAssertFailure);
}

TEST(DebugStream, LinesLeaveAsUtf8)
{
    ycDebugCapture capture;
    yfDebugLine(L"caf\u00e9 \U0001F600");
    yfDebugLine(L"second");
    EXPECT_EQ(capture.text(), "caf\xc3\xa9 \xf0\x9f\x98\x80\nsecond\n");
}

TEST(CanonicalNames, ThreeLiteralRules)
{
    struct Row {
        const char* in;
        const char* out;
    } rows[] = {
        {"class ycCircle", "ycCircle"},
        {"class ycPelRoot<class ycPair<long> >", "ycPelRoot<ycPair<long>>"},
        {"A<B<C> >", "A<B<C>>"},
        {"class ycPelRoot<wchar_t>", "ycPelRoot<unsigned short>"},
        {"std::basic_string<wchar_t,struct std::char_traits<wchar_t> >",
         "std::basic_string<unsigned short,struct std::char_traits<unsigned short>>"},
        {"subclass X", "subX"}, // plain text edits, not token-aware
        {"a> > b", "a>>b"},
        {"", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(ycDevEnv::canonicalTypeName(row.in), row.out) << row.in;
    EXPECT_EQ(ycDevEnv::canonicalTypeName(nullptr), "");
}

} // namespace

#include "std/archive/memarchive.h"
#include "std/math/angle.h"
#include "std/math/matrix.h"
#include "std/math/pair.h"
#include "std/math/vector.h"
#include "std/pelbuf/pelrect.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes hex(const std::string& s)
{
    Bytes out;
    std::string digits;
    for (char c : s) {
        if (c != ' ') digits += c;
    }
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        out.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return out;
}

template <class T>
Bytes stored(T value, ycArchive::Ordering order)
{
    ycMemoryArchive ar(order);
    ar || value;
    auto s = ar.storage();
    return Bytes(s.begin() + 2, s.end());
}

// Loads `value` from a loading archive over a header of the given ordering
// and `body`.
template <class T>
void loadInto(const Bytes& body, ycArchive::Ordering order, T& value)
{
    std::vector<char> data = {0x02, static_cast<char>(order)};
    data.insert(data.end(), body.begin(), body.end());
    ycMemoryArchive ar(data.data(), static_cast<std::int32_t>(data.size()));
    ar || value;
}

template <class T>
T loaded(const Bytes& body, ycArchive::Ordering order)
{
    T value{};
    loadInto(body, order, value);
    return value;
}

template <class T>
void expectForm(const T& value, const std::string& big, const std::string& little)
{
    EXPECT_EQ(stored(value, ycArchive::bigEndian), hex(big));
    EXPECT_EQ(stored(value, ycArchive::littleEndian), hex(little));
    EXPECT_TRUE(loaded<T>(hex(big), ycArchive::bigEndian) == value);
    EXPECT_TRUE(loaded<T>(hex(little), ycArchive::littleEndian) == value);
}

const std::string kOneBE = "3FF0000000000000";
const std::string kOneLE = "000000000000F03F";
const std::string kZero = "0000000000000000";

TEST(ValueArchive, BytesInBothOrders)
{
    expectForm(ycVector<2>(1.0, -2.0), "00 3FF0000000000000 C000000000000000", "00 000000000000F03F 00000000000000C0");
    expectForm(ycVector<3>(1.0, -2.0, 0.5), "00 3FF0000000000000 C000000000000000 3FE0000000000000",
               "00 000000000000F03F 00000000000000C0 000000000000E03F");
    // Elements row-major, then the determinant (-2).
    expectForm(ycMatrix<2>(1, 2, 3, 4), "00 3FF0000000000000 4000000000000000 4008000000000000 4010000000000000 C000000000000000",
               "00 000000000000F03F 0000000000000040 0000000000000840 0000000000001040 00000000000000C0");
    std::string idBE = "00", idLE = "00";
    for (int i = 0; i < 9; ++i) {
        idBE += ' ' + (i % 4 == 0 ? kOneBE : kZero);
        idLE += ' ' + (i % 4 == 0 ? kOneLE : kZero);
    }
    expectForm(ycMatrix<3>(), idBE + ' ' + kOneBE, idLE + ' ' + kOneLE);
    // No version byte for these.
    expectForm(ycPair<std::int32_t>(1, -2), "00000001 FFFFFFFE", "01000000 FEFFFFFF");
    expectForm(ycPelRect(1, -2, 3, 4), "00000001 FFFFFFFE 00000003 00000004", "01000000 FEFFFFFF 03000000 04000000");
    expectForm(ycRadian(1.0), kOneBE, kOneLE);
    expectForm(ycDegree(-2.0), "C000000000000000", "00000000000000C0");
}

TEST(ValueArchive, TheDeterminantIsLoadedAsData)
{
    // The matrix (1, 2, 3, 4) with a stored determinant of 7.
    ycMatrix<2> m = loaded<ycMatrix<2>>(
        hex("00 3FF0000000000000 4000000000000000 4008000000000000 4010000000000000 401C000000000000"),
        ycArchive::bigEndian);
    EXPECT_EQ(m.determinant(), 7.0);
    EXPECT_EQ(m, ycMatrix<2>(1, 2, 3, 4));
    EXPECT_THROW(m.repInvariant(), ycInvariantFailure);
}

template <class T>
std::wstring unknownVersionFile(const Bytes& body)
{
    try {
        loaded<T>(body, ycArchive::littleEndian);
    } catch (const ycArchive::UnknownVersion& e) {
        EXPECT_NE(e.line(), 0);
        return e.file();
    }
    return L"(no throw)";
}

TEST(ValueArchive, OnlyVersionZeroLoads)
{
    const Bytes body = hex("01" + std::string(20 * 8 * 2, '0'));
    EXPECT_EQ(unknownVersionFile<ycVector<2>>(body), L"std/math/vector");
    EXPECT_EQ(unknownVersionFile<ycVector<3>>(body), L"std/math/vector");
    EXPECT_EQ(unknownVersionFile<ycMatrix<2>>(body), L"std/math/matrix");
    EXPECT_EQ(unknownVersionFile<ycMatrix<3>>(body), L"std/math/matrix");
}

TEST(ValueArchive, ALoadCutShortLeavesTheValueAsItWas)
{
    Bytes matrix = stored(ycMatrix<2>(1, 2, 3, 4), ycArchive::littleEndian);
    matrix.pop_back();
    const ycMatrix<2> before(5, 6, 7, 8);
    ycMatrix<2> m = before;
    EXPECT_THROW(loadInto(matrix, ycArchive::littleEndian, m), ycArchive::Eof);
    EXPECT_EQ(m, before);

    Bytes vector = stored(ycVector<3>(1, 2, 3), ycArchive::bigEndian);
    vector.resize(vector.size() - 8);
    ycVector<3> v(9, 9, 9);
    EXPECT_THROW(loadInto(vector, ycArchive::bigEndian, v), ycArchive::Eof);
    EXPECT_EQ(v, ycVector<3>(9, 9, 9));
}

} // namespace

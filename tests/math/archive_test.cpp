// Archive forms of the math values and transforms: exact bytes in both
// orderings, round trips, sharing of members, and the failures of loading.
#include "archive_bytes.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"

#include "std/math/angle.h"
#include "std/math/pair.h"
#include "std/pelbuf/xfcache.h"
#include "std/math/xform.h"
#include "std/pelbuf/pelrect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

constexpr auto kBig = ycArchive::bigEndian;
constexpr auto kLittle = ycArchive::littleEndian;
const ycArchive::Ordering kOrders[] = {kBig, kLittle};
using Handle = ycPtrHandle<yc2XformBase>;
using Ex = ArchiveBytes;

template <class T>
Bytes stored(ycArchive::Ordering o, T value)
{
    return storedBody(o, [&](ycArchive& ar) { ar || value; });
}

template <class T>
void load(ycArchive::Ordering o, const Bytes& body, T& value)
{
    LoadArchive in(o, body);
    *in || value;
}

void load(ycArchive::Ordering o, const Bytes& body, Handle& h)
{
    LoadArchive in(o, body);
    yfSerializeHandle(*in, h);
}

Handle reload(ycArchive::Ordering o, Handle h)
{
    Handle out;
    load(o, storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, h); }), out);
    return out;
}

// Hex digits with spaces anywhere: "00 3FF0000000000000".
Bytes digits(std::string text)
{
    std::erase(text, ' ');
    std::string spaced;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) spaced += text.substr(i, 2) + ' ';
    return hex(spaced);
}

template <class T>
void expectForm(const T& value, const std::string& big, const std::string& little)
{
    for (auto [o, text] : {std::pair(kBig, big), std::pair(kLittle, little)}) {
        EXPECT_EQ(stored(o, value), digits(text));
        T back{};
        load(o, digits(text), back);
        EXPECT_TRUE(back == value);
    }
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
        idBE += i % 4 == 0 ? kOneBE : kZero;
        idLE += i % 4 == 0 ? kOneLE : kZero;
    }
    expectForm(ycMatrix<3>(), idBE + kOneBE, idLE + kOneLE);
    // No version byte for these.
    expectForm(ycPair<std::int32_t>(1, -2), "00000001 FFFFFFFE", "01000000 FEFFFFFF");
    expectForm(ycPelRect(1, -2, 3, 4), "00000001 FFFFFFFE 00000003 00000004", "01000000 FEFFFFFF 03000000 04000000");
    expectForm(ycRadian(1.0), kOneBE, kOneLE);
    expectForm(ycDegree(-2.0), "C000000000000000", "00000000000000C0");
}

TEST(ValueArchive, TheDeterminantIsLoadedAsData)
{
    ycMatrix<2> m; // (1, 2, 3, 4) with a stored determinant of 7
    load(kBig, digits("00 3FF0000000000000 4000000000000000 4008000000000000 4010000000000000 401C000000000000"), m);
    EXPECT_EQ(m.determinant(), 7.0);
    EXPECT_EQ(m, ycMatrix<2>(1, 2, 3, 4));
    EXPECT_THROW(m.repInvariant(), ycInvariantFailure);
}

TEST(ValueArchive, ALoadCutShortLeavesTheValueAsItWas)
{
    Bytes matrix = stored(kLittle, ycMatrix<2>(1, 2, 3, 4));
    matrix.pop_back();
    ycMatrix<2> m(5, 6, 7, 8);
    EXPECT_THROW(load(kLittle, matrix, m), ycArchive::Eof);
    EXPECT_EQ(m, ycMatrix<2>(5, 6, 7, 8));
    Bytes vector = stored(kBig, ycVector<3>(1, 2, 3));
    vector.resize(vector.size() - 8);
    ycVector<3> v(9, 9, 9);
    EXPECT_THROW(load(kBig, vector, v), ycArchive::Eof);
    EXPECT_EQ(v, ycVector<3>(9, 9, 9));
}

Bytes linearRecord(ycArchive::Ordering o)
{
    return Ex(o).record("yc2XformLinear", {0, 0, 0}).vec(5, 6).mat(1, 2, 3, 4).done();
}

TEST(XformArchive, ValueFormsByteForByte)
{
    for (auto o : kOrders) {
        SCOPED_TRACE(o);
        ycXform<2> identity, x(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
        EXPECT_EQ(stored(o, identity), Ex(o).u8(0).vec(0, 0).mat(1, 0, 0, 1).u8(1).done());
        EXPECT_EQ(stored(o, identity).size(), 60u);
        EXPECT_EQ(stored(o, x), Ex(o).u8(0).vec(5, 6).mat(1, 2, 3, 4).u8(0).done());
        yc2Rigid r(ycDegree(90), ycVector<2>(1, 2));
        EXPECT_EQ(stored(o, r), Ex(o).u8(0).d(90).vec(1, 2).done());

        ycXform<3> x3(ycMatrix<3>(1, 2, 3, 4, 5, 6, 7, 8, 10), ycVector<3>(1, 2, 3)), back3;
        EXPECT_EQ(stored(o, x3).size(), 1u + 25 + 81 + 1);
        load(o, stored(o, x3), back3);
        EXPECT_EQ(back3, x3);

        // Loading ignores the identity flag and keeps the stored determinant as data.
        load(o, Ex(o).u8(0).vec(0, 0).u8(0).d(1).d(0).d(0).d(1).d(7).u8(0).done(), x);
        EXPECT_TRUE(x.isIdentity());
        EXPECT_EQ(x.matrix().determinant(), 7.0);

        // A rigid transform recomputes its sine and cosine from the stored angle.
        for (double angle : {90.0, 30.0, -135.0, 720.0}) {
            load(o, Ex(o).u8(0).d(angle).vec(1, 2).done(), r);
            EXPECT_TRUE(r.angle() == ycDegree(angle) && r.trans() == ycVector<2>(1, 2)) << angle;
            EXPECT_EQ(r.sinAngle(), std::sin(angle * 0.017453292519943295)) << angle;
            EXPECT_EQ(r.cosAngle(), std::cos(angle * 0.017453292519943295)) << angle;
        }
    }
}

TEST(XformArchive, EveryMemberRoundTripsAndSharedMembersReloadShared)
{
    const std::vector<double> cx = {1, 2, 0.5, 0.01, -0.02, 0.03, 1e-3, 2e-3, -3e-3, 4e-3};
    const std::vector<double> cy = {-2, 0.25, 3, 0.02, 0.01, -0.01, 5e-4, 0, 1e-3, -2e-3};
    const Handle lin(new yc2XformLinear(ycMatrix<2>(1.5, -0.25, 0.75, 2), ycVector<2>(-3, 0.125)));
    const Handle persp(new yc2XformPerspective(ycMatrix<3>(1, 0.1, 2, -0.2, 0.9, 1, 0.01, -0.02, 1.1)));
    const Handle members[] = {lin, persp, Handle(new yc2XformPoly(3, cx, cy)),
                              Handle(new yc2XformComposed(*lin, *persp, false, true))};
    for (auto o : kOrders) {
        for (const Handle& h : members) {
            Handle back = reload(o, h);
            ASSERT_TRUE(back);
            const yc2XformBase &loaded = *back, &original = *h;
            EXPECT_EQ(typeid(loaded), typeid(original));
            EXPECT_NE(back.get(), h.get());
            for (const ycVector<2>& p : {ycVector<2>(0.3, -1.7), ycVector<2>(2.5, 1.25), ycVector<2>(-1, 0.1)})
                EXPECT_EQ(back->mapPoint(p), h->mapPoint(p)) << typeid(original).name();
        }

        Handle member(new yc2XformLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6)));
        Handle seq(new yc2XformComposed(*member, *member, false, false));
        // Reference tags: -1 for a new record, then 2 for the member's second use.
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, seq); }),
                  Ex(o).i32(-1).record("yc2XformComposed", {0, 0, 0}).i32(2).i32(-1).bytes(linearRecord(o)).i32(2).done());
        Handle back = reload(o, seq);
        std::vector<ycPtrHandle_const<yc2XformBase>> list;
        dynamic_cast<yc2XformComposed&>(*back).decompose(list);
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[0].get(), list[1].get());
        EXPECT_EQ(list[0]->refCount(), 4); // two in the sequence, two here
        EXPECT_EQ(back->mapPoint(ycVector<2>(1, 0)), ycVector<2>(29, 60));
    }
}

TEST(XformArchive, CacheStoresBothReferencesAndRecomputesItsLinearForm)
{
    for (auto o : kOrders) {
        yc2XformCache cache(yc2XformLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6))), back;
        EXPECT_EQ(stored(o, cache), Ex(o).record("yc2XformCache", {0, 0}).i32(-1).bytes(linearRecord(o)).i32(0).done());
        cache.xformInverse();
        load(o, stored(o, cache), back);
        EXPECT_TRUE(back.isLinear());
        EXPECT_EQ(back.linearXform(), cache.linearXform());
        EXPECT_EQ(back.xformInverse()->mapPoint(ycVector<2>(1, 1)), cache.xformInverse()->mapPoint(ycVector<2>(1, 1)));

        yc2XformCache persp(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.5, 0, 1)));
        load(o, stored(o, persp), back);
        EXPECT_FALSE(back.isLinear());
        EXPECT_THROW(back.linearXform(), ycPel::NonlinearXform);
    }
}

TEST(XformArchive, RefusedContentLeavesTheObjectAsItWas)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    Ex singular(o);
    singular.record("yc2XformPerspective", {0, 0, 0});
    for (double e : {1, 2, 3, 2, 4, 6, 0, 0, 1}) singular.d(e);
    yc2XformPerspective p(ycMatrix<3>(2, 0, 0, 0, 2, 0, 0, 0, 1));
    EXPECT_THROW(load(o, singular.done(), p), yc2XformPerspectiveDefs::BadParams);
    EXPECT_EQ(p.matrix(), ycMatrix<3>(2, 0, 0, 0, 2, 0, 0, 0, 1));

    yc2XformPoly poly;
    for (std::int32_t degree : {0, 17, -1}) {
        EXPECT_THROW(load(o, Ex(o).record("yc2XformPoly", {0, 0, 0}).i32(degree).done(), poly), yc2XformPoly::BadParams);
    }
    EXPECT_EQ(poly.mapPoint(ycVector<2>(3, 4)), ycVector<2>(3, 4));

    yc2XformComposed seq; // a null member, itself, an unknown reference
    for (std::int32_t member : {0, 1, 5}) {
        EXPECT_THROW(load(o, Ex(o).record("yc2XformComposed", {0, 0, 0}).i32(1).i32(member).done(), seq),
                     ycArchive::BadContent);
        EXPECT_EQ(seq.size(), 0u);
    }

    yc2XformCache cache;
    EXPECT_THROW(load(o, Ex(o).record("yc2XformCache", {0, 0}).i32(0).i32(0).done(), cache), ycArchive::BadContent);
    EXPECT_TRUE(cache.linearXform().isIdentity());
}

// The source that refuses `body` for an unknown version.
template <class T>
std::wstring unknownVersionSource(const Bytes& body)
{
    T x;
    try {
        load(kBig, body, x);
    } catch (const ycArchive::UnknownVersion& e) {
        EXPECT_NE(e.line(), 0);
        return e.file();
    }
    return L"(no throw)";
}

TEST(XformArchive, UnknownVersionsAtEachLevelNameTheirSource)
{
    const ycArchive::Ordering o = kBig;
    const Bytes version1 = digits("01" + std::string(20 * 16, '0')); // values load only version 0
    EXPECT_EQ(unknownVersionSource<ycVector<2>>(version1), L"std/math/vector");
    EXPECT_EQ(unknownVersionSource<ycVector<3>>(version1), L"std/math/vector");
    EXPECT_EQ(unknownVersionSource<ycMatrix<2>>(version1), L"std/math/matrix");
    EXPECT_EQ(unknownVersionSource<ycMatrix<3>>(version1), L"std/math/matrix");
    struct Case { Handle x; const char* name; const wchar_t* source; } cases[] = {
        {Handle(new yc2XformLinear()), "yc2XformLinear", L"std/math/xflinear"},
        {Handle(new yc2XformComposed(yc2XformLinear(), true)), "yc2XformComposed", L"std/math/xfcomp"},
        {Handle(new yc2XformPerspective()), "yc2XformPerspective", L"std/math/xfpersp"},
        {Handle(new yc2XformPoly()), "yc2XformPoly", L"std/math/xfpoly"},
    };
    for (Case& c : cases) {
        Bytes body = storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, c.x); });
        const std::size_t first = 4 + 4 + 2 + std::strlen(c.name) + 1; // tag, marker, name
        for (std::size_t level = 0; level < 2; ++level) {
            Bytes bad = body;
            bad[first + level] = 1;
            EXPECT_EQ(unknownVersionSource<Handle>(bad), level == 0 ? c.source : L"std/math/xfbase") << c.name;
        }
    }
    EXPECT_EQ(unknownVersionSource<yc2XformCache>(Ex(o).record("yc2XformCache", {1, 0}).i32(0).i32(0).done()),
              L"std/math/xfcache");
    EXPECT_EQ(unknownVersionSource<ycXform<2>>(Ex(o).u8(1).vec(0, 0).mat(1, 0, 0, 1).u8(1).done()), L"std/math/xform");
    EXPECT_EQ(unknownVersionSource<yc2Rigid>(Ex(o).u8(1).d(0).vec(0, 0).done()), L"std/math/xform");
}

} // namespace

// Archive forms of the transforms: exact bytes in both orderings, round trips,
// sharing of members, and the failures of loading.
#include "../support/bytes.h"
#include "xform_support.h"

#include "std/math/xfcache.h"
#include "std/math/xform.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>

namespace {

const ycArchive::Ordering kOrders[] = {ycArchive::bigEndian, ycArchive::littleEndian};

// Expected bytes, built field by field in one ordering.
class Expect {
public:
    explicit Expect(ycArchive::Ordering o) : o_(o) {}
    Expect& u8(std::uint8_t v)
    {
        b_.push_back(v);
        return *this;
    }
    Expect& i32(std::int32_t v) { return scalar(static_cast<std::uint32_t>(v), 4); }
    Expect& d(double v) { return scalar(std::bit_cast<std::uint64_t>(v), 8); }
    Expect& vec(double x, double y) { return u8(0).d(x).d(y); }
    Expect& mat(double a, double b, double c, double e) { return u8(0).d(a).d(b).d(c).d(e).d(a * e - b * c); }
    // Object record head: marker, type name, then `levels` version bytes 0.
    Expect& record(const std::string& name, int levels)
    {
        for (std::uint8_t m : {0xf1, 0x66, 0x4b, 0xdf}) u8(m);
        u8(static_cast<std::uint8_t>(name.size())).u8(0x22);
        for (char c : name) u8(static_cast<std::uint8_t>(c));
        u8(0x22);
        for (int i = 0; i < levels; ++i) u8(0);
        return *this;
    }
    Expect& bytes(const Bytes& more)
    {
        b_.insert(b_.end(), more.begin(), more.end());
        return *this;
    }
    const Bytes& done() const { return b_; }

private:
    Expect& scalar(std::uint64_t v, int n)
    {
        for (int i = 0; i < n; ++i) {
            int shift = o_ == ycArchive::bigEndian ? 8 * (n - 1 - i) : 8 * i;
            b_.push_back(static_cast<std::uint8_t>(v >> shift));
        }
        return *this;
    }
    ycArchive::Ordering o_;
    Bytes b_;
};

Handle reload(ycArchive::Ordering o, Handle h)
{
    Bytes body = storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, h); });
    LoadArchive in(o, body);
    Handle out;
    yfSerializeHandle(*in, out);
    return out;
}

TEST(XformArchive, ValueFormsByteForByte)
{
    for (auto o : kOrders) {
        SCOPED_TRACE(o);
        ycXform<2> identity;
        Bytes stored = storedBody(o, [&](ycArchive& ar) { ar << identity; });
        EXPECT_EQ(stored, Expect(o).u8(0).vec(0, 0).mat(1, 0, 0, 1).u8(1).done());
        EXPECT_EQ(stored.size(), 60u);

        ycXform<2> x(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6));
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << x; }), Expect(o).u8(0).vec(5, 6).mat(1, 2, 3, 4).u8(0).done());

        yc2Rigid r(ycDegree(90), ycVector<2>(1, 2));
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << r; }), Expect(o).u8(0).d(90).vec(1, 2).done());

        ycXform<3> x3(ycMatrix<3>(1, 2, 3, 4, 5, 6, 7, 8, 10), ycVector<3>(1, 2, 3)), back3;
        Bytes s3 = storedBody(o, [&](ycArchive& ar) { ar << x3; });
        EXPECT_EQ(s3.size(), 1u + 25 + 81 + 1);
        LoadArchive in(o, s3);
        *in >> back3;
        EXPECT_EQ(back3, x3);

        // Loading ignores the identity flag and keeps the stored determinant as data.
        LoadArchive odd(o, Expect(o).u8(0).vec(0, 0).u8(0).d(1).d(0).d(0).d(1).d(7).u8(0).done());
        *odd >> x;
        EXPECT_TRUE(x.isIdentity());
        EXPECT_EQ(x.matrix().determinant(), 7.0);
    }
}

TEST(XformArchive, RigidRecomputesSineAndCosineOnLoading)
{
    const double kDeg = 0.017453292519943295;
    for (auto o : kOrders) {
        for (double angle : {90.0, 30.0, -135.0, 720.0}) {
            yc2Rigid r;
            LoadArchive in(o, Expect(o).u8(0).d(angle).vec(1, 2).done());
            *in >> r;
            EXPECT_EQ(r.angle(), ycDegree(angle));
            EXPECT_EQ(r.trans(), ycVector<2>(1, 2));
            EXPECT_EQ(r.sinAngle(), std::sin(angle * kDeg));
            EXPECT_EQ(r.cosAngle(), std::cos(angle * kDeg));
        }
    }
}

Bytes linearRecord(ycArchive::Ordering o)
{
    return Expect(o).record("yc2XformLinear", 3).vec(5, 6).mat(1, 2, 3, 4).done();
}

TEST(XformArchive, SharedMemberIsStoredOnceAndReloadsShared)
{
    for (auto o : kOrders) {
        Handle member(new yc2XformLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6)));
        Handle seq(new yc2XformComposed(*member, *member, false, false));
        Bytes body = storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, seq); });
        // Reference tags: -1 for a new record, then 2 for the member's second use.
        Expect expected(o);
        expected.i32(-1).record("yc2XformComposed", 3).i32(2).i32(-1).bytes(linearRecord(o)).i32(2);
        EXPECT_EQ(body, expected.done());

        Handle back;
        {
            LoadArchive in(o, body);
            yfSerializeHandle(*in, back);
        }
        std::vector<ycPtrHandle_const<yc2XformBase>> list;
        dynamic_cast<yc2XformComposed&>(*back).decompose(list);
        ASSERT_EQ(list.size(), 2u);
        EXPECT_EQ(list[0].get(), list[1].get());
        EXPECT_EQ(list[0]->refCount(), 4); // two in the sequence, two here
        EXPECT_EQ(back->mapPoint(ycVector<2>(1, 0)), ycVector<2>(29, 60));
    }
}

TEST(XformArchive, EveryMemberRoundTripsInBothOrders)
{
    std::mt19937 rng(8);
    for (auto o : kOrders) {
        Handle lin = randomLinear(rng);
        Handle members[] = {
            lin,
            randomPerspective(rng),
            randomPoly(rng, 3),
            Handle(new yc2XformComposed(*lin, *randomPerspective(rng), false, true)),
        };
        for (const Handle& h : members) {
            Handle back = reload(o, h);
            ASSERT_TRUE(back);
            const yc2XformBase& loaded = *back;
            const yc2XformBase& original = *h;
            EXPECT_EQ(typeid(loaded), typeid(original));
            EXPECT_NE(back.get(), h.get());
            for (int i = 0; i < 5; ++i) {
                ycVector<2> p = randomPoint(rng);
                EXPECT_EQ(back->mapPoint(p), h->mapPoint(p));
            }
        }
    }
}

TEST(XformArchive, CacheStoresBothReferencesAndRecomputesItsLinearForm)
{
    for (auto o : kOrders) {
        yc2XformCache cache(yc2XformLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(5, 6)));
        Bytes lazy = storedBody(o, [&](ycArchive& ar) { ar << cache; });
        EXPECT_EQ(lazy, Expect(o).record("yc2XformCache", 2).i32(-1).bytes(linearRecord(o)).i32(0).done());

        cache.xformInverse();
        yc2XformCache back;
        {
            LoadArchive in(o, storedBody(o, [&](ycArchive& ar) { ar << cache; }));
            *in >> back;
        }
        EXPECT_TRUE(back.isLinear());
        EXPECT_EQ(back.linearXform(), cache.linearXform());
        EXPECT_EQ(back.xformInverse()->mapPoint(ycVector<2>(1, 1)), cache.xformInverse()->mapPoint(ycVector<2>(1, 1)));

        yc2XformCache persp(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.5, 0, 1)));
        {
            LoadArchive in(o, storedBody(o, [&](ycArchive& ar) { ar << persp; }));
            *in >> back;
        }
        EXPECT_FALSE(back.isLinear());
        EXPECT_THROW(back.linearXform(), ycPel::NonlinearXform);
    }
}

TEST(XformArchive, RefusedContentLeavesTheObjectAsItWas)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    std::vector<double> nine = {1, 2, 3, 2, 4, 6, 0, 0, 1}; // singular
    Expect singular(o);
    singular.record("yc2XformPerspective", 3);
    for (double e : nine) singular.d(e);
    yc2XformPerspective p(ycMatrix<3>(2, 0, 0, 0, 2, 0, 0, 0, 1));
    {
        LoadArchive in(o, singular.done());
        EXPECT_THROW(*in >> p, yc2XformPerspectiveDefs::BadParams);
    }
    EXPECT_EQ(p.matrix(), ycMatrix<3>(2, 0, 0, 0, 2, 0, 0, 0, 1));

    yc2XformPoly poly;
    for (std::int32_t degree : {0, 17, -1}) {
        LoadArchive in(o, Expect(o).record("yc2XformPoly", 3).i32(degree).done());
        EXPECT_THROW(*in >> poly, yc2XformPoly::BadParams) << degree;
    }
    EXPECT_EQ(poly.mapPoint(ycVector<2>(3, 4)), ycVector<2>(3, 4));

    yc2XformComposed seq;
    Bytes badSequences[] = {
        Expect(o).record("yc2XformComposed", 3).i32(1).i32(0).done(), // a null member
        Expect(o).record("yc2XformComposed", 3).i32(1).i32(1).done(), // itself
        Expect(o).record("yc2XformComposed", 3).i32(1).i32(5).done(), // unknown reference
    };
    for (const Bytes& body : badSequences) {
        LoadArchive in(o, body);
        EXPECT_THROW(*in >> seq, ycArchive::BadContent);
        EXPECT_EQ(seq.size(), 0u);
    }

    yc2XformCache cache;
    LoadArchive in(o, Expect(o).record("yc2XformCache", 2).i32(0).i32(0).done());
    EXPECT_THROW(*in >> cache, ycArchive::BadContent);
    EXPECT_TRUE(cache.linearXform().isIdentity());
}

TEST(XformArchive, UnknownVersionAtEachLevel)
{
    const ycArchive::Ordering o = ycArchive::bigEndian;
    struct Case {
        Handle x;
        const char* name;
        const wchar_t* source;
    } cases[] = {
        {Handle(new yc2XformLinear()), "yc2XformLinear", L"std/math/xflinear"},
        {Handle(new yc2XformComposed(yc2XformLinear(), true)), "yc2XformComposed", L"std/math/xfcomp"},
        {Handle(new yc2XformPerspective()), "yc2XformPerspective", L"std/math/xfpersp"},
        {Handle(new yc2XformPoly()), "yc2XformPoly", L"std/math/xfpoly"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Handle h = c.x;
        Bytes body = storedBody(o, [&](ycArchive& ar) { yfSerializeHandle(ar, h); });
        std::size_t first = 4 + 4 + 2 + std::strlen(c.name) + 1; // tag, marker, name
        for (std::size_t level = 0; level < 2; ++level) {
            Bytes bad = body;
            bad[first + level] = 1;
            LoadArchive in(o, bad);
            Handle out;
            try {
                yfSerializeHandle(*in, out);
                ADD_FAILURE();
            } catch (const ycArchive::UnknownVersion& e) {
                EXPECT_EQ(e.file(), level == 0 ? std::wstring(c.source) : std::wstring(L"std/math/xfbase"));
            }
        }
    }
    Bytes cacheBody = Expect(o).record("yc2XformCache", 2).i32(0).i32(0).done();
    cacheBody[4 + 2 + 13 + 1] = 1;
    yc2XformCache cache;
    LoadArchive inCache(o, cacheBody);
    EXPECT_THROW(*inCache >> cache, ycArchive::UnknownVersion);

    ycXform<2> x;
    LoadArchive in(o, Expect(o).u8(1).vec(0, 0).mat(1, 0, 0, 1).u8(1).done());
    try {
        *in >> x;
        ADD_FAILURE();
    } catch (const ycArchive::UnknownVersion& e) {
        EXPECT_EQ(e.file(), L"std/math/xform");
    }
    yc2Rigid r;
    LoadArchive inRigid(o, Expect(o).u8(1).d(0).vec(0, 0).done());
    EXPECT_THROW(*inRigid >> r, ycArchive::UnknownVersion);
}

} // namespace

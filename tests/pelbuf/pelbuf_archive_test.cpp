// Pel buffers in archives: the written form byte by byte, the three older
// forms built by hand, roots shared again after loading, and refused input.
#include "../support/bytes.h"

#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <string>

namespace {

using Buf = ycPelBuffer<unsigned char>;
const ycArchive::Ordering kOrders[] = {ycArchive::bigEndian, ycArchive::littleEndian};
const std::string kName = "ycPelBuffer<unsigned char>";

// Archive bytes, field by field, in one ordering.
class Body {
public:
    explicit Body(ycArchive::Ordering o) : o_(o) {}
    Body& u8(std::uint8_t v)
    {
        b_.push_back(v);
        return *this;
    }
    Body& i32(std::int32_t v) { return scalar(static_cast<std::uint32_t>(v), 4); }
    Body& d(double v) { return scalar(std::bit_cast<std::uint64_t>(v), 8); }
    Body& rect(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h) { return i32(x).i32(y).i32(w).i32(h); }
    // Marker, type name, version bytes.
    Body& record(const std::string& name, std::initializer_list<std::uint8_t> versions)
    {
        for (std::uint8_t m : {0xf1, 0x66, 0x4b, 0xdf}) u8(m);
        u8(static_cast<std::uint8_t>(name.size())).u8(0x22);
        for (char c : name) u8(static_cast<std::uint8_t>(c));
        u8(0x22);
        for (std::uint8_t v : versions) u8(v);
        return *this;
    }
    // Translation and matrix (with its determinant) of the transform values.
    Body& affine(double a, double e, double tx, double ty) { return u8(0).d(tx).d(ty).u8(0).d(a).d(0).d(0).d(e).d(a * e); }
    // A diagonal linear transform as a new object reference.
    Body& linear(double a, double e, double tx, double ty)
    {
        return i32(-1).record("yc2XformLinear", {0, 0, 0}).affine(a, e, tx, ty);
    }
    Body& bytes(const Bytes& more)
    {
        b_.insert(b_.end(), more.begin(), more.end());
        return *this;
    }
    const Bytes& done() const { return b_; }

private:
    Body& scalar(std::uint64_t v, int n)
    {
        for (int i = 0; i < n; ++i) b_.push_back(static_cast<std::uint8_t>(v >> (o_ ? 8 * i : 8 * (n - 1 - i))));
        return *this;
    }
    ycArchive::Ordering o_;
    Bytes b_;
};

// A 3 x 2 root of pels 1..6, alignment 4, as a new object reference.
Bytes rootReference(ycArchive::Ordering o)
{
    return Body(o).i32(-1).record("ycPelRoot<unsigned char>", {0, 0, 0}).rect(3, 2, 4, 0).bytes({1, 2, 3, 4, 5, 6}).done();
}

TEST(PelBufferArchive, WrittenFormByteForByte)
{
    for (auto o : kOrders) {
        Buf b(3, 2, 4);
        const unsigned char pels[] = {1, 2, 3, 4, 5, 6};
        b.copyFromBuffer(pels);
        b.windowRoot(1, 0, 2, 2);
        b.offset(7, -8);
        const Bytes expected = Body(o)
                                   .record(kName, {3, 0})
                                   .rect(1, 0, 2, 2)
                                   .i32(7)
                                   .i32(-8)
                                   .record("yc2XformCache", {0, 0})
                                   .linear(1, 1, 0, 0)
                                   .i32(0) // the inverse, not yet computed
                                   .bytes(rootReference(o))
                                   .done();
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << b; }), expected) << o;

        Buf back;
        LoadArchive in(o, expected);
        *in >> back;
        EXPECT_TRUE(back.windowRoot() == b.windowRoot() && back.offset() == b.offset());
        EXPECT_EQ(back.get(7, -7), 5);
    }
}

TEST(PelBufferArchive, OlderFormsAreRead)
{
    for (auto o : kOrders) {
        const ycXform<2> scale(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(3, 1));
        struct Case {
            Body body;
            ycPair<std::int32_t> offset;
            ycXform<2> forward;
        } cases[] = {
            {Body(o).record(kName, {0, 0}).rect(1, 1, 2, 1), {0, 0}, ycXform<2>()},
            {Body(o).record(kName, {1, 0}).rect(1, 1, 2, 1).i32(5).i32(6).u8(0).affine(2, 4, 3, 1).u8(0), {5, 6}, scale},
            {Body(o).record(kName, {2, 0}).rect(1, 1, 2, 1).i32(5).i32(6).linear(2, 4, 3, 1).i32(0), {5, 6}, scale},
        };
        for (Case& c : cases) {
            SCOPED_TRACE(&c - cases); // the version
            Buf b;
            LoadArchive in(o, c.body.bytes(rootReference(o)).done());
            *in >> b;
            EXPECT_EQ(b.windowRoot(), ycPelRect(1, 1, 2, 1));
            EXPECT_EQ(b.offset(), c.offset);
            EXPECT_EQ(b.clientFromImageXform(), c.forward);
            EXPECT_EQ(b.imageFromClientXform(), c.forward.inverse());
            EXPECT_EQ(b.get(c.offset.x() + 1, c.offset.y()), 6);
        }

        // A stored inverse is taken as the writer had it; a null forward
        // transform is refused.
        Buf b;
        LoadArchive in(o, Body(o).record(kName, {2, 0}).rect(0, 0, 3, 2).i32(0).i32(0).linear(2, 2, 0, 0)
                              .linear(1, 1, 9, 9).bytes(rootReference(o)).done());
        *in >> b;
        EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(0, 0)), ycVector<2>(9, 9));
        Buf nullForward;
        LoadArchive bad(o, Body(o).record(kName, {2, 0}).rect(0, 0, 3, 2).i32(0).i32(0).i32(0).i32(0).bytes(rootReference(o)).done());
        EXPECT_THROW(*bad >> nullForward, ycAssertFailure);
        EXPECT_FALSE(nullForward.isBound());
    }
}

TEST(PelBufferArchive, BuffersSharingARootShareItAfterLoading)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    const unsigned char pels[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    Buf a(4, 3), c(4, 3);
    a.copyFromBuffer(pels);
    c.copyFromBuffer(pels);
    Buf b = a;
    b.windowRoot(1, 1, 2, 2);
    const Bytes body = storedBody(o, [&](ycArchive& ar) { ar << a << b << c; });

    Buf a2, b2, c2;
    {
        LoadArchive in(o, body);
        *in >> a2 >> b2 >> c2;
    }
    EXPECT_EQ(a2.root(), b2.root());
    EXPECT_NE(a2.root(), c2.root());
    EXPECT_EQ(a2.refc(), 2);
    EXPECT_EQ(b2.windowRoot(), ycPelRect(1, 1, 2, 2));
    b2.put(2, 2, 77);
    EXPECT_EQ(a2.get(2, 2), 77);
    EXPECT_EQ(c2.get(2, 2), 10);
}

// A write through a buffer tells the archive that holds its root, which
// then writes the root again instead of referring back to the old pels.
TEST(PelBufferArchive, WritingPelsMakesTheArchiveStoreTheRootAgain)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    for (bool write : {false, true}) {
        Buf a(2, 1);
        a.put(0, 0, 1);
        a.put(1, 0, 2);
        const Bytes body = storedBody(o, [&](ycArchive& ar) {
            ar << a;
            if (write) a.put(1, 0, 9);
            ar << a;
        });
        Buf first, second;
        LoadArchive in(o, body);
        *in >> first >> second;
        EXPECT_EQ(first.root() == second.root(), !write);
        EXPECT_EQ(second.get(1, 0), write ? 9 : 2);
    }
}

template <class E>
bool throwsOnLoading(ycArchive::Ordering o, const Bytes& body, ycPersistent& into)
{
    LoadArchive in(o, body);
    try {
        *in >> into;
    } catch (const E&) {
        return true;
    }
    return false;
}

TEST(PelBufferArchive, RefusedInputLeavesTheBufferAsItWas)
{
    const ycArchive::Ordering o = ycArchive::bigEndian;
    const Bytes root = rootReference(o);
    Buf b(2, 2);
    b.windowRoot(1, 1, 1, 1);
    b.offset(4, 4);
    const Buf before = b;
    const Bytes shortRoot = Body(o).i32(-1).record("ycPelRoot<short>", {0, 0, 0}).rect(1, 1, 4, 0).u8(0).u8(1).done();

    using BadContent = ycArchive::BadContent;
    EXPECT_TRUE(throwsOnLoading<BadContent>(o, Body(o).record(kName, {0, 0}).rect(2, 0, 2, 1).bytes(root).done(), b));
    EXPECT_TRUE(throwsOnLoading<BadContent>(o, Body(o).record(kName, {0, 0}).rect(0, 0, -1, 1).bytes(root).done(), b));
    EXPECT_TRUE(throwsOnLoading<ycArchive::BadType>(o, Body(o).record(kName, {0, 0}).rect(0, 0, 1, 1).bytes(shortRoot).done(), b));
    EXPECT_TRUE(throwsOnLoading<ycArchive::UnknownVersion>(o, Body(o).record(kName, {4, 0}).done(), b));
    EXPECT_TRUE(throwsOnLoading<ycArchive::Eof>(o, Body(o).record(kName, {3, 0}).rect(0, 0, 1, 1).i32(0).done(), b));
    EXPECT_TRUE(b == before);
}

TEST(PelBufferArchive, ThreePlaneBuffersKeepTheirColourSpace)
{
    for (auto o : kOrders) {
        yc3PlanePelBuffer rgb(2, 1, 4);
        rgb.put(1, 0, yc3PlanePel(4, 5, 6));
        rgb.colorSpace(ycColorSpaceDefs::HSI);
        Bytes body = storedBody(o, [&](ycArchive& ar) { ar << rgb; });
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), Body(o).i32(ycColorSpaceDefs::HSI).done()); // the tag closes it

        yc3PlanePelBuffer back;
        {
            LoadArchive in(o, body);
            *in >> back;
        }
        EXPECT_EQ(back.colorSpace(), ycColorSpaceDefs::HSI);
        EXPECT_EQ(back.get(1, 0), yc3PlanePel(4, 5, 6));

        // A grey tag is refused, and nothing changes.
        std::copy_n(Body(o).i32(ycColorSpaceDefs::Grey).done().begin(), 4, body.end() - 4);
        yc3PlanePelBuffer other(1, 1);
        const yc3PlanePelBuffer otherBefore = other;
        EXPECT_TRUE(throwsOnLoading<ycArchive::BadContent>(o, body, other));
        EXPECT_TRUE(other == otherBefore);
        EXPECT_EQ(other.colorSpace(), ycColorSpaceDefs::RGB);
    }
}

} // namespace

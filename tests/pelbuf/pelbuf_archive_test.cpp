// Pel buffers in archives: the written form byte by byte, the three older
// forms built by hand, roots shared again after loading, and refused input.
#include "../support/bytes.h"

#include "std/math/xflinear.h"
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
    // ycXform<2> value: version, translation, matrix with its determinant,
    // identity flag.
    Body& xform(double a, double b, double c, double e, double tx, double ty)
    {
        u8(0).u8(0).d(tx).d(ty).u8(0).d(a).d(b).d(c).d(e).d(a * e - b * c);
        return u8(a == 1 && b == 0 && c == 0 && e == 1 && tx == 0 && ty == 0);
    }
    // Object record: marker, type name, then the version bytes.
    Body& record(const std::string& name, std::initializer_list<std::uint8_t> versions)
    {
        for (std::uint8_t m : {0xf1, 0x66, 0x4b, 0xdf}) u8(m);
        u8(static_cast<std::uint8_t>(name.size())).u8(0x22);
        for (char c : name) u8(static_cast<std::uint8_t>(c));
        u8(0x22);
        for (std::uint8_t v : versions) u8(v);
        return *this;
    }
    // A new yc2XformLinear by reference.
    Body& linear(double a, double b, double c, double e, double tx, double ty)
    {
        i32(-1).record("yc2XformLinear", {0, 0, 0}).u8(0).d(tx).d(ty).u8(0).d(a).d(b).d(c).d(e);
        return d(a * e - b * c);
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
    Body b(o);
    b.i32(-1).record("ycPelRoot<unsigned char>", {0, 0, 0}).rect(3, 2, 4, 0);
    for (std::uint8_t v = 1; v <= 6; ++v) b.u8(v);
    return b.done();
}

void expectRootPels(const Buf& b)
{
    ASSERT_TRUE(b.isBound());
    ASSERT_EQ(b.root()->width(), 3);
    ASSERT_EQ(b.root()->height(), 2);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(b.root()->pels()[i % 3 + i / 3 * b.root()->rowUpdate()], i + 1);
}

TEST(PelBufferArchive, WrittenFormByteForByte)
{
    for (auto o : kOrders) {
        SCOPED_TRACE(o);
        Buf b(3, 2, 4);
        const unsigned char pels[] = {1, 2, 3, 4, 5, 6};
        b.copyFromBuffer(pels);
        b.windowRoot(1, 0, 2, 2);
        b.offset(7, -8);
        const Bytes expected = Body(o)
                                   .record("ycPelBuffer<unsigned char>", {3, 0})
                                   .rect(1, 0, 2, 2)
                                   .i32(7)
                                   .i32(-8)
                                   .record("yc2XformCache", {0, 0})
                                   .linear(1, 0, 0, 1, 0, 0)
                                   .i32(0) // the inverse, not yet computed
                                   .bytes(rootReference(o))
                                   .done();
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << b; }), expected);

        Buf back;
        LoadArchive in(o, expected);
        *in >> back;
        EXPECT_EQ(back.windowRoot(), b.windowRoot());
        EXPECT_EQ(back.offset(), b.offset());
        EXPECT_EQ(back.get(7, -7), 5);
        EXPECT_TRUE(back.clientFromImageXform().isIdentity());
    }
}

TEST(PelBufferArchive, OlderFormsAreRead)
{
    for (auto o : kOrders) {
        SCOPED_TRACE(o);
        const std::string name = "ycPelBuffer<unsigned char>";
        const Bytes root = rootReference(o);
        struct Case {
            const char* what;
            Bytes body;
            ycPair<std::int32_t> offset;
            ycXform<2> forward;
        } cases[] = {
            {"version 0", Body(o).record(name, {0, 0}).rect(1, 1, 2, 1).bytes(root).done(), {0, 0}, ycXform<2>()},
            {"version 1",
             Body(o).record(name, {1, 0}).rect(1, 1, 2, 1).i32(5).i32(6).xform(2, 0, 0, 2, 3, 4).bytes(root).done(),
             {5, 6},
             ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(3, 4))},
            {"version 2, inverse computed",
             Body(o).record(name, {2, 0}).rect(1, 1, 2, 1).i32(5).i32(6).linear(2, 0, 0, 4, 1, 1).i32(0).bytes(root).done(),
             {5, 6},
             ycXform<2>(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(1, 1))},
        };
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            Buf b;
            LoadArchive in(o, c.body);
            *in >> b;
            EXPECT_EQ(b.windowRoot(), ycPelRect(1, 1, 2, 1));
            EXPECT_EQ(b.offset(), c.offset);
            EXPECT_EQ(b.clientFromImageXform(), c.forward);
            EXPECT_EQ(b.imageFromClientXform(), c.forward.inverse());
            EXPECT_EQ(b.get(c.offset.x() + 1, c.offset.y()), 6);
            expectRootPels(b);
        }

        // A stored inverse is taken as it is, even when it is not the exact
        // inverse: it is what the writer had.
        Buf b;
        LoadArchive in(o, Body(o)
                              .record(name, {2, 0})
                              .rect(0, 0, 3, 2)
                              .i32(0)
                              .i32(0)
                              .linear(2, 0, 0, 2, 0, 0)
                              .linear(1, 0, 0, 1, 9, 9)
                              .bytes(root)
                              .done());
        *in >> b;
        EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(0, 0)), ycVector<2>(9, 9));

        Buf nullForward;
        LoadArchive bad(o, Body(o).record(name, {2, 0}).rect(0, 0, 3, 2).i32(0).i32(0).i32(0).i32(0).bytes(root).done());
        EXPECT_THROW(*bad >> nullForward, ycAssertFailure);
        EXPECT_FALSE(nullForward.isBound());
    }
}

TEST(PelBufferArchive, BuffersSharingARootShareItAfterLoading)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    Buf a(4, 3);
    const unsigned char pels[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    a.copyFromBuffer(pels);
    Buf b = a;
    b.windowRoot(1, 1, 2, 2);
    Buf c(4, 3);
    c.copyFromBuffer(pels);
    const Bytes body = storedBody(o, [&](ycArchive& ar) { ar << a << b << c; });

    Buf a2, b2, c2;
    {
        LoadArchive in(o, body);
        *in >> a2 >> b2 >> c2;
    }
    EXPECT_EQ(a2.root(), b2.root());
    EXPECT_NE(a2.root(), c2.root());
    EXPECT_EQ(a2.refc(), 2);
    EXPECT_EQ(c2.refc(), 1);
    EXPECT_TRUE(a2.sharesPels(b2));
    EXPECT_EQ(b2.windowRoot(), ycPelRect(1, 1, 2, 2));
    b2.put(2, 2, 77);
    EXPECT_EQ(a2.get(2, 2), 77);
    EXPECT_EQ(c2.get(2, 2), 10);
}

TEST(PelBufferArchive, RefusedInputLeavesTheBufferAsItWas)
{
    const ycArchive::Ordering o = ycArchive::bigEndian;
    const std::string name = "ycPelBuffer<unsigned char>";
    const Bytes root = rootReference(o);
    Buf b(2, 2);
    b.windowRoot(1, 1, 1, 1);
    b.offset(4, 4);
    const Buf before = b;

    Body shortRoot(o);
    shortRoot.i32(-1).record("ycPelRoot<short>", {0, 0, 0}).rect(1, 1, 4, 0).u8(0).u8(1);
    struct Case {
        const char* what;
        Bytes body;
        std::function<void(ycArchive&)> load;
    } cases[] = {
        {"window outside the root", Body(o).record(name, {0, 0}).rect(2, 0, 2, 1).bytes(root).done(), nullptr},
        {"negative window", Body(o).record(name, {0, 0}).rect(0, 0, -1, 1).bytes(root).done(), nullptr},
        {"another pel type", Body(o).record(name, {0, 0}).rect(0, 0, 1, 1).bytes(shortRoot.done()).done(), nullptr},
        {"version 4", Body(o).record(name, {4, 0}).rect(0, 0, 1, 1).bytes(root).done(), nullptr},
        {"cut short", Body(o).record(name, {3, 0}).rect(0, 0, 1, 1).i32(0).done(), nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        LoadArchive in(o, c.body);
        try {
            *in >> b;
            ADD_FAILURE();
        } catch (const ycArchive::BadContent&) {
            EXPECT_TRUE(std::string(c.what).find("window") != std::string::npos);
        } catch (const ycArchive::BadType&) {
            EXPECT_EQ(std::string(c.what), "another pel type");
        } catch (const ycArchive::UnknownVersion& e) {
            EXPECT_EQ(std::string(c.what), "version 4");
            EXPECT_EQ(e.file(), L"std/pelbuf/pbuf_com");
        } catch (const ycArchive::Eof&) {
            EXPECT_EQ(std::string(c.what), "cut short");
        }
        EXPECT_TRUE(b == before);
    }
}

TEST(PelBufferArchive, ThreePlaneBuffersKeepTheirColourSpace)
{
    for (auto o : kOrders) {
        yc3PlanePelBuffer rgb(2, 1, 4);
        rgb.put(0, 0, yc3PlanePel(1, 2, 3));
        rgb.put(1, 0, yc3PlanePel(4, 5, 6));
        rgb.colorSpace(ycColorSpaceDefs::HSI);
        Bytes body = storedBody(o, [&](ycArchive& ar) { ar << rgb; });
        ASSERT_GE(body.size(), 4u);
        // The tag closes the record.
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), Body(o).i32(ycColorSpaceDefs::HSI).done());

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
        LoadArchive in(o, body);
        EXPECT_THROW(*in >> other, ycArchive::BadContent);
        EXPECT_TRUE(other == otherBefore);
        EXPECT_EQ(other.colorSpace(), ycColorSpaceDefs::RGB);
    }
}

} // namespace

// Pel buffers in archives: the written form byte by byte, the three older
// forms built by hand, roots shared again after loading, and refused input.
#include "../math/archive_bytes.h"

#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

namespace {

using Buf = ycPelBuffer<unsigned char>;
const ycArchive::Ordering kOrders[] = {ycArchive::bigEndian, ycArchive::littleEndian};
const std::string kName = "ycPelBuffer<unsigned char>";

using Body = ArchiveBytes;

void load(ycArchive::Ordering o, const Bytes& body, ycPersistent& into)
{
    LoadArchive in(o, body);
    *in >> into;
}

// A diagonal linear transform as a new object reference.
Bytes linear(ycArchive::Ordering o, double a, double e, double tx, double ty)
{
    return Body(o).i32(-1).record("yc2XformLinear", {0, 0, 0}).vec(tx, ty).mat(a, 0, 0, e).done();
}

// A 3 x 2 root of pels 1..6, alignment 4, as a new object reference.
Bytes rootReference(ycArchive::Ordering o)
{
    return Body(o).i32(-1).record("ycPelRoot<unsigned char>", {0, 0, 0}).rect(3, 2, 4, 0).bytes({1, 2, 3, 4, 5, 6}).done();
}

// The written form (version 3): window, offset, the transform cache, the
// root; and the three older forms, built by hand.
TEST(PelBufferArchive, WrittenFormByteForByteAndOlderFormsAreRead)
{
    for (auto o : kOrders) {
        Buf b(3, 2, 4);
        const unsigned char pels[] = {1, 2, 3, 4, 5, 6};
        b.copyFromBuffer(pels);
        b.windowRoot(1, 0, 2, 2);
        b.offset(7, -8);
        const Bytes written = Body(o)
                                  .record(kName, {3, 0})
                                  .rect(1, 0, 2, 2)
                                  .i32(7)
                                  .i32(-8)
                                  .record("yc2XformCache", {0, 0})
                                  .bytes(linear(o, 1, 1, 0, 0))
                                  .i32(0) // the inverse, not yet computed
                                  .bytes(rootReference(o))
                                  .done();
        EXPECT_EQ(storedBody(o, [&](ycArchive& ar) { ar << b; }), written) << int(o);

        const ycXform<2> scale(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(3, 1));
        struct Case {
            Bytes body;
            ycPelRect window;
            ycPair<std::int32_t> offset;
            ycXform<2> forward;
            int pel; // at (1, 0) in the window
        } cases[] = {
            {Body(o).record(kName, {0, 0}).rect(1, 1, 2, 1).bytes(rootReference(o)).done(), {1, 1, 2, 1}, {0, 0}, {}, 6},
            {Body(o).record(kName, {1, 0}).rect(1, 1, 2, 1).i32(5).i32(6).u8(0).vec(3, 1).mat(2, 0, 0, 4).u8(0)
                 .bytes(rootReference(o)).done(), {1, 1, 2, 1}, {5, 6}, scale, 6},
            {Body(o).record(kName, {2, 0}).rect(1, 1, 2, 1).i32(5).i32(6).bytes(linear(o, 2, 4, 3, 1)).i32(0)
                 .bytes(rootReference(o)).done(), {1, 1, 2, 1}, {5, 6}, scale, 6},
            {written, {1, 0, 2, 2}, {7, -8}, {}, 3},
        };
        for (const Case& c : cases) {
            SCOPED_TRACE(&c - cases); // the version
            load(o, c.body, b);
            EXPECT_EQ(b.windowRoot(), c.window);
            EXPECT_EQ(b.offset(), c.offset);
            EXPECT_EQ(b.clientFromImageXform(), c.forward);
            EXPECT_EQ(b.imageFromClientXform(), c.forward.inverse());
            EXPECT_EQ(b.get(c.offset.x() + 1, c.offset.y()), c.pel);
        }

        // A stored inverse is taken as the writer had it; a null forward
        // transform is refused.
        load(o, Body(o).record(kName, {2, 0}).rect(0, 0, 3, 2).i32(0).i32(0).bytes(linear(o, 2, 2, 0, 0))
                    .bytes(linear(o, 1, 1, 9, 9)).bytes(rootReference(o)).done(), b);
        EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(0, 0)), ycVector<2>(9, 9));
        Buf nullForward;
        const Bytes nullForwardBody =
            Body(o).record(kName, {2, 0}).rect(0, 0, 3, 2).i32(0).i32(0).i32(0).i32(0).bytes(rootReference(o)).done();
        EXPECT_THROW(load(o, nullForwardBody, nullForward), ycAssertFailure);
        EXPECT_FALSE(nullForward.isBound());
    }
}

// Buffers that share a root share it after loading; but a write through a
// buffer tells the archive holding its root, which then stores the root
// again instead of referring back to the old pels.
TEST(PelBufferArchive, ARootIsStoredOnceUnlessItsPelsChange)
{
    const ycArchive::Ordering o = ycArchive::littleEndian;
    const unsigned char pels[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    for (bool write : {false, true}) {
        Buf a(4, 3), c(4, 3), a2, b2, c2;
        a.copyFromBuffer(pels);
        c.copyFromBuffer(pels);
        Buf b = a;
        b.windowRoot(1, 1, 2, 2);
        const Bytes body = storedBody(o, [&](ycArchive& ar) {
            ar << a << c;
            if (write) a.put(2, 2, 99);
            ar << b;
        });
        {
            LoadArchive in(o, body);
            *in >> a2 >> c2 >> b2;
        }
        EXPECT_EQ(a2.root() == b2.root(), !write);
        EXPECT_NE(a2.root(), c2.root());
        EXPECT_EQ(a2.refc(), write ? 1 : 2);
        EXPECT_EQ(b2.windowRoot(), ycPelRect(1, 1, 2, 2));
        EXPECT_EQ(b2.get(2, 2), write ? 99 : 10);
        b2.put(2, 2, 77);
        EXPECT_EQ(a2.get(2, 2), write ? 10 : 77);
        EXPECT_EQ(c2.get(2, 2), 10);
    }
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

    EXPECT_THROW(load(o, Body(o).record(kName, {0, 0}).rect(2, 0, 2, 1).bytes(root).done(), b), ycArchive::BadContent);
    EXPECT_THROW(load(o, Body(o).record(kName, {0, 0}).rect(0, 0, -1, 1).bytes(root).done(), b), ycArchive::BadContent);
    EXPECT_THROW(load(o, Body(o).record(kName, {0, 0}).rect(0, 0, 1, 1).bytes(shortRoot).done(), b), ycArchive::BadType);
    EXPECT_THROW(load(o, Body(o).record(kName, {4, 0}).done(), b), ycArchive::UnknownVersion);
    EXPECT_THROW(load(o, Body(o).record(kName, {3, 0}).rect(0, 0, 1, 1).i32(0).done(), b), ycArchive::Eof);
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
        load(o, body, back);
        EXPECT_EQ(back.colorSpace(), ycColorSpaceDefs::HSI);
        EXPECT_EQ(back.get(1, 0), yc3PlanePel(4, 5, 6));

        // A grey tag is refused, and nothing changes.
        std::copy_n(Body(o).i32(ycColorSpaceDefs::Grey).done().begin(), 4, body.end() - 4);
        yc3PlanePelBuffer other(1, 1);
        const yc3PlanePelBuffer otherBefore = other;
        EXPECT_THROW(load(o, body, other), ycArchive::BadContent);
        EXPECT_TRUE(other == otherBefore);
        EXPECT_EQ(other.colorSpace(), ycColorSpaceDefs::RGB);
    }
}

} // namespace

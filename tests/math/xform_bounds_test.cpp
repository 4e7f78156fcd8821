// Sequences whose members are shared: the work, the depth and the cycles
// that a graph of members could otherwise cause, from calls and from archives.
#include "archive_bytes.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/pelbuf/pelbuf.h"
#include "std/pelbuf/xfcache.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

namespace {

using Handle = ycPtrHandle<yc2XformBase>;
using Seq = ycPtrHandle<yc2XformComposed>;
using Ex = ArchiveBytes;
constexpr auto kOrder = ycArchive::littleEndian;
constexpr int kDepth = yc2XformComposed::kMaxDepth;

Handle shift(double dx)
{
    return Handle(new yc2XformLinear(ycMatrix<2>(), ycVector<2>(dx, 0)));
}

Handle perspective()
{
    return Handle(new yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.001, 0, 1)));
}

// Each level holds the level below twice: `levels` records name 2^levels
// applications of the leaf.
Handle diamond(Handle leaf, int levels)
{
    for (int i = 0; i < levels; ++i) leaf = Handle(new yc2XformComposed(*leaf, *leaf, false, false));
    return leaf;
}

// Each level holds the level below and a shift.
Handle chain(int levels)
{
    Handle x = shift(1);
    for (int i = 0; i < levels; ++i) x = Handle(new yc2XformComposed(*x, *shift(1), false, true));
    return x;
}

Bytes storedHandle(Handle h)
{
    return storedBody(kOrder, [&](ycArchive& ar) { yfSerializeHandle(ar, h); });
}

Handle loadHandle(const Bytes& body)
{
    LoadArchive in(kOrder, body);
    Handle h;
    yfSerializeHandle(*in, h);
    return h;
}

// The records of a diamond written by hand, so that no bound of building one
// stands in the way: top record id 1, its first member id 2, and so on.
Bytes diamondBytes(int levels, const Bytes& leafRecord)
{
    Ex body(kOrder);
    for (int i = 0; i < levels; ++i) body.i32(-1).record("yc2XformComposed", {0, 0, 0}).i32(2);
    body.i32(-1).bytes(leafRecord);
    for (int i = levels; i > 0; --i) body.i32(i + 1); // the second member: the first one again
    return body.done();
}

// Nested one inside another, each with one member.
Bytes chainBytes(int levels, const Bytes& leafRecord)
{
    Ex body(kOrder);
    for (int i = 0; i < levels; ++i) body.i32(-1).record("yc2XformComposed", {0, 0, 0}).i32(1);
    return body.i32(-1).bytes(leafRecord).done();
}

Bytes shiftRecord()
{
    return Ex(kOrder).record("yc2XformLinear", {0, 0, 0}).vec(1, 0).mat(1, 0, 0, 1).done();
}

Bytes perspectiveRecord()
{
    Ex r(kOrder);
    r.record("yc2XformPerspective", {0, 0, 0});
    for (double e : {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.001, 0.0, 1.0}) r.d(e);
    return r.done();
}

// A shared linear graph of 2^100 paths costs its hundred nodes: stored once
// each, loaded into a handle, a cache and a buffer, mapped and inverted as
// one affine map. Exact, since doubling a translation rounds nothing.
TEST(XformBounds, DiamondOfLinearMembersCostsItsNodesNotItsPaths)
{
    const double far = std::ldexp(1.0, 100);
    Handle top = diamond(shift(1), 100);
    EXPECT_TRUE(top->isLinear());
    EXPECT_EQ(top->mapPoint(ycVector<2>(0, 3)), ycVector<2>(far, 3));

    const Bytes body = storedHandle(top);
    EXPECT_LT(body.size(), 5000u);
    Handle back = loadHandle(body);
    EXPECT_EQ(back->mapPoint(ycVector<2>(0, 3)), ycVector<2>(far, 3));
    EXPECT_EQ(back->inverseBase()->mapPoint(ycVector<2>(far, 3)), ycVector<2>(0, 3));
    EXPECT_EQ(back->linearXform(ycVector<2>(7, 7)).trans(), ycVector<2>(far, 0));

    // The inverse keeps the sharing: each level still holds one object twice.
    std::vector<ycPtrHandle_const<yc2XformBase>> members;
    dynamic_cast<const yc2XformComposed&>(*back->inverseBase()).decompose(members);
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0].get(), members[1].get());

    yc2XformCache stored(*top), cache;
    {
        LoadArchive in(kOrder, storedBody(kOrder, [&](ycArchive& ar) { ar || stored; }));
        *in || cache;
    }
    EXPECT_EQ(cache.linearXform().trans(), ycVector<2>(far, 0));
    EXPECT_EQ(cache.xformInverse()->mapPoint(ycVector<2>(far, 0)), ycVector<2>(0, 0));

    ycPelBuffer<unsigned char> buf(4, 4), loaded;
    buf.clientFromImageXformBase(top, false);
    {
        LoadArchive in(kOrder, storedBody(kOrder, [&](ycArchive& ar) { ar << buf; }));
        *in >> loaded;
    }
    EXPECT_EQ(loaded.clientFromImageXform().trans(), ycVector<2>(far, 0));
    EXPECT_EQ(loaded.imageFromClientXformBase()->mapPoint(ycVector<2>(far, 1)), ycVector<2>(0, 1));
}

// Graphs whose paths number more than the work bound, or that nest deeper
// than the depth bound, are refused while they load, after a few records.
TEST(XformBounds, ArchivesPastTheBoundsAreRefused)
{
    struct Case {
        const char* name;
        Bytes body;
    } cases[] = {
        {"perspective diamond of 2^40 paths", diamondBytes(40, perspectiveRecord())},
        {"linear diamond one level too deep", diamondBytes(kDepth + 1, shiftRecord())},
        {"chain one level too deep", chainBytes(kDepth + 1, shiftRecord())},
        {"chain deeper than any reader takes", chainBytes(1000, shiftRecord())},
    };
    for (const Case& c : cases) EXPECT_THROW(loadHandle(c.body), ycArchive::BadContent) << c.name;

    // At the bounds they load, and what loads stores again.
    Handle atDepth = loadHandle(chainBytes(kDepth, shiftRecord()));
    EXPECT_EQ(dynamic_cast<const yc2XformComposed&>(*atDepth).depth(), kDepth);
    EXPECT_EQ(storedHandle(atDepth), chainBytes(kDepth, shiftRecord()));
    Handle atWork = loadHandle(diamondBytes(16, perspectiveRecord()));
    EXPECT_EQ(dynamic_cast<const yc2XformComposed&>(*atWork).work(), yc2XformComposed::kMaxWork);
    EXPECT_EQ(storedHandle(atWork), diamondBytes(16, perspectiveRecord()));
}

// Every way of building a sequence refuses one past a bound, and leaves the
// sequence it was changing as it was.
TEST(XformBounds, BuildingPastTheBoundsIsRefused)
{
    const Handle deepest = chain(kDepth);
    EXPECT_EQ(dynamic_cast<const yc2XformComposed&>(*deepest).depth(), kDepth);
    EXPECT_EQ(deepest->mapPoint(ycVector<2>()), ycVector<2>(kDepth + 1, 0));
    const Handle busiest = diamond(perspective(), 16);
    const Handle id = shift(0);

    const std::pair<const char*, std::function<void()>> tooDeep[] = {
        {"constructor", [&] { yc2XformComposed x(*deepest, false); }},
        {"pair constructor", [&] { yc2XformComposed x(*id, *deepest, true, false); }},
        {"composeBase", [&] { yc2XformComposed(*id, true).composeBase(*deepest); }},
        {"work", [&] { yc2XformComposed x(*busiest, *perspective(), false, true); }},
    };
    for (const auto& [name, f] : tooDeep) EXPECT_THROW(f(), yc2XformDefs::NotImplemented) << name;

    yc2XformComposed seq(*id, *perspective(), true, true);
    for (bool front : {false, true}) {
        for (const Handle& x : {deepest, Handle(new yc2XformComposed(*busiest, false))}) {
            EXPECT_THROW(front ? seq.preCompose(*x, false) : seq.postCompose(*x, false), yc2XformDefs::NotImplemented);
            EXPECT_EQ(seq.size(), 2u);
            EXPECT_EQ(seq.work(), 2u);
        }
    }
    // Linear members fold: a long linear sequence costs one application.
    for (int i = 0; i < 200; ++i) seq.preCompose(*id, false);
    EXPECT_EQ(seq.work(), 2u);
}

// No sequence can come to contain itself: not directly, and not through a
// sequence that holds it, since a held sequence no longer changes.
TEST(XformBounds, SequencesCannotContainThemselves)
{
    Seq a(new yc2XformComposed(*shift(1), true));
    EXPECT_THROW(a->postCompose(*a, false), ycAssertFailure);
    EXPECT_THROW(a->preCompose(*a, false), ycAssertFailure);
    EXPECT_EQ(a->size(), 1u);
    a->postCompose(*a, true); // a copy of itself is another object
    EXPECT_EQ(a->size(), 2u);
    EXPECT_EQ(a->mapPoint(ycVector<2>()), ycVector<2>(2, 0));

    Seq b(new yc2XformComposed(*a, false));
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"postCompose", [&] { a->postCompose(*b, false); }},
        {"preCompose", [&] { a->preCompose(*shift(5), true); }},
        {"invert", [&] { a->invert(); }},
        {"assignment", [&] { *a = *b; }},
    };
    for (const auto& [name, f] : changes) {
        EXPECT_THROW(f(), ycAssertFailure) << name;
        EXPECT_EQ(a->size(), 2u) << name;
    }
    {
        LoadArchive in(kOrder, Ex(kOrder).record("yc2XformComposed", {0, 0, 0}).i32(1).i32(-1).bytes(shiftRecord()).done());
        EXPECT_THROW(*in || *a, ycAssertFailure) << "loading";
        EXPECT_EQ(a->size(), 2u);
    }

    // Let go of by its holder, it may change again.
    b.reset();
    a->invert();
    EXPECT_EQ(a->mapPoint(ycVector<2>()), ycVector<2>(-2, 0));
}

} // namespace

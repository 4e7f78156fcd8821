// Pel buffers: windowing rules, image coordinates, pel access for every pel
// type, shared roots, client transforms and the colour buffer.
#include "pelvalues.h"

#include "std/math/matherror.h"
#include "std/math/xfpersp.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"
#include "std/pelbuf/pool.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <vector>

namespace {

using Buf = ycPelBuffer<unsigned char>;
constexpr std::int32_t kMax = INT32_MAX;

struct State {
    ycPelRect window;
    ycPair<std::int32_t> offset;
    const yc_PelRoot* root;
    friend bool operator==(const State&, const State&) = default;
};

State stateOf(const yc_PelBuffer& b)
{
    return {b.windowRoot(), b.offset(), b.root()};
}

// An 8 x 8 root seen through the root window (1, 1, 3, 3), whose first pel
// has image coordinates (100, 50): image = root + (99, 49).
Buf startingBuffer()
{
    Buf b(8, 8);
    b.windowRoot(1, 1, 3, 3);
    b.offset(100, 50);
    return b;
}

void expectImageShift(const Buf& b)
{
    EXPECT_EQ(b.offset() - b.offsetRoot(), (ycPair<std::int32_t>(99, 49)));
}

TEST(PelBuffer, WindowRootClipsOrThrowsAndKeepsImageCoordinates)
{
    struct Case {
        ycPelRect in;
        bool clip;
        bool throws;
        bool clipped;
        ycPelRect window;
    } cases[] = {
        {{2, 3, 4, 5}, false, false, false, {2, 3, 4, 5}},
        {{0, 0, 8, 8}, false, false, false, {0, 0, 8, 8}},
        {{8, 0, 0, 8}, false, false, false, {8, 0, 0, 8}},  // empty, on the right edge
        {{6, 6, 4, 4}, false, true, false, {}},
        {{6, 6, 4, 4}, true, false, true, {6, 6, 2, 2}},
        {{-2, -1, 4, 4}, true, false, true, {0, 0, 2, 3}},
        {{10, 0, 5, 5}, true, false, true, {0, 0, 0, 5}},   // wholly outside: empty at the origin
        {{3, 9, 2, 2}, true, false, true, {0, 0, 2, 0}},
        {{0, 0, -1, 5}, true, true, false, {}},             // negative sizes are never clipped
        {{0, 0, 5, -1}, false, true, false, {}},
        {{kMax - 2, 0, 5, 1}, false, true, false, {}},      // the end does not wrap
        {{kMax, 0, kMax, 1}, true, false, true, {0, 0, 0, 1}},
        {{-5, 0, kMax, 8}, true, false, true, {0, 0, 8, 8}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.in.x() << "," << c.in.y() << "," << c.in.width() << ","
                                          << c.in.height() << " clip " << c.clip);
        Buf b = startingBuffer();
        const State before = stateOf(b);
        if (c.throws) {
            EXPECT_THROW(b.windowRoot(c.in, c.clip), ycPel::BadWindow);
            EXPECT_EQ(stateOf(b), before);
            continue;
        }
        EXPECT_EQ(b.windowRoot(c.in, c.clip), c.clipped);
        EXPECT_EQ(b.windowRoot(), c.window);
        expectImageShift(b);
        b.repInvariant();
    }
}

TEST(PelBuffer, WindowInImageCoordinatesAndSubWindows)
{
    Buf b = startingBuffer();
    EXPECT_FALSE(b.window(99 + 2, 49 + 3, 4, 5));
    EXPECT_EQ(b.windowRoot(), ycPelRect(2, 3, 4, 5));
    EXPECT_EQ(b.window(), ycPelRect(101, 52, 4, 5));
    EXPECT_TRUE(b.window(ycPair<std::int32_t>(90, 40), ycPair<std::int32_t>(20, 20), true));
    EXPECT_EQ(b.windowRoot(), ycPelRect(0, 0, 8, 8));
    EXPECT_EQ(b.windowEntire(), ycPelRect(99, 49, 8, 8));

    struct Case {
        ycPelRect in;
        bool ok;
    } subs[] = {
        {{3, 0, 0, 3}, true}, // zero width at the right edge
        {{0, 3, 3, 0}, true},
        {{1, 1, 2, 2}, true},
        {{4, 0, 0, 3}, false},
        {{-1, 0, 1, 1}, false},
        {{0, 0, 4, 1}, false},
        {{2, 0, 2, 1}, false},
        {{0, 0, -1, 0}, false},
        {{0, kMax, 0, 1}, false},
    };
    for (const Case& c : subs) {
        Buf s = startingBuffer();
        const State before = stateOf(s);
        if (!c.ok) {
            EXPECT_THROW(s.subWindow(c.in.origin(), c.in.size()), ycPel::BadWindow) << c.in.x() << "," << c.in.y();
            EXPECT_EQ(stateOf(s), before);
            continue;
        }
        s.subWindow(c.in.origin(), c.in.size());
        EXPECT_EQ(s.windowRoot(), c.in.translate(1, 1));
        expectImageShift(s);
    }

    // Image coordinates that would leave 32 bits are refused, not wrapped.
    Buf far(8, 8);
    far.offset(kMax - 1, 0);
    EXPECT_THROW(far.subWindow(2, 0, 1, 1), ycPel::BadWindow);
    EXPECT_EQ(far.windowRoot(), ycPelRect(0, 0, 8, 8));
}

TEST(PelBuffer, OffsetMovesImageCoordinates)
{
    Buf b(16, 8);
    b.windowRoot(4, 2, 5, 3);
    b.offset(100, 50);
    EXPECT_EQ(b.pointToPel(100, 50), b.pointToOffset());
    EXPECT_EQ(b.pointToPel(101, 51), b.pointToOffset() + b.rowUpdate() + 1);
    EXPECT_EQ(b.pointToPel(100, 50), b.root()->pels() + 2 * b.rowUpdate() + 4);
    EXPECT_EQ(b.window(), ycPelRect(100, 50, 5, 3));

    struct Miss {
        std::function<void()> call;
        std::int32_t x, y;
    } misses[] = {
        {[&] { b.pointToPel(0, 0); }, 0, 0},
        {[&] { b.get(105, 50); }, 105, 50},
        {[&] { b.get(99, 52); }, 99, 52},
        {[&] { b.put(104, 53, 1); }, 104, 53},
        {[&] { b.pointToRow(49); }, 0, 49},
        {[&] { b.pointToRow(53); }, 0, 53},
        {[&] { b.get(kMax, INT32_MIN); }, kMax, INT32_MIN},
    };
    for (const Miss& m : misses) {
        try {
            m.call();
            ADD_FAILURE() << m.x << "," << m.y;
        } catch (const ycPel::BadCoord& e) {
            EXPECT_EQ(e.x(), m.x);
            EXPECT_EQ(e.y(), m.y);
            EXPECT_EQ(e.errorNumber(), 0x10000405);
        }
    }
    b.setEntire();
    EXPECT_EQ(b.window(), ycPelRect(96, 48, 16, 8));
    EXPECT_TRUE(b.isEntire());
}

TEST(PelBuffer, CopiesShareThePelsButNotTheWindow)
{
    Buf a(6, 4);
    for (std::int32_t y = 0; y < 4; ++y)
        for (std::int32_t x = 0; x < 6; ++x) a.put(x, y, static_cast<unsigned char>(10 * y + x));
    Buf b = a;
    EXPECT_EQ(a.refc(), 2);
    EXPECT_TRUE(a == b);
    b.windowRoot(2, 1, 3, 2);
    EXPECT_TRUE(a.isEntire());
    EXPECT_TRUE(a != b);
    EXPECT_EQ(b.get(2, 1), 12);
    b.put(4, 2, 99);
    EXPECT_EQ(a.get(4, 2), 99);
    EXPECT_TRUE(a.sharesPels(b));

    ycPelBuffer_const<unsigned char> view = b;
    EXPECT_EQ(view.get(3, 1), 13);
    EXPECT_EQ(a.refc(), 3);

    // Same root, same window, different offset: not equal.
    Buf c = b;
    c.offset(0, 0);
    EXPECT_FALSE(b == c);
    // The transform is not compared.
    c = b;
    c.clientFromImageXform(ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(0, 0)));
    EXPECT_TRUE(b == c);
    EXPECT_THROW((void)(b < c), ycAssertFailure);
}

TEST(PelBuffer, SharesPelsOnlyWhereWindowsOverlapOnOneRoot)
{
    Buf a(8, 8);
    Buf other(8, 8);
    Buf unbound;
    struct Case {
        ycPelRect first, second;
        bool sameRoot;
        bool shares;
    } cases[] = {
        {{0, 0, 4, 4}, {4, 4, 4, 4}, true, false},
        {{0, 0, 5, 5}, {4, 4, 4, 4}, true, true},
        {{0, 0, 8, 8}, {8, 0, 0, 8}, true, false},
        {{0, 0, 8, 8}, {0, 0, 8, 8}, false, false},
    };
    for (const Case& c : cases) {
        Buf x = a;
        Buf y = c.sameRoot ? a : other;
        x.windowRoot(c.first);
        y.windowRoot(c.second);
        EXPECT_EQ(x.sharesPels(y), c.shares);
        EXPECT_EQ(y.sharesPels(x), c.shares);
    }
    EXPECT_FALSE(a.sharesPels(unbound));
    EXPECT_FALSE(unbound.sharesPels(unbound));
}

TEST(PelBuffer, BindAppliesTheOwnWindowToTheNewRoot)
{
    Buf big(8, 8);
    Buf small(4, 4);
    Buf b(8, 8);
    b.windowRoot(1, 1, 2, 2);
    EXPECT_FALSE(b.bind(small));
    EXPECT_EQ(b.root(), small.root());
    EXPECT_EQ(b.windowRoot(), ycPelRect(1, 1, 2, 2));

    Buf wide = big;
    wide.windowRoot(5, 5, 3, 3);
    const State before = stateOf(wide);
    EXPECT_THROW(wide.bind(small), ycPel::BadWindow);
    EXPECT_EQ(stateOf(wide), before);
    EXPECT_TRUE(wide.bind(small, true));
    EXPECT_EQ(wide.windowRoot(), ycPelRect(0, 0, 0, 0));

    Buf fresh;
    EXPECT_FALSE(fresh.bind(big));
    EXPECT_EQ(fresh.windowRoot(), ycPelRect(0, 0, 0, 0));
    EXPECT_EQ(big.refc(), 2);
    EXPECT_FALSE(fresh.bind(Buf()));
    EXPECT_FALSE(fresh.isBound());
    EXPECT_EQ(big.refc(), 1);
}

TEST(PelBuffer, UnboundBuffersRefuseWhatNeedsARoot)
{
    Buf b;
    unsigned char pel = 0;
    const std::function<void()> calls[] = {
        [&] { b.windowRoot(0, 0, 0, 0); }, [&] { b.window(0, 0, 0, 0); }, [&] { b.subWindow(0, 0, 0, 0); },
        [&] { b.setEntire(); },            [&] { (void)b.rowUpdate(); }, [&] { (void)b.windowEntire(); },
        [&] { (void)b.get(0, 0); },        [&] { b.pointToRow(0); },      [&] { b.copyToBuffer(&pel); },
        [&] { b.disconnectRoot(); },       [&] { b.pointToOffset(); },    [&] { (void)b.refc(); },
    };
    for (const auto& call : calls) EXPECT_THROW(call(), ycPel::UnboundWindow);
    b.offset(3, 4);
    EXPECT_EQ(b.window(), ycPelRect(3, 4, 0, 0));
    EXPECT_FALSE(b.isEntire());
    EXPECT_FALSE(b.contains(&pel));
    b.repInvariant();
}

TEST(PelBuffer, DisconnectRootHandsOverAnUnsharedRoot)
{
    Buf a(5, 5);
    Buf b = a;
    EXPECT_THROW(a.disconnectRoot(), ycAssertFailure);
    EXPECT_EQ(a.root(), b.root());
    EXPECT_EQ(a.refc(), 2);
    b.setUnbound();

    a.put(1, 1, 7);
    ycPelRootOwner<ycPelRoot<unsigned char>> owner = a.disconnectRoot();
    ASSERT_TRUE(owner);
    EXPECT_FALSE(a.isBound());
    EXPECT_EQ(owner->refCount(), 0);
    Buf again(owner.release());
    EXPECT_EQ(again.refc(), 1);
    EXPECT_EQ(again.get(1, 1), 7);
    again.setUnbound(); // frees the root once (ASan watches)

    // A pooled root goes back to its pool when its owner lets go.
    ycPtrHandle<ycBasicPelRootPool> pool(new ycBasicPelRootPool(4096, 64));
    Buf pooled(pool->newRoot<unsigned char>(10, 10));
    auto fromPool = pooled.disconnectRoot();
    EXPECT_GT(pool->granulesOut(), 0u);
    fromPool.reset();
    EXPECT_EQ(pool->granulesOut(), 0u);
}

TEST(PelBuffer, ClientTransformsBothWays)
{
    Buf b(8, 8);
    EXPECT_TRUE(b.clientFromImageXform().isIdentity());
    const ycXform<2> scale(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(10, 20));
    b.clientFromImageXform(scale);
    EXPECT_EQ(b.clientFromImageXformBase()->mapPoint(ycVector<2>(1, 1)), ycVector<2>(12, 24));
    EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(12, 24)), ycVector<2>(1, 1));
    EXPECT_EQ(b.imageFromClientXform(), scale.inverse());

    b.imageFromClientXform(scale);
    EXPECT_EQ(b.clientFromImageXform(), scale.inverse());
    EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(1, 1)), ycVector<2>(12, 24));

    // A singular image-from-client transform has no inverse; nothing changes.
    EXPECT_THROW(b.imageFromClientXform(ycXform<2>(ycMatrix<2>(1, 2, 2, 4), ycVector<2>(0, 0))),
                 ycMathError::Singular);
    EXPECT_EQ(b.clientFromImageXform(), scale.inverse());

    const yc2XformPerspective persp(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.5, 0, 1));
    b.clientFromImageXformBase(persp);
    EXPECT_THROW(b.clientFromImageXform(), ycPel::NonlinearXform);
    EXPECT_THROW(b.imageFromClientXform(), ycPel::NonlinearXform);
    const ycVector<2> p(0.5, 3);
    const ycVector<2> back = b.imageFromClientXformBase()->mapPoint(b.clientFromImageXformBase()->mapPoint(p));
    EXPECT_NEAR(back.x(), p.x(), 1e-12);
    EXPECT_NEAR(back.y(), p.y(), 1e-12);

    Buf c(2, 2);
    c.copyXforms(b);
    EXPECT_EQ(c.clientFromImageXformBase(), b.clientFromImageXformBase());
    Buf d = b;
    EXPECT_FALSE(d.xformCache().isLinear());
}

template <class T>
class PelBufferTyped : public ::testing::Test {};
TYPED_TEST_SUITE(PelBufferTyped, AllPelTypes);

TYPED_TEST(PelBufferTyped, AccessCopiesAndContainment)
{
    using T = TypeParam;
    ycPelBuffer<T> b(ycPelRect(10, 20, 5, 3));
    EXPECT_EQ(b.window(), ycPelRect(10, 20, 5, 3));
    EXPECT_EQ(b.alignModulus(), 32);
    EXPECT_EQ(b.rowUpdate() * paddingPelSize<T>() % 32, 0u);

    const std::vector<T> values = pelValues<T>(15);
    for (std::int32_t i = 0; i < 15; ++i) b.put(10 + i % 5, 20 + i / 5, values[static_cast<std::size_t>(i)]);
    std::vector<T> out(15);
    b.copyToBuffer(out.data());
    EXPECT_EQ(out, values);

    ycPelBuffer<T> inner = b;
    inner.subWindow(1, 1, 3, 2);
    std::vector<T> part(6);
    inner.copyToBuffer(part.data());
    EXPECT_EQ(part[0], values[6]);
    EXPECT_EQ(part[5], values[13]);
    const std::vector<T> fresh = pelValues<T>(6, 100);
    inner.copyFromBuffer(fresh.data());
    EXPECT_EQ(b.get(11, 21), fresh[0]);
    EXPECT_EQ(b.get(13, 22), fresh[5]);
    EXPECT_EQ(b.get(10, 21), values[5]); // outside the inner window: untouched

    EXPECT_TRUE(inner.contains(inner.pointToOffset()));
    EXPECT_TRUE(inner.contains(b.pointToPel(13, 22)));
    EXPECT_FALSE(inner.contains(b.pointToPel(10, 20)));
    EXPECT_FALSE(inner.contains(b.pointToPel(14, 22)));
    EXPECT_TRUE(b.contains(b.pointToPel(14, 22)));
    EXPECT_FALSE(ycPelBuffer<T>(2, 2).contains(b.pointToOffset()));
    b.repInvariant();
}

TEST(PelBuffer, ThreePlaneBuffersAndTheirPlanes)
{
    Buf p0(4, 3), p1(4, 3), p2(4, 3);
    const std::vector<unsigned char> zeros(12);
    for (Buf* p : {&p0, &p1, &p2}) {
        p->copyFromBuffer(zeros.data());
        p->windowRoot(1, 0, 3, 3);
        p->offset(-1, -1);
    }
    p1.put(0, 1, 11);
    yc3PlanePelBuffer rgb(p0, p1, p2);
    EXPECT_EQ(rgb.window(), ycPelRect(-1, -1, 3, 3));
    rgb.put(-1, -1, yc3PlanePel(1, 2, 3));
    EXPECT_EQ(p2.get(-1, -1), 3);
    EXPECT_EQ(rgb.get(0, 1), yc3PlanePel(0, 11, 0));
    EXPECT_EQ(rgb.plane0().get(-1, -1), 1);
    EXPECT_EQ(rgb.plane1().window(), rgb.window());

    EXPECT_EQ(rgb.colorSpace(), ycColorSpaceDefs::RGB);
    for (auto c : {ycColorSpaceDefs::HSI, ycColorSpaceDefs::YUV, ycColorSpaceDefs::RGB}) {
        rgb.colorSpace(c);
        EXPECT_EQ(rgb.colorSpace(), c);
    }
    rgb.colorSpace(ycColorSpaceDefs::YUV);
    for (auto c : {ycColorSpaceDefs::Grey, ycColorSpaceDefs::Unknown, ycColorSpaceDefs::ColorSpace(9)}) {
        EXPECT_THROW(rgb.colorSpace(c), ycColorSpaceDefs::BadColorSpace);
        EXPECT_EQ(rgb.colorSpace(), ycColorSpaceDefs::YUV);
    }
    const yc3PlanePelBuffer_const view = rgb;
    EXPECT_EQ(view.colorSpace(), ycColorSpaceDefs::YUV);
    EXPECT_EQ(view.plane2().get(-1, -1), 3);
    EXPECT_TRUE(view.contains(rgb.pointToPel(1, 1)));

    Buf odd(5, 3);
    odd.windowRoot(1, 0, 3, 3);
    EXPECT_THROW(yc3PlanePelBuffer(p0, odd, p2), ycAssertFailure);
    Buf moved = p1;
    moved.windowRoot(0, 0, 3, 3);
    EXPECT_THROW(yc3PlanePelBuffer(p0, moved, p2), ycAssertFailure);
    EXPECT_THROW(yc3PlanePelBuffer().plane0(), ycPel::UnboundWindow);
}

} // namespace

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
#include <set>
#include <tuple>
#include <vector>

namespace {

using Buf = ycPelBuffer<unsigned char>;
constexpr std::int32_t kMax = INT32_MAX;

// Window, offset and root: what a failed call must leave alone.
using State = std::tuple<ycPelRect, ycPair<std::int32_t>, const yc_PelRoot*>;
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

const ycPair<std::int32_t> kImageShift(99, 49);

// Windows set on startingBuffer() in root coordinates, in image coordinates
// and relative to the window (where a zero width may sit on the right edge).
// A refusal throws BadWindow and changes nothing; otherwise the call returns
// whether it clipped, and image coordinates stay where they were.
TEST(PelBuffer, WindowingClipsOrRefusesAndKeepsImageCoordinates)
{
    enum Call { root, image, sub };
    struct Case { Call call; ycPelRect in; bool clip, throws, clipped; ycPelRect window; } cases[] = {
        {root, {2, 3, 4, 5}, false, false, false, {2, 3, 4, 5}},  {root, {6, 6, 4, 4}, false, true, false, {}},
        {root, {8, 0, 0, 8}, false, false, false, {8, 0, 0, 8}}, // empty, on the right edge
        {root, {6, 6, 4, 4}, true, false, true, {6, 6, 2, 2}},    {root, {-2, -1, 4, 4}, true, false, true, {0, 0, 2, 3}},
        {root, {10, 0, 5, 5}, true, false, true, {0, 0, 0, 5}}, // wholly outside: empty at the origin
        {root, {3, 9, 2, 2}, true, false, true, {0, 0, 2, 0}},    {root, {0, 0, 5, -1}, false, true, false, {}},
        {root, {0, 0, -1, 5}, true, true, false, {}},            // negative sizes are never clipped
        {root, {kMax - 2, 0, 5, 1}, false, true, false, {}},     // the end does not wrap
        {root, {kMax, 0, kMax, 1}, true, false, true, {0, 0, 0, 1}},
        {root, {-5, 0, kMax, 8}, true, false, true, {0, 0, 8, 8}},
        {image, {99 + 2, 49 + 3, 4, 5}, false, false, false, {2, 3, 4, 5}},
        {image, {90, 40, 20, 20}, true, false, true, {0, 0, 8, 8}},
        {sub, {3, 0, 0, 3}, false, false, false, {4, 1, 0, 3}}, {sub, {0, 3, 3, 0}, false, false, false, {1, 4, 3, 0}},
        {sub, {1, 1, 2, 2}, false, false, false, {2, 2, 2, 2}}, {sub, {4, 0, 0, 3}, false, true, false, {}},
        {sub, {-1, 0, 1, 1}, false, true, false, {}},           {sub, {0, 0, 4, 1}, false, true, false, {}},
        {sub, {2, 0, 2, 1}, false, true, false, {}},            {sub, {0, 0, -1, 0}, false, true, false, {}},
        {sub, {0, kMax, 0, 1}, false, true, false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "call " << c.call << " " << c.in.x() << "," << c.in.y() << ","
                                          << c.in.width() << "," << c.in.height() << " clip " << c.clip);
        Buf b = startingBuffer();
        const State before = stateOf(b);
        auto call = [&] {
            if (c.call == sub) b.subWindow(c.in.origin(), c.in.size());
            return c.call == root ? b.windowRoot(c.in, c.clip) : c.call == image ? b.window(c.in, c.clip) : false;
        };
        if (c.throws) {
            EXPECT_THROW(call(), ycPel::BadWindow);
            EXPECT_EQ(stateOf(b), before);
            continue;
        }
        EXPECT_EQ(call(), c.clipped);
        EXPECT_EQ(b.windowRoot(), c.window);
        EXPECT_EQ(b.offset() - b.offsetRoot(), kImageShift);
        b.repInvariant();
    }
    EXPECT_EQ(startingBuffer().windowEntire(), ycPelRect(99, 49, 8, 8));

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
    EXPECT_EQ(b.pointToPel(101, 51), b.root()->pels() + 3 * b.rowUpdate() + 5);
    EXPECT_EQ(b.window(), ycPelRect(100, 50, 5, 3));

    // A pel checks its column first and reports (x, y); a row, also when the
    // column was fine, reports (0, y).
    const std::pair<std::function<void()>, ycPair<std::int32_t>> misses[] = {
        {[&] { b.pointToPel(0, 0); }, {0, 0}},     {[&] { b.get(105, 50); }, {105, 50}},
        {[&] { b.get(99, 52); }, {99, 52}},        {[&] { b.put(104, 53, 1); }, {0, 53}},
        {[&] { b.get(100, 49); }, {0, 49}},        {[&] { b.pointToPel(102, kMax); }, {0, kMax}},
        {[&] { b.get(105, 53); }, {105, 53}},      {[&] { b.put(99, 49, 1); }, {99, 49}},
        {[&] { b.pointToRow(49); }, {0, 49}},      {[&] { b.pointToRow(53); }, {0, 53}},
        {[&] { b.get(kMax, INT32_MIN); }, {kMax, INT32_MIN}},
        {[&] { b.get(104, INT32_MIN); }, {0, INT32_MIN}},
    };
    for (const auto& [call, at] : misses) {
        try {
            call();
            ADD_FAILURE() << at.x() << "," << at.y();
        } catch (const ycPel::BadCoord& e) {
            EXPECT_EQ(ycPair<std::int32_t>(e.x(), e.y()), at);
        }
    }
    b.setEntire();
    EXPECT_EQ(b.window(), ycPelRect(96, 48, 16, 8));
    EXPECT_TRUE(b.isEntire());
}

TEST(PelBuffer, CopiesShareThePelsButNotTheWindow)
{
    Buf a(6, 4);
    std::vector<unsigned char> pels(24);
    for (std::size_t i = 0; i < pels.size(); ++i) pels[i] = static_cast<unsigned char>(10 * (i / 6) + i % 6);
    a.copyFromBuffer(pels.data());
    Buf b = a;
    EXPECT_TRUE(a == b);
    b.windowRoot(2, 1, 3, 2);
    EXPECT_TRUE(a.isEntire() && a != b);
    EXPECT_EQ(b.get(2, 1), 12);
    b.put(4, 2, 99);
    EXPECT_EQ(a.get(4, 2), 99);
    const ycPelBuffer_const<unsigned char> view = b;
    EXPECT_EQ(view.get(3, 1), 13);
    EXPECT_EQ(a.refc(), 3);

    // sharesPels needs one root and overlapping windows.
    Buf c = a, other(6, 4), unbound;
    c.windowRoot(5, 3, 1, 1);
    EXPECT_TRUE(a.sharesPels(b));
    EXPECT_FALSE(b.sharesPels(c));
    EXPECT_FALSE(a.sharesPels(other));
    EXPECT_FALSE(a.sharesPels(unbound));

    // Equality: root, window and offset, not the transform.
    c = b;
    c.clientFromImageXform(ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(0, 0)));
    EXPECT_TRUE(b == c);
    c.offset(0, 0);
    EXPECT_FALSE(b == c);
}

// operator< orders root, window, offset; two buffers are equivalent exactly
// when they are ==, so a set keeps one of each.
TEST(PelBuffer, OrderIsStrictAndWeakOnRootWindowAndOffset)
{
    Buf a(6, 4), other(6, 4), unbound;
    std::vector<Buf> all;
    for (const ycPelRect& w : {ycPelRect(0, 0, 6, 4), ycPelRect(1, 0, 2, 2), ycPelRect(0, 1, 2, 2),
                               ycPelRect(1, 0, 1, 2), ycPelRect(1, 0, 2, 1)}) {
        for (const ycPair<std::int32_t>& off : {ycPair<std::int32_t>(0, 0), ycPair<std::int32_t>(0, -1),
                                                ycPair<std::int32_t>(-1, 5)}) {
            for (const Buf* root : {&a, &other}) {
                Buf b = *root;
                b.windowRoot(w);
                b.offset(off);
                all.push_back(b);
            }
        }
    }
    all.push_back(unbound);
    Buf transformed = all[3];
    transformed.clientFromImageXform(ycXform<2>(ycMatrix<2>(2, 0, 0, 2), ycVector<2>(1, 1)));
    all.push_back(transformed); // the transform is not part of the order

    for (const Buf& x : all) {
        EXPECT_FALSE(x < x);
        for (const Buf& y : all) {
            EXPECT_EQ(!(x < y) && !(y < x), x == y);
            EXPECT_FALSE(x < y && y < x);
            for (const Buf& z : all) EXPECT_FALSE(x < y && y < z && !(x < z));
        }
    }
    EXPECT_EQ(std::set<Buf>(all.begin(), all.end()).size(), all.size() - 1);
}

// bind applies the buffer's own window to the new root; an unbound buffer
// refuses what needs a root; disconnectRoot hands over an unshared root.
TEST(PelBuffer, BindUnboundAndDisconnect)
{
    Buf big(8, 8), small(4, 4), b(8, 8), fresh, unbound;
    b.windowRoot(1, 1, 2, 2);
    EXPECT_FALSE(b.bind(small));
    EXPECT_TRUE(b.root() == small.root() && b.windowRoot() == ycPelRect(1, 1, 2, 2));
    Buf wide = big;
    wide.windowRoot(5, 5, 3, 3);
    const State before = stateOf(wide);
    EXPECT_THROW(wide.bind(small), ycPel::BadWindow);
    EXPECT_EQ(stateOf(wide), before);
    EXPECT_TRUE(wide.bind(small, true));
    EXPECT_EQ(wide.windowRoot(), ycPelRect(0, 0, 0, 0));
    EXPECT_FALSE(fresh.bind(big));
    EXPECT_EQ(fresh.windowRoot(), ycPelRect(0, 0, 0, 0));
    EXPECT_FALSE(fresh.bind(Buf()));
    EXPECT_EQ(big.refc(), 1);

    unsigned char pel = 0;
    const std::function<void()> calls[] = {
        [&] { unbound.windowRoot(0, 0, 0, 0); }, [&] { unbound.window(0, 0, 0, 0); }, [&] { unbound.setEntire(); },
        [&] { unbound.subWindow(0, 0, 0, 0); },  [&] { (void)unbound.windowEntire(); }, [&] { (void)unbound.get(0, 0); },
        [&] { unbound.copyToBuffer(&pel); },     [&] { unbound.disconnectRoot(); },     [&] { unbound.pointToOffset(); },
    };
    for (const auto& call : calls) EXPECT_THROW(call(), ycPel::UnboundWindow);
    EXPECT_FALSE(unbound.contains(&pel));

    Buf a(5, 5), shared = a;
    EXPECT_THROW(a.disconnectRoot(), ycAssertFailure);
    EXPECT_EQ(a.refc(), 2);
    shared.setUnbound();
    a.put(1, 1, 7);
    ycPelRootOwner<ycPelRoot<unsigned char>> owner = a.disconnectRoot();
    ASSERT_TRUE(owner);
    EXPECT_FALSE(a.isBound());
    EXPECT_EQ(owner->refCount(), 0);
    Buf again(std::move(owner)); // its only share: dropping it frees the root once (ASan watches)
    EXPECT_EQ(again.refc(), 1);
    EXPECT_EQ(again.get(1, 1), 7);

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
    EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(12, 24)), ycVector<2>(1, 1));
    EXPECT_EQ(b.imageFromClientXform(), scale.inverse());

    b.imageFromClientXform(scale);
    EXPECT_EQ(b.clientFromImageXform(), scale.inverse());
    EXPECT_EQ(b.imageFromClientXformBase()->mapPoint(ycVector<2>(1, 1)), ycVector<2>(12, 24));
    // A singular image-from-client transform has no inverse; nothing changes.
    EXPECT_THROW(b.imageFromClientXform(ycXform<2>(ycMatrix<2>(1, 2, 2, 4), ycVector<2>(0, 0))),
                 ycMathError::Singular);
    EXPECT_EQ(b.clientFromImageXform(), scale.inverse());

    b.clientFromImageXformBase(yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.5, 0, 1)));
    EXPECT_THROW(b.clientFromImageXform(), ycPel::NonlinearXform);
    EXPECT_THROW(b.imageFromClientXform(), ycPel::NonlinearXform);
    EXPECT_TRUE(yfRealEq(b.imageFromClientXformBase()->mapPoint(b.clientFromImageXformBase()->mapPoint({0.5, 3})),
                         ycVector<2>(0.5, 3), 1e-12));
}

template <class T>
class PelBufferTyped : public ::testing::Test {};
TYPED_TEST_SUITE(PelBufferTyped, AllPelTypes);

TYPED_TEST(PelBufferTyped, AccessCopiesAndContainment)
{
    using T = TypeParam;
    ycPelBuffer<T> b(ycPelRect(10, 20, 5, 3));
    EXPECT_EQ(b.window(), ycPelRect(10, 20, 5, 3));
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
    EXPECT_TRUE(part[0] == values[6] && part[5] == values[13]);
    const std::vector<T> fresh = pelValues<T>(6, 100);
    inner.copyFromBuffer(fresh.data());
    EXPECT_TRUE(b.get(11, 21) == fresh[0] && b.get(13, 22) == fresh[5]);
    EXPECT_EQ(b.get(10, 21), values[5]); // outside the inner window: untouched

    EXPECT_TRUE(inner.contains(inner.pointToOffset()));
    EXPECT_TRUE(inner.contains(b.pointToPel(13, 22)));
    EXPECT_FALSE(inner.contains(b.pointToPel(10, 20)));
    EXPECT_FALSE(inner.contains(b.pointToPel(14, 22)));
    EXPECT_FALSE(ycPelBuffer<T>(2, 2).contains(b.pointToOffset()));
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

    EXPECT_EQ(rgb.colorSpace(), ycColorSpaceDefs::RGB);
    rgb.colorSpace(ycColorSpaceDefs::YUV);
    for (auto c : {ycColorSpaceDefs::Grey, ycColorSpaceDefs::Unknown, ycColorSpaceDefs::ColorSpace(9)}) {
        EXPECT_THROW(rgb.colorSpace(c), ycColorSpaceDefs::BadColorSpace);
        EXPECT_EQ(rgb.colorSpace(), ycColorSpaceDefs::YUV);
    }
    const yc3PlanePelBuffer_const view = rgb;
    EXPECT_EQ(view.colorSpace(), ycColorSpaceDefs::YUV);
    EXPECT_EQ(view.plane2().get(-1, -1), 3);

    // The planes must match in window as well as in geometry.
    Buf moved = p1;
    moved.windowRoot(0, 0, 3, 3);
    EXPECT_THROW(yc3PlanePelBuffer(p0, moved, p2), ycAssertFailure);
    EXPECT_THROW(yc3PlanePelBuffer().plane0(), ycPel::UnboundWindow);
}

} // namespace

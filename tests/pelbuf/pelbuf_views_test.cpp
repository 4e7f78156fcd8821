// Loads into roots that buffers view, and writes that archives must not miss.
#include "../math/archive_bytes.h"

#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/pelbuf.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <numeric>
#include <vector>

namespace {

constexpr auto kBig = ycArchive::bigEndian;

template <class R>
Bytes stored(const R& root)
{
    return storedBody(kBig, [&](ycArchive& ar) { ar << root; });
}

void load(const Bytes& body, ycPersistent& into)
{
    LoadArchive in(kBig, body);
    *in >> into;
}

template <class T>
std::vector<T> pelsOf(const ycPelBuffer_const<T>& b)
{
    std::vector<T> out(static_cast<std::size_t>(b.width()) * static_cast<std::size_t>(b.height()));
    b.copyToBuffer(out.data());
    return out;
}

template <class T>
ycPtrHandle<ycPelRoot<T>> filledRoot(std::int32_t w, std::int32_t h, std::int32_t align, T first)
{
    auto root = yfMakeHandle<ycPelRoot<T>>(w, h, align);
    std::vector<T> pels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
    std::iota(pels.begin(), pels.end(), first);
    root->pelsFromVect(ycPelRect(0, 0, w, h), pels);
    return root;
}

// Copies, assignment, unbinding and disconnecting keep the view count exact.
TEST(PelRootViews, BuffersCountAsViewsWhileTheyHoldTheRoot)
{
    ycPelBuffer<short> a(4, 4);
    yc_PelRoot* root = a.root();
    EXPECT_EQ(root->viewCount(), 1);
    {
        ycPelBuffer<short> b = a, c;
        c = b;
        EXPECT_EQ(root->viewCount(), 3);
        c = ycPelBuffer<short>(2, 2);
        b.setUnbound();
        EXPECT_EQ(root->viewCount(), 1);
        c.bind(a);
        EXPECT_EQ(root->viewCount(), 2);
    }
    EXPECT_EQ(root->viewCount(), 1);
    ycPtrHandle<ycPelRoot<short>> handle(a.root());
    EXPECT_THROW(a.disconnectRoot(), ycAssertFailure); // shared: refused, and still viewed
    EXPECT_EQ(root->viewCount(), 1);
    handle.reset();
    ycPelRootOwner<ycPelRoot<short>> owner = a.disconnectRoot();
    EXPECT_EQ(owner->viewCount(), 0);

    yc3PlanePelBuffer colour(4, 2);
    const ycPelBuffer<unsigned char> plane = colour.plane0();
    EXPECT_EQ(colour.root()->viewCount(), 1);
    EXPECT_EQ(colour.root()->plane0()->viewCount(), 2); // the colour root and the plane view
    EXPECT_EQ(colour.root()->plane1()->viewCount(), 1);
}

// A root that a buffer views keeps its whole geometry through a load, and a
// refused load changes nothing; one that nothing views takes any geometry.
TEST(PelRootViews, ALoadMayNotChangeTheGeometryUnderAView)
{
    const Bytes sameGeometry = stored(*filledRoot<short>(6, 4, 4, 100));
    struct Case {
        const char* what;
        Bytes body;
        bool refused;
    } cases[] = {
        {"same geometry", sameGeometry, false},
        {"narrower", stored(*filledRoot<short>(5, 4, 4, 100)), true},
        {"shorter", stored(*filledRoot<short>(6, 3, 4, 100)), true},
        {"other row update", stored(*filledRoot<short>(6, 4, 16, 100)), true},
        {"other alignment, same row update", stored(*filledRoot<short>(6, 4, 8, 100)), true},
        {"empty", stored(ycPelRoot<short>()), true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ycPelBuffer<short> image(filledRoot<short>(6, 4, 4, 0));
        image.windowRoot(4, 2, 2, 2);
        ycPelRoot<short>& root = *image.root();
        const short* pels = root.pels();
        const std::vector<short> before = pelsOf<short>(image);
        if (c.refused) {
            EXPECT_THROW(load(c.body, root), ycArchive::BadContent);
            EXPECT_EQ(root.pels(), pels);
            EXPECT_EQ(pelsOf<short>(image), before);
        } else {
            load(c.body, root);
            EXPECT_EQ(pelsOf<short>(image), (std::vector<short>{116, 117, 122, 123}));
        }
        EXPECT_TRUE(root.width() == 6 && root.height() == 4 && root.rowUpdate() == 6 && root.alignModulus() == 4);

        // Once no buffer views it, the same load is taken as stored.
        ycPtrHandle<ycPelRoot<short>> held(&root);
        image.setUnbound();
        load(c.body, *held);
        EXPECT_EQ(held->width() == 6 && held->height() == 4 && held->alignModulus() == 4, !c.refused);
    }
}

// A three-plane root is viewed by its colour buffers and views its planes;
// a load builds three new planes aside, so views of the old ones keep valid
// pels and a failed load keeps all three.
TEST(PelRootViews, ThreePlaneRootsAndTheirPlanes)
{
    const auto colourRoot = [](std::int32_t w, std::int32_t h, unsigned char first) {
        yc3PlanePelBuffer b(w, h, 4);
        std::vector<yc3PlanePel> pels;
        for (int i = 0; i < w * h; ++i) pels.push_back(yc3PlanePel(first + i, first + 2 * i, first + 3 * i));
        b.copyFromBuffer(pels.data());
        return stored(*b.root());
    };
    const Bytes same = colourRoot(4, 2, 50);
    const Bytes cut(same.begin(), same.end() - 2);

    yc3PlanePelBuffer colour(4, 2, 4);
    std::vector<yc3PlanePel> original;
    for (int i = 0; i < 8; ++i) original.push_back(yc3PlanePel(i, 10 + i, 20 + i));
    colour.copyFromBuffer(original.data());
    const ycPelBuffer<unsigned char> plane1 = colour.plane1();
    ycPelRoot<yc3PlanePel>& root = *colour.root();
    const yc3PlanePelPtr pels = root.pels();

    EXPECT_THROW(load(colourRoot(2, 2, 50), root), ycArchive::BadContent);
    EXPECT_THROW(load(cut, root), ycArchive::Eof);
    EXPECT_EQ(root.pels(), pels);
    EXPECT_EQ(pelsOf<yc3PlanePel>(colour), original);
    // A plane the colour root views keeps its geometry as well.
    EXPECT_THROW(load(stored(*filledRoot<unsigned char>(2, 2, 4, 0)), *root.plane0()), ycArchive::BadContent);

    load(same, root);
    EXPECT_NE(root.pels().plane1, pels.plane1);
    EXPECT_EQ(colour.get(1, 1), yc3PlanePel(55, 60, 65));
    EXPECT_EQ(plane1.get(1, 1), 15); // the old plane, alive while viewed
    EXPECT_EQ(root.plane1()->viewCount(), 1);
}

using Buf = ycPelBuffer<unsigned char>;

// Every way of writing pels through a buffer makes the next store of that
// buffer write the new pels, in a seekable archive (storeObject) and a plain
// one (<< twice); so does a write into its root where the buffer's record is
// written again (<<); reading marks nothing.
TEST(PelBufferChanges, AStoreAfterAWriteHasTheNewPels)
{
    struct Write {
        const char* what;
        std::function<void(Buf&)> write;
        bool changes;
        bool rootOnly = false;
    } writes[] = {
        {"get and copyToBuffer",
         [](Buf& b) {
             std::vector<unsigned char> out(12);
             b.copyToBuffer(out.data());
             (void)b.get(1, 1);
         },
         false},
        {"put", [](Buf& b) { b.put(1, 1, 99); }, true},
        {"pointToRow", [](Buf& b) { b.pointToRow(1)[1] = 99; }, true},
        {"pointToPel", [](Buf& b) { *b.pointToPel(1, 1) = 99; }, true},
        {"pointToOffset", [](Buf& b) { b.pointToOffset()[b.rowUpdate() + 1] = 99; }, true},
        {"copyFromBuffer",
         [](Buf& b) {
             std::vector<unsigned char> in(12);
             b.copyToBuffer(in.data());
             in[5] = 99;
             b.copyFromBuffer(in.data());
         },
         true},
        {"pelsFromVect", [](Buf& b) { b.root()->pelsFromVect(ycPelRect(1, 1, 1, 1), {99}); }, true, true},
        {"copy into the root",
         [](Buf& b) { filledRoot<unsigned char>(1, 1, 1, 99)->copy(ycPelRect(0, 0, 1, 1), *b.root(), {1, 1}); },
         true, true},
        {"load into the root", [](Buf& b) { load(stored(*filledRoot<unsigned char>(4, 3, 32, 94)), *b.root()); },
         true, true},
    };
    for (const Write& w : writes) {
        for (bool seekable : {false, true}) {
            if (seekable && w.rootOnly) continue;
            SCOPED_TRACE(std::string(w.what) + (seekable ? " seekable" : " plain"));
            Buf b(4, 3);
            std::vector<unsigned char> pels(12);
            std::iota(pels.begin(), pels.end(), 0);
            b.copyFromBuffer(pels.data());
            ycMemoryArchive out(ycArchive::littleEndian, seekable);
            const auto store = [&] { seekable ? (void)out.storeObject(&b) : (void)(out << b); };
            store();
            w.write(b);
            store();

            LoadArchive in(out);
            if (seekable) { // buffer, cache, transform, root; again buffer, cache, root
                int records = 0;
                for (std::int32_t id = in->firstObjectID(); id != 0; id = in->nextObjectID(id)) ++records;
                EXPECT_EQ(records, w.changes ? 7 : 4);
            }
            Buf first, second;
            *in >> first;
            if (seekable) {
                std::unique_ptr<ycPersistent> again = in->loadObject();
                ASSERT_NE(dynamic_cast<Buf*>(again.get()), nullptr);
                second = *dynamic_cast<Buf*>(again.get());
            } else {
                *in >> second;
            }
            EXPECT_EQ(first.get(1, 1), 5);
            EXPECT_EQ(second.get(1, 1), w.changes ? 99 : 5);
            if (!seekable) {
                EXPECT_EQ(second.root() == first.root(), !w.changes);
            }
        }
    }
}

} // namespace

// Pel roots: geometry, alignment, the kinds of storage, copies, the
// preconditions.
#include "pelvalues.h"

#include "core/ycore.h"
#include "std/pelbuf/package.h"
#include "std/pelbuf/pelroot.h"
#include "std/util/assert.h"

#include <gtest/gtest.h>

#include <random>

#include <functional>
#include <cstdint>
#include <vector>

namespace {

std::uint32_t low32(const void* p)
{
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p));
}

template <class T>
const void* firstPel(const ycPelRoot<T>& root)
{
    if constexpr (std::is_same_v<T, yc3PlanePel>) {
        return root.pels().plane0;
    } else {
        return root.pels();
    }
}

TEST(PelRootPadding, Table)
{
    struct Row { std::int32_t width; std::size_t pelSize; std::int32_t align; std::int32_t pad; } rows[] = {
        {5, 1, 4, 3},   {8, 1, 4, 0},   {3, 2, 8, 1},    {7, 1, 1, 0},   {7, 8, 1, 0},  {1, 8, 32, 3},
        {3, 4, 6, 0},   {1, 2, 3, 2},   {5, 8, 16, 1},   {641, 1, 32, 31}, {4, 4, 24, 2},
        // The product wraps at 32 bits: (2^30 + 3) * 4 is 12, not 2^32 + 12.
        {0x40000001, 4, 3, 2},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(yc_PelRoot::padPelsNeeded(r.width, r.pelSize, r.align), r.pad)
            << r.width << " x " << r.pelSize << " mod " << r.align;
    }
    EXPECT_EQ(ycPelRoot<double>::padPelsNeeded(1, 32), 3);
    EXPECT_EQ(ycPelRoot<yc3PlanePel>::padPelsNeeded(1, 32), 31);
    EXPECT_THROW(yc_PelRoot::padPelsNeeded(5, 1, 0), ycAssertFailure);
}

// Against trying every p in 32-bit arithmetic, near the wrap too; and a huge
// modulus with a wrapping row answers at once (it once tried p one by one).
TEST(PelRootPadding, AgreesWithTryingEveryPad)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 3000; ++i) {
        const std::size_t s = std::size_t{1} << (rng() % 4);
        const auto m = static_cast<std::int32_t>(1 + rng() % 3000);
        const auto w = static_cast<std::int32_t>(i % 2 ? 1 + rng() % 5000 : 0x7FFFFFFF - rng() % 5000);
        std::int32_t p = 0;
        while (static_cast<std::uint32_t>((static_cast<std::uint32_t>(w) + p) * s) % static_cast<std::uint32_t>(m)) ++p;
        ASSERT_EQ(yc_PelRoot::padPelsNeeded(w, s, m), p) << w << " x " << s << " mod " << m;
    }
    // (2^31 - 16 + 16) * 8 = 2^34 wraps to 0, a multiple of anything.
    EXPECT_EQ(yc_PelRoot::padPelsNeeded(0x7FFFFFF0, 8, 0x7FFFFFFF), 16);
    EXPECT_EQ(yc_PelRoot::padPelsNeeded(0x7FFFFFF1, 8, 0x7FFFFFFF), 15);
    // No fit until (2^30 + 1 + p) * 4 reaches 2^33: p = 2^30 - 1.
    EXPECT_EQ(yc_PelRoot::padPelsNeeded(0x40000001, 4, 0x7FFFFFFF), 0x3FFFFFFF);
}

template <class T>
class PelRootTyped : public ::testing::Test {};
TYPED_TEST_SUITE(PelRootTyped, AllPelTypes);

TYPED_TEST(PelRootTyped, RowUpdateAlignmentAndCopies)
{
    using T = TypeParam;
    // Expected row updates for widths 1, 5, 8, 33 by pel size, at alignments
    // 32, 12 and 1.
    struct Row { std::size_t pelSize; std::int32_t align; std::int32_t rowUpdate[4]; } rows[] = {
        {1, 32, {32, 32, 32, 64}}, {2, 32, {16, 16, 16, 48}}, {4, 32, {8, 8, 8, 40}}, {8, 32, {4, 8, 8, 36}},
        {1, 12, {12, 12, 12, 36}}, {2, 12, {6, 6, 12, 36}},   {4, 12, {3, 6, 9, 33}}, {8, 12, {3, 6, 9, 33}},
        {1, 1, {1, 5, 8, 33}},     {8, 1, {1, 5, 8, 33}},
    };
    const std::int32_t widths[] = {1, 5, 8, 33};
    for (const Row& row : rows) {
        for (int i = 0; row.pelSize == paddingPelSize<T>() && i < 4; ++i) {
            ycPtrHandle<ycPelRoot<T>> root(new ycPelRoot<T>(widths[i], 2, row.align));
            EXPECT_EQ(root->rowUpdate(), row.rowUpdate[i]) << widths[i] << " mod " << row.align;
            EXPECT_NO_THROW(root->repInvariant());
        }
    }
    for (std::int32_t align : {1, 2, 3, 5, 8, 12, 16, 24, 32, 64, 100, 4096}) {
        for (int n = 0; n < 4; ++n) { // several blocks, so not every one starts alike
            ycPtrHandle<ycPelRoot<T>> root(new ycPelRoot<T>(3 + n, 2, align));
            const void* first = firstPel(*root);
            EXPECT_EQ(low32(first) % static_cast<std::uint32_t>(align), 0u) << align;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % alignof(T), 0u);
            EXPECT_TRUE(root->ownsPels() || (std::is_same_v<T, yc3PlanePel>));
        }
    }

    ycPelRoot<T> root(6, 4, 8);
    std::vector<T> expect = pelValues<T>(24);
    root.pelsFromVect(whole(root), expect);
    auto pelsOf = [](const ycPelRoot<T>& r, const ycPelRect& rect) {
        std::vector<T> out;
        r.pelsToVect(rect, out);
        return out;
    };
    const std::vector<T> part = {expect[8], expect[9], expect[10], expect[14], expect[15], expect[16]};
    EXPECT_EQ(pelsOf(root, ycPelRect(2, 1, 3, 2)), part);
    ycPtrHandle<ycPelRoot<T>> copied = root.copy(ycPelRect(2, 1, 3, 2));
    ASSERT_TRUE(copied);
    EXPECT_TRUE(copied->width() == 3 && copied->alignModulus() == 8);
    EXPECT_EQ(pelsOf(*copied, whole(*copied)), part);

    // Within one root, overlapping, either way: a 4 x 3 block moves as a whole.
    auto move = [&](int fromX, int fromY, int toX, int toY) {
        const std::vector<T> before = expect;
        auto at = [](int x, int y, int i) { return static_cast<std::size_t>((y + i / 4) * 6 + x + i % 4); };
        for (int i = 0; i < 12; ++i) expect[at(toX, toY, i)] = before[at(fromX, fromY, i)];
        root.copy(ycPelRect(fromX, fromY, 4, 3), root, {toX, toY});
        EXPECT_EQ(pelsOf(root, whole(root)), expect) << fromX << "," << fromY << " to " << toX << "," << toY;
    };
    move(0, 0, 1, 1);
    move(1, 1, 0, 0);

    EXPECT_EQ(root.copy(ycPelRect(6, 4, 0, 0))->width(), 0);
    EXPECT_THROW(root.copy(ycPelRect(4, 0, 3, 1)), ycAssertFailure);
    EXPECT_THROW(root.copy(whole(root), *copied, {0, 0}), ycAssertFailure);
    EXPECT_THROW(root.pelsFromVect(ycPelRect(0, 0, 2, 2), expect), ycAssertFailure);
}

TEST(PelRoot, ContainsTableAndTheEmptyRoot)
{
    ycPelRoot<unsigned char> root(10, 5, 4);
    const std::pair<ycPelRect, bool> rows[] = {
        {{0, 0, 10, 5}, true},   {{9, 4, 1, 1}, true},    {{10, 0, 0, 5}, true},  {{0, 0, 11, 5}, false},
        {{-1, 0, 2, 2}, false},  {{0, 0, 10, -1}, false}, {{3, 5, 1, 1}, false},  {{0x7FFFFFFF, 0, 2, 1}, false},
    };
    for (const auto& [r, inside] : rows) EXPECT_EQ(root.contains(r), inside) << r.x() << "," << r.width();

    const ycPelRoot<float> empty;
    EXPECT_TRUE(empty.width() == 0 && empty.height() == 0 && empty.rowUpdate() == 0 && empty.pels() == nullptr);
    EXPECT_NO_THROW(empty.repInvariant());
    EXPECT_TRUE(empty.contains(ycPelRect(0, 0, 0, 0)));
    EXPECT_FALSE(empty.contains(ycPelRect(0, 0, 1, 1)));
}

// Wrapped caller memory is never freed; a package's block lives while a root
// over it does.
TEST(PelRoot, WrappedMemoryAndPackages)
{
    const std::int64_t before = ysys_memory_outstanding();
    alignas(16) short pels[4 * 3] = {};
    {
        ycPtrHandle<ycPelRoot<short>> root(new ycPelRoot<short>(3, 3, pels, 8)); // row update 4
        EXPECT_TRUE(root->rowUpdate() == 4 && root->pels() == pels && !root->ownsPels());
        root->pels()[4 * 2 + 2] = 7;
        ycPelRoot<short> given(3, 2, 6, pels, 4); // 12-byte rows
        EXPECT_EQ(given.rowUpdate(), 6);
        EXPECT_NO_THROW(given.repInvariant());
    }
    EXPECT_EQ(pels[10], 7);
    {
        ycPtrHandle<ycPelBlockPackage> package = ycPelBlockPackage::make(5, 3, 2, 8, 3);
        EXPECT_EQ(package->rowUpdate(), 8);
        EXPECT_GE(package->byteSize(), 8u * 3 * 2 + 3);
        ycPtrHandle<ycPelRoot<short>> root(new ycPelRoot<short>(*package));
        EXPECT_TRUE(root->rowUpdate() == 8 && root->width() == 5 && root->package() == package.get());
        EXPECT_EQ(static_cast<void*>(root->pels()), package->bytes());
        EXPECT_EQ(low32(root->pels()) % 8, 0u);
        package.reset(); // the root's share keeps the block
        root->pels()[8 * 2 + 4] = -3;
        EXPECT_EQ(root->pels()[20], -3);
    }
    EXPECT_EQ(ysys_memory_outstanding(), before);
    ycPtrHandle<ycPelBlockPackage> bytes = ycPelBlockPackage::make(4, 4, 1, 4);
    EXPECT_THROW(ycPelRoot<float> wrongSize(*bytes), ycAssertFailure);
    EXPECT_EQ(bytes->refCount(), 1);
}

// A package of the caller's own, with its pels inside the object.
class LocalPackage : public yc_PelPackage {
public:
    std::int32_t width() const override { return 4; }
    std::int32_t height() const override { return 2; }
    std::int32_t rowUpdate() const override { return 0; }
    std::int32_t alignModulus() const override { return 4; }
    std::size_t pelSize() const override { return 1; }
    void* supplyPels(yc_PelRoot&) override { return pels; }

    alignas(16) unsigned char pels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
};

// Only what a handle already holds is shared: a package or a plane on the
// stack is refused (assertion, root left empty) and never deleted, which
// AddressSanitizer would report; held by handles, both are shared and freed
// once, by the last holder.
TEST(PelRoot, SharesOnlyWhatHandlesHold)
{
    LocalPackage onStack;
    ycPelRoot<yc3PlanePel>::Plane planes[3] = {{3, 3, 4}, {3, 3, 4}, {3, 3, 4}};
    const std::function<void()> refused[] = {
        [&] { ycPelRoot<unsigned char> root(onStack); },
        [&] { ycPtrHandle<ycPelRoot<unsigned char>> root(new ycPelRoot<unsigned char>(onStack)); },
        [&] { ycPelRoot<yc3PlanePel> root(&planes[0], &planes[1], &planes[2]); },
    };
    for (const auto& call : refused) EXPECT_THROW(call(), ycAssertFailure);
    {
        ycAssertHandlerScope scope(&yfCountingAssertHandler);
        ycPtrHandle<ycPelRoot<unsigned char>> root(new ycPelRoot<unsigned char>(onStack));
        ycPtrHandle<ycPelRoot<yc3PlanePel>> colour(new ycPelRoot<yc3PlanePel>(&planes[0], &planes[1], &planes[2]));
        EXPECT_TRUE(root->width() == 0 && root->package() == nullptr && colour->plane0() == nullptr);
    }
    EXPECT_EQ(onStack.refCount(), 0);
    EXPECT_EQ(planes[0].refCount(), 0);
    EXPECT_EQ(onStack.pels[7], 8);

    const std::int64_t before = ysys_memory_outstanding();
    {
        ycPtrHandle<yc_PelPackage> held(new LocalPackage);
        ycPtrHandle<ycPelRoot<unsigned char>> root(new ycPelRoot<unsigned char>(*held));
        EXPECT_TRUE(root->rowUpdate() == 4 && root->pels()[5] == 6 && root->package() == held.get());
        EXPECT_EQ(held->refCount(), 2);
        root->releasePackage(); // from now on the pels are the caller's, like wrapped ones
        EXPECT_TRUE(root->package() == nullptr && !root->ownsPels() && root->pels()[5] == 6);
        EXPECT_EQ(held->refCount(), 1);

        // A package whose only handle is a temporary lives on in the root.
        ycPelRoot<short> fromTemporary(*ycPelBlockPackage::make(3, 2, 2, 8));
        EXPECT_EQ(fromTemporary.package()->refCount(), 1);
        fromTemporary.pels()[4 + 2] = -9;
        EXPECT_EQ(fromTemporary.pels()[6], -9);
    }
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

// The only share of a root becomes its owner, at count 0; a shared root
// stays with its handles.
TEST(PelRoot, DisconnectHandsOverTheOnlyShare)
{
    ycPtrHandle<ycPelRoot<float>> root = yfMakeHandle<ycPelRoot<float>>(3, 3, 4);
    ycPtrHandle<ycPelRoot<float>> other = root;
    EXPECT_THROW(yfDisconnectPelRoot(root), ycAssertFailure);
    EXPECT_TRUE(root && root->refCount() == 2);
    other.reset();
    ycPelRoot<float>* const raw = root.get();
    ycPelRootOwner<ycPelRoot<float>> owner = yfDisconnectPelRoot(root);
    EXPECT_TRUE(owner.get() == raw && !root && owner->refCount() == 0);
    ycPtrHandle<ycPelRoot<float>> again(owner.release()); // its only share: freed once (ASan watches)
    EXPECT_EQ(again->refCount(), 1);
    ycPtrHandle<ycPelRoot<float>> none;
    EXPECT_THROW(yfDisconnectPelRoot(none), ycAssertFailure);
}

TEST(PelRoot, PreconditionsAreAssertions)
{
    alignas(16) unsigned char bytes[64] = {};
    short* shorts = reinterpret_cast<short*>(bytes);
    const std::function<void()> broken[] = {
        [] { ycPelRoot<unsigned char>(0, 1, 1); },
        [] { ycPelRoot<unsigned char>(1, 0, 1); },
        [] { ycPelRoot<unsigned char>(1, 1, 0); },
        [] { ycPelRoot<double>(-5, 1, 8); },
        [] { ycPelRoot<yc3PlanePel>(2, 0, 4); },
        [] { ycPelRoot<unsigned char>(4, 4, static_cast<unsigned char*>(nullptr), 1); },
        [&] { ycPelRoot<unsigned char>(4, 4, bytes + 1, 4); }, // misaligned
        [&] { ycPelRoot<short>(4, 2, 3, shorts, 1); },         // row update below the width
        [&] { ycPelRoot<short>(4, 2, 5, shorts, 4); },         // 10-byte rows, alignment 4
        [&] { ycPelRoot<yc3PlanePel>(2, 2, yc3PlanePelPtr{bytes, nullptr, bytes}, 1); },
        [] { yc_PelRoot::refInc(nullptr); },
        [] { yc_PelRoot::refDec(nullptr); },
    };
    for (const auto& call : broken) EXPECT_THROW(call(), ycAssertFailure);

    // With a handler that returns, the constructors leave the root empty.
    ycAssertHandlerScope scope(&yfCountingAssertHandler);
    const std::int64_t before = yfAssertCount();
    ycPelRoot<unsigned char> noPels(4, 4, static_cast<unsigned char*>(nullptr), 1);
    ycPelRoot<float> noSize(0, 3, 4);
    ycPelRoot<short> overlap(4, 2, 3, shorts, 1);
    EXPECT_EQ(yfAssertCount() - before, 3);
    for (const yc_PelRoot* r : std::initializer_list<const yc_PelRoot*>{&noPels, &noSize, &overlap}) {
        EXPECT_EQ(r->width(), 0);
        EXPECT_NO_THROW(r->repInvariant());
    }
}

TEST(PelRoot, ThreePlanesShareOneGeometry)
{
    ycPtrHandle<ycPelRoot<yc3PlanePel>> root(new ycPelRoot<yc3PlanePel>(5, 2, 4));
    ASSERT_TRUE(root->plane0() && root->plane1() && root->plane2());
    for (const auto* plane : {root->plane0(), root->plane1(), root->plane2()}) {
        EXPECT_TRUE(plane->rowUpdate() == 8 && plane->height() == 2);
    }
    root->pels().plane1[8 + 3] = 42;
    EXPECT_EQ(root->plane1()->pels()[11], 42);

    // Built over three planes, it shares them.
    using Plane = ycPtrHandle<ycPelRoot<unsigned char>>;
    Plane a(new ycPelRoot<unsigned char>(3, 3, 4)), b(new ycPelRoot<unsigned char>(3, 3, 4));
    Plane c(new ycPelRoot<unsigned char>(3, 3, 4)), odd(new ycPelRoot<unsigned char>(3, 3, 8));
    {
        ycPelRoot<yc3PlanePel> shared(a.get(), b.get(), c.get());
        EXPECT_EQ(shared.rowUpdate(), 4);
        EXPECT_EQ(a->refCount(), 2);
        EXPECT_EQ(shared.pels().plane2, c->pels());
    }
    EXPECT_EQ(a->refCount(), 1);
    EXPECT_THROW(ycPelRoot<yc3PlanePel>(a.get(), b.get(), odd.get()), ycAssertFailure);
}
} // namespace

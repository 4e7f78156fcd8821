// Pel-root pools: the granule allocator (first fit, splitting, merging),
// roots handed out and back, resizing, the default and discrete pools.
#include "core/ycore.h"
#include "std/archive/memarchive.h"
#include "std/pelbuf/pool.h"
#include "std/util/assert.h"
#include "std/util/debug.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using Blocks = std::vector<ycBasicPelRootPool::FreeBlock>;

ycPtrHandle<ycBasicPelRootPool> basicPool(std::size_t bytes, std::size_t granule)
{
    return ycPtrHandle<ycBasicPelRootPool>(new ycBasicPelRootPool(bytes, granule));
}

TEST(BasicPool, GranuleFloorAndRounding)
{
    struct Row {
        std::size_t granule;
        std::size_t used;
        std::size_t size; // asked for 100 bytes
    } rows[] = {{0, 24, 120}, {16, 24, 120}, {24, 24, 120}, {25, 25, 100}, {33, 33, 132}, {64, 64, 128}};
    for (const Row& row : rows) {
        auto pool = basicPool(100, row.granule);
        EXPECT_EQ(pool->granule(), row.used);
        EXPECT_EQ(pool->size(), row.size);
        EXPECT_EQ(pool->freeList(), (Blocks{{0, row.size / row.used}}));
        yc_PelSlot slot;
        ASSERT_TRUE(pool->allocPels(1, slot));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slot.address) % row.used, 0u);
        pool->freePels(slot);
    }
}

// Scripted takes and frees on a pool of 10 granules, with the free list
// expected after each step (offsets in granules).
TEST(BasicPool, FirstFitSplitsAndMerges)
{
    struct Step {
        char op; // 't' take, 'f' free
        char name;
        std::uint64_t granules;                                  // for 't'
        std::vector<std::pair<std::size_t, std::uint64_t>> free; // afterwards
    };
    const std::vector<std::vector<Step>> scripts = {
        {   // merging with the following block, with the preceding one, then both
            {'t', 'a', 2, {{2, 8}}}, {'t', 'b', 3, {{5, 5}}}, {'t', 'c', 1, {{6, 4}}}, {'t', 'd', 4, {}},
            {'f', 'c', 0, {{5, 1}}}, {'f', 'd', 0, {{5, 5}}}, {'f', 'a', 0, {{0, 2}, {5, 5}}}, {'f', 'b', 0, {{0, 10}}},
        },
        {   // first fit takes the lowest block that is long enough
            {'t', 'a', 1, {{1, 9}}}, {'t', 'b', 2, {{3, 7}}}, {'t', 'c', 1, {{4, 6}}}, {'t', 'd', 3, {{7, 3}}},
            {'f', 'a', 0, {{0, 1}, {7, 3}}}, {'f', 'c', 0, {{0, 1}, {3, 1}, {7, 3}}},
            {'t', 'e', 2, {{0, 1}, {3, 1}, {9, 1}}}, {'t', 'f', 1, {{3, 1}, {9, 1}}},
            {'f', 'b', 0, {{1, 3}, {9, 1}}}, {'f', 'e', 0, {{1, 3}, {7, 3}}}, {'t', 'g', 3, {{7, 3}}},
            {'f', 'd', 0, {{4, 6}}}, {'f', 'g', 0, {{1, 9}}}, {'f', 'f', 0, {{0, 10}}},
        },
    };
    for (std::size_t granule : {std::size_t{24}, std::size_t{29}}) {
        for (const auto& script : scripts) {
            auto pool = basicPool(10 * granule, granule);
            std::map<char, yc_PelSlot> out;
            for (const Step& step : script) {
                if (step.op == 't') {
                    yc_PelSlot slot;
                    ASSERT_TRUE(pool->allocPels(step.granules * granule - 3, slot)) << step.name;
                    EXPECT_EQ(slot.granules, step.granules);
                    out[step.name] = slot;
                } else {
                    pool->freePels(out.at(step.name));
                }
                Blocks expect;
                for (auto [at, n] : step.free) expect.push_back({at * granule, n});
                EXPECT_EQ(pool->freeList(), expect) << "after " << step.op << step.name << ", granule " << granule;
            }
            EXPECT_EQ(pool->granulesOut(), 0u);
        }
    }
}

TEST(BasicPool, RandomOrderDrainsToOneBlock)
{
    std::mt19937 random(12345);
    for (std::size_t granule : {std::size_t{24}, std::size_t{25}, std::size_t{40}}) {
        auto pool = basicPool(4000 * granule, granule);
        std::vector<yc_PelSlot> out;
        for (int round = 0; round < 3000; ++round) {
            const bool take = out.empty() || random() % 3 != 0;
            if (take) {
                yc_PelSlot slot;
                if (pool->allocPels(1 + random() % (8 * granule), slot)) {
                    std::memset(slot.address, 0xA5, slot.granules * granule); // must not hurt the list
                    out.push_back(slot);
                }
            } else {
                std::swap(out[random() % out.size()], out.back());
                pool->freePels(out.back());
                out.pop_back();
            }
        }
        std::shuffle(out.begin(), out.end(), random);
        for (const yc_PelSlot& slot : out) pool->freePels(slot);
        EXPECT_EQ(pool->freeList(), (Blocks{{0, 4000}})) << granule;
        EXPECT_EQ(pool->granulesOut(), 0u);
    }
}

TEST(BasicPool, MisuseIsCaught)
{
    ycDebugCapture capture;
    auto pool = basicPool(10 * 24, 24);
    yc_PelSlot a, b, tooBig;
    ASSERT_TRUE(pool->allocPels(24, a));
    ASSERT_TRUE(pool->allocPels(48, b));
    EXPECT_FALSE(pool->allocPels(8 * 24, tooBig));

    pool->freePels(a);
    EXPECT_THROW(pool->freePels(a), ycAssertFailure); // twice
    EXPECT_THROW(pool->freePels(yc_PelSlot{static_cast<unsigned char*>(b.address) + 1, 1}), ycAssertFailure); // off a granule
    EXPECT_THROW(pool->freePels(yc_PelSlot{&tooBig, 1}), ycAssertFailure); // elsewhere
    EXPECT_EQ(pool->freeList(), (Blocks{{0, 1}, {72, 7}}));

    // A free block whose check word was overwritten stops the walk.
    auto* tail = static_cast<unsigned char*>(b.address) + 48;
    std::memset(tail + 16, 0, 4);
    EXPECT_THROW(pool->allocPels(48, tooBig), ycAssertFailure);
    const std::uint32_t check = ycBasicPelRootPool::kCheckWord;
    std::memcpy(tail + 16, &check, 4);
    pool->freePels(b);
    EXPECT_EQ(pool->freeList(), (Blocks{{0, 10}}));

    // Destroyed with granules out, a pool warns once; with none out, not at all.
    ASSERT_TRUE(pool->allocPels(10, a));
    pool = nullptr;
    basicPool(240, 24);
    const std::string warning = "Warning: not all yc_PelRoot objects were released.";
    EXPECT_NE(capture.text().find(warning), std::string::npos);
    EXPECT_EQ(capture.text().find(warning, capture.text().find(warning) + 1), std::string::npos);
}

TEST(BasicPool, RootsGoBackWhenTheirLastHandleGoes)
{
    const std::int64_t before = ysys_memory_outstanding();
    ycPtrHandle<ycPelRootPool> pool(new ycBasicPelRootPool(64 * 48, 48));
    auto* basic = static_cast<ycBasicPelRootPool*>(pool.get());
    {
        ycPtrHandle<ycPelRoot<unsigned char>> grey(pool->newRoot<unsigned char>(50, 3)); // 150 bytes: 4 granules
        ycPtrHandle<ycPelRoot<ycPackedRGB16Pel>> rgb16(pool->newRoot<ycPackedRGB16Pel>(7, 7));
        ycPtrHandle<ycPelRoot<ycPackedRGB32Pel>> rgb32(pool->newRoot<ycPackedRGB32Pel>(5, 2));
        ASSERT_TRUE(grey && rgb16 && rgb32);
        EXPECT_EQ(grey->rowUpdate(), 50);
        EXPECT_EQ(grey->alignModulus(), 1);
        EXPECT_EQ(grey->pool(), pool.get());
        EXPECT_EQ(basic->granulesOut(), 4u + 3u + 1u);
        EXPECT_EQ(pool->refCount(), 4); // each root holds a share

        ycPtrHandle<yc_PelRoot> again(grey);
        grey.reset();
        EXPECT_EQ(basic->granulesOut(), 8u);
        again.reset();
        EXPECT_EQ(basic->granulesOut(), 4u);

        // A pooled root stores and loads as an ordinary one.
        rgb16->pels()[48] = ycPackedRGB16Pel(0xBEEF);
        ycMemoryArchive out;
        out << *rgb16;
        ycMemoryArchive in(out.storage().data(), static_cast<std::int32_t>(out.storage().size()));
        std::unique_ptr<ycPersistent> loaded = ycPersistent::readObject(in);
        auto* back = dynamic_cast<ycPelRoot<ycPackedRGB16Pel>*>(loaded.get());
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(back->pool(), nullptr);
        EXPECT_EQ(back->pels()[48].value(), 0xBEEF);

        // Roots out: the pool will not change size. It lives on in its roots.
        EXPECT_THROW(pool->size(1000), ycPelRootPool::Outstanding);
        EXPECT_EQ(pool->size(), 64u * 48);
        pool.reset();
        EXPECT_EQ(rgb32->pool()->refCount(), 2);
    }
    EXPECT_EQ(ysys_memory_outstanding(), before);
}

TEST(BasicPool, RequestsItCannotServe)
{
    ycPtrHandle<ycPelRootPool> pool(new ycBasicPelRootPool(1000, 24));
    EXPECT_THROW(pool->newRoot<float>(2, 2), ycPelRootPool::NotSupported);
    EXPECT_THROW(pool->newRoot<yc3PlanePel>(2, 2), ycPelRootPool::NotSupported);
    EXPECT_FALSE(pool->newPelRoot(2, 2, &typeid(double)));
    EXPECT_FALSE(pool->newRoot<unsigned char>(100, 11)); // no room
    EXPECT_FALSE(pool->newRoot<ycPackedRGB32Pel>(0x7FFFFFFF, 0x7FFFFFFF));
    EXPECT_THROW(pool->newRoot<unsigned char>(0, 5), ycAssertFailure);

    // Once every root is back the pool may be resized.
    ASSERT_TRUE(ycPtrHandle<ycPelRoot<unsigned char>>(pool->newRoot<unsigned char>(10, 10)));
    pool->size(5000);
    EXPECT_EQ(pool->size(), 5016u);
    EXPECT_TRUE(ycPtrHandle<ycPelRoot<unsigned char>>(pool->newRoot<unsigned char>(100, 11)));
}

// Roots share their pool, so a pool no handle holds (on the stack, or a
// temporary) lends nothing: an assertion, null, no granule out, and the pool
// is never deleted (AddressSanitizer would report it). Its granule calls need
// no handle. A pool whose only handle was a temporary lives on in its root.
TEST(BasicPool, APoolNoHandleHoldsLendsNothing)
{
    alignas(8) static short arrays[2][4];
    const std::vector<void*> list = {arrays[0], arrays[1]};
    ycBasicPelRootPool basic(1000, 24);
    ycDiscretePelRootPool discrete(2, list, 2, 2);
    const std::function<bool()> requests[] = {
        [&] { return bool(basic.newRoot<unsigned char>(4, 4)); },
        [&] { return bool(basic.newPelRoot(4, 4, &typeid(ycPackedRGB32Pel))); },
        [&] { return bool(discrete.newRoot<short>(2, 2)); },
        [&] { return bool(ycBasicPelRootPool(1000, 24).newRoot<unsigned char>(4, 4)); },
    };
    for (const auto& request : requests) EXPECT_THROW(request(), ycAssertFailure);
    {
        ycAssertHandlerScope scope(&yfCountingAssertHandler);
        for (const auto& request : requests) EXPECT_FALSE(request());
    }
    EXPECT_TRUE(basic.refCount() == 0 && discrete.refCount() == 0);
    EXPECT_EQ(basic.granulesOut(), 0u);
    yc_PelSlot slot;
    ASSERT_TRUE(basic.allocPels(100, slot));
    basic.freePels(slot);
    EXPECT_EQ(basic.freeList(), (Blocks{{0, 42}}));

    ycPtrHandle<ycPelRoot<ycPackedRGB16Pel>> root =
        yfMakeHandle<ycBasicPelRootPool>(1000, 24)->newRoot<ycPackedRGB16Pel>(3, 4);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->pool()->refCount(), 1);
    EXPECT_EQ(static_cast<ycBasicPelRootPool*>(root->pool())->granulesOut(), 1u);
    root->pels()[11] = ycPackedRGB16Pel(7);
    ycPtrHandle<yc_PelRoot> runtime = root->pool()->newPelRoot(2, 2, &typeid(unsigned char));
    ASSERT_TRUE(runtime);
    EXPECT_TRUE(dynamic_cast<ycPelRoot<unsigned char>*>(runtime.get()));
    root.reset(); // the pool's last share goes with its last root, after the slot is back
    runtime.reset();
}

TEST(DefaultPool, ProcessPoolOfSixteenMegabytes)
{
    ycPtrHandle<ycPelRootPool> pool = yfDefaultPelRootPool();
    EXPECT_EQ(yfDefaultPelRootPoolSize(), 0x1000000u);
    EXPECT_EQ(pool->size(), 0x1000000u);
    EXPECT_EQ(pool, yfDefaultPelRootPool());
    {
        ycPtrHandle<ycPelRoot<unsigned char>> root(pool->newRoot<unsigned char>(640, 480));
        ASSERT_TRUE(root);
        EXPECT_EQ(root->rowUpdate(), 640);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(root->pels()) % ycDefaultPelRootPool::kGranule, 0u);
        EXPECT_THROW(yfDefaultPelRootPool(0x200000), ycPelRootPool::Outstanding);
    }
    EXPECT_EQ(yfDefaultPelRootPool(0x200000)->size(), 0x200000u);
    EXPECT_EQ(yfDefaultPelRootPool(yfDefaultPelRootPoolSize())->size(), 0x1000000u);

    // The process allocator has one block, and the default pool holds it.
    EXPECT_THROW(yfPoolAlloc(64), ycAssertFailure);
    ycAssertHandlerScope quiet(&yfCountingAssertHandler);
    EXPECT_THROW(ycDefaultPelRootPool second(4096), std::bad_alloc);
}

TEST(DiscretePool, HandsOutTheCallersArrays)
{
    alignas(8) static short arrays[3][6 * 4];
    const std::vector<void*> list = {arrays[0], arrays[1], arrays[2]};
    ycPtrHandle<ycPelRootPool> pool(new ycDiscretePelRootPool(2, list, 6, 4));
    EXPECT_EQ(static_cast<ycDiscretePelRootPool*>(pool.get())->pelArrays(), list);
    EXPECT_EQ(pool->size(), 3u * 2 * 6 * 4);
    EXPECT_THROW(pool->newRoot<float>(6, 4), ycPelRootPool::NotSupported);
    EXPECT_FALSE(pool->newRoot<short>(7, 4)); // more pels than an array holds
    {
        ycPtrHandle<ycPelRoot<short>> a(pool->newRoot<short>(6, 4));
        ycPtrHandle<ycPelRoot<ycPackedRGB16Pel>> b(pool->newRoot<ycPackedRGB16Pel>(3, 8));
        ycPtrHandle<ycPelRoot<unsigned short>> c(pool->newRoot<unsigned short>(2, 2));
        ASSERT_TRUE(a && b && c);
        EXPECT_EQ(static_cast<void*>(a->pels()), arrays[0]);
        EXPECT_EQ(static_cast<void*>(b->pels()), arrays[1]);
        EXPECT_FALSE(pool->newRoot<short>(1, 1)); // all out
        a.reset();
        ycPtrHandle<ycPelRoot<short>> d(pool->newRoot<short>(1, 1));
        ASSERT_TRUE(d);
        EXPECT_EQ(d->pels(), arrays[0]);
    }
    EXPECT_EQ(ycPtrHandle<ycPelRoot<short>>(pool->newRoot<short>(1, 1))->pels(), arrays[0]);
}

} // namespace

// Pel roots and pools used from many threads at once.
#include "../support/bytes.h"
#include "std/pelbuf/pelbuf.h"
#include "std/pelbuf/pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Blocks = std::vector<ycBasicPelRootPool::FreeBlock>;

// The count under contention: the root must end with the exact count and die
// exactly once.
std::atomic<int> gRootsDestroyed{0};

class WatchedRoot : public ycPelRoot<unsigned char> {
public:
    WatchedRoot() : ycPelRoot<unsigned char>(64, 64, 32) {}
    ~WatchedRoot() override { ++gRootsDestroyed; }
};

TEST(PelRoot, ManyThreadsOneRoot)
{
    gRootsDestroyed = 0;
    ycPtrHandle<ycPelRoot<unsigned char>> root(new WatchedRoot);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&root, &go] {
            while (!go) std::this_thread::yield();
            for (int i = 0; i < 20000; ++i) {
                ycPtrHandle<ycPelRoot<unsigned char>> copy = root;
                ycPtrHandle<yc_PelRoot> base(copy);
                yc_PelRoot::refInc(copy.get());
                yfRelease(copy.get());
            }
        });
    }
    go = true;
    for (auto& t : threads) t.join();
    EXPECT_EQ(root->refCount(), 1);
    EXPECT_EQ(gRootsDestroyed, 0);

    // The last of many handles dropped on many threads destroys it once.
    std::vector<ycPtrHandle<ycPelRoot<unsigned char>>> shares(threads.size(), root);
    root.reset();
    threads.clear();
    for (auto& share : shares) threads.emplace_back([&share] { share.reset(); });
    for (auto& t : threads) t.join();
    EXPECT_EQ(gRootsDestroyed, 1);
}

TEST(BasicPool, ManyThreadsTakeAndReturn)
{
    ycPtrHandle<ycPelRootPool> pool(new ycBasicPelRootPool(1 << 20, 64));
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([pool, t] {
            std::vector<ycPtrHandle<ycPelRoot<unsigned char>>> held;
            for (int i = 0; i < 2000; ++i) {
                ycPtrHandle<ycPelRoot<unsigned char>> root(pool->newRoot<unsigned char>(16 + (i + t) % 50, 8));
                if (root) {
                    root->pels()[0] = static_cast<unsigned char>(t);
                    held.push_back(root);
                }
                if (held.size() > 20) held.erase(held.begin(), held.begin() + 10);
            }
        });
    }
    for (auto& t : threads) t.join();
    auto* basic = static_cast<ycBasicPelRootPool*>(pool.get());
    EXPECT_EQ(basic->granulesOut(), 0u);
    EXPECT_EQ(basic->freeList(), (Blocks{{0, (1 << 20) / 64}}));
}

// Threads write separate bands of one image that was stored once, all through
// the one buffer: each marks the buffer and its root changed, and the next
// store holds every band.
TEST(PelBuffer, ThreadsWriteBandsOfAStoredImage)
{
    constexpr int kBands = 8, kRows = 4, kWidth = 64;
    ycPelBuffer<unsigned char> image(kWidth, kBands * kRows);
    ycMemoryArchive out(ycArchive::littleEndian, true);
    out.storeObject(&image);
    std::vector<std::thread> threads;
    for (int t = 0; t < kBands; ++t) {
        threads.emplace_back([&image, t] {
            for (int y = t * kRows; y < (t + 1) * kRows; ++y) {
                unsigned char* row = image.pointToRow(y);
                for (int x = 0; x < kWidth; ++x) row[x] = static_cast<unsigned char>(t + 1);
                image.put(0, y, static_cast<unsigned char>(t + 1));
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_FALSE(image.isStored());
    EXPECT_FALSE(image.root()->isStored());
    out.storeObject(&image);

    LoadArchive in(out);
    std::unique_ptr<ycPersistent> first = in->loadObject();
    std::unique_ptr<ycPersistent> again = in->loadObject();
    auto* loaded = dynamic_cast<ycPelBuffer<unsigned char>*>(again.get());
    ASSERT_NE(loaded, nullptr);
    for (int t = 0; t < kBands; ++t) EXPECT_EQ(loaded->get(kWidth - 1, t * kRows), t + 1) << t;
}

} // namespace

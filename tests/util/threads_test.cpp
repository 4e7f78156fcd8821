// Counted handles copied and dropped on many threads at once.
#include "std/util/handle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

std::atomic<int> gDestroyed{0};

class Shared : public ycRepBase {
public:
    ~Shared() override { ++gDestroyed; }
};

TEST(Handles, ManyThreadsOneObject)
{
    gDestroyed = 0;
    {
        ycPtrHandle<Shared> shared = yfMakeHandle<Shared>();
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([shared] {
                for (int i = 0; i < 20000; ++i) {
                    ycPtrHandle<Shared> copy = shared;
                    ycPtrHandle_const<Shared> other(copy);
                }
            });
        }
        for (auto& t : threads) t.join();
        EXPECT_EQ(shared->refCount(), 1);
        EXPECT_EQ(gDestroyed, 0);
    }
    EXPECT_EQ(gDestroyed, 1);
}

} // namespace

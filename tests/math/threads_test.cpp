// A transform shared by handles that many threads copy and drop at once.
#include "std/math/xfcomp.h"
#include "std/math/xflinear.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// Sharing must end with the exact count: a lost decrement leaks, an extra one
// frees the transform early (the sanitizers watch both).
TEST(XformSharing, ManyThreadsCopyAndDropHandlesToOneTransform)
{
    ycPtrHandle_const<yc2XformBase> shared(new yc2XformLinear(ycMatrix<2>(), ycVector<2>(1, 0)));
    std::atomic<bool> mapped{true};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&shared, &mapped] {
            for (int i = 0; i < 20000; ++i) {
                ycPtrHandle_const<yc2XformBase> copy = shared;
                yc2XformComposed seq(*copy, *copy, false, false); // two more shares
                if (seq.mapPoint(ycVector<2>()) != ycVector<2>(2, 0)) mapped = false;
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_TRUE(mapped);
    EXPECT_EQ(shared->refCount(), 1);
}

} // namespace

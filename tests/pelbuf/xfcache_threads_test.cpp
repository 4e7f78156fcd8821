// One pel buffer read from many threads: its const members, the transform
// cache's lazily computed inverse among them, must not race.
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/pelbuf/pelbuf.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

TEST(XformCache, ConstMembersOfOneBufferFromManyThreads)
{
    ycPtrHandle<yc2XformBase> persp(new yc2XformPerspective(ycMatrix<3>(2, 0, 1, 0, 2, 0, 0.01, 0, 1)));
    const yc2XformComposed seq(*persp, yc2XformLinear(ycMatrix<2>(), ycVector<2>(3, 4)), false, true);
    for (int round = 0; round < 20; ++round) {
        ycPelBuffer<unsigned char> buf(8, 8);
        buf.clientFromImageXformBase(seq);
        const ycPelBuffer<unsigned char>& shared = buf;
        std::atomic<bool> go{false};
        std::vector<const yc2XformBase*> seen(6, nullptr);
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < seen.size(); ++t) {
            threads.emplace_back([&, t] {
                while (!go) std::this_thread::yield();
                // Half read the inverse directly, half through a copy of the buffer.
                if (t % 2 == 0) {
                    seen[t] = shared.imageFromClientXformBase().get();
                } else {
                    ycPelBuffer<unsigned char> copy = shared;
                    seen[t] = copy.imageFromClientXformBase().get();
                }
            });
        }
        go = true;
        for (auto& th : threads) th.join();
        // One inverse, computed once, whichever thread asked first.
        const yc2XformBase* inverse = shared.imageFromClientXformBase().get();
        for (std::size_t t = 0; t < seen.size(); t += 2) EXPECT_EQ(seen[t], inverse);
        ycVector<2> p(1.5, -2);
        ycVector<2> back = inverse->mapPoint(shared.clientFromImageXformBase()->mapPoint(p));
        EXPECT_NEAR(back.x(), p.x(), 1e-12);
        EXPECT_NEAR(back.y(), p.y(), 1e-12);
    }
}

} // namespace

// The framework of the pixel operations: windows matched by image
// coordinates, overlap, allocation, transforms, core statuses.
#include "pelops.h"

#include "std/pelbuf/pelarith.h"
#include "std/pelbuf/pelfunc.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

// A 4x4 buffer of pels first, first+1, ... at image coordinates (x, y).
ycPelBuffer<unsigned char> counting(unsigned char first, std::int32_t x = 0, std::int32_t y = 0)
{
    std::vector<unsigned char> pels(16);
    std::iota(pels.begin(), pels.end(), first);
    return bufferOf(4, 4, pels, x, y);
}

TEST(PelFunc, WindowsMeetByImageCoordinates)
{
    ycPelBuffer<unsigned char> a = counting(0);
    ycPelBuffer<unsigned char> b = counting(100, 2, 2);
    const ycXform<2> shifted(ycMatrix<2>(1, 0, 0, 1), ycVector<2>(5, -5));
    a.clientFromImageXform(shifted);

    ycPelBuffer<unsigned char> dst;
    yfPelAdd(a, b, dst);
    EXPECT_EQ(dst.window(), ycPelRect(2, 2, 2, 2));
    for (std::int32_t y = 2; y < 4; ++y) {
        for (std::int32_t x = 2; x < 4; ++x) EXPECT_EQ(dst.get(x, y), a.get(x, y) + b.get(x, y)) << x << "," << y;
    }
    // The caller's sources keep their windows; the result has a's transform.
    EXPECT_EQ(a.window(), ycPelRect(0, 0, 4, 4));
    EXPECT_EQ(b.window(), ycPelRect(2, 2, 4, 4));
    EXPECT_EQ(dst.clientFromImageXform(), shifted);

    // A bound destination is narrowed to the common window as well.
    ycPelBuffer<unsigned char> bound = counting(0, 3, 1);
    yfPelAdd(a, b, bound);
    EXPECT_EQ(bound.window(), ycPelRect(3, 2, 1, 2));
    EXPECT_EQ(bound.get(3, 3), a.get(3, 3) + b.get(3, 3));
}

TEST(PelFunc, DisjointWindowsLeaveTheDestinationsPels)
{
    const ycPelBuffer<unsigned char> a = counting(0);
    const ycPelBuffer<unsigned char> b = counting(0, 4, 0);
    ycPelBuffer<unsigned char> dst = counting(50);
    const ycPelBuffer<unsigned char> whole = dst;
    yfPelAdd(a, b, dst);
    EXPECT_TRUE(dst.window().isEmpty());
    EXPECT_EQ(pelsOf<unsigned char>(whole), pelsOf<unsigned char>(counting(50)));

    ycPelBuffer<unsigned char> unbound;
    yfPelAdd(a, b, unbound);
    EXPECT_FALSE(unbound.isBound());
}

TEST(PelFunc, OverlapIsRefusedUnlessInPlace)
{
    ycPelBuffer<unsigned char> a = counting(10);
    const ycPelBuffer<unsigned char> b = counting(1);
    yfPelAdd(a, b, a);
    EXPECT_EQ(a.get(0, 0), 11);
    EXPECT_EQ(a.get(3, 3), 10 + 15 + 1 + 15);

    ycPelBuffer<unsigned char> inner = a;
    inner.subWindow(1, 1, 2, 2);
    const std::vector<unsigned char> before = pelsOf<unsigned char>(a);
    EXPECT_THROW(yfPelAdd(a, b, inner), ycPelFunc::Overlap);
    EXPECT_EQ(inner.window(), ycPelRect(1, 1, 2, 2));
    EXPECT_EQ(a.window(), ycPelRect(0, 0, 4, 4));
    EXPECT_EQ(pelsOf<unsigned char>(a), before);

    // The same pels seen at other image coordinates are not the same view.
    ycPelBuffer<unsigned char> moved = a;
    moved.offset(1, 0);
    EXPECT_THROW(yfPelAdd(a, b, moved), ycPelFunc::Overlap);
}

TEST(PelFunc, UnboundSourcesAndCoreFailures)
{
    const ycPelBuffer<unsigned char> a = counting(0);
    ycPelBuffer<unsigned char> dst = counting(0);
    EXPECT_THROW(yfPelAdd(a, ycPelBuffer<unsigned char>(), dst), ycPel::UnboundWindow);
    EXPECT_THROW(yfPelAdd(ycPelBuffer<unsigned char>(), a, dst), ycPel::UnboundWindow);
    EXPECT_EQ(dst.window(), ycPelRect(0, 0, 4, 4));

    // A core status turns into an exception after the windows were met.
    ycPelBuffer_const<unsigned char> src = a;
    ycPelBuffer<unsigned char> out;
    EXPECT_THROW(yf_PelApplyCore_1s1d(src, out, [](const yimg_image*, yimg_image*) { return YSTD_ERR_BAD_ARGUMENT; }),
                 ycPelFunc::BadParams);
    // Nothing to do: the core is not called.
    ycPelBuffer_const<unsigned char> empty = a;
    empty.subWindow(0, 0, 0, 0);
    ycPelBuffer<unsigned char> none;
    bool called = false;
    const ycPelRect r = yf_PelApplyCore_1s1d(empty, none, [&](const yimg_image*, yimg_image*) {
        called = true;
        return YSTD_OK;
    });
    EXPECT_TRUE(r.isEmpty());
    EXPECT_FALSE(called);
    EXPECT_FALSE(none.isBound());
}

} // namespace

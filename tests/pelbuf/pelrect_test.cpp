#include "std/pelbuf/pelrect.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

TEST(PelRect, Containment)
{
    const ycPelRect outer(0, 0, 8, 8);
    struct Row { ycPelRect outer, inner; bool want; };
    const Row rows[] = {
        {outer, {0, 0, 8, 8}, true},   {outer, {2, 3, 4, 5}, true},   {outer, {2, 3, 4, 6}, false},
        {outer, {-1, 0, 2, 2}, false}, {outer, {8, 8, 0, 0}, true},
        {outer, {8, 0, 0, 8}, true},   // an empty window at the right edge
        {outer, {9, 0, 0, 8}, false},  // origin outside the closed rectangle
        {outer, {4, 4, -1, 2}, false}, // negative sizes are never inside
        {{0, 0, -4, 8}, {-2, 0, 1, 1}, false},
        {{kMax, kMax, kMax, kMax}, {kMax, kMax, kMax, kMax}, true}, // ends beyond 32 bits
        {{kMin, 0, kMax, 1}, {-1, 0, 1, 1}, false},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.outer.contains(r.inner), r.want)
            << r.inner.x() << "," << r.inner.y() << " " << r.inner.width() << "x" << r.inner.height();
    }
}

TEST(PelRect, IntersectionOverlapAndTranslation)
{
    struct Row { ycPelRect a, b, want; bool overlaps; };
    const Row rows[] = {
        {{0, 0, 8, 8}, {2, 2, 8, 8}, {2, 2, 6, 6}, true},
        {{0, 0, 8, 8}, {10, 0, 5, 5}, {10, 0, 0, 5}, false}, // origin at the max corner, outside
        {{0, 0, 8, 8}, {8, 0, 5, 5}, {8, 0, 0, 5}, false},   // touching edges share no area
        {{0, 0, 8, 8}, {1, 1, -3, 4}, {1, 1, 0, 4}, false},
        {{kMin, kMin, kMax, kMax}, {0, 0, kMax, kMax}, {0, 0, 0, 0}, false},
        {{-5, -5, kMax, kMax}, {kMax - 10, 0, kMax, 3}, {kMax - 10, 0, 5, 3}, true}, // ends beyond 32 bits
        {{-5, -5, kMax, kMax}, {100, 0, kMax, 3}, {100, 0, kMax - 105, 3}, true},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.a.intersect(r.b), r.want) << r.b.x() << "," << r.b.y();
        EXPECT_EQ(r.b.intersect(r.a), r.want) << r.b.x() << "," << r.b.y();
        EXPECT_EQ(r.a.overlaps(r.b), r.overlaps) << r.b.x() << "," << r.b.y();
    }
    EXPECT_EQ(ycPelRect(1, 2, 3, 4).translate(10, -20), ycPelRect(11, -18, 3, 4));
    EXPECT_EQ(ycPelRect(kMax, 0, 1, 1).translate(ycPair<std::int32_t>(1, 0)).x(), kMin);
    EXPECT_TRUE(ycPelRect(5, 5, 0, 3).isEmpty() && ycPelRect(5, 5, -1, 3).isEmpty());
    EXPECT_EQ(ycPelRect({1, 2}, {3, 4}).size(), ycPair<std::int32_t>(3, 4));
}

} // namespace

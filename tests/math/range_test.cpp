#include "std/math/range.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

namespace {

constexpr double kTwoPi = 6.283185307179586;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const ycRange E = ycRange::EmptyRange();
const ycRange F = ycRange::FullRange();

std::wstring badParamsText(const std::function<void()>& f)
{
    try {
        f();
    } catch (const ycRangeDefs::BadParams& e) {
        return e.info();
    }
    return L"(no throw)";
}

TEST(Range, ConstructionAndQueries)
{
    EXPECT_EQ(badParamsText([] { ycRange(2.0, 1.0); }), L"start > end");
    EXPECT_THROW(ycRange(static_cast<ycRangeDefs::Range>(3)), ycAssertFailure);
    const std::function<void()> notPartial[] = {[] { (void)E.middle(); }, [] { (void)F.start(); }, [] { (void)E.end(); }};
    for (const auto& f : notPartial) EXPECT_THROW(f(), ycRangeDefs::NotPartialRange);
    EXPECT_EQ(ycRange(1.0, 1.0).length(), 0.0);
    EXPECT_EQ(F.length(), 1.7976931348623157e308);
    EXPECT_EQ(E.length(), 0.0);
    EXPECT_EQ(ycRange(1.0, 4.0).middle(), 2.5);

    struct Row { ycRange r; double x; bool within; };
    const Row rows[] = {{{0.0, 1.0}, 0.0, true}, {{0.0, 1.0}, 1.0, true}, {{0.0, 1.0}, 1.0000001, false},
                        {{1.0, 1.0}, 1.0, true}, {E, 0.0, false},         {F, -1e308, true},
                        {{0.0, 1.0}, kNaN, false}};
    for (const Row& r : rows) EXPECT_EQ(r.r.isWithin(r.x), r.within) << r.x;
}

TEST(Range, IntervalArithmetic)
{
    const ycRange a(0.0, 2.0), b(1.0, 5.0), c(3.0, 4.0);
    struct Row { const char* what; ycRange got, want; };
    const Row rows[] = {
        {"a & b", a.intersect(b), {1.0, 2.0}},           {"a & c", a.intersect(c), E},
        {"touching", a.intersect(ycRange(2.0, 3.0)), {2.0, 2.0}}, {"E & F", E.intersect(F), E},
        {"F & a", F.intersect(a), a},                    {"a & F", a.intersect(F), a},
        {"a & E", a.intersect(E), E},                    {"translate", b.translate(-1.0), {0.0, 4.0}},
        {"translate F", F.translate(3.0), F},            {"scale", b.scale(2.0), {2.0, 10.0}},
        {"scale negative", b.scale(-1.0), {-5.0, -1.0}}, {"scale F by 0", F.scale(0.0), {0.0, 0.0}},
        {"scale F", F.scale(-2.0), F},                   {"scale E", E.scale(2.0), E},
        {"dilate", a.dilate(ycRange(-1.0, 1.0)), {-1.0, 3.0}}, {"dilate by F", a.dilate(F), F},
        {"dilate F by E", F.dilate(E), E},               {"erode", b.erode(ycRange(-1.0, 1.0)), {2.0, 4.0}},
        {"erode crossing", a.erode(ycRange(-2.0, 2.0)), E}, {"erode to a point", a.erode(ycRange(-1.0, 1.0)), {1.0, 1.0}},
        {"erode by F", a.erode(F), E},                   {"erode by E", a.erode(E), F},
        {"erode F", F.erode(a), F},                      {"erode E", E.erode(a), E},
    };
    for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << r.what;

    struct Overlap { ycRange p, q; double tol; bool want; };
    const Overlap overlaps[] = {
        {a, b, 0.0, true},   {a, c, 0.0, false}, {a, c, 1.0, true}, {c, a, 1.0, true},
        {a, c, 0.99, false}, {E, F, 1.0, false}, {F, c, 0.0, true}, {c, E, 1e300, false},
    };
    for (const Overlap& o : overlaps) EXPECT_EQ(o.p.someOverlap(o.q, o.tol), o.want) << o.tol;
}

TEST(AngleRange, ConstructionKindsAndMembershipModuloATurn)
{
    auto range = [](double s, double e) { return ycAngleRange(ycRadian(s), ycRadian(e), false); };
    EXPECT_EQ(badParamsText([&] { range(1, 1); }), L"start >= end");
    EXPECT_EQ(badParamsText([] { ycAngleRange(ycRadian(2), ycRadian(1), true); }), L"start > end");
    EXPECT_NO_THROW(ycAngleRange(ycRadian(1), ycRadian(1), true));
    EXPECT_EQ(range(0, 7), ycAngleRange::FullAngleRange());
    EXPECT_EQ(range(-1, -1 + kTwoPi).kind(), ycRangeDefs::full);
    EXPECT_EQ(ycAngleRange::FullAngleRange().length().plain(), kTwoPi);
    EXPECT_THROW(ycAngleRange().start(), ycRangeDefs::NotPartialRange);

    const ycAngleRange r = range(5.0, 7.0); // kept as given
    EXPECT_EQ(r.start().plain(), 5.0);
    EXPECT_EQ(r.middle().plain(), 6.0);
    EXPECT_EQ(r.length().plain(), 2.0);
    const std::pair<double, bool> rows[] = {{5.0, true},  {6.5, true},  {7.0, true}, {0.5, true},
                                            {6.9 - kTwoPi, true}, {5.5 + 2 * kTwoPi, true},
                                            {7.1, false}, {4.9, false}, {kNaN, false}};
    for (const auto& [a, want] : rows) EXPECT_EQ(r.isWithin(ycRadian(a)), want) << a;
    EXPECT_FALSE(ycAngleRange().isWithin(ycRadian(0)));
    EXPECT_TRUE(ycAngleRange::FullAngleRange().isWithin(ycRadian(123)));

    EXPECT_EQ(r.dilate(range(-1, 1)), range(4.0, 8.0));
    EXPECT_EQ(r.dilate(range(-3, 2)).kind(), ycRangeDefs::full);
    EXPECT_EQ(r.dilate(ycAngleRange()).kind(), ycRangeDefs::empty);
}

} // namespace

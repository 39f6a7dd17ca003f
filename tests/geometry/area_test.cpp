// Areas, points and sizes: what clips and moves, and what becomes of coordinates at the ends of
// int.
#include "geometry/area.h"

#include <gtest/gtest.h>

namespace q32 {
namespace {

constexpr int least = std::numeric_limits<int>::min();
constexpr int most = std::numeric_limits<int>::max();

TEST(Area, HasItsSidesAndCorner) {
    constexpr Area area = {-3, 5, 4, 7};
    EXPECT_EQ(area.width(), 7);
    EXPECT_EQ(area.height(), 2);
    EXPECT_EQ(area.size(), (Size{7, 2}));
    EXPECT_EQ(area.corner(), (Point{-3, 5}));
    EXPECT_EQ(area_of(-3, 5, 7, 2), area);
    EXPECT_EQ(area_of(area.corner(), area.size()), area);
}

TEST(Area, IsEmptyWithoutPixelsOrInsideOut) {
    EXPECT_TRUE(Area{}.is_empty());
    EXPECT_FALSE((Area{0, 0, 1, 1}).is_empty());
    EXPECT_TRUE((Area{4, 0, 4, 9}).is_empty());
    EXPECT_TRUE((Area{0, 4, 9, 4}).is_empty());
    EXPECT_TRUE((Area{5, 0, 4, 9}).is_empty());
    EXPECT_TRUE((Area{0, 5, 9, 4}).is_empty());
    EXPECT_TRUE((Area{most, most, least, least}).is_empty());
    EXPECT_FALSE((Area{least, least, most, most}).is_empty());
}

TEST(Area, IsEmptyWithASideBelowOne) {
    EXPECT_TRUE(area_of(5, 5, 0, 9).is_empty());
    EXPECT_TRUE(area_of(5, 5, 9, -1).is_empty());
    EXPECT_TRUE(area_of(0, 0, least, 1).is_empty());
}

TEST(Intersect, IsWhatBothHold) {
    EXPECT_EQ(intersect({0, 0, 10, 10}, {5, -5, 20, 8}), (Area{5, 0, 10, 8}));
    EXPECT_EQ(intersect({5, -5, 20, 8}, {0, 0, 10, 10}), (Area{5, 0, 10, 8}));
    EXPECT_EQ(intersect({least, least, most, most}, {-1, -2, 3, 4}), (Area{-1, -2, 3, 4}));
}

TEST(Intersect, IsEmptyForAreasApartAndNeighbours) {
    EXPECT_TRUE(intersect({0, 0, 10, 10}, {10, 0, 20, 10}).is_empty());
    EXPECT_TRUE(intersect({0, 0, 10, 10}, {0, -10, 10, 0}).is_empty());
    EXPECT_TRUE(intersect({0, 0, 10, 10}, {30, 30, 40, 40}).is_empty());
}

TEST(Contains, TakesAnAreaForPartOfItself) {
    constexpr Area outer = {0, 0, 10, 8};
    EXPECT_TRUE(contains(outer, outer));
    EXPECT_TRUE(contains(outer, {3, 3, 4, 4}));
    EXPECT_FALSE(contains({3, 3, 4, 4}, outer));
    EXPECT_FALSE(contains(outer, {-1, 0, 10, 8}));
    EXPECT_FALSE(contains(outer, {0, -1, 10, 8}));
    EXPECT_FALSE(contains(outer, {0, 0, 11, 8}));
    EXPECT_FALSE(contains(outer, {0, 0, 10, 9}));
    EXPECT_FALSE(contains(outer, {20, 20, 21, 21}));
}

TEST(Moved, KeepsTheSize) {
    EXPECT_EQ(moved({1, 2, 3, 4}, 10, -10), (Area{11, -8, 13, -6}));
    EXPECT_EQ(moved({1, 2, 3, 4}, {10, -10}), (Area{11, -8, 13, -6}));
}

TEST(Saturation, CutsCoordinatesToInt) {
    EXPECT_EQ(cut_to_int(std::int64_t(most) + 1), most);
    EXPECT_EQ(cut_to_int(std::int64_t(least) - 1), least);
    EXPECT_EQ(cut_to_int(most), most);
    EXPECT_EQ(cut_to_int(least), least);
    EXPECT_EQ(saturating_subtract(least, 1), least);
    EXPECT_EQ(saturating_subtract(0, least), most);
    EXPECT_EQ(saturating_subtract(least, least), 0);
}

TEST(Saturation, CutsWhatIsTooLong) {
    EXPECT_EQ(area_of(1, 2, most, most), (Area{1, 2, most, most}));
    EXPECT_EQ(area_of(most, most, 5, 5), (Area{most, most, most, most}));
    EXPECT_EQ(area_of(least, least, -1, -1), (Area{least, least, least, least}));
    EXPECT_EQ(area_of(least, 0, most, 5), (Area{least, 0, -1, 5}));
    EXPECT_EQ(area_of(least, 0, most, 5).width(), most);
}

TEST(Saturation, CutsWhatMovesTooFar) {
    EXPECT_EQ(moved({0, 0, 10, 10}, most, least), (Area{most, least, most, least + 10}));
    EXPECT_EQ(moved({-5, -5, 5, 5}, Point{most, least}), (Area{most - 5, least, most, least + 5}));
    constexpr std::int64_t beyond = std::int64_t(most) - least; // from one end to the other
    EXPECT_EQ(moved({least, least, most, most}, beyond, 0), (Area{most, least, most, most}));
    EXPECT_EQ(moved({most - 1, 0, most, 1}, -beyond, 0), (Area{least, 0, least, 1}));
}

TEST(Saturation, CutsSumsOfPoints) {
    EXPECT_EQ((Point{most, least} + Point{1, -1}), (Point{most, least}));
    EXPECT_EQ((Point{least, 0} - Point{1, least}), (Point{least, most}));
    EXPECT_EQ((Point{1, 2} + Point{3, -4}), (Point{4, -2}));
    EXPECT_EQ((Point{1, 2} - Point{3, -4}), (Point{-2, 6}));
}

TEST(Size, IsEmptyWithASideBelowOne) {
    EXPECT_TRUE(Size{}.is_empty());
    EXPECT_TRUE((Size{0, 5}).is_empty());
    EXPECT_TRUE((Size{5, -1}).is_empty());
    EXPECT_FALSE((Size{1, 1}).is_empty());
}

// All of it may be had at compile time.
static_assert(contains(area_of(0, 0, 3, 3), moved(area_of(1, 1, 1, 1), Point{1, 1})));

} // namespace
} // namespace q32

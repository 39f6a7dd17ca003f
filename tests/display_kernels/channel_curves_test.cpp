// Tables that are kept as curves: what the curves say is what the tables hold, and which tables
// have them.
#include "display/kernels/channel_tables.h"

#include <gtest/gtest.h>

#include <numeric>

namespace q32::test {
namespace {

using display::ChannelCurve;
using display::ChannelCurves;
using display::ChannelTable;
using display::ChannelTables;
using display::CurveShape;
using display::screen_tables;

// --- the rule ------------------------------------------------------------------------------------

int of_group(const ChannelCurve::Groups &groups, int group) {
    return group < 16 ? groups[group] : groups[group] ^ groups[group - 16];
}

// An entry step by step.
std::uint8_t entry(const ChannelCurve &curve, int v) {
    const int group = v / 8, steps = of_group(curve.steps, group);
    int moved = 0;
    for (int i = 0; i < v % 8; ++i)
        moved += steps >> i & 1;
    if (v % 16 > of_group(curve.turn, group))
        --moved;
    const int unmoved = v + of_group(curve.start, group) + (v < 16 ? curve.first[v] : 0);
    return std::uint8_t(steps & 0x80 ? unmoved - moved : unmoved + moved);
}

ChannelTable table_of(const ChannelCurve &curve) {
    ChannelTable table{};
    for (int v = 0; v < 256; ++v)
        table[v] = entry(curve, v);
    return table;
}

// Three times the same table.
ChannelCurves curves_of(const ChannelTable &table) {
    return screen_tables({table, table, table}).curves;
}

ChannelTable straight_line() {
    ChannelTable table{};
    std::iota(table.begin(), table.end(), std::uint8_t(0));
    return table;
}

// Entries from this one on, up to the end of its eight, are so much more.
ChannelTable bent(ChannelTable table, int from, int by) {
    do
        table[from] = std::uint8_t(table[from] + by);
    while (++from % 8 != 0);
    return table;
}

// --- what is a curve -----------------------------------------------------------------------------

TEST(ChannelCurves, AreWhatTheTablesAre) {
    int straight = 0, turning = 0;
    for (int percent = 1; percent <= 1000; ++percent) {
        const ChannelTables corrected = display::gamma_tables({percent, percent + 1, percent + 2});
        for (const ChannelTables &tables : {corrected, display::high_colour_tables(corrected)}) {
            const auto screen = screen_tables(tables);
            ASSERT_EQ(screen, tables);
            if (screen.curves.shape == CurveShape::none)
                continue;
            ++(screen.curves.shape == CurveShape::straight ? straight : turning);
            ASSERT_EQ(table_of(screen.curves.red), tables.red) << percent;
            ASSERT_EQ(table_of(screen.curves.green), tables.green) << percent;
            ASSERT_EQ(table_of(screen.curves.blue), tables.blue) << percent;
        }
    }
    EXPECT_GT(straight, 200);
    EXPECT_GT(turning, 200);
}

// What screens have, from half to more than twice the exponent.
TEST(ChannelCurves, AreThereForUsualGammas) {
    for (int percent = 50; percent <= 243; ++percent) {
        const ChannelTables corrected = display::gamma_tables({percent, percent, percent});
        EXPECT_NE(curves_of(corrected.red).shape, CurveShape::none) << percent;
        EXPECT_NE(curves_of(display::high_colour_tables(corrected).red).shape, CurveShape::none)
            << percent;
    }
}

TEST(ChannelCurves, OfTheIdentityAreStraight) {
    EXPECT_EQ(curves_of(straight_line()).shape, CurveShape::straight);
}

// In every group but the last, which has no room above it, at every step.
TEST(ChannelCurves, MayTurnOnceInAGroup) {
    for (int group = 16; group < 248; group += 8)
        for (int first = group + 1; first < group + 7; ++first)
            for (const int way : {1, -1}) {
                const ChannelTable one = bent(straight_line(), first, way);
                EXPECT_EQ(curves_of(one).shape, CurveShape::straight);
                EXPECT_EQ(table_of(curves_of(one).red), one);
                for (int second = first + 1; second < group + 8; ++second) {
                    const ChannelTable two = bent(one, second, way), back = bent(one, second, -way);
                    EXPECT_EQ(curves_of(two).shape, CurveShape::straight);
                    EXPECT_EQ(table_of(curves_of(two).green), two);
                    EXPECT_EQ(curves_of(back).shape, CurveShape::turning);
                    EXPECT_EQ(table_of(curves_of(back).blue), back);
                }
            }
}

TEST(ChannelCurves, DoNotTurnTwiceEachWay) {
    ChannelTable table = straight_line();
    for (const auto &[from, by] : {std::pair{41, 1}, {42, -1}, {43, 1}})
        table = bent(table, from, by);
    EXPECT_EQ(curves_of(table).shape, CurveShape::turning);
    EXPECT_EQ(table_of(curves_of(table).red), table);
    EXPECT_EQ(curves_of(bent(table, 45, -1)).shape, CurveShape::none);
}

TEST(ChannelCurves, RiseByTwoAtMostAndNeverFall) {
    EXPECT_EQ(curves_of(bent(straight_line(), 100, 2)).shape, CurveShape::none);
    EXPECT_EQ(curves_of(bent(straight_line(), 100, -2)).shape, CurveShape::none);
    // Between groups anything goes.
    EXPECT_EQ(curves_of(bent(straight_line(), 104, 90)).shape, CurveShape::straight);
}

// The first sixteen may be anything, the seventeenth may not.
TEST(ChannelCurves, BeginAsTheyLike) {
    ChannelTable table = straight_line();
    for (int v = 0; v < 16; ++v)
        table[v] = std::uint8_t(200 + 77 * v);
    EXPECT_EQ(curves_of(table).shape, CurveShape::straight);
    EXPECT_EQ(table_of(curves_of(table).red), table);
    table[16] = 0;
    EXPECT_EQ(curves_of(table).shape, CurveShape::none);
}

TEST(ChannelCurves, AreThereWhenAllThreeAre) {
    const ChannelTable line = straight_line(), broken = bent(line, 100, 2),
                       turning = bent(bent(line, 41, 1), 42, -1);
    EXPECT_EQ(screen_tables({line, line, turning}).curves.shape, CurveShape::turning);
    EXPECT_EQ(screen_tables({line, turning, line}).curves.shape, CurveShape::turning);
    EXPECT_EQ(screen_tables({turning, line, line}).curves.shape, CurveShape::turning);
    EXPECT_EQ(screen_tables({line, line, broken}).curves.shape, CurveShape::none);
    EXPECT_EQ(screen_tables({line, broken, line}).curves.shape, CurveShape::none);
    EXPECT_EQ(screen_tables({broken, line, line}).curves.shape, CurveShape::none);
}

} // namespace
} // namespace q32::test

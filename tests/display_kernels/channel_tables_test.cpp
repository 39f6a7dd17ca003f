// Gamma tables of every percentage, and what high-colour displays are given of them.
#include "display/kernels/channel_tables.h"

#include "display/kernels/dither_matrices.h"
#include "tests/models/gamma.h"

#include <gtest/gtest.h>

#include <climits>

namespace q32::test {
namespace {

using display::ChannelTables;
using display::gamma_tables;
using display::high_colour_tables;

ChannelTables tables_of(int percent) {
    return gamma_tables({percent, percent, percent});
}

TEST(GammaTables, OfOneHundredPercentAreTheIdentity) {
    const ChannelTables tables = tables_of(100);
    for (int level = 0; level < 256; ++level) {
        EXPECT_EQ(tables.red[level], level);
        EXPECT_EQ(tables.green[level], level);
        EXPECT_EQ(tables.blue[level], level);
    }
}

TEST(GammaTables, LevelByLevel) {
    EXPECT_EQ(tables_of(50).red[128], 64);
    EXPECT_EQ(tables_of(50).red, model::levels_at_50);
    EXPECT_EQ(tables_of(55).green, model::levels_at_55);
    EXPECT_EQ(tables_of(122).blue, model::levels_at_122);
    EXPECT_EQ(tables_of(200).red, model::levels_at_200);
}

// Squares, fourth powers and square roots, cut in whole numbers.
TEST(GammaTables, OfWholePowers) {
    const ChannelTables tables = gamma_tables({50, 25, 200});
    for (int level = 0; level < 256; ++level) {
        const std::int64_t square = level * level;
        EXPECT_EQ(tables.red[level], square / 255) << level;
        EXPECT_EQ(tables.green[level], square * square / (255 * 255 * 255)) << level;
        int root = 0;
        while ((root + 1) * (root + 1) <= level * 255)
            ++root;
        EXPECT_EQ(tables.blue[level], root) << level;
    }
}

TEST(GammaTables, OfEveryPercentage) {
    for (int percent = 1; percent <= 1000; ++percent) {
        const model::Levels wanted = model::gamma_levels(percent);
        const ChannelTables tables = tables_of(percent);
        ASSERT_EQ(tables.red, wanted) << percent;
        ASSERT_EQ(tables.green, wanted) << percent;
        ASSERT_EQ(tables.blue, wanted) << percent;
    }
}

// Below 1 a percentage counts as 1: all but the lightest levels are black.
TEST(GammaTables, OfPercentagesBelowOne) {
    const model::Levels wanted = model::gamma_levels(1);
    EXPECT_EQ(wanted[240], 0);
    EXPECT_EQ(wanted[254], 172);
    for (int percent : {1, 0, -1, -50, -100, -1000000, INT_MIN}) {
        EXPECT_EQ(tables_of(percent).red, wanted) << percent;
        EXPECT_EQ(tables_of(percent).blue, wanted) << percent;
    }
}

// So steep that all levels but black come near white, and none of them reaches it.
TEST(GammaTables, OfTheLargestPercentages) {
    for (int percent : {1000000, 1193046470, INT_MAX}) {
        const ChannelTables tables = tables_of(percent);
        EXPECT_EQ(tables.red[0], 0);
        for (int level = 1; level < 255; ++level)
            EXPECT_EQ(tables.red[level], 254) << level << " at " << percent;
        EXPECT_EQ(tables.red[255], 255);
    }
}

TEST(GammaTables, AreEachChannelsOwn) {
    const ChannelTables tables = gamma_tables({55, 122, 200});
    EXPECT_EQ(tables.red, model::levels_at_55);
    EXPECT_EQ(tables.green, model::levels_at_122);
    EXPECT_EQ(tables.blue, model::levels_at_200);
    const ChannelTables others = gamma_tables({100, 0, 50});
    EXPECT_EQ(others.red[200], 200);
    EXPECT_EQ(others.green, model::gamma_levels(1));
    EXPECT_EQ(others.blue, model::levels_at_50);
}

// --- high colour -----------------------------------------------------------------------------

TEST(HighColourTables, ReachNoFurtherThan248) {
    const ChannelTables tables = high_colour_tables(tables_of(100));
    const struct {
        int sample, value;
    } cases[] = {{0, 0},     {1, 1},     {17, 17},   {18, 18},   {19, 18},   {127, 124},
                 {128, 124}, {129, 125}, {200, 195}, {253, 246}, {254, 247}, {255, 248}};
    for (const auto &[sample, value] : cases)
        EXPECT_EQ(tables.red[sample], value) << sample;
    for (int sample = 0; sample < 256; ++sample) {
        EXPECT_EQ(tables.red[sample], (sample * 248 + 127) / 255) << sample;
        EXPECT_EQ(tables.green[sample], tables.red[sample]) << sample;
        EXPECT_EQ(tables.blue[sample], tables.red[sample]) << sample;
    }
}

TEST(HighColourTables, AreMadeOfTheCorrectedLevels) {
    const ChannelTables corrected = gamma_tables({55, 122, 200});
    const ChannelTables tables = high_colour_tables(corrected);
    for (int sample = 0; sample < 256; ++sample) {
        EXPECT_EQ(tables.red[sample], (model::levels_at_55[sample] * 248 + 127) / 255) << sample;
        EXPECT_EQ(tables.green[sample], (model::levels_at_122[sample] * 248 + 127) / 255) << sample;
        EXPECT_EQ(tables.blue[sample], (model::levels_at_200[sample] * 248 + 127) / 255) << sample;
    }
}

// Dithered, every value stays within what five bits of a channel can show.
TEST(HighColourTables, NeverDitherBeyondFiveBits) {
    for (const int value : high_colour_tables(tables_of(100)).red)
        for (const int least : display::high_colour_thresholds)
            EXPECT_LE((value & 0xF8) + ((value & 7) >= least ? 8 : 0), 248) << value;
}

} // namespace
} // namespace q32::test

// The tables by which samples become colours of the display palette's cube.
#include "display/kernels/colour_cube.h"
#include "display/kernels/dither_matrices.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <vector>

namespace q32::test {
namespace {

using display::CubeTables;
using Contributions = std::array<std::uint8_t, 6>;

// The palette index of a pixel at a place of the matrix.
int index_of(const CubeTables &tables, int red, int green, int blue, int least) {
    const auto level = [least](const CubeTables::Channel &channel, int sample) {
        return channel.level[sample] + (channel.fraction[sample] >= least ? 1 : 0);
    };
    return tables.of_red[level(tables.red, red)] + tables.of_green[level(tables.green, green)] +
           tables.of_blue[level(tables.blue, blue)];
}

TEST(ColourCube, ContributionsNumberByNumber) {
    for (const bool dithering : {true, false}) {
        const CubeTables tables = display::cube_tables(dithering);
        EXPECT_EQ(tables.of_red, (Contributions{0, 36, 72, 108, 144, 180}));
        EXPECT_EQ(tables.of_green, (Contributions{0, 6, 12, 18, 24, 30}));
        EXPECT_EQ(tables.of_blue, (Contributions{0, 1, 2, 3, 4, 5}));
    }
}

// Literal levels and fractions at both ends of every step.
TEST(ColourCube, LevelsAndFractionsWithDithering) {
    const struct {
        int sample, level, fraction;
    } cases[] = {{0, 0, 0},   {1, 0, 1},    {50, 0, 50},  {51, 1, 0},  {101, 1, 50},
                 {102, 2, 0}, {128, 2, 26}, {152, 2, 50}, {153, 3, 0}, {203, 3, 50},
                 {204, 4, 0}, {205, 4, 1},  {254, 4, 50}, {255, 5, 0}};
    const CubeTables tables = display::cube_tables(true);
    for (const auto *channel : {&tables.red, &tables.green, &tables.blue}) {
        for (const auto &[sample, level, fraction] : cases) {
            EXPECT_EQ(channel->level[sample], level) << sample;
            EXPECT_EQ(channel->fraction[sample], fraction) << sample;
        }
        for (int sample = 0; sample < 256; ++sample) {
            EXPECT_EQ(channel->level[sample] * 51 + channel->fraction[sample], sample);
            EXPECT_LE(channel->fraction[sample], 50);
        }
    }
}

TEST(ColourCube, LevelsWithoutDithering) {
    const struct {
        int sample, level;
    } cases[] = {{0, 0},   {42, 0},  {43, 1},  {85, 1},  {86, 2},  {128, 2}, {129, 3},
                 {171, 3}, {172, 4}, {214, 4}, {215, 5}, {254, 5}, {255, 5}};
    const CubeTables tables = display::cube_tables(false);
    for (const auto *channel : {&tables.red, &tables.green, &tables.blue}) {
        for (const auto &[sample, level] : cases)
            EXPECT_EQ(channel->level[sample], level) << sample;
        for (int sample = 0; sample < 256; ++sample) {
            EXPECT_EQ(channel->level[sample], sample / 43) << sample;
            EXPECT_EQ(channel->fraction[sample], 0) << sample;
        }
    }
}

TEST(ColourCube, TheTablesInUseAreTheDitheredOnes) {
    const CubeTables tables = display::cube_tables(true);
    for (int sample = 0; sample < 256; ++sample) {
        EXPECT_EQ(display::dithered_cube.red.level[sample], tables.red.level[sample]);
        EXPECT_EQ(display::dithered_cube.green.fraction[sample], tables.green.fraction[sample]);
        EXPECT_EQ(display::dithered_cube.blue.fraction[sample], tables.blue.fraction[sample]);
    }
    EXPECT_EQ(display::dithered_cube.of_red, tables.of_red);
    EXPECT_EQ(display::dithered_cube.of_green, tables.of_green);
    EXPECT_EQ(display::dithered_cube.of_blue, tables.of_blue);
}

// White and black stay what they are at every place.
TEST(ColourCube, EndsAreNotDithered) {
    for (const int least : display::palette_thresholds) {
        EXPECT_EQ(index_of(display::dithered_cube, 255, 255, 255, least), 215);
        EXPECT_EQ(index_of(display::dithered_cube, 0, 0, 0, least), 0);
        EXPECT_EQ(index_of(display::dithered_cube, 51, 102, 204, least), 36 + 12 + 4);
    }
}

// No sample steps out of the cube, and each is shown by its own level and the next alone.
TEST(ColourCube, EverySampleStaysBetweenItsNeighbours) {
    for (int sample = 0; sample < 256; ++sample) {
        std::set<int> seen;
        int up = 0;
        for (const int least : display::palette_thresholds) {
            const int index = index_of(display::dithered_cube, sample, 0, 0, least);
            seen.insert(index / 36);
            up += index / 36 - sample / 51;
            EXPECT_EQ(index % 36, 0);
        }
        EXPECT_GE(*seen.begin(), sample / 51);
        EXPECT_LE(*seen.rbegin(), std::min(sample / 51 + 1, 5));
        // 64 places share 51 parts.
        EXPECT_NEAR(up, sample % 51 * 64 / 51.0, 1.0) << sample;
    }
}

} // namespace
} // namespace q32::test

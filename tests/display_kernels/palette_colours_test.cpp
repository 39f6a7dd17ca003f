// The colours of palettes entry by entry: grey ramps, cubes and the fixed sets.
#include "display/kernels/palette_colours.h"

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace q32::display {

void PrintTo(const Colour &colour, std::ostream *stream) {
    *stream << int(colour.red) << ' ' << int(colour.green) << ' ' << int(colour.blue);
}

} // namespace q32::display

namespace q32::test {
namespace {

using display::Colour;
using display::Cube;
using Levels = std::vector<int>;

TEST(GreyLevels, AreCutAndNotRounded) {
    for (int index = 0; index < 16; ++index)
        EXPECT_EQ(display::grey_level(index, 16), 17 * index);
    EXPECT_EQ(display::grey_level(0, 2), 0);
    EXPECT_EQ(display::grey_level(1, 2), 255);
    EXPECT_EQ(display::grey_level(1, 3), 127);
    EXPECT_EQ(display::grey_level(1, 128), 2);
    EXPECT_EQ(display::grey_level(63, 128), 126);
    EXPECT_EQ(display::grey_level(64, 128), 128);
    EXPECT_EQ(display::grey_level(126, 128), 252); // 252.99
    EXPECT_EQ(display::grey_level(127, 128), 255);
    for (int levels = 2; levels <= 256; ++levels)
        for (int index = 0; index < levels; ++index) {
            const Colour grey = display::grey(index, levels);
            const auto level = std::uint8_t(index * 255 / (levels - 1));
            EXPECT_EQ(grey, (Colour{level, level, level})) << index << " of " << levels;
        }
}

Levels levels_of(int count) {
    Levels levels;
    for (int index = 0; index < count; ++index)
        levels.push_back(display::cube_level(index, count));
    return levels;
}

TEST(CubeLevels, NumberByNumber) {
    EXPECT_EQ(levels_of(4), (Levels{0, 85, 170, 255}));
    EXPECT_EQ(levels_of(6), (Levels{0, 51, 102, 153, 204, 255}));
    EXPECT_EQ(levels_of(7), (Levels{0, 43, 85, 128, 170, 213, 255}));
    EXPECT_EQ(levels_of(8), (Levels{0, 36, 73, 109, 146, 182, 219, 255}));
}

// A running sum with an error term that begins at half a step.
TEST(CubeLevels, OfEveryCount) {
    for (int count = 2; count <= 256; ++count) {
        const int steps = count - 1;
        Levels wanted;
        int value = 0, error = steps / 2;
        for (int index = 0; index < count; ++index) {
            wanted.push_back(value);
            value += 255 / steps;
            error += 255 % steps;
            if (error >= steps) {
                ++value;
                error -= steps;
            }
        }
        EXPECT_EQ(levels_of(count), wanted) << count;
    }
}

void expect_cube(const Cube &cube, const Levels &reds, const Levels &greens, const Levels &blues) {
    int index = 0;
    for (int red : reds)
        for (int green : greens)
            for (int blue : blues) {
                const Colour wanted{std::uint8_t(red), std::uint8_t(green), std::uint8_t(blue)};
                ASSERT_EQ(display::cube_colour(index, cube), wanted) << index;
                ++index;
            }
    EXPECT_EQ(index, cube.colours());
    for (; index < 256; ++index)
        EXPECT_EQ(display::cube_colour(index, cube), display::white) << index;
    for (int beyond : {256, 257, 300, 32766})
        EXPECT_EQ(display::cube_colour(beyond, cube), display::black) << beyond;
}

TEST(Cubes, HaveRedOutermostAndBlueInnermost) {
    const Levels four{0, 85, 170, 255}, six{0, 51, 102, 153, 204, 255},
        seven{0, 43, 85, 128, 170, 213, 255}, eight{0, 36, 73, 109, 146, 182, 219, 255};
    expect_cube(display::cube_676, six, seven, six);
    expect_cube(display::cube_666, six, six, six);
    expect_cube(display::cube_884, eight, eight, four);
    EXPECT_EQ(display::cube_676.colours(), 252);
    EXPECT_EQ(display::cube_666.colours(), 216);
    EXPECT_EQ(display::cube_884.colours(), 256);
}

TEST(FixedColours, EntryByEntry) {
    const std::vector<Colour> sixteen = {
        {0, 0, 0},     {128, 0, 0},     {0, 128, 0},     {128, 128, 0},  {0, 0, 128}, {128, 0, 128},
        {0, 128, 128}, {128, 128, 128}, {192, 192, 192}, {255, 0, 0},    {0, 255, 0}, {255, 255, 0},
        {0, 0, 255},   {255, 0, 255},   {0, 255, 255},   {255, 255, 255}};
    const std::vector<Colour> eight = {{0, 0, 0},   {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                                       {0, 0, 255}, {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};
    for (int entries = 1; entries < 256; ++entries)
        for (int index = 0; index < entries; ++index) {
            const Colour wanted = entries == 2   ? (index == 0 ? Colour{0, 0, 0} : eight[7])
                                  : entries == 8 ? eight[index]
                                  : index < 16   ? sixteen[index]
                                                 : Colour{0, 0, 0};
            ASSERT_EQ(display::fixed_colour(index, entries), wanted) << index << " of " << entries;
        }
}

} // namespace
} // namespace q32::test

// The model itself, where its numbers are known.
#include "tests/display_runs/run_model.h"

#include <gtest/gtest.h>

namespace q32::test {
namespace {

using namespace model;

TEST(DisplayRunModel, Matrices) {
    int sum = 0, of_palettes = 0, of_high_colour = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            sum += sixteen_colour_matrix[y][x];
            of_palettes += palette_matrix[y][x];
            of_high_colour += high_colour_matrix[y % 4][x % 4];
        }
    EXPECT_EQ(sum, 255 * 65 / 2 + 1); // 4, 8, 12 ... 255, rounded both ways
    EXPECT_EQ(threshold(sixteen_colour_matrix, 0, 0), 4);
    EXPECT_EQ(threshold(sixteen_colour_matrix, -1, -8), 255);
    EXPECT_EQ(threshold(sixteen_colour_matrix, 9, 10), 227);
    EXPECT_EQ(threshold(palette_matrix, 7, 0), 51);
    EXPECT_EQ(threshold(palette_matrix, 3, -1), 18);
    EXPECT_EQ(threshold(high_colour_matrix, 5, 2), 8);
    EXPECT_EQ(threshold(high_colour_matrix, -1, 0), 8);
    EXPECT_EQ(of_high_colour, 4 * 72);
    EXPECT_EQ(of_palettes, 1639);
}

TEST(DisplayRunModel, Strips) {
    RunSetup setup{.type = 4, .depth = 24, .right = 100, .bottom = 1000};
    EXPECT_EQ(row_bytes(setup), 300);
    EXPECT_EQ(strip_rows(setup), 163);
    setup.type = 3;
    EXPECT_EQ(row_bytes(setup), 100);
    EXPECT_EQ(strip_rows(setup), 491);
    setup.type = 2;
    EXPECT_EQ(row_bytes(setup), 56);
    EXPECT_EQ(strip_rows(setup), 877);
    setup.depth = 1;
    EXPECT_EQ(row_bytes(setup), 14);
    EXPECT_EQ(strip_rows(setup), 1000);
    setup.bottom = 2000;
    EXPECT_EQ(strip_rows(setup), 1755);
}

TEST(DisplayRunModel, Pixels) {
    EXPECT_EQ(plane_bits({128, 128, 128}, 128), 15u);
    EXPECT_EQ(plane_bits({127, 128, 0}, 128), 10u);
    EXPECT_EQ(plane_bits({127, 0, 0}, 128), 0u);
    EXPECT_EQ(cube_place({255, 255, 255}, 1), 215u);
    EXPECT_EQ(cube_place({50, 0, 52}, 50), 37u);
    EXPECT_EQ(high_colour_level(255), 248);
    EXPECT_EQ(reduced(248, 1), 248);
    EXPECT_EQ(reduced(9, 1), 16);
    EXPECT_EQ(widened(0), 7);
    EXPECT_EQ(widened(31), 255);
    const std::uint8_t bits[] = {0x40, 0x01};
    EXPECT_EQ(source_pixel(bits, 1, 1).red, 1);
    EXPECT_EQ(source_pixel(bits, 1, 15).red, 1);
    EXPECT_EQ(source_pixel(bits + 1, 1, -7).red, 1);
    EXPECT_EQ(source_pixel(bits + 1, 1, -8).red, 0);
}

} // namespace
} // namespace q32::test

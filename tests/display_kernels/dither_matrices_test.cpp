// Ranks and thresholds of ordered dithering: the matrices number by number, and the rules by which
// they come about.
#include "display/kernels/dither_matrices.h"

#include "tests/models/dither_matrices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace q32::test {
namespace {

using display::Matrix;
using display::threshold;

constexpr Matrix<2> ranks_of_2 = {0, 3, //
                                  2, 1};

constexpr Matrix<4> ranks_of_4 = {0,  12, 3,  15, //
                                  8,  4,  11, 7,  //
                                  2,  14, 1,  13, //
                                  10, 6,  9,  5};

constexpr Matrix<8> ranks_of_8 = {0,  48, 12, 60, 3,  51, 15, 63, //
                                  32, 16, 44, 28, 35, 19, 47, 31, //
                                  8,  56, 4,  52, 11, 59, 7,  55, //
                                  40, 24, 36, 20, 43, 27, 39, 23, //
                                  2,  50, 14, 62, 1,  49, 13, 61, //
                                  34, 18, 46, 30, 33, 17, 45, 29, //
                                  10, 58, 6,  54, 9,  57, 5,  53, //
                                  42, 26, 38, 22, 41, 25, 37, 21};

template <int side>
constexpr Matrix<side> in_one_row(const int (&matrix)[side][side]) {
    Matrix<side> thresholds{};
    for (std::size_t i = 0; i < thresholds.size(); ++i)
        thresholds[i] = std::uint8_t(matrix[i / side][i % side]);
    return thresholds;
}
constexpr Matrix<8> sixteen_colours = in_one_row(model::sixteen_colour_matrix);
constexpr Matrix<8> palette_device = in_one_row(model::palette_matrix);
constexpr Matrix<4> high_colour = in_one_row(model::high_colour_matrix);

TEST(DitherMatrices, RanksNumberByNumber) {
    EXPECT_EQ(display::rank_matrix<2>(), ranks_of_2);
    EXPECT_EQ(display::rank_matrix<4>(), ranks_of_4);
    EXPECT_EQ(display::rank_matrix<8>(), ranks_of_8);
}

TEST(DitherMatrices, ThresholdsNumberByNumber) {
    EXPECT_EQ(display::sixteen_colour_thresholds, sixteen_colours);
    EXPECT_EQ(display::palette_thresholds, palette_device);
    EXPECT_EQ(display::high_colour_thresholds, high_colour);
    EXPECT_EQ(display::threshold_matrix<8>(255), sixteen_colours);
    EXPECT_EQ(display::threshold_matrix<8>(51), palette_device);
    EXPECT_EQ(display::threshold_matrix<4>(8), high_colour);
}

// Seen from the largest matrix: a place's rank has its lowest bits in the highest digits of the
// rank (base 4), one digit for each bit of the coordinates.
template <int side>
void expect_digits() {
    constexpr int digit_at[2][2] = {{0, 3}, {2, 1}}; // y, x
    const Matrix<side> ranks = display::rank_matrix<side>();
    const auto places = display::places_by_rank<side>();
    ASSERT_EQ(places.size(), std::size_t(side * side));
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            int rank = 0;
            for (int bit = 1; bit < side; bit *= 2)
                rank = rank * 4 + digit_at[(y & bit) != 0][(x & bit) != 0];
            EXPECT_EQ(ranks[y * side + x], rank) << x << ", " << y << " of " << side;
            EXPECT_EQ(places[rank].x, x) << "rank " << rank << " of " << side;
            EXPECT_EQ(places[rank].y, y) << "rank " << rank << " of " << side;
        }
}

TEST(DitherMatrices, RanksOfEverySide) {
    expect_digits<2>();
    expect_digits<4>();
    expect_digits<8>();
    expect_digits<16>();
}

TEST(DitherMatrices, RanksOfSixteenInTheirCorners) {
    const Matrix<16> ranks = display::rank_matrix<16>();
    const auto row = [&](int y) {
        return std::vector<int>(ranks.begin() + y * 16, ranks.begin() + (y + 1) * 16);
    };
    EXPECT_EQ(row(0), (std::vector<int>{0, 192, 48, 240, 12, 204, 60, 252, //
                                        3, 195, 51, 243, 15, 207, 63, 255}));
    EXPECT_EQ(row(1), (std::vector<int>{128, 64, 176, 112, 140, 76, 188, 124, //
                                        131, 67, 179, 115, 143, 79, 191, 127}));
    EXPECT_EQ(row(15), (std::vector<int>{170, 106, 154, 90, 166, 102, 150, 86, //
                                         169, 105, 153, 89, 165, 101, 149, 85}));
}

// --- thresholds ----------------------------------------------------------------------------------

TEST(Thresholds, Of256RanksForByteValues) {
    for (int rank = 0; rank < 255; ++rank)
        EXPECT_EQ(threshold(rank, 256, 256), rank + 1);
    EXPECT_EQ(threshold(255, 256, 256), 255);
}

// A maximum of 256 is one of 255 for any other number of ranks.
TEST(Thresholds, OfOtherRanksForByteValues) {
    for (int ranks : {4, 16, 64})
        for (int rank = 0; rank < ranks; ++rank)
            EXPECT_EQ(threshold(rank, ranks, 256), threshold(rank, ranks, 255)) << rank;
    EXPECT_EQ(threshold(0, 64, 256), 4);
    EXPECT_EQ(threshold(31, 64, 256), 128);
    EXPECT_EQ(threshold(63, 64, 256), 255);
    EXPECT_EQ(threshold(0, 4, 256), 64); // 255 / 4 = 63.75
    EXPECT_EQ(threshold(1, 4, 256), 128);
    EXPECT_EQ(threshold(2, 4, 256), 191);
    EXPECT_EQ(threshold(3, 4, 256), 255);
}

TEST(Thresholds, OfMoreRanksThanValues) {
    EXPECT_EQ(threshold(0, 64, 51), 1);
    EXPECT_EQ(threshold(1, 64, 51), 1);
    EXPECT_EQ(threshold(2, 64, 51), 2);
    EXPECT_EQ(threshold(63, 64, 51), 51);
    EXPECT_EQ(threshold(0, 16, 8), 1);
    EXPECT_EQ(threshold(15, 16, 8), 8);
    EXPECT_EQ(threshold(128, 256, 255), 128); // 32640 / 256 = 127.5
    EXPECT_EQ(threshold(255, 256, 255), 255);
    EXPECT_EQ(threshold(63, 64, 63), 63);
}

TEST(Thresholds, OfAsManyRanksAsValuesAndFewer) {
    for (int rank = 0; rank < 64; ++rank)
        EXPECT_EQ(threshold(rank, 64, 64), rank + 1);
    EXPECT_EQ(threshold(0, 4, 6), 2); // 1.5 is rounded up
    EXPECT_EQ(threshold(1, 4, 6), 3);
    EXPECT_EQ(threshold(2, 4, 6), 5);
    EXPECT_EQ(threshold(3, 4, 6), 6);
    EXPECT_EQ(threshold(0, 4, 5), 1); // 1.25
}

// --- what they do --------------------------------------------------------------------------------

// Of a value, how many places of the matrix let it pass.
template <std::size_t size>
int passes(const std::array<std::uint8_t, size> &thresholds, int value) {
    return int(std::count_if(thresholds.begin(), thresholds.end(),
                             [&](int least) { return value >= least; }));
}

TEST(Thresholds, LightTheirShareOfPlaces) {
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 0), 0);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 3), 0);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 4), 1);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 127), 31);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 128), 32);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 254), 63);
    EXPECT_EQ(passes(display::sixteen_colour_thresholds, 255), 64);

    EXPECT_EQ(passes(display::palette_thresholds, 0), 0);
    EXPECT_EQ(passes(display::palette_thresholds, 1), 2);
    EXPECT_EQ(passes(display::palette_thresholds, 50), 63);

    EXPECT_EQ(passes(display::high_colour_thresholds, 0), 0);
    for (int value = 1; value <= 7; ++value)
        EXPECT_EQ(passes(display::high_colour_thresholds, value), 2 * value);
}

} // namespace
} // namespace q32::test

// Blocks of no rows reduced: the result is what a row taken would advance in the source, whatever
// step, width and bytes per pixel are, and nothing is read or written.
#include "tests/rows/row_fixture.h"

namespace q32::test {
namespace {

class BlocksWithoutRows : public RowTest {
protected:
    // Without memory: whatever is touched is a crash.
    static int of_bits(int width, int factor, int step, int row_count = 0) {
        return rows().mem32BitReduceExt(nullptr, nullptr, width, row_count, factor, step);
    }
    static int of_pixels(int width, int factor, int step, int bytes_per_pixel, int swap,
                         int row_count = 0) {
        return rows().mem32ReduceExt(nullptr, nullptr, width, row_count, factor, step,
                                     bytes_per_pixel, swap);
    }
};

TEST_F(BlocksWithoutRows, OfBits) {
    EXPECT_EQ(of_bits(10, 3, 2), 4);
    EXPECT_EQ(of_bits(16, 1, 5), 10);
    EXPECT_EQ(of_bits(17, 2, 1), 3);
    EXPECT_EQ(of_bits(0, 2, 7), 0);
    EXPECT_EQ(of_bits(1, 2, 7), 7);
    EXPECT_EQ(of_bits(8, 2, 7), 7);
    EXPECT_EQ(of_bits(9, 2, 7), 14);
}

TEST_F(BlocksWithoutRows, OfPixels) {
    for (const int swap : {0, 1}) {
        EXPECT_EQ(of_pixels(7, 2, 3, 1, swap), 21);
        EXPECT_EQ(of_pixels(7, 2, 3, 2, swap), 42);
        EXPECT_EQ(of_pixels(7, 2, 3, 3, swap), 63);
        EXPECT_EQ(of_pixels(7, 2, 3, 4, swap), 84);
        EXPECT_EQ(of_pixels(0, 2, 3, 4, swap), 0);
    }
    for (const int counts_as_two : {0, -1, -3, -4, 5, 6, 8, 9, 255, 259, INT_MAX, INT_MIN})
        EXPECT_EQ(of_pixels(7, 2, 3, counts_as_two, 1), 42) << counts_as_two;
}

// Steps below 1 count as they are: only rows that are taken need a step forward.
TEST_F(BlocksWithoutRows, WithStepsBelowOne) {
    EXPECT_EQ(of_bits(10, 3, 0), 0);
    EXPECT_EQ(of_bits(10, 3, -1), -2);
    EXPECT_EQ(of_bits(10, 3, -2), -4);
    EXPECT_EQ(of_bits(17, 1, -5), -15);
    EXPECT_EQ(of_bits(8, 1, INT_MIN), INT_MIN);
    EXPECT_EQ(of_bits(100, 1, -1000), -13000);
    EXPECT_EQ(of_pixels(7, 2, 0, 3, 1), 0);
    EXPECT_EQ(of_pixels(7, 2, -1, 1, 0), -7);
    EXPECT_EQ(of_pixels(7, 2, -1, 2, 0), -14);
    EXPECT_EQ(of_pixels(7, 2, -1, 3, 0), -21);
    EXPECT_EQ(of_pixels(7, 2, -1, 4, 0), -28);
    EXPECT_EQ(of_pixels(7, 2, -1, 6, 0), -14);
    EXPECT_EQ(of_pixels(7, 2, -3, 3, 1), -63);
    EXPECT_EQ(of_pixels(100, 2, -1000, 4, 0), -400000);
    EXPECT_EQ(of_pixels(1, 1, INT_MIN, 1, 0), INT_MIN);
}

// Every factor and step: neither the rows' new length nor anything else enters.
TEST_F(BlocksWithoutRows, WithEveryStepWidthAndFactor) {
    for (const int width : {0, 1, 2, 7, 8, 9, 15, 16, 17, 1000})
        for (int step = -20; step <= 20; ++step)
            for (const int factor : {INT_MIN, -2, 0, 1, 2, 3, 8, 1000, INT_MAX}) {
                ASSERT_EQ(of_bits(width, factor, step), step * ((width + 7) / 8))
                    << width << ", factor " << factor << ", step " << step;
                for (const int bytes : {-1, 0, 1, 2, 3, 4, 5})
                    for (const int swap : {0, 1})
                        ASSERT_EQ(of_pixels(width, factor, step, bytes, swap),
                                  (bytes == 1 || bytes == 3 || bytes == 4 ? bytes : 2) * step *
                                      width)
                            << width << ", factor " << factor << ", step " << step << ", " << bytes
                            << " bytes";
            }
}

TEST_F(BlocksWithoutRows, WithLessThanNoRows) {
    for (const int row_count : {-1, -7, INT_MIN}) {
        EXPECT_EQ(of_bits(10, 3, 2, row_count), 4);
        EXPECT_EQ(of_bits(10, 3, -2, row_count), -4);
        EXPECT_EQ(of_bits(10, 3, 0, row_count), 0);
        EXPECT_EQ(of_pixels(7, 2, 3, 3, 1, row_count), 63);
        EXPECT_EQ(of_pixels(7, 2, -3, 3, 1, row_count), -63);
        EXPECT_EQ(of_pixels(7, 2, 0, 3, 1, row_count), 0);
    }
}

} // namespace
} // namespace q32::test

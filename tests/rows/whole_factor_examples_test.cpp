// Enlarging and reducing by whole factors on bytes that a reader can work out by hand: results, the
// byte beyond an enlarged row of bits, rows of other counts than any pixels, swaps that mix two
// pixels.
#include "tests/rows/row_fixture.h"

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class WholeFactors : public RowTest {};

// --- bits, enlarged -----------------------------------------------------------------------------

TEST_F(WholeFactors, ThreeBitsThreeTimes) {
    const Bytes source{0xA0};
    Bytes row(4, 0xEE);
    rows().mem32BitEnlarge(row.data(), source.data(), 3, 3);
    EXPECT_EQ(row, (Bytes{0xE3, 0x80, 0xEE, 0xEE})); // 9 bits: no byte beyond
}

TEST_F(WholeFactors, EightBitsTwiceAndTheByteBeyond) {
    const Bytes source{0xA5};
    Bytes row(4, 0xEE);
    rows().mem32BitEnlarge(row.data(), source.data(), 8, 2);
    EXPECT_EQ(row, (Bytes{0xCC, 0x33, 0x00, 0xEE}));
}

TEST_F(WholeFactors, TheByteBeyondIsThereExactlyForWholeBytes) {
    const Bytes source(8, 0xFF);
    for (int count = 1; count <= 64; ++count)
        for (unsigned factor = 2; factor <= 33; ++factor) {
            const std::size_t bits = static_cast<std::size_t>(count) * factor;
            Bytes wanted((bits + 7) / 8, 0xFF);
            if (bits % 8 == 0)
                wanted.push_back(0x00);
            else
                wanted.back() = static_cast<std::uint8_t>(0xFF00 >> bits % 8);
            Bytes row(300, 0xEE);
            rows().mem32BitEnlarge(row.data(), source.data(), count, factor);
            ASSERT_EQ(row, padded(wanted, 300)) << count << " bits, factor " << factor;
        }
}

TEST_F(WholeFactors, BitsBehindTheLastPixelDoNotCount) {
    const Bytes source{0xBF, 0xFF};
    Bytes row(4, 0xEE);
    rows().mem32BitEnlarge(row.data(), source.data(), 3, 3);
    EXPECT_EQ(row, (Bytes{0xE3, 0x80, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, FactorsZeroAndOneCopyBytesAsTheyAre) {
    const Bytes source{0x12, 0xBF, 0x77};
    for (const unsigned factor : {0u, 1u}) {
        Bytes row(4, 0xEE);
        rows().mem32BitEnlarge(row.data(), source.data(), 9, factor);
        EXPECT_EQ(row, (Bytes{0x12, 0xBF, 0xEE, 0xEE})) << factor; // with the bits behind pixel 8
        row.assign(4, 0xEE);
        rows().mem32BitEnlarge(row.data(), source.data(), 16, factor);
        EXPECT_EQ(row, (Bytes{0x12, 0xBF, 0xEE, 0xEE})) << factor; // no byte beyond
    }
}

// Factors are compared without a sign: one that is negative as an int is no copy.
TEST_F(WholeFactors, NoBitsClearTheFirstByte) {
    const Bytes source{0xFF};
    for (const int count : {0, -1, -8, -1000, INT_MIN})
        for (const unsigned factor : {2u, 3u, 8u, 0x80000000u, 0xFFFFFFFFu}) {
            Bytes row(4, 0xEE);
            rows().mem32BitEnlarge(row.data(), source.data(), count, factor);
            EXPECT_EQ(row, (Bytes{0x00, 0xEE, 0xEE, 0xEE})) << count << ", factor " << factor;
        }
}

TEST_F(WholeFactors, NoBitsCopyNothing) {
    const Bytes source{0xFF};
    for (const int count : {0, -1, -8, -1000, INT_MIN})
        for (const unsigned factor : {0u, 1u}) {
            Bytes row(4, 0xEE);
            rows().mem32BitEnlarge(row.data(), source.data(), count, factor);
            EXPECT_EQ(row, Bytes(4, 0xEE)) << count << ", factor " << factor;
        }
}

TEST_F(WholeFactors, BlockOfBits) {
    const Bytes source{0xA0, 0x60};
    Bytes block(10, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 3, 2, 3, 2), 1);
    EXPECT_EQ(block, (Bytes{0xE3, 0x80, 0xE3, 0x80, 0x1F, 0x80, 0x1F, 0x80, 0xEE, 0xEE}));
}

// Two rows of whole bytes: each clears the byte behind it, which the next row or the copy below
// fills again. Only behind a last row without a copy it is seen.
TEST_F(WholeFactors, TheByteBeyondABlockOfBits) {
    const Bytes source{0xA5, 0x0F};
    for (const unsigned vertical : {0u, 1u}) {
        Bytes block(8, 0xEE);
        EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 8, 2, 2, vertical), 1);
        EXPECT_EQ(block, (Bytes{0xCC, 0x33, 0x00, 0xFF, 0x00, 0xEE, 0xEE, 0xEE})) << vertical;
    }
    Bytes block(10, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 8, 2, 2, 2), 1);
    EXPECT_EQ(block, (Bytes{0xCC, 0x33, 0xCC, 0x33, 0x00, 0xFF, 0x00, 0xFF, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, BlockOfBitsCopiedAsTheyAre) {
    const Bytes source{0x12, 0xBF, 0x34, 0x9F};
    Bytes block(10, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 9, 2, 1, 2), 2);
    EXPECT_EQ(block, (Bytes{0x12, 0xBF, 0x12, 0xBF, 0x34, 0x9F, 0x34, 0x9F, 0xEE, 0xEE}));
}

// Rows of no bytes follow one another at the same place: the last one is seen.
TEST_F(WholeFactors, BlockOfBitsWithHorizontalFactorZero) {
    const Bytes source{0x12, 0xBF, 0x34, 0x9F};
    Bytes block(10, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 9, 2, 0, 1), 2);
    EXPECT_EQ(block, padded({0x34, 0x9F}, 10));
}

TEST_F(WholeFactors, BlockOfBitsReturnsTheBytesOfASourceRow) {
    const Bytes source(40, 0xFF);
    Bytes block(400);
    const auto result = [&](int width, int row_count) {
        return rows().mem32BitEnlargeExt(block.data(), source.data(), width, row_count, 2, 3);
    };
    EXPECT_EQ(result(1, 1), 1);
    EXPECT_EQ(result(8, 2), 1);
    EXPECT_EQ(result(9, 2), 2);
    EXPECT_EQ(result(16, 5), 2);
    EXPECT_EQ(result(100, 3), 13);
}

TEST_F(WholeFactors, BlockOfBitsWithoutRows) {
    const Bytes source(4, 0xFF);
    for (const int row_count : {0, -1, -100, INT_MIN})
        for (const unsigned factor : {0u, 1u, 3u}) {
            Bytes block(8, 0xEE);
            EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 20, row_count, factor,
                                                factor),
                      0);
            EXPECT_EQ(block, Bytes(8, 0xEE)) << row_count << " rows, factor " << factor;
        }
}

TEST_F(WholeFactors, BlockOfRowsWithoutBits) {
    const Bytes source(4, 0xFF);
    Bytes block(8, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 0, 3, 2, 2), 0);
    EXPECT_EQ(block, padded({0x00}, 8));
    block.assign(8, 0xEE);
    EXPECT_EQ(rows().mem32BitEnlargeExt(block.data(), source.data(), 0, 3, 1, 2), 0);
    EXPECT_EQ(block, Bytes(8, 0xEE));
}

TEST_F(WholeFactors, BlockOfRowsWithLessThanNoBits) {
    const Bytes source(4, 0xFF);
    for (const int width : {-1, -7, -8, -1000, INT_MIN}) {
        Bytes block(8, 0xEE);
        const int result = rows().mem32BitEnlargeExt(block.data(), source.data(), width, 1, 2, 1);
        EXPECT_EQ(block, padded({0x00}, 8)) << width;
        if (width >= -7) {
            EXPECT_EQ(result, 0) << width;
        }
    }
}

// --- pixels, enlarged ---------------------------------------------------------------------------

TEST_F(WholeFactors, PixelsTwice) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    Bytes row(26, 0xEE);
    rows().mem32Enlarge(row.data(), source.data(), 3, 2, 1, 0);
    EXPECT_EQ(row, padded({1, 1, 2, 2, 3, 3}, 26));
    row.assign(26, 0xEE);
    rows().mem32Enlarge(row.data(), source.data(), 3, 2, 2, 0);
    EXPECT_EQ(row, padded({1, 2, 1, 2, 3, 4, 3, 4, 5, 6, 5, 6}, 26));
    row.assign(26, 0xEE);
    rows().mem32Enlarge(row.data(), source.data(), 3, 2, 3, 0);
    EXPECT_EQ(row, padded({1, 2, 3, 1, 2, 3, 4, 5, 6, 4, 5, 6, 7, 8, 9, 7, 8, 9}, 26));
    row.assign(26, 0xEE);
    rows().mem32Enlarge(row.data(), source.data(), 3, 2, 4, 0);
    EXPECT_EQ(
        row,
        padded({1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8, 9, 10, 11, 12, 9, 10, 11, 12}, 26));
}

TEST_F(WholeFactors, SwappedPixelsThreeTimes) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    for (const int swap : {1, 2, 256, -1, INT_MIN}) {
        Bytes row(20, 0xEE);
        rows().mem32Enlarge(row.data(), source.data(), 2, 3, 3, swap);
        EXPECT_EQ(row, padded({3, 2, 1, 3, 2, 1, 3, 2, 1, 6, 5, 4, 6, 5, 4, 6, 5, 4}, 20)) << swap;
    }
}

TEST_F(WholeFactors, EnlargingSwapsOnlyPixelsOfThreeBytes) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8};
    for (const int pixel_bytes : {1, 2, 4, 6, 0, -3}) {
        Bytes plain(40, 0xEE);
        Bytes swapped(40, 0xEE);
        rows().mem32Enlarge(plain.data(), source.data(), 2, 2, pixel_bytes, 0);
        rows().mem32Enlarge(swapped.data(), source.data(), 2, 2, pixel_bytes, 1);
        EXPECT_EQ(plain, swapped) << pixel_bytes;
        EXPECT_EQ(swapped[0], 1) << pixel_bytes;
    }
}

// What is not 1, 3 or 4 is 2, in the step from pixel to pixel and in results as well.
constexpr int counts_as_two[] = {2, 0, -1, -3, -4, 5, 6, 7, 8, 16, 255, 257, 260, INT_MAX, INT_MIN};

TEST_F(WholeFactors, EnlargingOtherBytesPerPixelCountAsTwo) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8};
    for (const int pixel_bytes : counts_as_two) {
        Bytes row(10, 0xEE);
        rows().mem32Enlarge(row.data(), source.data(), 2, 2, pixel_bytes, 1);
        EXPECT_EQ(row, (Bytes{1, 2, 1, 2, 3, 4, 3, 4, 0xEE, 0xEE})) << pixel_bytes;
        Bytes block(18, 0xEE);
        EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 2, 2, 1, 2, pixel_bytes, 1),
                  4)
            << pixel_bytes;
        EXPECT_EQ(block, (Bytes{1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8, 0xEE, 0xEE}))
            << pixel_bytes;
    }
}

TEST_F(WholeFactors, EnlargingCountsAndFactorsBelowOneCountAsOne) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    for (const int low : {1, 0, -1, -7, INT_MIN}) {
        Bytes row(8, 0xEE);
        rows().mem32Enlarge(row.data(), source.data(), low, 2, 3, 0);
        EXPECT_EQ(row, padded({1, 2, 3, 1, 2, 3}, 8)) << low;
        row.assign(8, 0xEE);
        rows().mem32Enlarge(row.data(), source.data(), 2, low, 3, 1);
        EXPECT_EQ(row, padded({3, 2, 1, 6, 5, 4}, 8)) << low;
        row.assign(8, 0xEE);
        rows().mem32Enlarge(row.data(), source.data(), low, low, 4, 0);
        EXPECT_EQ(row, padded({1, 2, 3, 4}, 8)) << low;
    }
}

TEST_F(WholeFactors, BlockOfPixels) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    Bytes block(26, 0xEE);
    EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 3, 2, 2, 2, 1, 0), 3);
    EXPECT_EQ(block,
              padded({1, 1, 2, 2, 3, 3, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 4, 4, 5, 5, 6, 6}, 26));
    block.assign(26, 0xEE);
    EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 1, 2, 2, 2, 3, 1), 3);
    EXPECT_EQ(block,
              padded({3, 2, 1, 3, 2, 1, 3, 2, 1, 3, 2, 1, 6, 5, 4, 6, 5, 4, 6, 5, 4, 6, 5, 4}, 26));
}

TEST_F(WholeFactors, BlockOfPixelsWithFactorsBelowOne) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    for (const int low : {1, 0, -1, -5, INT_MIN}) {
        Bytes block(16, 0xEE);
        EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 3, 2, 2, low, 1, 0), 3);
        EXPECT_EQ(block, padded({1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6}, 16)) << low;
        block.assign(16, 0xEE);
        EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 3, 2, low, 2, 1, 0), 3);
        EXPECT_EQ(block, padded({1, 2, 3, 1, 2, 3, 4, 5, 6, 4, 5, 6}, 16)) << low;
        block.assign(16, 0xEE);
        EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), low, 2, 2, 2, 2, 0), 2);
        EXPECT_EQ(block, padded({1, 2, 1, 2, 1, 2, 1, 2, 3, 4, 3, 4, 3, 4, 3, 4}, 16)) << low;
    }
}

TEST_F(WholeFactors, BlockOfPixelsReturnsTheBytesOfASourceRow) {
    const Bytes source(400, 0x55);
    Bytes block(4000);
    const auto result = [&](int width, int pixel_bytes) {
        return rows().mem32EnlargeExt(block.data(), source.data(), width, 2, 2, 2, pixel_bytes, 0);
    };
    EXPECT_EQ(result(11, 1), 11);
    EXPECT_EQ(result(11, 2), 22);
    EXPECT_EQ(result(11, 3), 33);
    EXPECT_EQ(result(11, 4), 44);
    EXPECT_EQ(result(11, 9), 22);
    EXPECT_EQ(result(11, 0), 22);
}

TEST_F(WholeFactors, BlockOfPixelsWithoutRows) {
    const Bytes source(16, 0x55);
    for (const int row_count : {0, -1, INT_MIN})
        for (const int pixel_bytes : {1, 2, 3, 4, 0}) {
            Bytes block(8, 0xEE);
            EXPECT_EQ(rows().mem32EnlargeExt(block.data(), source.data(), 3, row_count, 2, 2,
                                             pixel_bytes, 1),
                      0);
            EXPECT_EQ(block, Bytes(8, 0xEE)) << row_count;
        }
}

// --- bits, reduced ------------------------------------------------------------------------------

TEST_F(WholeFactors, TenBitsByThree) {
    Bytes row(3, 0xEE);
    const Bytes groups{0x92, 0x40}; // bits 0, 3, 6 and 9
    rows().mem32BitReduce(row.data(), groups.data(), 10, 3);
    EXPECT_EQ(row, (Bytes{0xF0, 0xEE, 0xEE}));
    row.assign(3, 0xEE);
    const Bytes others{0x6D, 0xBF}; // all the others
    rows().mem32BitReduce(row.data(), others.data(), 10, 3);
    EXPECT_EQ(row, (Bytes{0x00, 0xEE, 0xEE}));
    row.assign(3, 0xEE);
    const Bytes some{0x10, 0x40}; // bits 3 and 9
    rows().mem32BitReduce(row.data(), some.data(), 10, 3);
    EXPECT_EQ(row, (Bytes{0x50, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, SixteenBitsByTwoAreOneByte) {
    Bytes row(3, 0xEE);
    const Bytes source{0xAB, 0x5C};
    rows().mem32BitReduce(row.data(), source.data(), 16, 2);
    EXPECT_EQ(row, (Bytes{0xF2, 0xEE, 0xEE})); // 1111 of 10101011, 0010 of 01011100; none beyond
}

TEST_F(WholeFactors, AFactorBeyondTheRowTakesTheFirstBit) {
    const Bytes source{0x80, 0x00};
    for (const int factor : {10, 11, 16, 100, 1 << 20, INT_MAX - 8, INT_MAX}) {
        Bytes row(3, 0xEE);
        rows().mem32BitReduce(row.data(), source.data(), 10, factor);
        EXPECT_EQ(row, (Bytes{0x80, 0xEE, 0xEE})) << factor;
    }
}

TEST_F(WholeFactors, ReducingBitsByOneOrLessCopiesBytesAsTheyAre) {
    const Bytes source{0x12, 0xBF, 0x77};
    for (const int factor : {1, 0, -1, -8, INT_MIN}) {
        Bytes row(4, 0xEE);
        rows().mem32BitReduce(row.data(), source.data(), 9, factor);
        EXPECT_EQ(row, (Bytes{0x12, 0xBF, 0xEE, 0xEE})) << factor;
    }
}

TEST_F(WholeFactors, ReducingNoPixelsWritesNothing) {
    const Bytes source(16, 0xFF);
    for (const int count : {0, -1, -8, -1000, INT_MIN})
        for (const int factor : {1, 2, 3, 8, 1000}) {
            Bytes row(8, 0xEE);
            rows().mem32BitReduce(row.data(), source.data(), count, factor);
            for (const int pixel_bytes : {1, 2, 3, 4})
                for (const int swap : {0, 1})
                    rows().mem32Reduce(row.data(), source.data(), count, factor, pixel_bytes, swap);
            EXPECT_EQ(row, Bytes(8, 0xEE)) << count << ", factor " << factor;
        }
}

TEST_F(WholeFactors, BlockOfBitsReduced) {
    const Bytes source{0x92, 0x40, 0xFF, 0xFF, 0x10, 0x40, 0xFF, 0xFF, 0x80, 0x3F};
    Bytes block(6, 0xEE);
    EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), 10, 5, 3, 2), 6);
    EXPECT_EQ(block, (Bytes{0xF0, 0x50, 0x80, 0xEE, 0xEE, 0xEE}));
    block.assign(6, 0xEE);
    EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), 10, 4, 3, 2), 4);
    EXPECT_EQ(block, (Bytes{0xF0, 0x50, 0xEE, 0xEE, 0xEE, 0xEE}));
    block.assign(6, 0xEE);
    EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), 10, 5, 1, 4), 8);
    EXPECT_EQ(block, (Bytes{0x92, 0x40, 0x80, 0x3F, 0xEE, 0xEE}));
}

// --- pixels, reduced ----------------------------------------------------------------------------

TEST_F(WholeFactors, SevenPixelsByTwo) {
    Bytes source(28);
    std::iota(source.begin(), source.end(), std::uint8_t{0});
    Bytes row(18, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 7, 2, 1, 0);
    EXPECT_EQ(row, padded({0, 2, 4, 6}, 18));
    row.assign(18, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 7, 2, 2, 0);
    EXPECT_EQ(row, padded({0, 1, 4, 5, 8, 9, 12, 13}, 18));
    row.assign(18, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 7, 2, 3, 0);
    EXPECT_EQ(row, padded({0, 1, 2, 6, 7, 8, 12, 13, 14, 18, 19, 20}, 18));
    row.assign(18, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 7, 2, 4, 0);
    EXPECT_EQ(row, padded({0, 1, 2, 3, 8, 9, 10, 11, 16, 17, 18, 19, 24, 25, 26, 27}, 18));
}

TEST_F(WholeFactors, SwappedPixelsAreMixedOfTwo) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    for (const int swap : {1, 2, 256, -1, INT_MIN}) {
        Bytes row(5, 0xEE);
        rows().mem32Reduce(row.data(), source.data(), 2, 2, 3, swap);
        EXPECT_EQ(row, (Bytes{6, 5, 1, 0xEE, 0xEE})) << swap;
    }
}

TEST_F(WholeFactors, SwappedPixelsOfGroupsOfThree) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    Bytes row(8, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 6, 3, 3, 1);
    EXPECT_EQ(row, (Bytes{9, 8, 1, 19, 18, 11, 0xEE, 0xEE}));
}

// The second group has one pixel of the row; its last one lies behind the row and is read.
TEST_F(WholeFactors, SwappedPixelsOfAnIncompleteGroup) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    Bytes row(8, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 3, 2, 3, 1);
    EXPECT_EQ(row, (Bytes{6, 5, 1, 12, 11, 7, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, ReducingByOneSwapsExactly) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (const int factor : {1, 0, -1, -9, INT_MIN}) {
        Bytes row(11, 0xEE);
        rows().mem32Reduce(row.data(), source.data(), 3, factor, 3, 1);
        EXPECT_EQ(row, (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7, 0xEE, 0xEE})) << factor;
        row.assign(11, 0xEE);
        rows().mem32Reduce(row.data(), source.data(), 3, factor, 3, 0);
        EXPECT_EQ(row, padded(source, 11)) << factor;
    }
}

TEST_F(WholeFactors, ReducingSwapsOnlyPixelsOfThreeBytes) {
    const Bytes source{1, 2, 3, 4, 5, 6, 7, 8};
    Bytes row(4, 0xEE);
    rows().mem32Reduce(row.data(), source.data(), 4, 2, 1, 1);
    EXPECT_EQ(row, (Bytes{1, 3, 0xEE, 0xEE}));
    rows().mem32Reduce(row.data(), source.data(), 2, 2, 2, 1);
    EXPECT_EQ(row, (Bytes{1, 2, 0xEE, 0xEE}));
    rows().mem32Reduce(row.data(), source.data(), 2, 2, 4, 1);
    EXPECT_EQ(row, (Bytes{1, 2, 3, 4}));
}

TEST_F(WholeFactors, ReducingOtherBytesPerPixelCountAsTwo) {
    Bytes source(24);
    std::iota(source.begin(), source.end(), std::uint8_t{0});
    for (const int pixel_bytes : counts_as_two) {
        Bytes row(8, 0xEE);
        rows().mem32Reduce(row.data(), source.data(), 6, 3, pixel_bytes, 1);
        EXPECT_EQ(row, padded({0, 1, 6, 7}, 8)) << pixel_bytes;
        Bytes block(8, 0xEE);
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 4, 3, 3, 2, pixel_bytes, 1), 4)
            << pixel_bytes;
        EXPECT_EQ(block, (Bytes{0, 1, 6, 7, 16, 17, 22, 23})) << pixel_bytes;
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 4, 0, 3, 2, pixel_bytes, 1),
                  16)
            << pixel_bytes;
    }
}

TEST_F(WholeFactors, FiveRowsByStepTwo) {
    const Bytes source{0, 1, 10, 11, 20, 21, 30, 31, 40, 41};
    Bytes block(5, 0xEE);
    EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 2, 5, 2, 2, 1, 0), 6);
    EXPECT_EQ(block, (Bytes{0, 20, 40, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, BlocksReturnTheFirstRowNotTaken) {
    Bytes source(40);
    std::iota(source.begin(), source.end(), std::uint8_t{0});
    const auto taken = [&](int row_count, int step, const Bytes &wanted) {
        Bytes block(12, 0xEE);
        const int result =
            rows().mem32ReduceExt(block.data(), source.data(), 1, row_count, 1, step, 1, 0);
        EXPECT_EQ(block, padded(wanted, 12)) << row_count << " rows, step " << step;
        return result;
    };
    EXPECT_EQ(taken(1, 1, {0}), 1);
    EXPECT_EQ(taken(5, 1, {0, 1, 2, 3, 4}), 5);
    EXPECT_EQ(taken(6, 3, {0, 3}), 6);
    EXPECT_EQ(taken(7, 3, {0, 3, 6}), 9);
    EXPECT_EQ(taken(40, 7, {0, 7, 14, 21, 28, 35}), 42);
    EXPECT_EQ(taken(3, 100, {0}), 100);
    EXPECT_EQ(taken(3, INT_MAX, {0}), INT_MAX);
}

TEST_F(WholeFactors, BlockOfSwappedPixelsReduced) {
    const Bytes source{1,  2,  3,  4,  5,  6,  21, 22, 23, 24, 25, 26,
                       41, 42, 43, 44, 45, 46, 61, 62, 63, 64, 65, 66};
    Bytes block(8, 0xEE);
    EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 2, 3, 2, 2, 3, 1), 4);
    EXPECT_EQ(block, (Bytes{6, 5, 1, 46, 45, 41, 0xEE, 0xEE}));
    // Three pixels of each row: the second group ends with the next row's first pixel.
    block.assign(8, 0xEE);
    EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 3, 1, 2, 1, 3, 1), 1);
    EXPECT_EQ(block, (Bytes{6, 5, 1, 26, 25, 21, 0xEE, 0xEE}));
}

TEST_F(WholeFactors, StepsBelowOneCountAsOne) {
    const Bytes source{0x80, 0x40, 0xC0, 5, 6, 7};
    for (const int step : {1, 0, -1, -7, INT_MIN}) {
        Bytes block(5, 0xEE);
        EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), 2, 3, 2, step), 3);
        EXPECT_EQ(block, padded({0x80, 0x00, 0x80}, 5)) << step;
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 2, 3, 2, step, 1, 0), 3);
        EXPECT_EQ(block, padded({0x80, 0xC0, 6}, 5)) << step;
    }
}

TEST_F(WholeFactors, BlocksReducedByFactorsBelowOneAreCopied) {
    const Bytes source{0x12, 0xBF, 0x34, 0x9F, 0x56, 0x7F};
    for (const int factor : {1, 0, -1, -9, INT_MIN}) {
        Bytes block(8, 0xEE);
        EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), 9, 3, factor, 2), 4);
        EXPECT_EQ(block, padded({0x12, 0xBF, 0x56, 0x7F}, 8)) << factor;
        block.assign(8, 0xEE);
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), 2, 3, factor, 2, 1, 0), 4);
        EXPECT_EQ(block, padded({0x12, 0xBF, 0x56, 0x7F}, 8)) << factor;
    }
}

// Widths below 1: rows of nothing, whatever else is asked for.
TEST_F(WholeFactors, BlocksOfRowsWithoutPixelsReduced) {
    const Bytes source(16, 0xFF);
    for (const int width : {0, -1, -1000, INT_MIN}) {
        Bytes block(8, 0xEE);
        EXPECT_EQ(rows().mem32BitReduceExt(block.data(), source.data(), width, 5, 3, 2), 6);
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), width, 5, 3, 2, 3, 0), 6);
        EXPECT_EQ(rows().mem32ReduceExt(block.data(), source.data(), width, 5, 3, 2, 3, 1), 6);
        EXPECT_EQ(block, Bytes(8, 0xEE)) << width;
    }
}

// Where there is nothing to write, billions of rows take no time.
TEST_F(WholeFactors, BlocksOfAnyNumberOfRowsWithoutPixels) {
    const Bytes source(4, 0xFF);
    for (const int width : {0, -1, INT_MIN}) {
        Bytes block(8, 0xEE);
        rows().mem32BitReduceExt(block.data(), source.data(), width, INT_MAX, 3, 1);
        rows().mem32ReduceExt(block.data(), source.data(), width, INT_MAX, 3, 1, 3, 1);
        rows().mem32BitEnlargeExt(block.data(), source.data(), width, INT_MAX, 1, UINT_MAX);
        EXPECT_EQ(block, Bytes(8, 0xEE)) << width;
        rows().mem32BitEnlargeExt(block.data(), source.data(), width, INT_MAX, 2, UINT_MAX);
        EXPECT_EQ(block, padded({0x00}, 8)) << width;
    }
    Bytes block(8, 0xEE);
    rows().mem32BitEnlargeExt(block.data(), source.data(), 9, 2, 0, UINT_MAX);
    EXPECT_EQ(block, padded({0xFF, 0xFF}, 8));
}

} // namespace
} // namespace q32::test

// The row conversions on bytes that a reader can work out by hand, with and without the MMX flag.
#include "tests/rows/row_fixture.h"

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class RowExamples : public RowTestWithMmxFlag {};

INSTANTIATE_TEST_SUITE_P(Mmx, RowExamples, testing::Bool(), mmx_flag_name);

TEST_P(RowExamples, FillRepeatsThePattern) {
    const std::uint8_t pattern[4] = {0x11, 0x22, 0x33, 0x44};
    Bytes row(12, 0xEE);
    EXPECT_EQ(rows().mem32Fill(row.data(), pattern, 1, 3), 1);
    EXPECT_EQ(row, (Bytes{0x11, 0x11, 0x11, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(rows().mem32Fill(row.data(), pattern, 2, 3), 1);
    EXPECT_EQ(row, (Bytes{0x11, 0x22, 0x11, 0x22, 0x11, 0x22, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(rows().mem32Fill(row.data(), pattern, 3, 3), 1);
    EXPECT_EQ(row, (Bytes{0x11, 0x22, 0x33, 0x11, 0x22, 0x33, 0x11, 0x22, 0x33, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(rows().mem32Fill(row.data(), pattern, 4, 3), 1);
    EXPECT_EQ(row, (Bytes{0x11, 0x22, 0x33, 0x44, 0x11, 0x22, 0x33, 0x44, 0x11, 0x22, 0x33, 0x44}));
}

TEST_P(RowExamples, FillOfPixelsWithoutBytesWritesNothing) {
    for (const int pixel_bytes : {0, -1, -3, INT_MIN}) {
        Bytes row(32, 0xEE);
        const std::uint8_t pattern[4] = {1, 2, 3, 4};
        EXPECT_EQ(rows().mem32Fill(row.data(), pattern, pixel_bytes, 8), 1) << pixel_bytes;
        EXPECT_EQ(row, Bytes(32, 0xEE)) << pixel_bytes;
    }
}

TEST_P(RowExamples, ExchangeSwapsTheBlocks) {
    for (const std::size_t bytes : {1u, 7u, 8u, 9u, 20u}) {
        Bytes a(24, 0xAA);
        Bytes b(24, 0xBB);
        for (std::size_t i = 0; i < bytes; ++i) {
            a[i] = static_cast<std::uint8_t>(1 + i);
            b[i] = static_cast<std::uint8_t>(101 + i);
        }
        const Bytes a_before = a;
        const Bytes b_before = b;
        rows().mem32Exchange(a.data(), b.data(),
                             static_cast<int>(bytes)); // the result says nothing
        for (std::size_t i = 0; i < bytes; ++i) {
            EXPECT_EQ(a[i], b_before[i]);
            EXPECT_EQ(b[i], a_before[i]);
        }
        EXPECT_EQ(a.back(), 0xAA);
        EXPECT_EQ(b.back(), 0xBB);
    }
}

// With the flag clear the result is the byte moved last, with it set how many bytes were left over
// after steps of eight: a success can be 0, and the report alone tells it from a failure.
TEST_P(RowExamples, ExchangeHasNoStatus) {
    const bool wide = GetParam();
    for (const int last : {0, 1, 77}) {
        Bytes a(19, 5);
        Bytes b(19, 6);
        a[15] = b[15] = a[18] = b[18] = static_cast<std::uint8_t>(last);
        EXPECT_EQ(rows().mem32Exchange(a.data(), b.data(), 16), wide ? 0 : last);
        EXPECT_EQ(rows().mem32Exchange(a.data(), b.data(), 19), wide ? 3 : last);
    }
    expect_no_report();
}

TEST_P(RowExamples, InvertIntoADestination) {
    Bytes source{0, 1, 127, 128, 254, 255};
    Bytes row(8, 0xEE);
    EXPECT_EQ(rows().mem32ByteInvert(row.data(), source.data(), 6), 1);
    EXPECT_EQ(row, (Bytes{255, 254, 128, 127, 1, 0, 0xEE, 0xEE}));
    EXPECT_EQ(source, (Bytes{0, 1, 127, 128, 254, 255}));
}

TEST_P(RowExamples, InvertWithoutADestinationInvertsAnOddCountInPlace) {
    Bytes source{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xEE};
    EXPECT_EQ(rows().mem32ByteInvert(nullptr, source.data(), 11), 1);
    EXPECT_EQ(source, (Bytes{255, 254, 253, 252, 251, 250, 249, 248, 247, 246, 245, 0xEE}));
}

TEST_P(RowExamples, BitsBecomeBytesFromTheHighestBitDown) {
    const Bytes source{0xA1, 0x40};
    Bytes row(11, 0xEE);
    EXPECT_EQ(rows().mem32BitToByte(row.data(), source.data(), 10), 1);
    EXPECT_EQ(row, (Bytes{255, 0, 255, 0, 0, 0, 0, 255, 0, 255, 0xEE}));
}

TEST_P(RowExamples, BitsBecomeFlags) {
    const Bytes source{0xA1, 0x40};
    Bytes row(11, 0xEE);
    EXPECT_EQ(rows().mem32BitToByteExt(row.data(), source.data(), 10), 1);
    EXPECT_EQ(row, (Bytes{1, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0xEE}));
}

TEST_P(RowExamples, TenBytesBecomeTwoBytesOfBits) {
    const Bytes source{200, 0, 200, 0, 0, 0, 0, 200, 200, 200};
    Bytes row(3, 0xEE);
    EXPECT_EQ(rows().mem32ByteToBit(row.data(), source.data(), 10, 100), 1);
    EXPECT_EQ(row, (Bytes{0xA1, 0xC0, 0xEE}));
}

TEST_P(RowExamples, AByteEqualToTheThresholdIsAClearBit) {
    const Bytes source{99, 100, 101, 255};
    Bytes row(1, 0xEE);
    EXPECT_EQ(rows().mem32ByteToBit(row.data(), source.data(), 4, 100), 1);
    EXPECT_EQ(row[0], 0x30);
    EXPECT_EQ(rows().mem32ByteToBit(row.data(), source.data(), 4, 255), 1);
    EXPECT_EQ(row[0], 0x00);
    EXPECT_EQ(rows().mem32ByteToBit(row.data(), source.data(), 4, 0), 1);
    EXPECT_EQ(row[0], 0xF0);
}

TEST_P(RowExamples, OnlyTheLowByteOfTheThresholdCounts) {
    const Bytes source{99, 100, 101, 255};
    for (const int threshold : {0x164, 0x12345664, -156, INT_MIN + 100}) {
        Bytes row(1, 0xEE);
        EXPECT_EQ(rows().mem32ByteToBit(row.data(), source.data(), 4, threshold), 1);
        EXPECT_EQ(row[0], 0x30) << threshold;
    }
}

TEST_P(RowExamples, ColoursBecomeWords) {
    const Bytes source{255, 255, 255, 0, 0, 0, 8, 0, 0, 0, 8, 0, 0, 0, 8, 7, 7, 7, 0, 4, 0};
    Bytes row(14);
    EXPECT_EQ(rows().mem32_888To555(row.data(), source.data(), 7), 1);
    EXPECT_EQ(row, (Bytes{0xFF, 0x7F, 0, 0, 0x00, 0x04, 0x20, 0, 0x01, 0, 0, 0, 0, 0}));
    EXPECT_EQ(rows().mem32_888To565(row.data(), source.data(), 7), 1);
    EXPECT_EQ(row, (Bytes{0xFF, 0xFF, 0, 0, 0x00, 0x08, 0x40, 0, 0x01, 0, 0x20, 0, 0x20, 0}));
}

TEST_P(RowExamples, WordsOf555BecomeColours) {
    const Bytes source{0x00, 0x00, 0xFF, 0x7F, 0x00, 0x80, 0xFF,
                       0xFF, 0x00, 0x04, 0x20, 0,    0x01, 0};
    Bytes row(21);
    EXPECT_EQ(rows().mem32_555To888(row.data(), source.data(), 7), 1);
    EXPECT_EQ(row, (Bytes{7,  7, 7, 255, 255, 255, 7, 7, 7, 255, 255, 255, // bit 15 is ignored
                          15, 7, 7, 7,   15,  7,   7, 7, 15}));
}

TEST_P(RowExamples, WordsOf565BecomeColours) {
    const Bytes source{0x00, 0x00, 0xFF, 0xFF, 0x00, 0x08, 0x20, 0, 0x01, 0};
    Bytes row(15);
    EXPECT_EQ(rows().mem32_565To888(row.data(), source.data(), 5), 1);
    EXPECT_EQ(row, (Bytes{7, 3, 7, 255, 255, 255, 15, 3, 7, 7, 7, 7, 7, 3, 15}));
}

TEST_P(RowExamples, SwapOfFirstAndThirdChannel) {
    const Bytes source{1, 2, 3, 4, 5, 6};
    Bytes row(7, 0xEE);
    rows().RGBToBGR(row.data(), source.data(), 2);
    EXPECT_EQ(row, (Bytes{3, 2, 1, 6, 5, 4, 0xEE}));
    rows().RGBToBGR(row.data(), row.data(), 2);
    EXPECT_EQ(row, (Bytes{1, 2, 3, 4, 5, 6, 0xEE}));
}

// --- tables ---

Bytes identity_tables() {
    Bytes tables(768);
    for (std::size_t i = 0; i < tables.size(); ++i)
        tables[i] = static_cast<std::uint8_t>(i);
    return tables;
}

TEST_P(RowExamples, MapOfBytes) {
    Bytes tables(256);
    for (std::size_t i = 0; i < 256; ++i)
        tables[i] = static_cast<std::uint8_t>(3 * i + 1);
    Bytes row{0, 1, 85, 255, 7};
    EXPECT_EQ(rows().mem32Map(row.data(), row.data(), tables.data(), 1, 4), 1);
    EXPECT_EQ(row, (Bytes{1, 4, 0, 254, 7}));
}

TEST_P(RowExamples, MapOfColoursHasATableForEachChannel) {
    Bytes tables = identity_tables();
    for (std::size_t i = 0; i < 256; ++i) {
        tables[256 + i] = static_cast<std::uint8_t>(255 - i);
        tables[512 + i] = 77;
    }
    Bytes row{10, 20, 30, 40, 50, 60, 0xEE};
    EXPECT_EQ(rows().mem32Map(row.data(), row.data(), tables.data(), 3, 2), 1);
    EXPECT_EQ(row, (Bytes{10, 235, 77, 40, 205, 77, 0xEE}));
}

TEST_P(RowExamples, MapOfSamplesFavoursTheNextEntry) {
    const Bytes tables = identity_tables();
    const Bytes source{0x00, 0x00, 0xFF, 0x12, 0x80, 0xFF, 0x00, 0xFF, 0xFF, 0xFF};
    Bytes row(10);
    EXPECT_EQ(rows().mem32Map(row.data(), source.data(), tables.data(), 2, 5), 1);
    EXPECT_EQ(row, (Bytes{0x00, 0x01, 0x01, 0x12, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFF}));
}

TEST_P(RowExamples, MapOfSampleTriples) {
    Bytes tables = identity_tables();
    for (std::size_t i = 0; i < 256; ++i) {
        tables[256 + i] = static_cast<std::uint8_t>(255 - i);
        tables[512 + i] = 200;
    }
    // 0x1001 in each channel: (16 - 17) * 1 + 17 * 256, (239 - 238) * 1 + 238 * 256, 200 * 256.
    const Bytes source{0x01, 0x10, 0x01, 0x10, 0x01, 0x10};
    Bytes row(6);
    EXPECT_EQ(rows().mem32Map(row.data(), source.data(), tables.data(), 6, 1), 1);
    EXPECT_EQ(row, (Bytes{0xFF, 0x10, 0x01, 0xEE, 0x00, 0xC8}));
}

TEST_P(RowExamples, MapOfUnknownTypesAndOfNoPixelsDoesNothing) {
    const Bytes tables = identity_tables();
    const Bytes source(64, 9);
    const auto map = [&](int type, int count) {
        Bytes row(64, 0xEE);
        EXPECT_EQ(rows().mem32Map(row.data(), source.data(), tables.data(), type, count), 1);
        EXPECT_EQ(row, Bytes(64, 0xEE)) << "type " << type << ", count " << count;
    };
    for (const int type : {INT_MIN, -1, 0, 4, 5, 7, 8, 16, 24, 0x101, INT_MAX})
        map(type, 4);
    for (const int type : {1, 2, 3, 6})
        for (const int count : {0, -1, -4, INT_MIN})
            map(type, count);
}

TEST_P(RowExamples, MapOfNothingLooksAtNoPointer) {
    EXPECT_EQ(rows().mem32Map(nullptr, nullptr, nullptr, 1, 0), 1);
    EXPECT_EQ(rows().mem32Map(nullptr, nullptr, nullptr, 3, -7), 1);
    EXPECT_EQ(rows().mem32Map(nullptr, nullptr, nullptr, 5, 7), 1);
}

} // namespace
} // namespace q32::test

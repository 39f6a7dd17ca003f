// Frames with their pixels in plain numbers, and the headers, flags and padding around them.
#include "tests/resample_frames/frame_fixture.h"

namespace q32::test {
namespace {

using Words = std::vector<std::uint16_t>;

class FrameExamples : public FrameTest {
protected:
    void TearDown() override {
        expect_kept_tables(true, coefficients_);
        FrameTest::TearDown();
    }
    bool coefficients_ = false;
};

TEST_F(FrameExamples, Nearest) {
    EXPECT_EQ(row_of_bytes({10, 20, 30, 40}, 10, RESAMPLE_NEAREST),
              (Bytes{10, 10, 10, 20, 20, 30, 30, 30, 40, 40}));
    EXPECT_EQ(row_of_bytes({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 4, RESAMPLE_NEAREST),
              (Bytes{0, 3, 6, 9}));
    EXPECT_EQ(row_of_bytes({7, 8, 9}, 1, RESAMPLE_NEAREST), (Bytes{7}));
    EXPECT_EQ(row_of_bytes({7, 8, 9}, 3, RESAMPLE_NEAREST), (Bytes{7, 8, 9}));
    // Places 0, 1.5, 3, 4.5, 6: truncated, not rounded.
    EXPECT_EQ(row_of_bytes({0, 1, 2, 3, 4, 5, 6}, 5, RESAMPLE_NEAREST), (Bytes{0, 1, 3, 4, 6}));
}

TEST_F(FrameExamples, Bilinear) {
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR), (Bytes{0, 50, 100, 100}));
    EXPECT_EQ(row_of_bytes({100, 0}, 4, RESAMPLE_BILINEAR), (Bytes{100, 50, 0, 0}));
    EXPECT_EQ(row_of_bytes({0, 255}, 4, RESAMPLE_BILINEAR), (Bytes{0, 127, 255, 255}));
    EXPECT_EQ(row_of_bytes({255, 0}, 4, RESAMPLE_BILINEAR), (Bytes{255, 127, 0, 0}));
    // A difference of 1 is halved to nothing upwards, and to a whole one downwards.
    EXPECT_EQ(row_of_bytes({4, 5}, 4, RESAMPLE_BILINEAR), (Bytes{4, 4, 5, 5}));
    EXPECT_EQ(row_of_bytes({5, 4}, 4, RESAMPLE_BILINEAR), (Bytes{5, 4, 4, 4}));
    EXPECT_EQ(row_of_bytes({0, 10, 20, 30, 40, 50, 60}, 5, RESAMPLE_BILINEAR),
              (Bytes{0, 15, 30, 45, 60}));
}

TEST_F(FrameExamples, Bicubic) {
    coefficients_ = true;
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BICUBIC), (Bytes{0, 53, 100, 105}));
    EXPECT_EQ(row_of_bytes({100, 0}, 4, RESAMPLE_BICUBIC), (Bytes{100, 46, 0, 0}));
    EXPECT_EQ(row_of_bytes({0, 255}, 4, RESAMPLE_BICUBIC), (Bytes{0, 137, 255, 255}));
    EXPECT_EQ(row_of_bytes({50, 50, 50}, 7, RESAMPLE_BICUBIC), Bytes(7, 50));
    EXPECT_EQ(row_of_bytes({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 4, RESAMPLE_BICUBIC),
              (Bytes{0, 3, 6, 9}));
}

// Rows go by their own table: two pixels brought to four, downwards.
TEST_F(FrameExamples, Columns) {
    coefficients_ = true;
    const struct {
        int method;
        Bytes expected;
    } cases[] = {{RESAMPLE_NEAREST, {0, 0, 100, 100}},
                 {RESAMPLE_BILINEAR, {0, 50, 100, 100}},
                 {RESAMPLE_BICUBIC, {0, 53, 100, 105}}};
    for (const auto &[method, expected] : cases) {
        BITMAPINFOHEADER header = header_of(1, 2, 8);
        const std::uint8_t source[] = {0, 7, 7, 7, 100, 7, 7, 7};
        Bytes made(16, 0xEE);
        EXPECT_SUCCESS(api().vcResample(0, source, &header, made.data(), 1, 4, method));
        EXPECT_EQ(made, (Bytes{expected[0], 0xEE, 0xEE, 0xEE, expected[1], 0xEE, 0xEE, 0xEE,
                               expected[2], 0xEE, 0xEE, 0xEE, expected[3], 0xEE, 0xEE, 0xEE}));
    }
}

// All four bytes alike, in order.
TEST_F(FrameExamples, PixelsOfThreeAndFourBytes) {
    for (const int samples : {3, 4}) {
        BITMAPINFOHEADER header = header_of(2, 1, 8 * samples);
        Bytes source{0, 100, 200, 40, 100, 100, 0, 60};
        Bytes expected{0, 100, 200, 40, 50, 100, 100, 50, 100, 100, 0, 60, 100, 100, 0, 60};
        if (samples == 3) {
            source = {0, 100, 200, 100, 100, 0, 9, 9};
            expected = {0, 100, 200, 50, 100, 100, 100, 100, 0, 100, 100, 0};
        }
        Bytes made(expected.size(), 0xEE);
        EXPECT_SUCCESS(
            api().vcResample(0, source.data(), &header, made.data(), 4, 1, RESAMPLE_BILINEAR));
        EXPECT_EQ(made, expected);
    }
}

// 0 becomes 7 and 31 becomes 255: half-way 131, which is 16 again.
TEST_F(FrameExamples, WordsAreInterpolatedAsColours) {
    coefficients_ = true;
    EXPECT_EQ(row_of_words({0x0000, 0x7FFF}, 4, RESAMPLE_BILINEAR),
              (Words{0x0000, 0x4210, 0x7FFF, 0x7FFF}));
    EXPECT_EQ(row_of_words({0x8000, 0xFFFF}, 4, RESAMPLE_BILINEAR), // bit 15 is lost
              (Words{0x0000, 0x4210, 0x7FFF, 0x7FFF}));
    EXPECT_EQ(row_of_words({0x0000, 0x001F}, 4, RESAMPLE_BILINEAR),
              (Words{0x0000, 0x0010, 0x001F, 0x001F}));
    EXPECT_EQ(row_of_words({0x0000, 0x03E0}, 4, RESAMPLE_BILINEAR),
              (Words{0x0000, 0x0200, 0x03E0, 0x03E0}));
    EXPECT_EQ(row_of_words({0x0000, 0x7C00}, 4, RESAMPLE_BILINEAR),
              (Words{0x0000, 0x4000, 0x7C00, 0x7C00}));
    EXPECT_EQ(row_of_words({0x8000, 0xFFFF}, 2, RESAMPLE_BICUBIC), (Words{0x0000, 0x7FFF}));
}

// By nearest neighbour words are copied as they are, but when only the flag asks for it.
TEST_F(FrameExamples, WordsAndTheNearestFlag) {
    const Words words{0x8001, 0x1234, 0xFFFF};
    EXPECT_EQ(row_of_words(words, 3, RESAMPLE_NEAREST), words);
    EXPECT_EQ(row_of_words(words, 3, RESAMPLE_NEAREST, 1), words);
    for (const int method : {RESAMPLE_BILINEAR, RESAMPLE_BICUBIC, 0, 7})
        EXPECT_EQ(row_of_words(words, 3, method, 1), (Words{0x0001, 0x1234, 0x7FFF}));
    EXPECT_EQ(row_of_words(words, 6, RESAMPLE_BICUBIC, 1),
              (Words{0x0001, 0x0001, 0x1234, 0x1234, 0x7FFF, 0x7FFF}));
}

TEST_F(FrameExamples, OnlyAFlagOfOneMeansNearest) {
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR, 1), (Bytes{0, 0, 100, 100}));
    for (const int nearest : {0, 2, -1, 3, 0x101, 0x10001, INT_MIN, INT_MAX})
        EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BILINEAR, nearest), (Bytes{0, 50, 100, 100}))
            << nearest;
}

TEST_F(FrameExamples, TheFlagMakesNoCoefficientTable) {
    const CoefficientTableWatch table;
    EXPECT_EQ(row_of_bytes({0, 100}, 4, RESAMPLE_BICUBIC, 1), (Bytes{0, 0, 100, 100}));
    EXPECT_EQ(table.made(), 0);
}

TEST_F(FrameExamples, OtherMethodsAreBicubic) {
    const CoefficientTableWatch table;
    for (const int method : {0, 3, 5, 6, 8, -1, 0x101, 0x102, INT_MAX, INT_MIN})
        EXPECT_EQ(row_of_bytes({0, 100}, 4, method), (Bytes{0, 53, 100, 105})) << method;
    EXPECT_EQ(table.made(), 0);
}

} // namespace
} // namespace q32::test

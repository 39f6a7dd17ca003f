// Bars in buffers, number by number.
#include "tests/bars/bar_fixture.h"

#include <algorithm>

namespace q32::test {
namespace {

class BarExamples : public BarTest {};

// --- greys -----------------------------------------------------------------------------------

TEST_F(BarExamples, GreysNeverReachTheirEnd) {
    const Bytes row = rows_of(Bar::of_greys(0, 255, 1), 256, 1);
    ASSERT_EQ(row.size(), 256u);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(row[size_t(i)], (510 * i + 256) / 512) << i; // i x 255 / 256 + 0.5
    EXPECT_EQ(row[0], 0);
    EXPECT_EQ(row[128], 128);
    EXPECT_EQ(row[129], 128);
    EXPECT_EQ(row[255], 254);
    EXPECT_EQ(std::count(row.begin(), row.end(), 255), 0);
}

TEST_F(BarExamples, GreysDescend) {
    const Bytes row = rows_of(Bar::of_greys(255, 0, 1), 256, 1);
    ASSERT_EQ(row.size(), 256u);
    EXPECT_EQ(row[0], 255);
    EXPECT_EQ(row[1], 254);
    EXPECT_EQ(row[127], 128);
    EXPECT_EQ(row[128], 128);
    EXPECT_EQ(row[254], 2);
    EXPECT_EQ(row[255], 1);
    EXPECT_TRUE(std::is_sorted(row.rbegin(), row.rend()));
    EXPECT_EQ(rows_of(Bar::of_greys(200, 100, 1), 5, 1), (Bytes{200, 180, 160, 140, 120}));
}

TEST_F(BarExamples, ShortGreys) {
    EXPECT_EQ(rows_of(Bar::of_greys(0, 255, 1), 4, 1), (Bytes{0, 64, 128, 191}));
    EXPECT_EQ(rows_of(Bar::of_greys(10, 20, 1), 3, 1), (Bytes{10, 13, 17}));
    EXPECT_EQ(rows_of(Bar::of_greys(0, 255, 1), 2, 1), (Bytes{0, 128}));
    EXPECT_EQ(rows_of(Bar::of_greys(99, 255, 1), 1, 1), (Bytes{99}));
    EXPECT_EQ(rows_of(Bar::of_greys(7, 7, 1), 3, 1), (Bytes{7, 7, 7}));
    EXPECT_EQ(rows_of(Bar::of_greys(255, 255, 1), 3, 1), (Bytes{255, 255, 255}));
}

TEST_F(BarExamples, GreysAcrossAndDown) {
    EXPECT_EQ(rows_of(Bar::of_greys(0, 255, 1), 4, 3),
              (Bytes{0, 64, 128, 191, 0, 64, 128, 191, 0, 64, 128, 191}));
    EXPECT_EQ(rows_of(Bar::of_greys(0, 255, 0), 3, 4),
              (Bytes{0, 0, 0, 64, 64, 64, 128, 128, 128, 191, 191, 191}));
    EXPECT_EQ(rows_of(Bar::of_greys(200, 100, 0), 1, 5), (Bytes{200, 180, 160, 140, 120}));
    EXPECT_EQ(rows_of(Bar::of_greys(200, 100, 0), 5, 1), (Bytes{200, 200, 200, 200, 200}));
}

TEST_F(BarExamples, OnlyTheLowBitsOfGreysCount) {
    EXPECT_EQ(rows_of(Bar::of_greys(0x1FF, 0x7FFFFF00, 1), 5, 1), (Bytes{255, 204, 153, 102, 51}));
    EXPECT_EQ(rows_of(Bar::of_greys(-1, -256, 1), 5, 1), (Bytes{255, 204, 153, 102, 51}));
}

TEST_F(BarExamples, AnyFlagButZeroIsSet) {
    for (const int flag : {1, -1, 2, 0x100, int(0x80000000)}) {
        Bar bar = Bar::of_greys(0, 255, flag);
        EXPECT_EQ(rows_of(bar, 4, 1), (Bytes{0, 64, 128, 191})) << flag;
        bar = Bar::of_colours(0, 0x000000FF, flag);
        EXPECT_EQ(rows_of(bar, 2, 1), (Bytes{0, 0, 0, 128, 0, 0})) << flag;
        bar = Bar::of_colours(0, 0, 1, flag);
        EXPECT_EQ(rows_of(bar, 1, 1), (Bytes{255, 0, 0})) << flag;
    }
}

// --- colours ---------------------------------------------------------------------------------

// 10, 20, 30 to 20, 50, 200.
TEST_F(BarExamples, ColoursChannelByChannel) {
    const Bytes ramp{10, 20, 30, 13, 28, 73, 15, 35, 115, 18, 43, 158};
    EXPECT_EQ(rows_of(Bar::of_colours(0x001E140A, 0x00C83214, 1), 4, 1), ramp);
    EXPECT_EQ(rows_of(Bar::of_colours(0x001E140A, 0x00C83214, 0), 1, 4), ramp);
}

TEST_F(BarExamples, TheHighBitsOfColoursAreIgnored) {
    const Bytes ramp{10, 20, 30, 13, 28, 73, 15, 35, 115, 18, 43, 158};
    EXPECT_EQ(rows_of(Bar::of_colours(0xFF1E140A, 0x01C83214, 1), 4, 1), ramp);
}

TEST_F(BarExamples, ColoursAcrossAndDown) {
    EXPECT_EQ(rows_of(Bar::of_colours(0x000000FF, 0x00FF0000, 1), 2, 2),
              (Bytes{255, 0, 0, 128, 0, 128, 255, 0, 0, 128, 0, 128}));
    EXPECT_EQ(rows_of(Bar::of_colours(0x000000FF, 0x00FF0000, 0), 2, 2),
              (Bytes{255, 0, 0, 255, 0, 0, 128, 0, 128, 128, 0, 128}));
    EXPECT_EQ(rows_of(Bar::of_colours(0x00030201, 0x00FFFFFF, 1), 1, 2), (Bytes{1, 2, 3, 1, 2, 3}));
}

// Hues 0, 90, 180, 269: the step is 359 / 4.
TEST_F(BarExamples, Rainbows) {
    const Bytes four{255, 0, 0, 127, 255, 0, 0, 255, 255, 123, 0, 255};
    EXPECT_EQ(rows_of(Bar::of_colours(0x00123456, 0x00FFFFFF, 1, 1), 4, 1), four);
    EXPECT_EQ(rows_of(Bar::of_colours(0x00123456, 0x00FFFFFF, 0, 1), 1, 4), four);
    EXPECT_EQ(rows_of(Bar::of_colours(0, 0, 0, 1), 2, 2),
              (Bytes{255, 0, 0, 255, 0, 0, 0, 255, 255, 0, 255, 255}));
    EXPECT_EQ(rows_of(Bar::of_colours(0, 0, 1, 1), 1, 2), (Bytes{255, 0, 0, 255, 0, 0}));
}

// --- fields of hues --------------------------------------------------------------------------

// Hues as above; brightness 0 and 128, then saturation 255 and 128.
TEST_F(BarExamples, HuesAcross) {
    EXPECT_EQ(rows_of(Bar::of_hues(1), 4, 4),
              (Bytes{0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   //
                     128, 0,   0,   64,  128, 0,   0,   128, 128, 62,  0,   128, //
                     255, 0,   0,   127, 255, 0,   0,   255, 255, 123, 0,   255, //
                     255, 127, 127, 191, 255, 127, 127, 255, 255, 189, 127, 255}));
}

// Hues 359, 269, 180, 90.
TEST_F(BarExamples, HuesAcrossBack) {
    EXPECT_EQ(rows_of(Bar::of_hues(2), 4, 4),
              (Bytes{0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0, //
                     128, 0,   2,   62,  0,   128, 0,   128, 128, 64,  128, 0, //
                     255, 0,   4,   123, 0,   255, 0,   255, 255, 127, 255, 0, //
                     255, 127, 129, 189, 127, 255, 127, 255, 255, 191, 255, 127}));
}

TEST_F(BarExamples, HuesDown) {
    EXPECT_EQ(rows_of(Bar::of_hues(3), 4, 4),
              (Bytes{0, 0, 0, 128, 0,   0,   255, 0,   0,   255, 127, 127, //
                     0, 0, 0, 64,  128, 0,   127, 255, 0,   191, 255, 127, //
                     0, 0, 0, 0,   128, 128, 0,   255, 255, 127, 255, 255, //
                     0, 0, 0, 62,  0,   128, 123, 0,   255, 189, 127, 255}));
}

// Saturation 0 and 128, then brightness 255 and 128.
TEST_F(BarExamples, HuesDownBack) {
    EXPECT_EQ(rows_of(Bar::of_hues(4), 4, 4),
              (Bytes{255, 255, 255, 255, 127, 129, 255, 0,   4,   128, 0,   2,   //
                     255, 255, 255, 189, 127, 255, 123, 0,   255, 62,  0,   128, //
                     255, 255, 255, 127, 255, 255, 0,   255, 255, 0,   128, 128, //
                     255, 255, 255, 191, 255, 127, 127, 255, 0,   64,  128, 0}));
}

// Of n steps (n + 1) / 2 rise and n / 2 fall.
TEST_F(BarExamples, HalvesOfOddSizes) {
    // Brightness 0, 85, 170; saturation 255, 128.
    const Bytes five{0, 0, 0, 85, 0, 0, 170, 0, 0, 255, 0, 0, 255, 127, 127};
    EXPECT_EQ(rows_of(Bar::of_hues(1), 1, 5), five);
    EXPECT_EQ(rows_of(Bar::of_hues(3), 5, 1), five);
    const Bytes three{0, 0, 0, 128, 0, 0, 255, 0, 0};
    EXPECT_EQ(rows_of(Bar::of_hues(1), 1, 3), three);
    EXPECT_EQ(rows_of(Bar::of_hues(3), 3, 1), three);
    const Bytes two{0, 0, 0, 255, 0, 0};
    EXPECT_EQ(rows_of(Bar::of_hues(1), 1, 2), two);
    EXPECT_EQ(rows_of(Bar::of_hues(3), 2, 1), two);
    EXPECT_EQ(rows_of(Bar::of_hues(1), 1, 1), (Bytes{0, 0, 0}));
    EXPECT_EQ(rows_of(Bar::of_hues(3), 1, 1), (Bytes{0, 0, 0}));
}

// Saturation 0, 85, 170; brightness 255, 128; the hue is 359.
TEST_F(BarExamples, HalvesOfOddSizesBack) {
    EXPECT_EQ(rows_of(Bar::of_hues(2), 1, 5),
              (Bytes{0, 0, 0, 85, 0, 1, 170, 0, 3, 255, 0, 4, 255, 127, 129}));
    EXPECT_EQ(rows_of(Bar::of_hues(4), 5, 1),
              (Bytes{255, 255, 255, 255, 170, 171, 255, 85, 88, 255, 0, 4, 128, 0, 2}));
    EXPECT_EQ(rows_of(Bar::of_hues(4), 3, 1), (Bytes{255, 255, 255, 255, 127, 129, 255, 0, 4}));
    EXPECT_EQ(rows_of(Bar::of_hues(4), 2, 1), (Bytes{255, 255, 255, 255, 0, 4}));
    EXPECT_EQ(rows_of(Bar::of_hues(4), 1, 1), (Bytes{255, 255, 255}));
    EXPECT_EQ(rows_of(Bar::of_hues(2), 1, 1), (Bytes{0, 0, 0}));
}

// --- styles that there are not ---------------------------------------------------------------

TEST_F(BarExamples, AnotherStyleLeavesAGivenBufferAsItIs) {
    Random random(test_seed(), 1);
    for (const int style : {5, 0, -1, 6, 0x101, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(style);
        const Side given(24, 150, 140, random);
        HBUF32 handle = given;
        EXPECT_SUCCESS(Bar::of_hues(style).into(api(), &handle, 3, 3));
        EXPECT_EQ(handle, HBUF32(given));
        EXPECT_EQ(given.locks(), 0u);
        given.expect_picture();
    }
}

TEST_F(BarExamples, AnotherStyleStillMakesABuffer) {
    for (const int style : {5, 0, -1}) {
        const Buffer buffer(make(Bar::of_hues(style), 20, 30));
        EXPECT_NE(buffer, 0u) << style;
    }
}

} // namespace
} // namespace q32::test

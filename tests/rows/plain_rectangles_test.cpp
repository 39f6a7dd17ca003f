// Rectangles of plain images to packed blocks and back: hand-worked bytes, with and without the MMX
// flag, any stack, and the processor's state.
#include "tests/rows/plain_rectangles_fixture.h"

namespace q32::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

INSTANTIATE_TEST_SUITE_P(Mmx, PlainRectangles, testing::Bool(), mmx_flag_name);

Bytes counted(std::size_t count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

// --- examples -----------------------------------------------------------------------------------

TEST_P(PlainRectangles, RowsOfFifteenBytesBackToBack) {
    const Bytes image = counted(120); // rows of 24
    Bytes block(32, 0xEE);
    get(image.data(), 2, 1, 5, 2, 3, 24, block.data());
    EXPECT_EQ(block, padded({30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44,
                             54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 68},
                            32));
}

TEST_P(PlainRectangles, FifteenBytesARowIntoTheImage) {
    const Bytes block = counted(30);
    Bytes image(72, 0xEE);
    merge(image.data(), 2, 1, block.data(), 5, 2, 3, 24);
    Bytes wanted(72, 0xEE);
    std::iota(wanted.begin() + 30, wanted.begin() + 45, std::uint8_t{0});
    std::iota(wanted.begin() + 54, wanted.begin() + 69, std::uint8_t{15});
    EXPECT_EQ(image, wanted);
}

// Any number of bytes is taken as it stands.
TEST_P(PlainRectangles, PixelsOfAnySize) {
    const Bytes image = counted(200);
    for (const int pixel_bytes : {1, 2, 3, 4, 5, 6, 7, 8, 12, 20}) {
        Bytes block(90, 0xEE);
        get(image.data(), 1, 1, 2, 2, pixel_bytes, 60, block.data());
        Bytes wanted;
        for (int row = 1; row <= 2; ++row)
            for (int byte = 0; byte < 2 * pixel_bytes; ++byte)
                wanted.push_back(static_cast<std::uint8_t>(60 * row + pixel_bytes + byte));
        EXPECT_EQ(block, padded(wanted, 90)) << pixel_bytes;

        Bytes target(200, 0xEE);
        merge(target.data(), 1, 1, block.data(), 2, 2, pixel_bytes, 60);
        for (std::size_t at = 0; at < 200; ++at) {
            const int column = static_cast<int>(at % 60);
            const bool inside =
                at >= 60 && at < 180 && column >= pixel_bytes && column < 3 * pixel_bytes;
            EXPECT_EQ(target[at], inside ? at : 0xEE) << pixel_bytes << ", byte " << at;
        }
    }
}

TEST_P(PlainRectangles, BitsFromTheMiddleOfBytes) {
    const Bytes image{0xFF, 0xFF, 0xFF, 0x12, 0xA5, 0xC3, 0xFE, 0xDC, 0xBA};
    Bytes block(6, 0xEE);
    get(image.data(), 4, 1, 10, 2, 0, 3, block.data());
    // 0010 1010|0101: 0010101001; 1110 1101|1100: 1110110111
    EXPECT_EQ(block, (Bytes{0x2A, 0x40, 0xED, 0xC0, 0xEE, 0xEE}));
    get(image.data(), 7, 1, 3, 1, 0, 3, block.data());
    EXPECT_EQ(block, (Bytes{0x40, 0x40, 0xED, 0xC0, 0xEE, 0xEE})); // 0 10
    get(image.data(), 11, 2, 8, 1, 0, 3, block.data());
    EXPECT_EQ(block, (Bytes{0xE5, 0x40, 0xED, 0xC0, 0xEE, 0xEE})); // 11100|101, and no second byte
}

TEST_P(PlainRectangles, BitsAroundTheRectangleAreKept) {
    const Bytes block{0x2A, 0x7F, 0xED, 0xFF}; // 0010101001 and 1110110111; the others do not count
    Bytes ones(9, 0xFF);
    merge(ones.data(), 4, 1, block.data(), 10, 2, 0, 3);
    EXPECT_EQ(ones, (Bytes{0xFF, 0xFF, 0xFF, 0xF2, 0xA7, 0xFF, 0xFE, 0xDF, 0xFF}));
    Bytes zeros(9, 0x00);
    merge(zeros.data(), 4, 1, block.data(), 10, 2, 0, 3);
    EXPECT_EQ(zeros, (Bytes{0x00, 0x00, 0x00, 0x02, 0xA4, 0x00, 0x0E, 0xDC, 0x00}));
    Bytes within(3, 0xFF);
    const Bytes low{0x00};
    merge(within.data(), 10, 0, low.data(), 3, 1, 0, 3);
    EXPECT_EQ(within, (Bytes{0xFF, 0xC7, 0xFF}));
}

TEST_P(PlainRectangles, AStrideBelowZeroGoesUpwards) {
    const Bytes image = counted(40); // the first row is the last in memory: 30 to 39
    Bytes block(8, 0xEE);
    get(image.data() + 30, 3, 1, 3, 2, 1, -10, block.data());
    EXPECT_EQ(block, (Bytes{23, 24, 25, 13, 14, 15, 0xEE, 0xEE}));
    get(image.data() + 30, 8, 2, 8, 2, 0, -10, block.data()); // the second byte of rows 2 and 3
    EXPECT_EQ(block, (Bytes{11, 1, 25, 13, 14, 15, 0xEE, 0xEE}));

    Bytes target(40, 0xEE);
    const Bytes given{1, 2, 3, 4};
    merge(target.data() + 30, 4, 1, given.data(), 2, 2, 1, -10);
    merge(target.data() + 30, 16, 3, given.data(), 8, 1, 0, -10);
    Bytes wanted(40, 0xEE);
    wanted[24] = 1;
    wanted[25] = 2;
    wanted[14] = 3;
    wanted[15] = 4;
    wanted[2] = 1;
    EXPECT_EQ(target, wanted);
}

// The base may point into the middle of a larger image: bit -1 is the lowest of the byte before it.
TEST_P(PlainRectangles, BitsToTheLeftOfTheBase) {
    const Bytes image{0x12, 0xA5, 0xC3, 0xFE};
    const auto bits = [&](int x, int width) {
        Bytes block(3, 0xEE);
        get(image.data() + 2, x, 0, width, 1, 0, 4, block.data());
        return block;
    };
    EXPECT_EQ(bits(-1, 1), (Bytes{0x80, 0xEE, 0xEE}));
    EXPECT_EQ(bits(-2, 1), (Bytes{0x00, 0xEE, 0xEE}));
    EXPECT_EQ(bits(-1, 3), (Bytes{0xE0, 0xEE, 0xEE})); // 1|11
    EXPECT_EQ(bits(-8, 8), (Bytes{0xA5, 0xEE, 0xEE}));
    EXPECT_EQ(bits(-8, 9), (Bytes{0xA5, 0x80, 0xEE}));
    EXPECT_EQ(bits(-9, 8), (Bytes{0x52, 0xEE, 0xEE}));   // 0|1010010
    EXPECT_EQ(bits(-12, 10), (Bytes{0x2A, 0x40, 0xEE})); // 0010|1010 01
    EXPECT_EQ(bits(-12, 22), (Bytes{0x2A, 0x5C, 0x3C})); // 0010|1010 0101|1100 0011|11
    EXPECT_EQ(bits(-16, 16), (Bytes{0x12, 0xA5, 0xEE}));
    EXPECT_EQ(bits(-13, 3), (Bytes{0x80, 0xEE, 0xEE})); // 100, within one byte
}

TEST_P(PlainRectangles, BitsIntoTheLeftOfTheBase) {
    const auto cleared = [&](int x, int width) {
        const Bytes none(3);
        Bytes image(4, 0xFF);
        merge(image.data() + 2, x, 0, none.data(), width, 1, 0, 4);
        return image;
    };
    EXPECT_EQ(cleared(-1, 1), (Bytes{0xFF, 0xFE, 0xFF, 0xFF}));
    EXPECT_EQ(cleared(-3, 5), (Bytes{0xFF, 0xF8, 0x3F, 0xFF}));
    EXPECT_EQ(cleared(-8, 8), (Bytes{0xFF, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(cleared(-13, 3), (Bytes{0xE3, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(cleared(-9, 19), (Bytes{0xFE, 0x00, 0x00, 0x3F}));
    const Bytes given{0xB5, 0x40};
    Bytes image(4);
    merge(image.data() + 2, -12, 0, given.data(), 10, 1, 0, 4); // 1011|0101 01
    EXPECT_EQ(image, (Bytes{0x0B, 0x54, 0x00, 0x00}));
}

// Rows of one image: what lies left of a row is the end of the row above, or with a stride below
// zero of the row below.
TEST_P(PlainRectangles, BitsAcrossTheEndOfTheRowBefore) {
    const Bytes image{0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
    Bytes block(3, 0xEE);
    get(image.data(), -4, 1, 8, 2, 0, 2, block.data()); // of rows 1 and 2
    EXPECT_EQ(block, (Bytes{0x23, 0x45, 0xEE}));
    get(image.data() + 4, -4, 0, 8, 2, 0, -2, block.data()); // of the last and the one above
    EXPECT_EQ(block, (Bytes{0x45, 0x23, 0xEE}));

    Bytes target(6);
    const Bytes given{0xAB, 0xCD};
    merge(target.data(), -4, 1, given.data(), 8, 2, 0, 2);
    EXPECT_EQ(target, (Bytes{0x00, 0x0A, 0xB0, 0x0C, 0xD0, 0x00}));
}

TEST_P(PlainRectangles, PixelsToTheLeftOfTheBase) {
    const Bytes image = counted(60);
    for (const int pixel_bytes : {1, 2, 3, 4, 5}) {
        Bytes block(24, 0xEE);
        get(image.data() + 40, -3, -1, 4, 1, pixel_bytes, 10, block.data());
        Bytes wanted(static_cast<std::size_t>(4 * pixel_bytes));
        std::iota(wanted.begin(), wanted.end(), static_cast<std::uint8_t>(30 - 3 * pixel_bytes));
        EXPECT_EQ(block, padded(wanted, 24)) << pixel_bytes;

        Bytes target(60, 0xEE), after(60, 0xEE);
        merge(target.data() + 40, -3, -1, block.data(), 4, 1, pixel_bytes, 10);
        std::copy(wanted.begin(), wanted.end(), after.begin() + 30 - 3 * pixel_bytes);
        EXPECT_EQ(target, after) << pixel_bytes;
    }
}

TEST_P(PlainRectangles, NothingIsCopied) {
    Bytes image(40, 0x55);
    Bytes block(40, 0xEE);
    const auto nothing = [&](int width, int height, int pixel_bytes) {
        for (const int x : {1, -1, -9, -100000}) {
            get(image.data(), x, 1, width, height, pixel_bytes, 10, block.data());
            EXPECT_EQ(block, Bytes(40, 0xEE)) << width << " x " << height << ", " << pixel_bytes;
            merge(image.data(), x, 1, block.data(), width, height, pixel_bytes, 10);
            EXPECT_EQ(image, Bytes(40, 0x55)) << width << " x " << height << ", " << pixel_bytes;
        }
    };
    for (const int none : {0, -1, -9, -1000, INT_MIN})
        for (const int pixel_bytes : {0, 1, 2, 3, 4, 7}) {
            nothing(3, none, pixel_bytes);
            nothing(none, 3, pixel_bytes);
            nothing(none, none, pixel_bytes);
            nothing(none, INT_MAX, pixel_bytes); // and takes no time
        }
    for (const int below : {-1, -2, -3, -100, INT_MIN})
        nothing(3, 2, below);
}

// --- calls --------------------------------------------------------------------------------------

// The tag word of the floating-point unit: two bits a register, all set when all are free.
TEST_P(PlainRectangles, TheFloatingPointRegistersStayFree) {
    const Bytes image = counted(250);
    Bytes block(250);
    std::uint32_t environment[7];
    for (const int pixel_bytes : {0, 1, 2, 3, 4}) {
        get(image.data(), 1, 0, 19, 3, pixel_bytes, 80, block.data());
        asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
        EXPECT_EQ(environment[2] & 0xFFFF, 0xFFFFu) << pixel_bytes;
        merge(block.data(), 1, 0, image.data(), 19, 3, pixel_bytes, 80);
        asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
        EXPECT_EQ(environment[2] & 0xFFFF, 0xFFFFu) << pixel_bytes;
    }
}

} // namespace
} // namespace q32::test

// The two layouts of a bitmap's pixels: there and back, in place, byte for byte, and never a byte
// beyond the block.
#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {
namespace {

class BitmapLayouts : public BitmapTest {};

// A block of pixels that ends at a fence: every state of it must be as the definitions say.
void there_and_back(const Shape &shape, bool padded_to_the_end, Random &random) {
    SCOPED_TRACE(shape.text() + (padded_to_the_end ? ", padded" : ", not padded") + " at the end");
    const Bytes before = random_bytes(random, shape.bitmap_bytes(padded_to_the_end));
    FencedBlock block(before.size());
    std::memcpy(block.data(), before.data(), before.size());
    const auto now = [&] { return bytes_at(block.data(), block.size()); };
    Opened buffer(shape, block.data());
    ASSERT_TRUE(buffer);
    const Bytes opened = in_buffer_layout(before, shape);
    EXPECT_EQ(now(), opened);
    for (int y = 0; y < shape.height; ++y)
        EXPECT_EQ(cell_address_word(buffer, y),
                  uint32_t(uintptr_t(block.data()) + size_t(y) * shape.row_bytes()));

    EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
    const Bytes back = in_bitmap_layout(opened, shape);
    EXPECT_EQ(now(), back);
    EXPECT_EQ(packed_pixels(back, shape), packed_pixels(before, shape));
    for (int y = 0; y < shape.height; ++y)
        EXPECT_EQ(cell_address_word(buffer, y),
                  uint32_t(uintptr_t(block.data()) + size_t(y) * shape.padded_row_bytes()));

    EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
    const Bytes again = in_buffer_layout(back, shape);
    EXPECT_EQ(now(), again);
    for (int y = 0; y < shape.height; ++y)
        EXPECT_EQ(cell_address_word(buffer, y),
                  uint32_t(uintptr_t(block.data()) + size_t(y) * shape.row_bytes()));
    EXPECT_EQ(buffer.close(), nullptr);
    EXPECT_EQ(now(), in_bitmap_layout(again, shape));
    EXPECT_EQ(packed_pixels(now(), shape), packed_pixels(before, shape));
}

// --- by hand ---------------------------------------------------------------------------------

// 3 x 2 pixels of 24 bits: rows of 9 bytes, 12 in the bitmap.
TEST_F(BitmapLayouts, Of3By2At24Bits) {
    const Bytes before = {
        0x13, 0x12, 0x11, 0x23, 0x22, 0x21, 0x33, 0x32, 0x31, 0xA1, 0xA2, 0xA3, // bottom row
        0x43, 0x42, 0x41, 0x53, 0x52, 0x51, 0x63, 0x62, 0x61, 0xB1, 0xB2, 0xB3, // top row
    };
    const Bytes pixels = {0x41, 0x42, 0x43, 0x51, 0x52, 0x53, 0x61, 0x62, 0x63,
                          0x11, 0x12, 0x13, 0x21, 0x22, 0x23, 0x31, 0x32, 0x33};
    Bytes opened = pixels; // 18 bytes without a gap, and the rest of the block as it was
    opened.insert(opened.end(), {0x63, 0x62, 0x61, 0xB1, 0xB2, 0xB3});
    // The fill bytes keep whatever was there: those of the bottom row, pixels of the other layout.
    const Bytes after = {
        0x13, 0x12, 0x11, 0x23, 0x22, 0x21, 0x33, 0x32, 0x31, 0x11, 0x12, 0x13, //
        0x43, 0x42, 0x41, 0x53, 0x52, 0x51, 0x63, 0x62, 0x61, 0xB1, 0xB2, 0xB3,
    };
    for (bool by_hand : {false, true}) {
        FencedBlock block(24);
        std::memcpy(block.data(), before.data(), 24);
        Opened buffer(Shape{24, 3, 2}, block.data());
        ASSERT_TRUE(buffer);
        EXPECT_EQ(pixels_of(buffer), pixels);
        EXPECT_EQ(bytes_at(block.data(), 24), opened);
        if (by_hand) {
            EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
            EXPECT_EQ(bytes_at(block.data(), 24), after);
            EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
            EXPECT_EQ(bytes_at(block.data(), 18), pixels);
        }
        EXPECT_EQ(buffer.close(), nullptr);
        EXPECT_EQ(bytes_at(block.data(), 24), after);
    }
}

// The same in a packed bitmap, opened and closed by its handle.
TEST_F(BitmapLayouts, OfAPackedBitmapOf3By2At24Bits) {
    const Bytes pixels = {
        0x13, 0x12, 0x11, 0x23, 0x22, 0x21, 0x33, 0x32, 0x31, 0, 0, 0, //
        0x43, 0x42, 0x41, 0x53, 0x52, 0x51, 0x63, 0x62, 0x61, // the last padding is missing
    };
    const Header header{{24, 3, 2}};
    Bitmap bitmap(block_of(header, pixels));
    Opened buffer(bitmap);
    EXPECT_EQ(pixels_of(buffer), (Bytes{0x41, 0x42, 0x43, 0x51, 0x52, 0x53, 0x61, 0x62, 0x63, 0x11,
                                        0x12, 0x13, 0x21, 0x22, 0x23, 0x31, 0x32, 0x33}));
    EXPECT_EQ(api().buf32DIBBufToDIB(buffer), HGLOBAL(bitmap));
    const Bytes back = bitmap.bytes();
    EXPECT_EQ(Bytes(back.begin() + 40, back.begin() + 49),
              Bytes(pixels.begin(), pixels.begin() + 9));
    EXPECT_EQ(Bytes(back.begin() + 52, back.begin() + 61),
              Bytes(pixels.begin() + 12, pixels.end()));
    EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
}

// Channels change places in 3-byte pixels only.
TEST_F(BitmapLayouts, OnlyThreeBytePixelsChangeTheirChannels) {
    const struct {
        int bits;
        Bytes bitmap, buffer;
    } pixels[] = {
        {8, {1, 2, 0, 0}, {1, 2}},
        {16, {1, 2, 3, 4}, {1, 2, 3, 4}},
        {24, {1, 2, 3, 4, 5, 6, 0, 0}, {3, 2, 1, 6, 5, 4}},
        {25, {1, 2, 3, 4, 5, 6, 7, 0}, {3, 2, 1, 6, 5, 4, 7}},
        {31, {1, 2, 3, 4, 5, 6, 7, 8}, {3, 2, 1, 6, 5, 4, 7, 8}},
        {32, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}},
        {48, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    };
    for (const auto &expected : pixels) {
        SCOPED_TRACE(expected.bits);
        Bytes block = expected.bitmap;
        Opened buffer(Shape{expected.bits, 2, 1}, block.data());
        EXPECT_EQ(pixels_of(buffer), expected.buffer);
        buffer.close();
        EXPECT_EQ(block, expected.bitmap);
    }
}

TEST_F(BitmapLayouts, OddHeightsKeepTheirMiddleRow) {
    Bytes block = {1, 1, 1, 0xA, 2, 2, 2, 0xB, 3, 3, 3, 0xC, 4, 4, 4, 0xD, 5, 5, 5, 0xE};
    Opened buffer(Shape{8, 3, 5}, block.data());
    EXPECT_EQ(pixels_of(buffer), (Bytes{5, 5, 5, 4, 4, 4, 3, 3, 3, 2, 2, 2, 1, 1, 1}));
    buffer.close();
    EXPECT_EQ(block, (Bytes{1, 1, 1, 4, 2, 2, 2, 3, 3, 3, 3, 2, 4, 4, 4, 0xD, 5, 5, 5, 0xE}));
}

// --- everywhere ------------------------------------------------------------------------------

TEST_F(BitmapLayouts, OfAllDepthsAndSmallSizes) {
    Random random(test_seed(), 0);
    for (int bits = 1; bits <= 64; ++bits) {
        for (int width = 1; width <= 70; ++width) {
            // Every height meets every width, and all of them the usual depths.
            const bool usual = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24;
            for (int height = 1; height <= 5; ++height)
                if (usual || (bits + width + height) % 5 == 0)
                    there_and_back({bits, width, height}, (width + height) % 2 == 0, random);
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(BitmapLayouts, WithAndWithoutTheLastPadding) {
    Random random(test_seed(), 1);
    for (int bits : {1, 2, 4, 8, 12, 16, 24, 48})
        for (int width = 1; width <= 33; ++width)
            for (int height : {1, 2, 3})
                for (bool padded : {false, true})
                    there_and_back({bits, width, height}, padded, random);
}

TEST_F(BitmapLayouts, AroundTheWidthsOfCellsAndVectors) {
    Random random(test_seed(), 2);
    for (int bits : {1, 3, 4, 8, 16, 24, 32, 40, 64})
        for (int around : {128, 256, 1024})
            for (int width = around - 5; width <= around + 5; ++width)
                there_and_back({bits, width, 1 + width % 6}, width % 2 == 0, random);
}

TEST_F(BitmapLayouts, OfLargerImages) {
    random_cases(60, [](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        constexpr int depths[] = {1, 2, 4, 8, 16, 24, 24, 32, 48, 64};
        there_and_back({depths[random.below(std::size(depths))], between(random, 1, 700),
                        between(random, 1, 300)},
                       random.below(2) == 0, random);
        return !::testing::Test::HasFailure();
    });
}

// Packed bitmaps between fences: header, table and pixels, and not a byte beside them.
TEST_F(BitmapLayouts, OfPackedBitmapsBetweenFences) {
    random_cases(300, [](Random &random, uint64_t number) {
        constexpr int depths[] = {1, 2, 4, 8, 9, 16, 24, 24, 31, 32, 48, 64};
        constexpr uint32_t sizes[] = {20, 21, 35, 36, 37, 40, 52, 108, 124};
        const Header header{{depths[random.below(std::size(depths))], between(random, 1, 200),
                             between(random, 1, 12)},
                            sizes[random.below(std::size(sizes))],
                            random.below(2) == 0 ? rgb : code_r565,
                            random.below(2) == 0 ? 0 : uint32_t(random.below(20))};
        SCOPED_TRACE(header.text() + "; " + rerun(number));
        const Bytes block = block_of(header, random, random.below(2) == 0);
        FencedBitmap bitmap(block, random.below(3) == 0 ? FencedBitmap::begins_at_fence
                                                        : FencedBitmap::ends_at_fence);
        const auto at = ptrdiff_t(header.pixels_at());
        const Bytes pixels(block.begin() + at, block.end());
        Bytes expected = block;
        const auto expect_block = [&](const Bytes &now) {
            std::copy(now.begin(), now.end(), expected.begin() + at);
            EXPECT_EQ(bitmap.bytes(), expected);
        };
        Opened buffer(bitmap);
        EXPECT_TRUE(buffer);
        EXPECT_EQ(bitmap.locks(), 1);
        const Bytes opened = in_buffer_layout(pixels, header.shape);
        expect_block(opened);
        EXPECT_EQ(buffer.close(), HGLOBAL(bitmap));
        expect_block(in_bitmap_layout(opened, header.shape));
        EXPECT_EQ(bitmap.locks(), 0);
        EXPECT_FALSE(bitmap.freed());
        return !::testing::Test::HasFailure();
    });
}

// --- refused ---------------------------------------------------------------------------------

TEST_F(BitmapLayouts, OfNothingAndOfOtherBuffersFailInSilence) {
    EXPECT_SILENT_FAILURE(api().buf32DIBToDIBBuf(0));
    EXPECT_SILENT_FAILURE(api().buf32DIBBufToDIB(0));
    const uint8_t colour[4] = {1, 2, 3};
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        SCOPED_TRACE(type);
        Buffer buffer(24, 140, 130, type, colour);
        const Bytes before = read_pixels(buffer);
        EXPECT_SILENT_FAILURE(api().buf32DIBToDIBBuf(buffer));
        EXPECT_SILENT_FAILURE(api().buf32DIBBufToDIB(buffer));
        EXPECT_EQ(read_pixels(buffer), before);
        EXPECT_EQ(word(buffer, field_type), type);
    }
}

// A call in the wrong order makes a mess of the pixels and of nothing else.
TEST_F(BitmapLayouts, InTheWrongOrderStayInsideTheBlock) {
    Random random(test_seed(), 3);
    for (const Shape &shape :
         {Shape{24, 3, 2}, Shape{1, 9, 7}, Shape{8, 129, 5}, Shape{24, 70, 1}}) {
        SCOPED_TRACE(shape.text());
        FencedBlock block(shape.bitmap_bytes(false));
        random.fill(std::span(block.data(), block.size()));
        Opened buffer(shape, block.data());
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
        EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
        EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
        EXPECT_EQ(pixels_of(buffer).size(), shape.packed_bytes());
        EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
        EXPECT_EQ(buffer.close(), nullptr); // once more
        expect_no_report();
    }
}

} // namespace
} // namespace q32::test

// Filling bitmaps with one colour and with patterns: they stay bitmaps, and one colour is not quite
// one colour.
#include "tests/bitmaps/bitmap_fixture.h"
#include "tests/frame/edition.h"

namespace q32::test {
namespace {

class BitmapFills : public BitmapTest {};

// A bare block that ends at a fence, opened.
struct Canvas {
    Canvas(const Shape &shape_in, Random &random)
        : shape(shape_in), block(shape_in.bitmap_bytes(false)), buffer(shape_in, filled(random)) {}
    Bytes now() const { return bytes_at(block.data(), block.size()); }

    const Shape shape;
    FencedBlock block;
    Opened buffer;

private:
    void *filled(Random &random) {
        random.fill(std::span(block.data(), block.size()));
        return block.data();
    }
};

// What a fill with these bytes of the colour field leaves, byte for byte.
Bytes filled(Bytes block, const Shape &shape, const uint8_t *field) {
    const size_t pixels = size_t(shape.width) * size_t(shape.height);
    if (shape.bits < 8) // also at 2 to 7 bits: an eighth of a byte for every pixel
        std::fill_n(block.begin(), (size_t(shape.width) + 7) / 8 * size_t(shape.height), field[0]);
    else
        for (size_t i = 0; i < pixels * shape.unit(); ++i)
            block[i] = field[i % shape.unit()];
    return block;
}

// --- one colour ------------------------------------------------------------------------------

// Only the first byte of the colour arrives; the others are zero.
TEST_F(BitmapFills, OneColourTakesTheFirstByteOnly) {
    Bytes pixels(24, 0xEE);
    Opened buffer(Shape{24, 3, 2}, pixels.data());
    const uint8_t colour[3] = {1, 2, 3};
    EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
    EXPECT_EQ(pixels_of(buffer), (Bytes{1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(word(buffer, field_colour), 1u);
    EXPECT_EQ(word(buffer, field_external_data), 0u);
    buffer.close();
    const Bytes row = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 9), row);
    EXPECT_EQ(Bytes(pixels.begin() + 12, pixels.begin() + 21), row);
}

TEST_F(BitmapFills, OneColourAtEveryDepth) {
    Random random(test_seed(), 0);
    for (int bits = 1; bits <= 64; ++bits) {
        for (const auto &[width, height] : {std::pair{1, 1}, {3, 2}, {9, 7}, {70, 5}, {300, 40}}) {
            const Shape shape{bits, width, height};
            SCOPED_TRACE(shape.text());
            Canvas canvas(shape, random);
            for (uint8_t value : {0x5A, 0x00, 0xFF}) {
                FencedBlock colour(1); // no more of it is read
                colour.data()[0] = value;
                const uint8_t field[8] = {value};
                const Bytes expected = filled(canvas.now(), shape, field);
                EXPECT_SUCCESS(api().buf32FillOneColor(canvas.buffer, colour.data()));
                EXPECT_EQ(canvas.now(), expected);
                EXPECT_EQ(word(canvas.buffer, field_colour), value);
                EXPECT_EQ(word(canvas.buffer, field_external_data), 0u);
            }
        }
    }
}

// The colour field's other bytes keep what they hold, and are filled with.
TEST_F(BitmapFills, OneColourKeepsTheOtherBytesOfTheField) {
    Random random(test_seed(), 1);
    for (int bits : {1, 4, 8, 16, 24, 32, 40, 48, 56, 64}) {
        const Shape shape{bits, 5, 3};
        SCOPED_TRACE(shape.text());
        Canvas canvas(shape, random);
        const uintptr_t words[2] = {frame::by_edition(0x44332211u, 0x8877665544332211u),
                                    frame::by_edition(0x88776655u, 0xCCCCCCCCCCCCCCCCu)};
        set_word(canvas.buffer, field_colour, words[0]);
        set_word(canvas.buffer, field_external_data, words[1]);
        const uint8_t colour[8] = {0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8};
        const uint8_t field[8] = {0xA1, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
        const Bytes expected = filled(canvas.now(), shape, field);
        EXPECT_SUCCESS(api().buf32FillOneColor(canvas.buffer, colour));
        EXPECT_EQ(canvas.now(), expected);
        EXPECT_EQ(word(canvas.buffer, field_colour), words[0] - 0x11 + 0xA1);
        EXPECT_EQ(word(canvas.buffer, field_external_data), words[1]);
    }
}

// Every other field, storage and operations included, is that of the bitmap.
TEST_F(BitmapFills, StayBitmaps) {
    Random random(test_seed(), 2);
    Bitmap bitmap(block_of(Header{{24, 40, 30}}, random));
    Opened buffer(bitmap);
    const auto words_of = [&] {
        std::vector<uint32_t> words;
        for (int field = field_type; field <= field_next_sharer; ++field)
            if (field != field_file_name && field != field_colour)
                words.push_back(word(buffer, field));
        return words;
    };
    const auto before = words_of();
    const uint8_t colour[3] = {9, 8, 7}, pattern_pixels[12] = {1, 2, 3, 4, 5, 6};
    const BUF32PATTERN pattern{2, 2, pattern_pixels};
    EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
    EXPECT_EQ(words_of(), before);
    EXPECT_SUCCESS(api().buf32FillPattern(buffer, &pattern));
    EXPECT_EQ(words_of(), before);
    EXPECT_EQ(word(buffer, field_type), 8u);
    EXPECT_EQ(word(buffer, field_one_colour), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(bitmap.locks(), 1u);
}

TEST_F(BitmapFills, WithNothing) {
    Random random(test_seed(), 3);
    Canvas canvas({24, 9, 4}, random);
    const Bytes before = canvas.now();
    const HBUF32 buffer = canvas.buffer;
    EXPECT_FAILURE(api().buf32FillOneColor(buffer, nullptr), 3200, 0, 4, 6);
    EXPECT_FAILURE(api().buf32FillPattern(buffer, nullptr), 3200, 0, 4, 6);
    // Other subsystems reach the entries without the exports' check.
    EXPECT_FAILURE(
        entry_of<int(HBUF32, const void *)>(buffer, entry_fill_one_colour)(buffer, nullptr), 3200,
        0, 1, 1);
    EXPECT_FAILURE(
        entry_of<int(HBUF32, const BUF32PATTERN *)>(buffer, entry_fill_pattern)(buffer, nullptr),
        3200, 0, 1, 1);
    const uint8_t pixels[12] = {};
    for (const BUF32PATTERN &pattern : {BUF32PATTERN{0, 2, pixels}, BUF32PATTERN{2, 0, pixels},
                                        BUF32PATTERN{0, 0, pixels}, BUF32PATTERN{2, 2, nullptr}})
        EXPECT_FAILURE(api().buf32FillPattern(buffer, &pattern), 3200, 0, 1, 1);
    EXPECT_EQ(canvas.now(), before);
    EXPECT_EQ(word(buffer, field_colour), 0u);
}

// The fills of other buffers would give up the pixels, which are the caller's.
TEST_F(BitmapFills, ByTheEntriesOfAnotherTypeAreRefused) {
    Random random(test_seed(), 5);
    Canvas canvas({24, 9, 4}, random);
    const Bytes before = canvas.now();
    const HBUF32 buffer = canvas.buffer;
    const uint8_t colour[3] = {9, 8, 7};
    const BUF32PATTERN pattern{1, 1, colour};
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_ONE_COLOUR}) {
        SCOPED_TRACE(type);
        const Buffer other(24, 9, 4, type, colour);
        EXPECT_FAILURE(
            entry_of<int(HBUF32, const void *)>(other, entry_fill_one_colour)(buffer, colour), 5800,
            0, 4, 20);
        EXPECT_FAILURE(entry_of<int(HBUF32, const BUF32PATTERN *)>(other, entry_fill_pattern)(
                           buffer, &pattern),
                       5800, 0, 4, 20);
    }
    EXPECT_EQ(canvas.now(), before);
    EXPECT_EQ(word(buffer, field_type), BUF32_DIB);
    EXPECT_EQ(word(buffer, field_colour), 0u);
}

// Fills look at no lock and take none.
TEST_F(BitmapFills, LeaveLocksAlone) {
    Random random(test_seed(), 4);
    Canvas canvas({8, 9, 4}, random);
    const uint8_t colour[1] = {7};
    const BUF32PATTERN pattern{1, 1, colour};
    ASSERT_EQ(api().buf32Lock(canvas.buffer, 77, nullptr), 1);
    EXPECT_SUCCESS(api().buf32FillOneColor(canvas.buffer, colour));
    EXPECT_SUCCESS(api().buf32FillPattern(canvas.buffer, &pattern));
    EXPECT_EQ(word(canvas.buffer, field_lock_count), 1u);
    EXPECT_EQ(word(canvas.buffer, field_access_mode), 77u);
    ASSERT_EQ(api().buf32Unlock(canvas.buffer), 1);
}

// --- patterns --------------------------------------------------------------------------------

TEST_F(BitmapFills, PatternByHand) {
    Bytes pixels(2 * 4 * 3, 0xEE);
    Opened buffer(Shape{8, 5, 3}, pixels.data());
    const uint8_t pattern_pixels[] = {1, 2, 3, 4, 5, 6};
    const BUF32PATTERN pattern{3, 2, pattern_pixels};
    EXPECT_SUCCESS(api().buf32FillPattern(buffer, &pattern));
    EXPECT_EQ(pixels_of(buffer), (Bytes{1, 2, 3, 1, 2, 4, 5, 6, 4, 5, 1, 2, 3, 1, 2}));

    Bytes bits(3 * 4, 0xEE);
    Opened bilevel(Shape{1, 10, 3}, bits.data());
    const uint8_t stripes[] = {0x40, 0x80}; // .#. and #..
    const BUF32PATTERN bit_pattern{3, 2, stripes};
    EXPECT_SUCCESS(api().buf32FillPattern(bilevel, &bit_pattern));
    const Bytes rows = pixels_of(bilevel);
    EXPECT_EQ(rows[0], 0x49); // .#..#..#
    EXPECT_EQ(rows[1] & 0xC0, 0x00);
    EXPECT_EQ(rows[2], 0x92); // #..#..#.
    EXPECT_EQ(rows[3] & 0xC0, 0x40);
    EXPECT_EQ(rows[4], 0x49);
}

TEST_F(BitmapFills, PatternOverTheWholeImage) {
    random_cases(400, [](Random &random, uint64_t number) {
        constexpr int depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 16, 24, 24, 32, 40, 48, 56, 64};
        const Shape shape{depths[random.below(std::size(depths))], between(random, 1, 200),
                          between(random, 1, 40)};
        const Shape tile{shape.bits, between(random, 1, random.below(4) == 0 ? 300 : 20),
                         between(random, 1, random.below(4) == 0 ? 60 : 12)};
        SCOPED_TRACE(shape.text() + ", pattern " + tile.text() + "; " + rerun(number));
        Canvas canvas(shape, random);
        FencedBlock pixels(tile.packed_bytes());
        random.fill(std::span(pixels.data(), pixels.size()));
        const Bytes tile_pixels = bytes_at(pixels.data(), pixels.size());
        const BUF32PATTERN pattern{uint16_t(tile.width), uint16_t(tile.height), pixels.data()};
        const Bytes before = canvas.now();
        EXPECT_SUCCESS(api().buf32FillPattern(canvas.buffer, &pattern));
        const Bytes after = canvas.now();
        for (int y = 0; y < shape.height; ++y)
            for (int x = 0; x < shape.width; ++x)
                if (pixel_at(after, shape, x, y) !=
                    pixel_at(tile_pixels, tile, x % tile.width, y % tile.height)) {
                    ADD_FAILURE() << "pixel " << x << ", " << y;
                    return false;
                }
        // Behind the pixels nothing changes.
        const auto end = ptrdiff_t(shape.packed_bytes());
        EXPECT_EQ(Bytes(after.begin() + end, after.end()),
                  Bytes(before.begin() + end, before.end()));
        EXPECT_EQ(bytes_at(pixels.data(), pixels.size()), tile_pixels);
        return !::testing::Test::HasFailure();
    });
}

// Depths that are no whole bytes: nothing outside the block is touched or read.
TEST_F(BitmapFills, PatternOfOddDepthsStaysInside) {
    Random random(test_seed(), 5);
    for (int bits = 9; bits <= 63; ++bits) {
        const Shape shape{bits, 21, 5}, tile{bits, 5, 3};
        SCOPED_TRACE(bits);
        Canvas canvas(shape, random);
        const Bytes before = canvas.now();
        FencedBlock pixels(tile.packed_bytes());
        std::memset(pixels.data(), 0x3C, pixels.size());
        const BUF32PATTERN pattern{5, 3, pixels.data()};
        EXPECT_SUCCESS(api().buf32FillPattern(canvas.buffer, &pattern));
        const Bytes after = canvas.now();
        EXPECT_EQ(after[0], 0x3C);
        const auto end = ptrdiff_t(shape.packed_bytes());
        EXPECT_EQ(Bytes(after.begin() + end, after.end()),
                  Bytes(before.begin() + end, before.end()));
    }
}

} // namespace
} // namespace q32::test

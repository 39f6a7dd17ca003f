// Copies between bitmaps and other buffers: buf32GetBuf and buf32MergeBuf with a bitmap on either
// side, pixel by pixel.
#include "tests/bitmaps/bitmap_fixture.h"

#include <climits>
#include <memory>

namespace q32::test {
namespace {

class BitmapCopies : public BitmapTest {};

constexpr Failure no_destination{1001, 0, 1, 9}, no_record{1001, 0, 4, 9}, no_strip{1001, 1, 4, 19},
    depths_differ{3200, 1, 4, 18};
constexpr int depths[] = {1, 1, 2, 4, 8, 16, 24, 24, 32, 48, 64};

// A buffer with known pixels: a bitmap over a bare block at a fence, or of another type.
class Image {
public:
    Image(const Shape &shape, uint32_t type, Random &random)
        : pixels_(random_bytes(random, shape.packed_bytes())) {
        if (type == BUF32_DIB) {
            block_ = std::make_unique<FencedBlock>(shape.bitmap_bytes(false));
            bitmap_ = std::make_unique<Opened>(shape, block_->data());
        } else {
            other_ = std::make_unique<Buffer>(shape.bits, shape.width, shape.height, type,
                                              pixels_.data());
        }
        EXPECT_EQ(api().buf32MergeMem(handle(), 0, 0, pixels_.data(), shape.width, shape.height),
                  1);
        pixels_ = read_pixels(handle());
    }
    HBUF32 handle() const { return bitmap_ ? HBUF32(*bitmap_) : HBUF32(*other_); }
    operator HBUF32() const { return handle(); }
    const Bytes &pixels() const { return pixels_; }

private:
    Bytes pixels_;
    std::unique_ptr<FencedBlock> block_;
    std::unique_ptr<Opened> bitmap_;
    std::unique_ptr<Buffer> other_;
};

struct Area {
    int x, y, width, height;
};

// Destination pixels after the area of the source has gone to (to_x, to_y).
testing::AssertionResult holds(const Bytes &after, const Bytes &before, const Shape &destination,
                               const Bytes &source, const Shape &from, const Area &area, int to_x,
                               int to_y) {
    for (int y = 0; y < destination.height; ++y)
        for (int x = 0; x < destination.width; ++x) {
            const int column = x - to_x + area.x, row = y - to_y + area.y;
            const bool copied = column >= std::max(area.x, 0) && row >= std::max(area.y, 0) &&
                                column < std::min(area.x + area.width, from.width) &&
                                row < std::min(area.y + area.height, from.height);
            if (pixel_at(after, destination, x, y) != (copied
                                                           ? pixel_at(source, from, column, row)
                                                           : pixel_at(before, destination, x, y)))
                return testing::AssertionFailure() << "pixel " << x << ", " << y;
        }
    return testing::AssertionSuccess();
}

Area random_area(const Shape &shape, Random &random) {
    if (random.below(5) == 0)
        return {0, 0, shape.width, shape.height};
    return {between(random, -20, shape.width + 5), between(random, -8, shape.height + 3),
            between(random, 1, shape.width + 30), between(random, 1, shape.height + 10)};
}

constexpr uint32_t types[] = {BUF32_DIB,       BUF32_DIB,           BUF32_TILED,
                              BUF32_LINEAR,    BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK,
                              BUF32_TILED_FILE};

uint32_t any_type(Random &random) {
    return types[random.below(std::size(types))];
}

// --- into a new buffer -----------------------------------------------------------------------

// A tiled buffer, also for the whole image: bitmaps are not shared this way.
TEST_F(BitmapCopies, IntoANewBufferAreTiled) {
    Random random(test_seed(), 0);
    for (int bits : {1, 4, 8, 16, 24}) {
        const Shape shape{bits, 200, 20};
        SCOPED_TRACE(shape.text());
        const Image source(shape, BUF32_DIB, random);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 200, 20, &handle));
        const Opened copy(handle);
        EXPECT_EQ(word(copy, field_type), 0u);
        EXPECT_EQ(word(copy, field_data_handle), 0u);
        EXPECT_EQ(word(copy, field_format_depth), 0u);
        EXPECT_EQ(word(copy, field_cell_count), 2u);
        EXPECT_EQ(shape_of(copy).text(), shape.text());
        EXPECT_FALSE(is_duplicate(copy));
        EXPECT_EQ(word(source, field_first_sharer), 0u);
        EXPECT_NE(memory_in_use(), 0u);
        EXPECT_EQ(read_pixels(copy), source.pixels());
        HBUF32 handles[2] = {};
        EXPECT_EQ(api().buf32CountBuf(handles), 2);
        EXPECT_EQ(handles[1], handle);
    }
}

TEST_F(BitmapCopies, IntoANewBufferOfAnArea) {
    random_cases(200, [](Random &random, uint64_t number) {
        const Shape shape{depths[random.below(std::size(depths))], between(random, 1, 150),
                          between(random, 1, 20)};
        const Image source(shape, BUF32_DIB, random);
        const Area area = random_area(shape, random);
        const Shape size{shape.bits, area.width, area.height};
        SCOPED_TRACE(shape.text() + " to " + size.text() + "; " + rerun(number));
        HBUF32 handle = 0;
        EXPECT_SUCCESS(api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
        const Opened copy(handle);
        EXPECT_EQ(shape_of(copy).text(), size.text());
        // What is outside the source is not filled: fresh memory reads as zero.
        EXPECT_TRUE(holds(read_pixels(copy), Bytes(size.packed_bytes()), size, source.pixels(),
                          shape, area, 0, 0));
        EXPECT_EQ(pixels_of(source), source.pixels());
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BitmapCopies, IntoANewBufferThatCannotBeMade) {
    Random random(test_seed(), 1);
    const Image source({24, 20, 10}, BUF32_DIB, random);
    HBUF32 handle = 0;
    const auto refused = [&](int width, int height, std::initializer_list<Failure> failures) {
        EXPECT_EQ(api().buf32GetBuf(source, 0, 0, width, height, &handle), 0);
        expect_reports(failures);
        EXPECT_EQ(handle, 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    };
    refused(0, 5, {{3200, 0, 4, 7}, no_destination});
    refused(5, -1, {{3200, 0, 4, 7}, no_destination});
    refused(32001, 5, {too_wide, no_destination});
    refused(5, INT_MAX, {too_high, no_destination});
    {
        FailingCall probe("GlobalAlloc", 1);
        refused(5, 5, {no_record, no_destination});
    }
    {
        use_no_directory();
        FailingCall storage("VirtualAlloc", 1);
        refused(5, 5, {{1001, 0, 4, 3}, no_destination});
    }
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(source, 0, 0, 5, 5, nullptr));
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(0, 0, 0, 5, 5, &handle));
}

// No strip: the new buffer goes again.
TEST_F(BitmapCopies, IntoANewBufferWithoutMemoryForARow) {
    Random random(test_seed(), 2);
    const Image source({24, 20, 10}, BUF32_DIB, random);
    frame::Census before = frame::Census::now();
    bool no_row = false;
    for (int n = 1; n < 50; ++n) {
        SCOPED_TRACE(n);
        HBUF32 handle = 0;
        FailingCall allocation("GlobalAlloc", n, FailingCall::from_there_on);
        const int result = api().buf32GetBuf(source, 1, 1, 15, 8, &handle);
        if (!allocation.happened()) {
            EXPECT_EQ(result, 1);
            EXPECT_SUCCESS(api().buf32Free(handle));
            break;
        }
        EXPECT_EQ(result, 0);
        EXPECT_EQ(handle, 0u);
        const auto reports = frame::reports();
        ASSERT_FALSE(reports.empty());
        no_row = no_row || reports.back() == no_strip;
        EXPECT_TRUE(reports.back() == no_strip || reports.back() == no_destination)
            << reports.back();
        forget_reports();
        EXPECT_EQ(frame::Census::now(), before);
    }
    EXPECT_TRUE(no_row);
}

// The entry itself, which other subsystems call without the export around it.
TEST_F(BitmapCopies, ByTheEntryIntoANewBufferLeaveNoHandleBehind) {
    Random random(test_seed(), 8);
    const Image source({24, 20, 10}, BUF32_DIB, random);
    auto *const entry =
        entry_of<int(HBUF32, int, int, int, int, HBUF32 *)>(source, entry_get_buffer);
    const auto no_rows = [](UINT flags, SIZE_T bytes) {
        // The strip alone is fixed and has the size of whole rows.
        return bytes % 45 == 0 ? nullptr : GlobalAlloc(flags, bytes);
    };
    HBUF32 handle = 0;
    {
        frame::Replaced<frame::call::GlobalAlloc> failing(no_rows);
        EXPECT_FAILURE(entry(source, 1, 1, 15, 8, &handle), 1001, 1, 4, 19);
    }
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    EXPECT_SUCCESS(entry(source, 1, 1, 15, 8, &handle));
    EXPECT_SUCCESS(api().buf32Free(handle));
}

// The strip is halved until it can be had.
TEST_F(BitmapCopies, InHalvedStrips) {
    Random random(test_seed(), 3);
    const Shape shape{24, 50, 37};
    const Image source(shape, BUF32_DIB, random);
    const Image destination(shape, BUF32_DIB, random);
    for (SIZE_T most : {SIZE_T(150), SIZE_T(151), SIZE_T(1000), SIZE_T(3000)}) {
        SCOPED_TRACE(most);
        const uint8_t colour = uint8_t(most);
        EXPECT_SUCCESS(api().buf32FillOneColor(destination, &colour));
        frame::Replaced<frame::call::GlobalAlloc> small([most](UINT flags, SIZE_T bytes) {
            return bytes > most ? nullptr : GlobalAlloc(flags, bytes);
        });
        EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 50, 37, destination, 0, 0));
        EXPECT_EQ(pixels_of(destination), source.pixels());
    }
    frame::Replaced<frame::call::GlobalAlloc> none(
        [](UINT flags, SIZE_T bytes) { return bytes > 149 ? nullptr : GlobalAlloc(flags, bytes); });
    EXPECT_FAILURE(api().buf32MergeBuf(source, 0, 0, 50, 37, destination, 0, 0), 1001, 1, 4, 19);
}

// --- into buffers that are there -------------------------------------------------------------

TEST_F(BitmapCopies, IntoBuffersThatAreThere) {
    random_cases(300, [](Random &random, uint64_t number) {
        const int bits = depths[random.below(std::size(depths))];
        const Shape shape{bits, between(random, 1, 200), between(random, 1, 20)};
        const Shape size = random.below(3) == 0
                               ? shape
                               : Shape{bits, between(random, 1, 200), between(random, 1, 20)};
        const uint32_t from = any_type(random),
                       to = from == BUF32_DIB ? any_type(random) : BUF32_DIB;
        SCOPED_TRACE(shape.text() + " type " + std::to_string(from) + " to " + size.text() +
                     " type " + std::to_string(to) + "; " + rerun(number));
        const Image source(shape, from, random), destination(size, to, random);
        const Area area = random_area(shape, random);
        HBUF32 handle = destination;
        EXPECT_SUCCESS(api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(word(destination, field_type), to);
        EXPECT_FALSE(is_duplicate(destination)); // a copy, also of the whole
        EXPECT_FALSE(is_duplicate(source));
        // All that is left of the source: its area may be smaller than the destination, or larger.
        EXPECT_TRUE(holds(read_pixels(destination), destination.pixels(), size, source.pixels(),
                          shape, area, 0, 0));
        EXPECT_EQ(read_pixels(source), source.pixels());
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BitmapCopies, MergedIntoBuffers) {
    random_cases(500, [](Random &random, uint64_t number) {
        const int bits = depths[random.below(std::size(depths))];
        const Shape shape{bits, between(random, 1, 200), between(random, 1, 20)};
        const Shape size{bits, between(random, 1, 200), between(random, 1, 20)};
        const uint32_t from = any_type(random),
                       to = from == BUF32_DIB ? any_type(random) : BUF32_DIB;
        SCOPED_TRACE(shape.text() + " type " + std::to_string(from) + " to " + size.text() +
                     " type " + std::to_string(to) + "; " + rerun(number));
        const Image source(shape, from, random), destination(size, to, random);
        const Area area = random_area(shape, random);
        const int x = between(random, -30, size.width + 5),
                  y = between(random, -8, size.height + 3);
        EXPECT_SUCCESS(api().buf32MergeBuf(source, area.x, area.y, area.width, area.height,
                                           destination, x, y));
        EXPECT_EQ(word(destination, field_type), to);
        EXPECT_EQ(word(destination, field_lock_count), 0u);
        EXPECT_TRUE(holds(read_pixels(destination), destination.pixels(), size, source.pixels(),
                          shape, area, x, y));
        EXPECT_EQ(read_pixels(source), source.pixels());
        return !::testing::Test::HasFailure();
    });
}

// One colour and patterns are copied into bitmaps, and become ordinary when a bitmap is copied into
// them.
TEST_F(BitmapCopies, FromAndToOneColourAndPatterns) {
    Random random(test_seed(), 4);
    const Shape shape{24, 140, 6};
    const uint8_t colour[3] = {1, 2, 3}, tile[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const BUF32PATTERN pattern{2, 2, tile};
    for (uint32_t type : {BUF32_ONE_COLOUR, BUF32_PATTERN}) {
        SCOPED_TRACE(type);
        const void *const extra =
            type == BUF32_PATTERN ? static_cast<const void *>(&pattern) : colour;
        Buffer special(24, 140, 6, type, extra);
        const Bytes special_pixels = read_pixels(special);
        const Image bitmap(shape, BUF32_DIB, random);
        const Area area{3, 1, 100, 4};
        EXPECT_SUCCESS(api().buf32MergeBuf(special, 3, 1, 100, 4, bitmap, -5, 2));
        const Bytes merged = pixels_of(bitmap);
        EXPECT_TRUE(holds(merged, bitmap.pixels(), shape, special_pixels, shape, area, -5, 2));
        EXPECT_EQ(word(special, field_type), type);
        EXPECT_SUCCESS(api().buf32MergeBuf(bitmap, 3, 1, 100, 4, special, 7, -1));
        EXPECT_EQ(word(special, field_type), 0u);
        EXPECT_TRUE(holds(read_pixels(special), special_pixels, shape, merged, shape, area, 7, -1));
    }
}

// Within one bitmap: the area is taken out before it is put in.
TEST_F(BitmapCopies, WithinOneBitmap) {
    Random random(test_seed(), 5);
    const Shape shape{8, 30, 20};
    const Image image(shape, BUF32_DIB, random);
    EXPECT_SUCCESS(api().buf32MergeBuf(image, 2, 3, 20, 12, image, 4, 5));
    EXPECT_TRUE(holds(pixels_of(image), image.pixels(), shape, image.pixels(), shape,
                      {2, 3, 20, 12}, 4, 5));
}

// Two buffers over one block, and more rows than are moved at once: as within one bitmap.
TEST_F(BitmapCopies, WithinOneBlock) {
    Random random(test_seed(), 8);
    const Shape shape{32, 1000, 400};
    const FencedBlock block(shape.bitmap_bytes());
    random.fill({block.data(), block.size()});
    Opened upper(shape, block.data()), lower(shape, block.data());
    const Bytes before = read_pixels(upper);
    ASSERT_EQ(read_pixels(lower), before);
    EXPECT_SUCCESS(api().buf32MergeBuf(upper, 0, 0, 1000, 300, lower, 0, 100));
    EXPECT_TRUE(holds(read_pixels(lower), before, shape, before, shape, {0, 0, 1000, 300}, 0, 100));
}

TEST_F(BitmapCopies, OutsideCopyNothing) {
    Random random(test_seed(), 6);
    const Shape shape{24, 20, 10};
    const Image source(shape, BUF32_DIB, random), destination(shape, BUF32_DIB, random);
    HBUF32 handle = destination;
    const Area outside[] = {{20, 0, 5, 5},
                            {0, 10, 5, 5},
                            {-5, 0, 5, 5},
                            {0, -5, 5, 5},
                            {0, 0, 0, 5},
                            {0, 0, 5, -5},
                            {INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                            {INT_MIN, 0, INT_MAX, 5}};
    for (const Area &area : outside) {
        SCOPED_TRACE(area.x);
        EXPECT_SUCCESS(api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
        EXPECT_SUCCESS(api().buf32MergeBuf(source, area.x, area.y, area.width, area.height,
                                           destination, 0, 0));
    }
    EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 5, 5, destination, 20, 0));
    EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 5, 5, destination, INT_MIN, INT_MAX));
    EXPECT_EQ(pixels_of(destination), destination.pixels());
    // A new buffer is made all the same.
    handle = 0;
    EXPECT_SUCCESS(api().buf32GetBuf(source, 20, 0, 5, 6, &handle));
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(shape_of(handle).text(), (Shape{24, 5, 6}.text()));
    EXPECT_SUCCESS(api().buf32Free(handle));
}

TEST_F(BitmapCopies, BetweenDepthsAreRefused) {
    Random random(test_seed(), 7);
    const Image source({24, 20, 10}, BUF32_DIB, random);
    for (int bits : {1, 8, 16, 32}) {
        const Image destination({bits, 20, 10}, bits == 8 ? BUF32_TILED : BUF32_DIB, random);
        HBUF32 handle = destination;
        EXPECT_FAILURE(api().buf32GetBuf(source, 0, 0, 20, 10, &handle), 3200, 1, 4, 18);
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_FAILURE(api().buf32MergeBuf(source, 0, 0, 20, 10, destination, 0, 0), 3200, 1, 4,
                       18);
        EXPECT_FAILURE(api().buf32MergeBuf(destination, 0, 0, 20, 10, source, 0, 0), 3200, 1, 4,
                       18);
        EXPECT_EQ(read_pixels(destination), destination.pixels());
        EXPECT_EQ(pixels_of(source), source.pixels());
    }
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(source, 0, 0, 5, 5, 0, 0, 0));
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(0, 0, 0, 5, 5, source, 0, 0));
}

} // namespace
} // namespace q32::test

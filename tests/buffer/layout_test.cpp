// The geometry of buffers: every field that follows from the size, the bits per pixel and the type,
// read behind the handle at its place in the record and compared with a model of its own.
#include "tests/buffer/buffer_fixture.h"
#include "tests/frame/fenced_heap.h"

namespace q32::test {
namespace {

class BufferLayout : public BufferTest {};

void expect_geometry(HBUF32 buffer, const Geometry &model) {
    const struct {
        const char *name;
        int field;
        int64_t expected;
    } fields[] = {
        {"bits per pixel", field_bits_per_pixel, model.bits},
        {"bytes per pixel", field_bytes_per_pixel, model.bytes_per_pixel()},
        {"width", field_width, model.width},
        {"height", field_height, model.height},
        {"capacity rows", field_capacity_rows, model.height},
        {"image bytes", field_image_bytes, model.image_bytes()},
        {"reserved bytes", field_reserved_bytes, model.image_bytes()},
        {"cell count", field_cell_count, model.cell_count()},
        {"cell columns", field_cell_columns, model.columns()},
        {"cell rows", field_cell_rows, model.bands()},
        {"cell width", field_cell_width, model.cell_width()},
        {"cell height", field_cell_height, model.cell_height()},
        {"last column width", field_last_column_width, model.last_column_width()},
        {"last row height", field_last_row_height, model.last_row_height()},
        {"band bytes", field_band_bytes, model.band_bytes()},
        {"cell bytes", field_cell_bytes, model.cell_bytes()},
        {"last-column cell bytes", field_last_column_cell_bytes, model.last_column_cell_bytes()},
        {"last-row cell bytes", field_last_row_cell_bytes, model.last_row_cell_bytes()},
        {"corner cell bytes", field_corner_cell_bytes, model.corner_cell_bytes()},
        {"cell row bytes", field_cell_row_bytes, model.cell_row_bytes()},
        {"last-column row bytes", field_last_column_row_bytes, model.last_column_row_bytes()},
        {"row bytes", field_row_bytes, model.row_bytes()},
    };
    for (const auto &field : fields)
        EXPECT_EQ(word(buffer, field.field), Geometry::shown(field.expected)) << field.name;
}

// Sizes around the places where the number of cells changes.
constexpr int edges[] = {1, 2, 7, 8, 9, 127, 128, 129, 130, 255, 256, 257, 300, 383, 384, 385, 511};

// Tables of one colour have no storage, so that sizes cost nothing.
constexpr uint8_t colour[8] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};

TEST_F(BufferLayout, FollowsFromSizeAtEveryDepthWhenTiled) {
    for (int bits = 1; bits <= 64; ++bits) {
        for (int width : edges) {
            for (int height : {1, 127, 128, 129, 256, 300}) {
                SCOPED_TRACE(size_text(bits, width, height));
                Buffer buffer(bits, width, height, BUF32_ONE_COLOUR, colour);
                ASSERT_TRUE(buffer);
                expect_geometry(buffer, Geometry(width, height, bits, BUF32_ONE_COLOUR));
                if (HasFailure())
                    return;
            }
        }
    }
}

TEST_F(BufferLayout, FollowsFromSizeForEveryOrdinaryType) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        for (int bits : {1, 2, 3, 4, 5, 8, 12, 15, 16, 24, 32, 33, 48, 63, 64}) {
            for (int width : edges) {
                for (int height : edges) {
                    SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type));
                    Buffer buffer(bits, width, height, type);
                    ASSERT_TRUE(buffer);
                    expect_geometry(buffer, Geometry(width, height, bits, type));
                    EXPECT_EQ(word(buffer, field_type), type);
                    if (HasFailure())
                        return;
                }
            }
        }
    }
}

TEST_F(BufferLayout, FollowsFromSizeForFileBuffers) {
    for (int bits : {1, 4, 8, 24, 64}) {
        for (int width : {128, 129, 300}) {
            for (int height : {1, 128, 200}) {
                SCOPED_TRACE(size_text(bits, width, height));
                Buffer buffer(bits, width, height, BUF32_TILED_FILE);
                ASSERT_TRUE(buffer);
                expect_geometry(buffer, Geometry(width, height, bits, BUF32_TILED_FILE));
                EXPECT_EQ(word(buffer, field_type), BUF32_TILED_FILE);
                const bool in_file = width > 128 || height > 128;
                EXPECT_EQ(word(buffer, field_file) != 0, in_file);
            }
        }
    }
}

TEST_F(BufferLayout, FollowsFromSizeForPatternAndCallerMemory) {
    const uint8_t pixels[64] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    for (int bits : {1, 4, 8, 24, 64}) {
        for (int width : edges) {
            for (int height : {1, 128, 129, 300}) {
                SCOPED_TRACE(size_text(bits, width, height));
                Buffer patterned(bits, width, height, BUF32_PATTERN, &pattern);
                ASSERT_TRUE(patterned);
                expect_geometry(patterned, Geometry(width, height, bits, BUF32_PATTERN));

                std::vector<uint8_t> image(
                    size_t(Geometry(width, height, bits, BUF32_CALLER_MEMORY).image_bytes()));
                const BUF32MEMORY memory{7, image.data()};
                Buffer over(bits, width, height, BUF32_CALLER_MEMORY, &memory);
                ASSERT_TRUE(over);
                expect_geometry(over, Geometry(width, height, bits, BUF32_CALLER_MEMORY));
            }
        }
    }
}

TEST_F(BufferLayout, OfRandomSizes) {
    random_cases(3000, [](Random &random, uint64_t number) {
        const int bits = between(random, 1, 64);
        const int width = between(random, 1, Q32_MAX_SIDE);
        const int height = between(random, 1, Q32_MAX_SIDE);
        SCOPED_TRACE(size_text(bits, width, height) + "; " + rerun(number));
        Buffer buffer(bits, width, height, BUF32_ONE_COLOUR, colour);
        EXPECT_TRUE(buffer);
        if (buffer)
            expect_geometry(buffer, Geometry(width, height, bits, BUF32_ONE_COLOUR));
        return !HasFailure();
    });
}

TEST_F(BufferLayout, OfTheLargestImagesHoldsWhatFits) {
    for (int bits : {1, 8, 16, 24, 33, 34, 63, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 32000, 32000, BUF32_ONE_COLOUR, colour);
        ASSERT_TRUE(buffer);
        expect_geometry(buffer, Geometry(32000, 32000, bits, BUF32_ONE_COLOUR));
    }
}

// 300 x 200 at 24 bits, worked out by hand.
TEST_F(BufferLayout, Of300By200At24Bits) {
    Buffer buffer(24, 300, 200);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(word(buffer, field_cell_columns), 3u);
    EXPECT_EQ(word(buffer, field_cell_rows), 2u);
    EXPECT_EQ(word(buffer, field_cell_count), 6u);
    EXPECT_EQ(word(buffer, field_cell_width), 128u);
    EXPECT_EQ(word(buffer, field_cell_height), 128u);
    EXPECT_EQ(word(buffer, field_last_column_width), 44u);
    EXPECT_EQ(word(buffer, field_last_row_height), 72u);
    EXPECT_EQ(word(buffer, field_cell_row_bytes), 384u);
    EXPECT_EQ(word(buffer, field_last_column_row_bytes), 132u);
    EXPECT_EQ(word(buffer, field_cell_bytes), 49152u);
    EXPECT_EQ(word(buffer, field_band_bytes), 2u * 49152 + 128 * 132);
    EXPECT_EQ(word(buffer, field_last_column_cell_bytes), 128u * 132);
    EXPECT_EQ(word(buffer, field_last_row_cell_bytes), 384u * 72);
    EXPECT_EQ(word(buffer, field_corner_cell_bytes), 132u * 72);
    EXPECT_EQ(word(buffer, field_row_bytes), 900u);
    EXPECT_EQ(word(buffer, field_image_bytes), 180000u);
    EXPECT_EQ(word(buffer, field_reserved_bytes), 180000u);
}

// A linear buffer is one cell, whatever its size.
TEST_F(BufferLayout, OfLinear300By200At24Bits) {
    Buffer buffer(24, 300, 200, BUF32_LINEAR);
    ASSERT_TRUE(buffer);
    for (int field : {field_cell_count, field_cell_columns, field_cell_rows})
        EXPECT_EQ(word(buffer, field), 1u) << field;
    for (int field : {field_cell_width, field_last_column_width})
        EXPECT_EQ(word(buffer, field), 300u) << field;
    for (int field : {field_cell_height, field_last_row_height})
        EXPECT_EQ(word(buffer, field), 200u) << field;
    for (int field : {field_band_bytes, field_cell_bytes, field_last_column_cell_bytes,
                      field_last_row_cell_bytes, field_corner_cell_bytes, field_image_bytes})
        EXPECT_EQ(word(buffer, field), 180000u) << field;
    for (int field : {field_cell_row_bytes, field_last_column_row_bytes, field_row_bytes})
        EXPECT_EQ(word(buffer, field), 900u) << field;
}

// The rule is type AND 0x1E, not a list of types.
TEST_F(BufferLayout, IsLinearWhenAnyOfFourBitsIsSet) {
    for (uint32_t type : {2u, 4u, 6u, 16u, 18u, 20u, 22u, 0x12u | 0x100u}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type);
        ASSERT_TRUE(buffer);
        expect_geometry(buffer, Geometry(300, 200, 8, type));
        EXPECT_EQ(word(buffer, field_cell_count), 1u);
    }
    for (uint32_t type : {0u, 0x100u, 0x40000000u, 0x80000000u}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type);
        ASSERT_TRUE(buffer);
        expect_geometry(buffer, Geometry(300, 200, 8, type));
        EXPECT_EQ(word(buffer, field_cell_count), 6u);
    }
}

// The addresses of the cells are the end of the record.
TEST_F(BufferLayout, AddressesStayInsideTheRecord) {
    const FencedHeap heap;
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR})
        for (int width : {1, 128, 129, 300})
            for (int height : {1, 129, 300}) {
                SCOPED_TRACE(size_text(24, width, height) + " type " + std::to_string(type));
                const Buffer buffer(24, width, height, type);
                EXPECT_TRUE(buffer);
            }
}

} // namespace
} // namespace q32::test

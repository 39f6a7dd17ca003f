// Opening bitmaps: the record word by word, where the pixels are found, and what becomes of the
// block's locks.
#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {
namespace {

class BitmapOpening : public BitmapTest {};

// Where the pixels lie, by their address.
uintptr_t storage_of_buffer(HBUF32 buffer) {
    return word(buffer, field_storage);
}

// Every field of a record over these pixels, but its place in the list and its operations.
void expect_record(HBUF32 buffer, const Shape &shape, HGLOBAL data_handle, uint32_t format_depth,
                   uint32_t access_mode, uintptr_t storage) {
    const auto row = uint32_t(shape.row_bytes()), image = uint32_t(shape.packed_bytes());
    const auto width = uint32_t(shape.width), height = uint32_t(shape.height);
    const struct {
        Field field;
        uintptr_t value;
    } fields[] = {
        {field_type, 8},
        {field_data_handle, uintptr_t(data_handle)},
        {field_bits_per_pixel, uint32_t(shape.bits)},
        {field_bytes_per_pixel, uint32_t(shape.bits / 8)},
        {field_width, width},
        {field_height, height},
        {field_capacity_rows, height},
        {field_image_bytes, image},
        {field_reserved_bytes, image},
        {field_format_depth, format_depth},
        {field_one_colour, 0},
        {field_colour, 0},
        {field_external_data, 0},
        {field_cell_count, 1},
        {field_cell_columns, 1},
        {field_cell_rows, 1},
        {field_cell_width, width},
        {field_cell_height, height},
        {field_last_column_width, width},
        {field_last_row_height, height},
        {field_band_bytes, image},
        {field_cell_bytes, image},
        {field_lock_count, 0},
        {field_access_mode, access_mode},
        {field_last_column_cell_bytes, image},
        {field_last_row_cell_bytes, image},
        {field_corner_cell_bytes, image},
        {field_cell_row_bytes, row},
        {field_last_column_row_bytes, row},
        {field_row_bytes, row},
        {field_mapping, 0},
        {field_storage, storage},
        {field_file, 0},
        {field_record_entry, 0xFFFFFFFF},
        {field_first_sharer, 0},
        {field_last_sharer, 0},
        {field_share_marker, 0},
        {field_source, 0},
        {field_self, buffer},
        {field_previous_sharer, 0},
        {field_next_sharer, 0},
    };
    for (const auto &expected : fields)
        EXPECT_EQ(word(buffer, expected.field), expected.value) << "field " << expected.field;
    EXPECT_EQ(swap_file_of(buffer)[0], '\0');
    for (int y = 0; y < shape.height; ++y)
        EXPECT_EQ(cell_address_word(buffer, y), storage + uint32_t(y) * row) << "row " << y;
}

// --- records ---------------------------------------------------------------------------------

TEST_F(BitmapOpening, FillsTheRecord) {
    Random random(test_seed(), 0);
    for (int bits = 1; bits <= 64; ++bits) {
        for (const auto &[width, height] : {std::pair{1, 1}, {3, 2}, {129, 5}, {300, 200}}) {
            const Header header{{bits, width, height}};
            if (header.pixels_at() > 1 << 20)
                continue;
            SCOPED_TRACE(header.text());
            Bitmap bitmap(block_of(header, random));
            Opened buffer(bitmap);
            ASSERT_TRUE(buffer);
            expect_record(buffer, header.shape, bitmap, uint32_t(bits), 1,
                          bitmap.address() + uint32_t(header.pixels_at()));
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(mapped_bytes(), 0u);
        }
    }
}

TEST_F(BitmapOpening, FillsTheRecordOfABareBlock) {
    Random random(test_seed(), 1);
    for (int bits = 1; bits <= 64; ++bits) {
        for (const auto &[width, height] : {std::pair{1, 1}, {3, 2}, {129, 5}, {300, 200}}) {
            const Shape shape{bits, width, height};
            SCOPED_TRACE(shape.text());
            Bytes pixels = random_bytes(random, shape.bitmap_bytes());
            Opened buffer(shape, pixels.data());
            ASSERT_TRUE(buffer);
            expect_record(buffer, shape, nullptr, uint32_t(bits), 0, uintptr_t(pixels.data()));
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(mapped_bytes(), 0u);
        }
    }
}

// A 1-bit bitmap 9 pixels wide: rows of 2 bytes, 4 in the bitmap.
TEST_F(BitmapOpening, RowsOf9BitsAre2BytesAnd4InTheBitmap) {
    Bytes pixels = {0x11, 0x80, 0xEE, 0xEE, 0x22, 0x00, 0xEE, 0xEE, 0x33, 0x80, 0xEE, 0xEE};
    Opened buffer(Shape{1, 9, 3}, pixels.data());
    EXPECT_EQ(word(buffer, field_row_bytes), 2u);
    EXPECT_EQ(word(buffer, field_image_bytes), 6u);
    EXPECT_EQ(cell_address_word(buffer, 2) - cell_address_word(buffer, 0), 4u);
    EXPECT_EQ(pixels_of(buffer), (Bytes{0x33, 0x80, 0x22, 0x00, 0x11, 0x80}));
    EXPECT_EQ(api().buf32DIBBufToDIB(buffer), nullptr);
    EXPECT_EQ(cell_address_word(buffer, 2) - cell_address_word(buffer, 0), 8u);
    EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
}

// What the four-character code changes: 15 for 16 bits, and nothing else.
TEST_F(BitmapOpening, FormatDepthIs15ForR565AndTheBitCountOtherwise) {
    Random random(test_seed(), 2);
    for (int bits : {1, 4, 8, 15, 16, 17, 24, 32}) {
        for (uint32_t compression : {rgb, code_r565}) {
            const Header header{{bits, 5, 4}, 40, compression};
            SCOPED_TRACE(header.text());
            const Bytes block = block_of(header, random);
            Bitmap bitmap(block);
            Opened buffer(bitmap);
            ASSERT_TRUE(buffer);
            BUF32INFO info;
            EXPECT_SUCCESS(api().buf32GetInfo(buffer, &info));
            EXPECT_EQ(info.type, 8u);
            EXPECT_EQ(info.data_handle, HGLOBAL(bitmap));
            EXPECT_EQ(info.format_depth, bits == 16 && compression != rgb ? 15 : bits);
            EXPECT_EQ(info.bits_per_pixel, bits);
            const Bytes pixels(block.begin() + ptrdiff_t(header.pixels_at()), block.end());
            EXPECT_EQ(pixels_of(buffer), packed_pixels(pixels, header.shape));
        }
    }
}

// All entries are those of linear buffers, but fills, duplicates and buffers out of it.
TEST_F(BitmapOpening, InstallsTheLinearSetWithFourEntriesOfItsOwn) {
    Bytes pixels(400);
    Opened bitmap(Shape{8, 20, 20}, pixels.data());
    Buffer linear(8, 20, 20, BUF32_LINEAR);
    for (int entry = entry_lock; entry <= entry_fill_pattern; ++entry) {
        const bool own = entry == entry_fill_one_colour || entry == entry_duplicate ||
                         entry == entry_get_buffer || entry == entry_fill_pattern;
        EXPECT_EQ(word(bitmap, field_of(Entry(entry))) != word(linear, field_of(Entry(entry))), own)
            << entry;
    }
    EXPECT_EQ(word(bitmap, field_of(entry_empty)), 0u);
}

TEST_F(BitmapOpening, AppendsToTheList) {
    Random random(test_seed(), 3);
    Bitmap bitmap(block_of(Header{{8, 10, 10}}, random));
    Bytes pixels(400);
    Buffer first(8, 10, 10);
    Opened second(bitmap);
    Opened third(Shape{8, 20, 20}, pixels.data());
    Buffer fourth(8, 10, 10);
    HBUF32 handles[4] = {};
    ASSERT_EQ(api().buf32CountBuf(handles), 4);
    EXPECT_EQ(handles[0], HBUF32(first));
    EXPECT_EQ(handles[1], HBUF32(second));
    EXPECT_EQ(handles[2], HBUF32(third));
    EXPECT_EQ(handles[3], HBUF32(fourth));
    EXPECT_EQ(word(second, field_previous), HBUF32(first));
    EXPECT_EQ(word(second, field_next), HBUF32(third));
    int width = 0, height = 0, unit = 0;
    EXPECT_SUCCESS(api().buf32GetWHU(third, &width, &height, &unit));
    EXPECT_EQ(width, 20);
    EXPECT_EQ(height, 20);
    EXPECT_EQ(unit, 1);
}

// --- where the pixels lie --------------------------------------------------------------------

// Behind the header and a colour table of biClrUsed entries, when the header has that field and it
// is not 0; else of 2 ^ bits entries under 16 bits; else none.
TEST_F(BitmapOpening, FindsThePixelsBehindTheColourTable) {
    const struct {
        int bits;
        uint32_t size, colours;
        uint32_t at; // worked out by hand
    } bitmaps[] = {
        {1, 40, 0, 48},      {1, 40, 2, 48},      {1, 40, 1, 44},     {1, 40, 7, 68},
        {1, 36, 0, 44},      {1, 36, 1, 40},      {1, 20, 1, 28},     {1, 32, 1, 40},
        {1, 35, 1, 43},      {1, 108, 0, 116},    {1, 124, 0, 132},   {1, 124, 256, 1148},
        {4, 40, 0, 104},     {4, 40, 16, 104},    {4, 40, 3, 52},     {4, 20, 3, 84},
        {4, 36, 3, 48},      {4, 108, 3, 120},    {4, 124, 0, 188},   {8, 40, 0, 1064},
        {8, 40, 256, 1064},  {8, 40, 1, 44},      {8, 40, 300, 1240}, {8, 20, 1, 1044},
        {8, 36, 10, 76},     {8, 108, 0, 1132},   {8, 124, 0, 1148},  {8, 124, 5, 144},
        {15, 40, 0, 131112}, {15, 40, 1, 44},     {16, 40, 0, 40},    {16, 40, 3, 52},
        {16, 20, 3, 20},     {16, 36, 3, 48},     {16, 108, 0, 108},  {16, 124, 3, 136},
        {24, 40, 0, 40},     {24, 40, 256, 1064}, {24, 20, 1, 20},    {24, 36, 0, 36},
        {24, 36, 1, 40},     {24, 108, 0, 108},   {24, 124, 0, 124},  {32, 40, 0, 40},
        {32, 40, 3, 52},     {32, 20, 3, 20},     {32, 36, 1, 40},    {32, 108, 0, 108},
        {32, 124, 0, 124},   {2, 40, 0, 56},      {7, 40, 0, 552},    {64, 40, 0, 40},
        {48, 41, 1, 45},     {8, 1000, 2, 1008},  {24, 37, 0, 37},    {24, 38, 0, 38},
    };
    Random random(test_seed(), 4);
    for (const auto &expected : bitmaps) {
        for (uint32_t compression : {rgb, code_r565}) { // no masks are skipped
            const Header header{
                {expected.bits, 7, 3}, expected.size, compression, expected.colours};
            SCOPED_TRACE(header.text());
            ASSERT_EQ(header.pixels_at(), expected.at);
            const Bytes block = block_of(header, random);
            const Bytes before(block.begin(), block.begin() + int(expected.at));
            const Bytes pixels(block.begin() + int(expected.at), block.end());
            Bitmap bitmap(block);
            Opened buffer(bitmap);
            ASSERT_TRUE(buffer);
            EXPECT_EQ(storage_of_buffer(buffer) - bitmap.address(), expected.at);
            EXPECT_EQ(pixels_of(buffer), packed_pixels(pixels, header.shape));
            const Bytes opened = bitmap.bytes();
            EXPECT_EQ(Bytes(opened.begin(), opened.begin() + int(expected.at)), before);
            EXPECT_EQ(Bytes(opened.begin() + int(expected.at), opened.end()),
                      in_buffer_layout(pixels, header.shape));
            EXPECT_EQ(buffer.close(), HGLOBAL(bitmap));
            const Bytes closed = bitmap.bytes();
            EXPECT_EQ(Bytes(closed.begin(), closed.begin() + int(expected.at)), before);
            EXPECT_EQ(Bytes(closed.begin() + int(expected.at), closed.end()),
                      in_bitmap_layout(in_buffer_layout(pixels, header.shape), header.shape));
        }
    }
}

// A header that ends before a field does not have it: nothing behind it is taken for the field.
TEST_F(BitmapOpening, TakesNoFieldFromBehindTheHeader) {
    Random random(test_seed(), 5);
    for (uint32_t size = 20; size < 36; ++size) {
        const Header header{{4, 6, 2}, size};
        SCOPED_TRACE(size);
        Bytes block = block_of(header, random);
        const uint32_t table_entry = 5;
        std::memcpy(block.data() + 32, &table_entry, 4); // where a longer header has its colours
        Bitmap bitmap(block);
        Opened buffer(bitmap);
        ASSERT_TRUE(buffer);
        EXPECT_EQ(storage_of_buffer(buffer) - bitmap.address(), size + 64);
    }
}

// --- the block's locks -----------------------------------------------------------------------

TEST_F(BitmapOpening, LocksTheBlockOnceForTheBuffersLife) {
    Random random(test_seed(), 6);
    for (uint32_t by_the_owner : {0u, 1u, 3u}) {
        SCOPED_TRACE(by_the_owner);
        const Bytes block = block_of(Header{{24, 9, 5}}, random);
        Bitmap bitmap(block);
        for (uint32_t i = 0; i < by_the_owner; ++i)
            GlobalLock(bitmap);
        Opened buffer(bitmap);
        EXPECT_EQ(bitmap.locks(), by_the_owner + 1);
        void *base = nullptr;
        EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_WRITE, &base));
        EXPECT_EQ(bitmap.locks(), by_the_owner + 1);
        EXPECT_SUCCESS(api().buf32Unlock(buffer));
        EXPECT_EQ(api().buf32DIBBufToDIB(buffer), HGLOBAL(bitmap));
        EXPECT_EQ(bitmap.locks(), by_the_owner + 1);
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(buffer));
        EXPECT_EQ(bitmap.locks(), by_the_owner + 1);
        EXPECT_EQ(buffer.close(), HGLOBAL(bitmap));
        EXPECT_EQ(bitmap.locks(), by_the_owner);
        for (uint32_t i = 0; i < by_the_owner; ++i)
            GlobalUnlock(bitmap);
    }
}

// The whole block is known to be there: it is locked through GlobalLock, whatever kind it is.
TEST_F(BitmapOpening, TakesFixedBlocksToo) {
    Random random(test_seed(), 7);
    for (UINT flags : {UINT(GMEM_FIXED), UINT(GMEM_MOVEABLE), UINT(GHND), UINT(GPTR)}) {
        SCOPED_TRACE(flags);
        const Header header{{24, 31, 7}};
        const Bytes block = block_of(header, random);
        const Bytes pixels(block.begin() + 40, block.end());
        {
            Bitmap bitmap(block, flags);
            Opened buffer(bitmap);
            ASSERT_TRUE(buffer);
            EXPECT_EQ(word(buffer, field_data_handle), uintptr_t(HGLOBAL(bitmap)));
            EXPECT_EQ(pixels_of(buffer), packed_pixels(pixels, header.shape));
            EXPECT_EQ(buffer.close(), HGLOBAL(bitmap));
            const Bytes closed = bitmap.bytes();
            EXPECT_EQ(packed_pixels(Bytes(closed.begin() + 40, closed.end()), header.shape),
                      packed_pixels(pixels, header.shape));
        }
        Bitmap bitmap(block, flags);
        Opened buffer(bitmap);
        buffer.free(); // and can free them
        bitmap.gone();
    }
}

// --- buf32Alloc ------------------------------------------------------------------------------

// The handle is the extra argument; bits and sides come from the bitmap.
TEST_F(BitmapOpening, ByBuf32AllocIsTheSame) {
    Random random(test_seed(), 8);
    const struct {
        int bits, width, height;
    } arguments[] = {{24, 9, 5}, {1, 1, 1}, {0, 0, 0}, {-7, -1, -2000000000}, {65, 32000, 32000}};
    for (const auto &given : arguments) {
        SCOPED_TRACE(size_text(given.bits, given.width, given.height));
        const Header header{{24, 9, 5}};
        const Bytes block = block_of(header, random);
        Bitmap bitmap(block);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(api().buf32Alloc(&handle, given.bits, given.width, given.height, BUF32_DIB,
                                        HGLOBAL(bitmap)));
        ASSERT_NE(handle, 0u);
        expect_record(handle, header.shape, bitmap, 24, 1, bitmap.address() + 40);
        EXPECT_EQ(bitmap.locks(), 1u);
        EXPECT_EQ(pixels_of(handle),
                  packed_pixels(Bytes(block.begin() + 40, block.end()), header.shape));
        HGLOBAL back = nullptr;
        EXPECT_SUCCESS(api().buf32DIBBufFree(handle, &back));
        EXPECT_EQ(back, HGLOBAL(bitmap));
        EXPECT_EQ(bitmap.locks(), 0u);
    }
}

// The two largest sides.
TEST_F(BitmapOpening, SidesOf32000AreTaken) {
    Random random(test_seed(), 9);
    for (const auto &[width, height] : {std::pair{32000, 1}, {1, 32000}, {32000, 3}, {3, 32000}}) {
        const Header header{{8, width, height}};
        SCOPED_TRACE(header.text());
        const Bytes block = block_of(header, random);
        Bitmap bitmap(block);
        Opened buffer(bitmap);
        ASSERT_TRUE(buffer);
        EXPECT_EQ(pixels_of(buffer),
                  packed_pixels(Bytes(block.begin() + 1064, block.end()), header.shape));
        EXPECT_EQ(cell_address_word(buffer, height - 1) - storage_of_buffer(buffer),
                  uint32_t(width) * uint32_t(height - 1));
    }
}

} // namespace
} // namespace q32::test

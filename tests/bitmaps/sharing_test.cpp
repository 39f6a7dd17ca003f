// Duplicates of bitmaps: they share the source's rows until one side is written, and then get a
// bitmap of their own. Whichever side changes or goes, the other keeps its pixels.
#include "tests/bitmaps/bitmap_fixture.h"

namespace q32::test {
namespace {

class BitmapSharing : public BitmapTest {};

uint32_t node_of(HBUF32 buffer) {
    return uint32_t(buffer) + field_offset(field_share_marker);
}

uint32_t locks_of(HGLOBAL block) {
    return GlobalFlags(block) & GMEM_LOCKCOUNT;
}

HGLOBAL block_under(HBUF32 buffer) {
    return reinterpret_cast<HGLOBAL>(word(buffer, field_data_handle));
}

// A bitmap of random pixels, opened; its pixels as they are now.
struct Source {
    explicit Source(const Header &header_in, uint64_t seed = 0)
        : header(header_in), random(test_seed(), seed), block(block_of(header, random)),
          bitmap(block), buffer(bitmap) {
        pixels = packed_pixels(Bytes(block.begin() + ptrdiff_t(header.pixels_at()), block.end()),
                               header.shape);
    }
    operator HBUF32() const { return buffer; }

    const Header header;
    Random random;
    const Bytes block;
    Bitmap bitmap;
    Opened buffer;
    Bytes pixels;
};

// A packed bitmap that the library has given away: where it says, in bitmap layout, these pixels.
void expect_bitmap(HGLOBAL block, const Header &header, const Bytes &pixels) {
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(locks_of(block), 0u);
    const uint64_t at = header.own_pixels_at();
    ASSERT_GE(GlobalSize(block), at + header.shape.bitmap_bytes(false));
    const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(packed_pixels(bytes_at(memory + at, header.shape.bitmap_bytes(false)), header.shape),
              pixels);
    GlobalUnlock(block);
}

void expect_shares(HBUF32 duplicate, HBUF32 source) {
    EXPECT_TRUE(is_duplicate(duplicate));
    EXPECT_EQ(source_of(duplicate), source);
    EXPECT_EQ(word(duplicate, field_self), duplicate);
}

void expect_shares_nothing(HBUF32 buffer) {
    EXPECT_FALSE(is_duplicate(buffer));
    for (int field : {field_share_marker, field_source, field_previous_sharer, field_next_sharer})
        EXPECT_EQ(word(buffer, field), 0u) << "field " << field;
    EXPECT_EQ(word(buffer, field_self), buffer);
}

void expect_no_sharers(HBUF32 buffer) {
    EXPECT_EQ(word(buffer, field_first_sharer), 0u);
    EXPECT_EQ(word(buffer, field_last_sharer), 0u);
}

// Everything that writes; each leaves other pixels.
struct Write {
    const char *name;
    int (*write)(HBUF32 buffer);
};

const Write writes[] = {
    {"lock 2",
     [](HBUF32 buffer) {
         void *base = nullptr;
         const int result = api().buf32Lock(buffer, BUF32_WRITE, &base);
         if (result == 1) {
             static_cast<uint8_t *>(base)[0] ^= 0xFF;
             api().buf32Unlock(buffer);
         }
         return result;
     }},
    {"lock 3",
     [](HBUF32 buffer) {
         void *base = nullptr;
         const int result = api().buf32Lock(buffer, BUF32_WRITE_3, &base);
         if (result == 1) {
             static_cast<uint8_t *>(base)[0] ^= 0xFF;
             api().buf32Unlock(buffer);
         }
         return result;
     }},
    {"lock 4",
     [](HBUF32 buffer) {
         void *base = nullptr;
         const int result = api().buf32Lock(buffer, BUF32_OVERWRITE, &base);
         if (result == 1) {
             static_cast<uint8_t *>(base)[0] ^= 0xFF;
             api().buf32Unlock(buffer);
         }
         return result;
     }},
    {"cell lock",
     [](HBUF32 buffer) {
         // The mode of an earlier write lock, kept in the record.
         set_word(buffer, field_access_mode, BUF32_WRITE);
         void *address = nullptr;
         const int result = api().buf32CellLock(buffer, 0, &address, nullptr);
         if (result == 1) {
             static_cast<uint8_t *>(address)[0] ^= 0xFF;
             api().buf32CellUnlock(buffer, 0);
         }
         return result;
     }},
    {"row",
     [](HBUF32 buffer) {
         Bytes row(shape_of(buffer).row_bytes(), 0x5A);
         api().buf32Lock(buffer, BUF32_READ, nullptr);
         const int result = api().buf32Line(buffer, 1, BUF32_LINE_WRITE, row.data());
         api().buf32Unlock(buffer);
         return result;
     }},
    {"rectangle",
     [](HBUF32 buffer) {
         uint8_t pixel[8] = {};
         api().buf32GetMem(buffer, 1, 0, 1, 1, pixel);
         for (uint8_t &byte : pixel)
             byte ^= 0xFF;
         return api().buf32MergeMem(buffer, 1, 0, pixel, 1, 1);
     }},
    {"another buffer",
     [](HBUF32 buffer) {
         const Shape shape = shape_of(buffer);
         Buffer other(shape.bits, shape.width, shape.height);
         return api().buf32MergeBuf(other, 0, 0, 2, 2, buffer, 0, 0);
     }},
    {"one colour",
     [](HBUF32 buffer) {
         const uint8_t colour = 0x5A;
         return api().buf32FillOneColor(buffer, &colour);
     }},
    {"pattern",
     [](HBUF32 buffer) {
         const uint8_t pixels[8] = {0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5, 0x5A, 0xA5};
         const BUF32PATTERN pattern{1, 1, pixels};
         return api().buf32FillPattern(buffer, &pattern);
     }},
    {"there and back",
     [](HBUF32 buffer) {
         const int result = api().buf32DIBBufToDIB(buffer) != nullptr;
         return result == 1 ? api().buf32DIBToDIBBuf(buffer) : 0;
     }},
};

const Header headers[] = {{{1, 33, 7}},  {{4, 9, 5}},  {{8, 20, 6}},
                          {{16, 7, 5}},  {{24, 3, 2}}, {{24, 33, 9}, 40, rgb, 5},
                          {{32, 11, 4}}, {{64, 3, 3}}, {{16, 7, 5}, 124, code_r565, 3}};

// --- making duplicates -----------------------------------------------------------------------

TEST_F(BitmapSharing, NewDuplicatesHaveRecordsOfTheirOwn) {
    for (const Header &header : headers) {
        SCOPED_TRACE(header.text());
        Source source(header);
        api().buf32Lock(source, 7, nullptr);
        FailingCall copies("GlobalLock", 0);
        const Opened first(duplicate_of(source)), second(duplicate_of(source));
        EXPECT_EQ(copies.calls(), 0); // no block is touched
        EXPECT_EQ(source.bitmap.locks(), 1u);
        for (HBUF32 duplicate : {HBUF32(first), HBUF32(second)}) {
            const auto same = [&](int from, int to) {
                for (int field = from; field <= to; ++field)
                    EXPECT_EQ(word(duplicate, field), word(source, field)) << "field " << field;
            };
            EXPECT_EQ(word(duplicate, field_type), 8u);
            EXPECT_EQ(word(duplicate, field_data_handle), 0u);
            same(field_bits_per_pixel, field_cell_bytes);
            EXPECT_EQ(word(duplicate, field_lock_count), 0u);
            EXPECT_EQ(word(duplicate, field_access_mode), 0u);
            same(field_last_column_cell_bytes, field_row_bytes);
            for (int field :
                 {field_mapping, field_storage, field_file, field_first_sharer, field_last_sharer})
                EXPECT_EQ(word(duplicate, field), 0u) << "field " << field;
            EXPECT_EQ(word(duplicate, field_record_entry), 0xFFFFFFFFu);
            same(field_operations, field_operations + 15);
            expect_shares(duplicate, source);
        }
        // The chain, in the order of duplication.
        EXPECT_EQ(word(source, field_first_sharer), node_of(first));
        EXPECT_EQ(word(source, field_last_sharer), node_of(second));
        EXPECT_EQ(word(first, field_next_sharer), node_of(second));
        EXPECT_EQ(word(second, field_previous_sharer), node_of(first));
        EXPECT_EQ(word(first, field_previous_sharer), 0u);
        EXPECT_EQ(word(second, field_next_sharer), 0u);
        HBUF32 handles[3] = {};
        ASSERT_EQ(api().buf32CountBuf(handles), 3);
        EXPECT_EQ(handles[1], HBUF32(first));
        EXPECT_EQ(handles[2], HBUF32(second));
        EXPECT_EQ(memory_in_use(), 0u);
        api().buf32Unlock(source);
    }
}

// Every way of reading reaches the source's rows.
TEST_F(BitmapSharing, DuplicatesReadTheSourcesPixels) {
    for (const Header &header : headers) {
        SCOPED_TRACE(header.text());
        Source source(header);
        const Opened duplicate(duplicate_of(source));
        const auto *const storage = reinterpret_cast<uint8_t *>(word(source, field_storage));
        void *base = nullptr;
        EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_READ, &base));
        EXPECT_EQ(base, storage);
        void *address = nullptr;
        EXPECT_SUCCESS(api().buf32CellLock(duplicate, 0, &address, nullptr));
        EXPECT_EQ(address, storage);
        FencedBlock row(header.shape.row_bytes());
        for (int y = 0; y < header.shape.height; ++y) {
            EXPECT_SUCCESS(api().buf32Line(duplicate, y, BUF32_LINE_READ, row.data()));
            EXPECT_EQ(bytes_at(row.data(), row.size()),
                      bytes_at(storage + size_t(y) * row.size(), row.size()));
        }
        EXPECT_SUCCESS(api().buf32CellUnlock(duplicate, 0));
        EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        EXPECT_EQ(api().buf32PointAddr(duplicate, 1, 1),
                  storage + header.shape.row_bytes() + header.shape.bits / 8);
        EXPECT_EQ(read_pixels(duplicate), read_pixels(source));
        HBUF32 copy = 0;
        EXPECT_SUCCESS(
            api().buf32GetBuf(duplicate, 0, 0, header.shape.width, header.shape.height, &copy));
        EXPECT_EQ(word(copy, field_type), 0u);
        EXPECT_EQ(read_pixels(copy), read_pixels(source));
        EXPECT_SUCCESS(api().buf32Free(copy));
        expect_shares(duplicate, source);
        EXPECT_EQ(word(source, field_lock_count), 0u);
        EXPECT_EQ(word(duplicate, field_data_handle), 0u);
    }
}

// A duplicate of a duplicate shares with the first source.
TEST_F(BitmapSharing, DuplicatesOfDuplicates) {
    Source source(Header{{24, 33, 9}});
    const Opened first(duplicate_of(source));
    const Opened second(duplicate_of(first)), third(duplicate_of(second));
    for (HBUF32 duplicate : {HBUF32(first), HBUF32(second), HBUF32(third)}) {
        expect_shares(duplicate, source);
        EXPECT_EQ(pixels_of(duplicate), source.pixels);
    }
    expect_no_sharers(first);
    expect_no_sharers(second);
    EXPECT_EQ(word(source, field_last_sharer), node_of(third));
}

TEST_F(BitmapSharing, OfOtherTypesAndSizesAreRefused) {
    Source source(Header{{24, 20, 10}});
    const auto refused = [&](HBUF32 from, HBUF32 to, const Failure &failure) {
        HBUF32 handle = to;
        EXPECT_EQ(api().buf32DupBuf(from, &handle), 0);
        expect_report(failure);
        EXPECT_EQ(handle, to);
        expect_shares_nothing(to);
        expect_no_sharers(from);
    };
    for (uint32_t type : {0u, 2u, 4u, 16u}) {
        Buffer other(24, 20, 10, type);
        refused(source, other, {3200, 0, 1, 3});
        refused(other, source, {4026, 1, 3, 6});
        Buffer smaller(24, 19, 10, type); // the type is looked at first
        refused(source, smaller, {3200, 0, 1, 3});
    }
    for (const Shape &shape : {Shape{24, 19, 10}, Shape{24, 20, 11}, Shape{32, 20, 10},
                               Shape{16, 20, 10}, Shape{24, 10, 20}}) {
        Bytes pixels(shape.bitmap_bytes());
        Opened other(shape, pixels.data());
        refused(source, other, {3200, 0, 1, 4});
        refused(other, source, {3200, 0, 1, 4});
    }
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, nullptr));
    HBUF32 handle = 0;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(0, &handle));
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(pixels_of(source), source.pixels);
}

TEST_F(BitmapSharing, IntoItselfAndTwiceFailInSilence) {
    Source source(Header{{24, 20, 10}});
    HBUF32 handle = source;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, &handle));
    EXPECT_EQ(handle, HBUF32(source));
    const Opened duplicate(duplicate_of(source)), other(duplicate_of(source));
    handle = duplicate;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, &handle)); // a second time
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(duplicate, &handle));
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(other, &handle)); // the same source
    EXPECT_EQ(handle, HBUF32(duplicate));
    handle = source;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(duplicate, &handle)); // its own source
    EXPECT_EQ(handle, HBUF32(source));
    expect_shares(duplicate, source);
    expect_shares(other, source);
    expect_shares_nothing(source);
    EXPECT_EQ(word(duplicate, field_data_handle), 0u);
    EXPECT_EQ(pixels_of(duplicate), source.pixels);
}

// --- writing ---------------------------------------------------------------------------------

TEST_F(BitmapSharing, WritingADuplicateGivesItABitmapOfItsOwn) {
    for (const Header &header : headers) {
        for (const Write &write : writes) {
            SCOPED_TRACE(header.text() + ", " + write.name);
            Source source(header);
            const Bytes opened = source.bitmap.bytes();
            Opened twin(duplicate_of(source)), duplicate(duplicate_of(source));
            EXPECT_EQ(write.write(duplicate), 1);
            expect_no_report();
            expect_shares_nothing(duplicate);
            EXPECT_NE(word(duplicate, field_storage), 0u);
            EXPECT_NE(word(duplicate, field_storage), word(source, field_storage));
            EXPECT_NE(block_under(duplicate), nullptr);
            EXPECT_EQ(locks_of(block_under(duplicate)), 1u);
            EXPECT_EQ(source.bitmap.bytes(), opened);
            EXPECT_EQ(source.bitmap.locks(), 1u);
            expect_shares(twin, source);
            EXPECT_EQ(word(source, field_first_sharer), node_of(twin));
            EXPECT_EQ(word(source, field_last_sharer), node_of(twin));
            EXPECT_EQ(pixels_of(twin), source.pixels);
            // The same write to the source gives the same pixels.
            const Bytes written = pixels_of(duplicate);
            EXPECT_EQ(write.write(source), 1);
            EXPECT_EQ(pixels_of(source), written);
            EXPECT_EQ(pixels_of(twin), source.pixels);
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(mapped_bytes(), 0u);
            expect_no_report();
        }
    }
}

TEST_F(BitmapSharing, WritingTheSourceGivesTheFirstDuplicateABitmap) {
    for (const Header &header : headers) {
        for (const Write &write : writes) {
            SCOPED_TRACE(header.text() + ", " + write.name);
            Source source(header);
            const uint32_t storage = word(source, field_storage);
            Opened first(duplicate_of(source)), second(duplicate_of(source)),
                third(duplicate_of(source));
            EXPECT_EQ(write.write(source), 1);
            expect_no_report();
            EXPECT_EQ(word(source, field_storage), storage);
            EXPECT_EQ(block_under(source), HGLOBAL(source.bitmap));
            EXPECT_EQ(source.bitmap.locks(), 1u);
            expect_no_sharers(source);
            expect_shares_nothing(first);
            EXPECT_EQ(locks_of(block_under(first)), 1u);
            expect_shares(second, first);
            expect_shares(third, first);
            EXPECT_EQ(word(first, field_first_sharer), node_of(second));
            EXPECT_EQ(word(second, field_next_sharer), node_of(third));
            EXPECT_EQ(word(first, field_last_sharer), node_of(third));
            EXPECT_EQ(word(second, field_data_handle), 0u);
            for (HBUF32 duplicate : {HBUF32(first), HBUF32(second), HBUF32(third)})
                EXPECT_EQ(pixels_of(duplicate), source.pixels);
            if (std::string(write.name) != "there and back") {
                EXPECT_NE(pixels_of(source), source.pixels);
            }
        }
    }
}

// Reading in all its forms, and what only looks like a write, parts nobody.
TEST_F(BitmapSharing, ReadingPartsNobody) {
    Source source(Header{{24, 20, 10}});
    const Opened duplicate(duplicate_of(source));
    for (HBUF32 buffer : {HBUF32(source), HBUF32(duplicate)}) {
        for (int mode : {1, 0, 5, -2}) {
            EXPECT_SUCCESS(api().buf32Lock(buffer, mode, nullptr));
            EXPECT_SUCCESS(api().buf32CellLock(buffer, 0, nullptr, nullptr));
            EXPECT_SUCCESS(api().buf32Unlock(buffer));
            EXPECT_SUCCESS(api().buf32Unlock(buffer));
        }
        uint8_t memory[600];
        EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -1, -1, 5, 5, memory, memory));
        EXPECT_FAILURE(api().buf32MergeMem(buffer, 20, 0, memory, 5, 5), 3200, 1, 3, 14);
        EXPECT_SUCCESS(api().buf32MergeBuf(buffer, 0, 0, 5, 5, buffer, 20, 0));
        EXPECT_FAILURE(api().buf32FillOneColor(buffer, nullptr), 3200, 0, 4, 6);
        const BUF32PATTERN nothing{0, 1, memory};
        EXPECT_FAILURE(api().buf32FillPattern(buffer, &nothing), 3200, 0, 1, 1);
        expect_shares(duplicate, source);
    }
    EXPECT_EQ(word(duplicate, field_data_handle), 0u);
}

// --- the private copy ------------------------------------------------------------------------

// A moveable block of the same size with the same header and table. The pixels lie by a rule that
// differs from the one for opening: 16 and 32 bits have a table here.
TEST_F(BitmapSharing, PrivateCopiesFollowARuleOfTheirOwn) {
    const struct {
        int bits;
        uint32_t size, colours;
        uint32_t at; // worked out by hand
    } bitmaps[] = {
        {1, 40, 0, 48},      {1, 20, 1, 28},      {1, 40, 7, 68},      {4, 40, 0, 104},
        {4, 36, 3, 48},      {8, 40, 0, 1064},    {8, 32, 9, 1056},    {8, 40, 9, 76},
        {8, 124, 0, 1148},   {15, 40, 0, 131112}, {16, 40, 0, 262184}, {16, 20, 3, 262164},
        {16, 36, 0, 262180}, {16, 40, 3, 52},     {16, 108, 3, 120},   {17, 40, 0, 524328},
        {24, 40, 0, 40},     {24, 20, 0, 20},     {24, 40, 2, 48},     {24, 36, 2, 44},
        {24, 124, 0, 124},   {32, 40, 0, 44},     {32, 20, 1, 24},     {32, 40, 3, 52},
        {32, 124, 0, 128},   {33, 40, 0, 48},     {36, 40, 0, 104},    {40, 40, 0, 1064},
        {48, 40, 0, 262184}, {48, 40, 1, 44},     {64, 40, 0, 44},     {64, 36, 0, 40},
    };
    for (const auto &expected : bitmaps) {
        const Header header{{expected.bits, 7, 3}, expected.size, rgb, expected.colours};
        SCOPED_TRACE(header.text());
        ASSERT_EQ(header.own_pixels_at(), expected.at);
        Source source(header);
        Opened duplicate(duplicate_of(source));
        ObservedCalls calls;
        EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_WRITE, nullptr));
        EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        ASSERT_EQ(calls.global_blocks().size(), 1u);
        EXPECT_NE(calls.global_blocks()[0].flags & GMEM_MOVEABLE, 0u);
        const size_t least = expected.at + header.shape.bitmap_bytes(false);
        const size_t same = GlobalSize(source.bitmap);
        EXPECT_GE(calls.global_blocks()[0].bytes, std::max(least, same));
        if (expected.at <= header.pixels_at()) {
            EXPECT_EQ(calls.global_blocks()[0].bytes, same);
        }
        const HGLOBAL block = block_under(duplicate);
        ASSERT_NE(block, nullptr);
        EXPECT_NE(block, HGLOBAL(source.bitmap));
        EXPECT_EQ(locks_of(block), 1u);
        const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
        GlobalUnlock(block);
        EXPECT_EQ(word(duplicate, field_storage), uint32_t(uintptr_t(memory)) + expected.at);
        for (int y = 0; y < 3; ++y)
            EXPECT_EQ(cell_address_word(duplicate, y),
                      word(duplicate, field_storage) +
                          uint32_t(y) * uint32_t(header.shape.row_bytes()));
        const size_t shared = std::min<size_t>(header.pixels_at(), expected.at);
        EXPECT_EQ(bytes_at(memory, shared),
                  Bytes(source.block.begin(), source.block.begin() + ptrdiff_t(shared)));
        EXPECT_EQ(pixels_of(duplicate), source.pixels);
        EXPECT_EQ(word(duplicate, field_format_depth), word(source, field_format_depth));
        // Closing gives the block, with the pixels in bitmap layout at the same place.
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, block);
        expect_bitmap(given, header, source.pixels);
        free_block(given);
    }
}

// Where both rules agree, closing a duplicate gives a bitmap that can be opened again.
TEST_F(BitmapSharing, PrivateCopiesAreBitmaps) {
    for (const Header &header : {Header{{1, 33, 7}}, Header{{8, 20, 6}}, Header{{24, 33, 9}},
                                 Header{{16, 7, 5}, 40, code_r565, 3}}) {
        SCOPED_TRACE(header.text());
        Source source(header);
        Opened duplicate(duplicate_of(source));
        const HGLOBAL under = api().buf32DIBBufToDIB(duplicate);
        expect_no_report();
        ASSERT_NE(under, nullptr);
        EXPECT_EQ(under, block_under(duplicate));
        EXPECT_SUCCESS(api().buf32DIBToDIBBuf(duplicate));
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, under);
        {
            Opened again(given);
            ASSERT_TRUE(again);
            EXPECT_EQ(pixels_of(again), source.pixels);
        }
        free_block(given);
    }
}

// A duplicate of a bare block gets a block with a header made from the geometry.
TEST_F(BitmapSharing, PrivateCopiesOfABareBlockAreBitmapsToo) {
    Random random(test_seed(), 3);
    for (int bits : {1, 2, 4, 7, 8, 12, 15, 16, 17, 24, 32, 33, 48, 64}) {
        const Shape shape{bits, 33, 5};
        SCOPED_TRACE(shape.text());
        FencedBlock bare(shape.bitmap_bytes(false));
        random.fill(std::span(bare.data(), bare.size()));
        const Bytes pixels = packed_pixels(bytes_at(bare.data(), bare.size()), shape);
        Opened source(shape, bare.data());
        Opened duplicate(duplicate_of(source));
        EXPECT_EQ(pixels_of(duplicate), pixels);
        EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_WRITE, nullptr));
        EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        EXPECT_EQ(pixels_of(duplicate), pixels);
        const HGLOBAL block = block_under(duplicate);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(locks_of(block), 1u);
        const auto *const memory = static_cast<const uint8_t *>(GlobalLock(block));
        BITMAPINFOHEADER info;
        std::memcpy(&info, memory, sizeof info);
        GlobalUnlock(block);
        EXPECT_GE(info.biSize, 40u);
        EXPECT_EQ(info.biWidth, 33);
        EXPECT_EQ(info.biHeight, 5);
        EXPECT_EQ(info.biBitCount, bits);
        EXPECT_EQ(info.biPlanes, 1);
        EXPECT_EQ(info.biCompression, rgb);
        const Header header{shape, info.biSize, rgb, info.biClrUsed};
        EXPECT_EQ(word(duplicate, field_storage) - uint32_t(uintptr_t(memory)),
                  header.own_pixels_at());
        const HGLOBAL given = duplicate.close();
        EXPECT_EQ(given, block);
        expect_bitmap(given, header, pixels);
        free_block(given);
    }
}

// The copy is made of what the source holds, not of what its header says in the meantime.
TEST_F(BitmapSharing, PrivateCopiesSurviveAHeaderThatHasChanged) {
    for (uint32_t colours : {0u, 256u, 0xFFFFFFFFu, 0x40000000u, 0x3FFFFFFFu}) {
        for (uint32_t size : {40u, 0u, 12u, 36u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(colours) + ", " + std::to_string(size));
            Source source(Header{{24, 20, 10}});
            Opened duplicate(duplicate_of(source));
            auto *const memory = static_cast<uint8_t *>(GlobalLock(source.bitmap));
            std::memcpy(memory, &size, 4);
            std::memcpy(memory + 32, &colours, 4);
            if (api().buf32Lock(duplicate, BUF32_WRITE, nullptr) == 1) {
                EXPECT_EQ(pixels_of(duplicate), source.pixels);
                EXPECT_SUCCESS(api().buf32Unlock(duplicate));
            } else {
                expect_report(no_private_block);
                expect_shares(duplicate, source);
            }
            EXPECT_EQ(pixels_of(source), source.pixels);
            std::memcpy(memory, source.block.data(), 40);
            GlobalUnlock(source.bitmap);
        }
    }
}

// --- closing and freeing ---------------------------------------------------------------------

TEST_F(BitmapSharing, ClosingADuplicateGivesNothingAndTakesNothing) {
    for (const Header &header : headers) {
        SCOPED_TRACE(header.text());
        Source source(header);
        const Bytes opened = source.bitmap.bytes();
        Opened first(duplicate_of(source)), second(duplicate_of(source)),
            third(duplicate_of(source));
        EXPECT_EQ(second.close(), nullptr);
        EXPECT_EQ(word(first, field_next_sharer), node_of(third));
        EXPECT_EQ(word(third, field_previous_sharer), node_of(first));
        EXPECT_EQ(first.close(), nullptr);
        EXPECT_EQ(word(source, field_first_sharer), node_of(third));
        EXPECT_EQ(pixels_of(third), source.pixels);
        third.free();
        expect_no_sharers(source);
        EXPECT_EQ(source.bitmap.bytes(), opened);
        EXPECT_EQ(source.bitmap.locks(), 1u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    }
}

TEST_F(BitmapSharing, ClosingOrFreeingTheSourceGivesTheFirstDuplicateABitmap) {
    for (const Header &header : headers) {
        for (bool close : {true, false}) {
            SCOPED_TRACE(header.text() + (close ? ", closed" : ", freed"));
            Source source(header);
            Opened first(duplicate_of(source)), second(duplicate_of(source)),
                third(duplicate_of(source));
            if (close) {
                EXPECT_EQ(source.buffer.close(), HGLOBAL(source.bitmap));
                EXPECT_EQ(source.bitmap.locks(), 0u);
                const Bytes closed = source.bitmap.bytes();
                EXPECT_EQ(packed_pixels(
                              Bytes(closed.begin() + ptrdiff_t(header.pixels_at()), closed.end()),
                              header.shape),
                          source.pixels);
            } else {
                source.buffer.free();
                EXPECT_EQ(GlobalFlags(source.bitmap), UINT(GMEM_INVALID_HANDLE));
                source.bitmap.gone();
            }
            expect_shares_nothing(first);
            EXPECT_EQ(locks_of(block_under(first)), 1u);
            expect_shares(second, first);
            expect_shares(third, first);
            EXPECT_EQ(word(first, field_first_sharer), node_of(second));
            EXPECT_EQ(word(first, field_last_sharer), node_of(third));
            for (HBUF32 duplicate : {HBUF32(first), HBUF32(second), HBUF32(third)})
                EXPECT_EQ(pixels_of(duplicate), source.pixels);
            EXPECT_EQ(memory_in_use(), 0u);
            // And so on, to the last.
            const HGLOBAL given = first.close();
            expect_bitmap(given, header, source.pixels);
            free_block(given);
            expect_shares(third, second);
            second.free();
            expect_shares_nothing(third);
            EXPECT_EQ(pixels_of(third), source.pixels);
        }
    }
}

TEST_F(BitmapSharing, FreeingABareBlockWithDuplicates) {
    Random random(test_seed(), 5);
    const Shape shape{24, 33, 9};
    FencedBlock bare(shape.bitmap_bytes(false));
    random.fill(std::span(bare.data(), bare.size()));
    const Bytes pixels = packed_pixels(bytes_at(bare.data(), bare.size()), shape);
    for (bool close : {false, true}) {
        Opened source(shape, bare.data());
        Opened first(duplicate_of(source)), second(duplicate_of(source));
        const Bytes opened = pixels_of(source);
        if (close)
            EXPECT_EQ(source.close(), nullptr);
        else
            source.free();
        std::memset(bare.data(), 0xDD, bare.size()); // the caller's again
        EXPECT_EQ(pixels_of(first), opened);
        EXPECT_EQ(pixels_of(second), opened);
    }
    EXPECT_EQ(pixels.size(), shape.packed_bytes());
}

// Sharers are served before the lock is looked at: the caller sees them part, and the buffer stay.
TEST_F(BitmapSharing, ClosingALockedSourceKeepsIt) {
    Source source(Header{{24, 33, 9}});
    Opened first(duplicate_of(source)), second(duplicate_of(source));
    const Bytes opened = source.bitmap.bytes();
    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
    HGLOBAL given = &given;
    EXPECT_SUCCESS(api().buf32DIBBufFree(source, &given));
    EXPECT_EQ(given, &given);
    EXPECT_EQ(source.bitmap.bytes(), opened);
    EXPECT_EQ(source.bitmap.locks(), 1u);
    EXPECT_EQ(word(source, field_lock_count), 1u);
    expect_no_sharers(source);
    expect_shares_nothing(first);
    expect_shares(second, first);
    for (HBUF32 buffer : {HBUF32(source), HBUF32(first), HBUF32(second)})
        EXPECT_EQ(pixels_of(buffer), source.pixels);
    EXPECT_SUCCESS(api().buf32Unlock(source));
}

// A locked duplicate stays too, and whatever is called then, nothing is broken.
TEST_F(BitmapSharing, ClosingALockedDuplicateKeepsIt) {
    Source source(Header{{24, 33, 9}});
    Opened duplicate(duplicate_of(source));
    ASSERT_EQ(api().buf32Lock(duplicate, BUF32_READ, nullptr), 1);
    HGLOBAL given = &given;
    EXPECT_SUCCESS(api().buf32DIBBufFree(duplicate, &given));
    EXPECT_EQ(given, &given);
    EXPECT_EQ(word(duplicate, field_type), 8u);
    EXPECT_EQ(word(duplicate, field_lock_count), 1u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
    EXPECT_EQ(pixels_of(duplicate), source.pixels);
    Bytes memory(33 * 9 * 3);
    api().buf32Line(duplicate, 0, BUF32_LINE_READ, memory.data());
    api().buf32Line(duplicate, 0, BUF32_LINE_WRITE, memory.data());
    api().buf32GetMem(duplicate, 0, 0, 33, 9, memory.data());
    api().buf32MergeMem(duplicate, 0, 0, memory.data(), 33, 9);
    api().buf32PointAddr(duplicate, 0, 0);
    api().buf32FillOneColor(duplicate, memory.data());
    api().buf32DIBToDIBBuf(duplicate);
    forget_reports();
    EXPECT_EQ(pixels_of(source), source.pixels);
    EXPECT_EQ(source.bitmap.locks(), 1u);
    EXPECT_SUCCESS(api().buf32Unlock(duplicate));
}

TEST_F(BitmapSharing, FreeingALockedSourceIsRefusedBeforeAnybodyParts) {
    Source source(Header{{24, 33, 9}});
    const Opened duplicate(duplicate_of(source));
    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
    EXPECT_FAILURE(api().buf32Free(source), 5804, 1, 4, 12);
    expect_shares(duplicate, source);
    EXPECT_EQ(word(duplicate, field_data_handle), 0u);
    EXPECT_SUCCESS(api().buf32Unlock(source));
}

TEST_F(BitmapSharing, UnloadingFreesSourcesAndDuplicates) {
    fresh_library();
    Random random(test_seed(), 6);
    Bitmap bitmap(block_of(Header{{24, 33, 9}}, random)),
        other(block_of(Header{{24, 33, 9}}, random));
    Bytes bare(36 * 9 * 3);
    HBUF32 source = 0, destination = 0, over_bare = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&source, bitmap), 1);
    ASSERT_EQ(api().buf32DIBBufAlloc(&destination, other), 1);
    ASSERT_EQ(api().buf32DIBMemBufAlloc(&over_bare, 24, 33, 9, bare.data()), 1);
    duplicate_of(source);
    const HBUF32 written = duplicate_of(duplicate_of(source));
    api().buf32Lock(written, BUF32_WRITE, nullptr);
    EXPECT_SUCCESS(api().buf32DupBuf(over_bare, &destination));
    api().buf32Lock(duplicate_of(over_bare), BUF32_READ, nullptr);
    api().buf32Lock(source, BUF32_READ, nullptr);
    duplicate_of(written);
    expect_no_report();
    fresh_library(); // checks that the old one left nothing behind
    expect_no_report();
    EXPECT_EQ(GlobalFlags(bitmap), UINT(GMEM_INVALID_HANDLE));
    EXPECT_EQ(GlobalFlags(other), UINT(GMEM_INVALID_HANDLE));
    bitmap.gone();
    other.gone();
}

// At the end there is no memory for anybody's copy: all buffers go all the same.
TEST_F(BitmapSharing, UnloadingWithoutMemoryForCopies) {
    fresh_library();
    Random random(test_seed(), 7);
    Bitmap bitmap(block_of(Header{{24, 33, 9}}, random));
    HBUF32 source = 0;
    ASSERT_EQ(api().buf32DIBBufAlloc(&source, bitmap), 1);
    duplicate_of(source);
    duplicate_of(source);
    {
        FailingCall memory("GlobalAlloc", 1, FailingCall::from_there_on);
        frame::drop_shared_library();
    }
    forget_reports(); // those of the copies
    fresh_library();
    EXPECT_EQ(GlobalFlags(bitmap), UINT(GMEM_INVALID_HANDLE));
    bitmap.gone();
}

// --- duplicates with a bitmap of their own -----------------------------------------------------

// A bitmap that becomes a duplicate keeps its block, and what was in it.
TEST_F(BitmapSharing, ExistingDestinationsKeepTheirBitmap) {
    for (const Header &header : headers) {
        SCOPED_TRACE(header.text());
        Source source(header, 1), other(header, 2);
        const Bytes block = other.bitmap.bytes();
        HBUF32 handle = other;
        EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
        EXPECT_EQ(handle, HBUF32(other));
        expect_shares(other, source);
        EXPECT_EQ(block_under(other), HGLOBAL(other.bitmap));
        EXPECT_EQ(other.bitmap.locks(), 1u);
        EXPECT_EQ(other.bitmap.bytes(), block);
        EXPECT_EQ(pixels_of(other), source.pixels);
        EXPECT_EQ(read_pixels(other), read_pixels(source));
        EXPECT_EQ(api().buf32PointAddr(other, 0, 0), api().buf32PointAddr(source, 0, 0));
        // Closing gives its own bitmap, with its own old pixels.
        EXPECT_EQ(other.buffer.close(), HGLOBAL(other.bitmap));
        EXPECT_EQ(other.bitmap.locks(), 0u);
        const Bytes closed = other.bitmap.bytes();
        const auto at = ptrdiff_t(header.pixels_at());
        EXPECT_EQ(packed_pixels(Bytes(closed.begin() + at, closed.end()), header.shape),
                  other.pixels);
        expect_no_sharers(source);
        EXPECT_EQ(pixels_of(source), source.pixels);
    }
}

// Written, it gets the pixels into its own block: no other is needed.
TEST_F(BitmapSharing, ExistingDestinationsAreWrittenInTheirOwnBlock) {
    for (const Header &header : headers) {
        for (const Write &write : writes) {
            for (bool write_source : {false, true}) {
                SCOPED_TRACE(header.text() + ", " + write.name);
                Source source(header, 1), other(header, 2), model(header, 1);
                const uint32_t storage = word(other, field_storage);
                HBUF32 handle = other;
                EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
                EXPECT_EQ(write.write(write_source ? source : other), 1);
                EXPECT_EQ(write.write(model), 1);
                expect_no_report();
                expect_shares_nothing(other);
                expect_no_sharers(source);
                EXPECT_EQ(word(other, field_storage), storage);
                EXPECT_EQ(block_under(other), HGLOBAL(other.bitmap));
                EXPECT_EQ(other.bitmap.locks(), 1u);
                const Bytes written = pixels_of(model);
                EXPECT_EQ(pixels_of(other), write_source ? source.pixels : written);
                EXPECT_EQ(pixels_of(source), write_source ? written : source.pixels);
                const Bytes block = other.bitmap.bytes();
                EXPECT_EQ(Bytes(block.begin(), block.begin() + ptrdiff_t(header.pixels_at())),
                          Bytes(other.block.begin(),
                                other.block.begin() + ptrdiff_t(header.pixels_at())));
            }
        }
    }
}

// The same when the source goes, between fences.
TEST_F(BitmapSharing, ExistingDestinationsGetTheBytesWhenTheSourceGoes) {
    Random random(test_seed(), 8);
    for (const Shape &shape : {Shape{24, 33, 9}, Shape{1, 9, 5}, Shape{16, 7, 4}}) {
        for (bool close : {true, false}) {
            SCOPED_TRACE(shape.text());
            FencedBlock bare(shape.bitmap_bytes(false)), own(shape.bitmap_bytes(false));
            random.fill(std::span(bare.data(), bare.size()));
            random.fill(std::span(own.data(), own.size()));
            Opened source(shape, bare.data()), other(shape, own.data());
            const Bytes pixels = pixels_of(source);
            HBUF32 handle = other;
            EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
            Opened third(duplicate_of(source));
            if (close)
                EXPECT_EQ(source.close(), nullptr);
            else
                source.free();
            EXPECT_EQ(word(other, field_storage), uint32_t(uintptr_t(own.data())));
            EXPECT_EQ(bytes_at(own.data(), shape.packed_bytes()), pixels);
            expect_shares_nothing(other);
            expect_shares(third, other);
            EXPECT_EQ(pixels_of(third), pixels);
        }
    }
}

// A destination with sharers: they keep its old pixels. One that shares another source: it leaves.
TEST_F(BitmapSharing, ExistingDestinationsWithSharersAndSources) {
    const Header header{{24, 33, 9}};
    Source source(header, 1), other(header, 2), third(header, 3);
    Opened sharer(duplicate_of(other));
    HBUF32 handle = other;
    EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
    expect_shares(other, source);
    expect_no_sharers(other);
    expect_shares_nothing(sharer);
    EXPECT_EQ(pixels_of(sharer), other.pixels);
    EXPECT_EQ(pixels_of(other), source.pixels);
    // From one source to the next.
    EXPECT_SUCCESS(api().buf32DupBuf(third, &handle));
    expect_shares(other, third);
    expect_no_sharers(source);
    EXPECT_EQ(pixels_of(other), third.pixels);
    // A duplicate without a bitmap gets one when it becomes a duplicate of another.
    Opened duplicate(duplicate_of(source));
    handle = duplicate;
    EXPECT_SUCCESS(api().buf32DupBuf(third, &handle));
    expect_shares(duplicate, third);
    EXPECT_EQ(pixels_of(duplicate), third.pixels);
    EXPECT_EQ(pixels_of(source), source.pixels);
    const HGLOBAL given = duplicate.close(); // whatever it has of its own comes back
    if (given != nullptr) {
        expect_bitmap(given, header, source.pixels);
        free_block(given);
    }
}

} // namespace
} // namespace q32::test

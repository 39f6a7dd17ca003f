// Duplicates of bitmaps: they share the source's rows until one side is written, and then get a
// bitmap of their own. Whichever side is written, the other keeps its pixels.
#include "tests/bitmaps/sharing_fixture.h"

namespace q32::test {
namespace {

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
            const uintptr_t storage = word(source, field_storage);
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

} // namespace
} // namespace q32::test

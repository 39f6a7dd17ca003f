// Closing and freeing bitmaps that share: the source gives the first duplicate a block of its own,
// a duplicate just goes, and at the end of the library all go.
#include "tests/bitmaps/sharing_fixture.h"

namespace q32::test {
namespace {

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

} // namespace
} // namespace q32::test

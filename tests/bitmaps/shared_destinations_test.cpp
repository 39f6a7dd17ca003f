// Bitmaps that become duplicates: they keep their own block, with what was in it, until they part
// from the source again.
#include "tests/bitmaps/sharing_fixture.h"

namespace q32::test {
namespace {

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
                const uintptr_t storage = word(other, field_storage);
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
            EXPECT_EQ(word(other, field_storage), uintptr_t(own.data()));
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

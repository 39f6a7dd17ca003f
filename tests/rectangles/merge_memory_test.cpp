// buf32MergeMem: memory over rectangles of ordinary buffers.
#include "tests/frame/edition.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class MergeMemory : public RectangleTest {};

TEST_F(MergeMemory, OfBitsByHand) {
    Buffer buffer(1, 20, 2);
    Picture picture(geometry_of(buffer));
    store(buffer, picture.image); // all zero
    const uint8_t ones[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_SUCCESS(api().buf32MergeMem(buffer, 3, 1, ones, 12, 1));
    const auto *const storage = reinterpret_cast<const uint8_t *>(word(buffer, field_storage));
    EXPECT_EQ(Bytes(storage, storage + 6), (Bytes{0, 0, 0, 0b00011111, 0b11111110, 0}));
    // Two columns left of the image and the row above it are passed over.
    const uint8_t rows[2] = {0b00000000, 0b11101000};
    EXPECT_SUCCESS(api().buf32MergeMem(buffer, -2, -1, rows, 5, 2));
    EXPECT_EQ(storage[0], 0b10100000);
    EXPECT_SUCCESS(api().buf32MergeMem(buffer, 18, 0, ones, 8, 1));
    EXPECT_EQ(storage[2], 0b00110000); // the bits behind the last column stay
    EXPECT_EQ(storage[5], 0);
}

// Memory comes before the size here, and a width is no height.
TEST_F(MergeMemory, TakesMemoryBeforeTheSize) {
    Buffer buffer(8, 30, 20);
    Picture picture(geometry_of(buffer));
    store(buffer, picture.image);
    const uint8_t memory[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_SUCCESS(api().buf32MergeMem(buffer, 5, 7, memory, 3, 2));
    std::memcpy(picture.image.row(7) + 5, memory, 3);
    std::memcpy(picture.image.row(8) + 5, memory + 3, 3);
    expect_pixels(buffer, picture.image);
}

TEST_F(MergeMemory, OfEndlessRectangles) {
    Random random(test_seed(), 6);
    Subject subject(Kind::tiled, 8, 300, 200, random);
    for (const int x : {0, 5, 127, 299}) {
        MemoryBlock block(size_t(300 - x), MemoryBlock::fence_behind, random);
        std::memcpy(subject.picture.image.row(7) + x, block.data(), block.size());
        EXPECT_SUCCESS(api().buf32MergeMem(subject, x, 7, block.data(), INT_MAX, 1));
        subject.expect_picture();
    }
    for (const int y : {0, 5, 199}) {
        MemoryBlock block(size_t(200 - y), MemoryBlock::fence_behind, random);
        for (int row = y; row < 200; ++row)
            subject.picture.image.row(size_t(row))[3] = block.data()[row - y];
        EXPECT_SUCCESS(api().buf32MergeMem(subject, 3, y, block.data(), 1, INT_MAX));
        subject.expect_picture();
    }
}

// As in GetMemory.IntoBlocksBeyondTheAddressSpace.
TEST_F(MergeMemory, FromBlocksBeyondTheAddressSpace) {
    constexpr int many = 2000000000;
    Buffer buffer(24, 30, 20);
    const PlainImage image = fill_and_check(buffer);
    const uint8_t memory[1] = {7};
    if constexpr (frame::is_64_bit) { // 23456 rows fit
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, -many, memory, many, many + 20));
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, -23457, memory, many, 23458));
        EXPECT_SILENT_FAILURE(
            api().buf32MergeMem(buffer, -many, -many, memory, many + 1, many + 1));
    } else {
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, 0, memory, many, 2));
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, -many, memory, 30, many + 20));
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, -many, 0, memory, many + 1, 1));
    }
    EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, 0, before_the_end(2), 1, 1));
    EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 3, 3, before_the_end(26), 3, 3));
    EXPECT_EQ(read_rows(buffer).bytes(), image.bytes());
}

TEST_F(MergeMemory, ArgumentsAreCheckedMemoryFirst) {
    Buffer buffer(8, 30, 20);
    const PlainImage image = fill_and_check(buffer);
    const uint8_t memory[1] = {7};
    EXPECT_REPORT(api().buf32MergeMem(buffer, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32MergeMem(buffer, 99, 0, nullptr, 1, 1), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32MergeMem(0, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
    EXPECT_SILENT_FAILURE(api().buf32MergeMem(0, 0, 0, memory, 1, 1));
    expect_pixels(buffer, image);
}

TEST_F(MergeMemory, KeepsLocksAndMode) {
    Random random(test_seed(), 7);
    for (Kind kind : writable_kinds) {
        SCOPED_TRACE(name_of(kind));
        for (int bits : {4, 24}) {
            Subject subject(kind, bits, 300, 200, random);
            ASSERT_EQ(api().buf32Lock(subject, 77, nullptr), 1);
            check_merge_memory(subject, {100, 100, 90, 50}, MemoryBlock::fence_behind, random);
            EXPECT_EQ(word(subject, field_lock_count), 1u);
            EXPECT_EQ(word(subject, field_access_mode), 77u);
            ASSERT_EQ(api().buf32Unlock(subject), 1);
            subject.expect_picture();
        }
    }
}

// Who writes gets pixels of its own, and only then: the other keeps what it showed.
TEST_F(MergeMemory, IntoADuplicateGivesItPixelsOfItsOwn) {
    Random random(test_seed(), 8);
    Subject subject(Kind::duplicate, 24, 300, 200, random);
    EXPECT_EQ(memory_in_use(), 180000u);
    EXPECT_EQ(word(subject, field_storage), 0u);
    check_merge_memory(subject, {10, 10, 1, 1}, MemoryBlock::fence_behind, random);
    EXPECT_EQ(memory_in_use(), 360000u);
    EXPECT_EQ(word(subject, field_share_marker), 0u);
    EXPECT_NE(word(subject, field_storage), 0u);
    EXPECT_EQ(word(subject.partner(), field_first_sharer), 0u);
    subject.expect_picture();
}

TEST_F(MergeMemory, IntoASourceGivesItsDuplicateTheOldPixels) {
    Random random(test_seed(), 9);
    Subject subject(Kind::shared, 24, 300, 200, random);
    const uintptr_t storage = word(subject, field_storage);
    check_merge_memory(subject, {10, 10, 1, 1}, MemoryBlock::fence_behind, random);
    EXPECT_EQ(memory_in_use(), 360000u);
    EXPECT_EQ(word(subject, field_storage), storage);
    EXPECT_EQ(word(subject.partner(), field_share_marker), 0u);
    EXPECT_NE(word(subject.partner(), field_storage), 0u);
    subject.expect_picture();
}

// A duplicate that cannot have pixels of its own keeps those that it shares.
TEST_F(MergeMemory, WithoutStorageForItsOwnPixelsChangesNothing) {
    Random random(test_seed(), 10);
    for (Kind kind : {Kind::duplicate, Kind::shared, Kind::linear_duplicate}) {
        SCOPED_TRACE(name_of(kind));
        for (int bits : {1, 24}) {
            Subject subject(kind, bits, 300, 200, random);
            const size_t in_use = memory_in_use();
            MemoryBlock block(4 * 4 * 3, MemoryBlock::fence_behind, random);
            {
                const NoStorage none;
                EXPECT_REPORT(api().buf32MergeMem(subject, 126, 126, block.data(), 4, 4), 1001, 0,
                              4, 3);
                EXPECT_EQ(memory_in_use(), in_use);
                subject.expect_picture();
            }
            check_merge_memory(subject, {126, 126, 4, 4}, MemoryBlock::fence_behind, random);
            subject.expect_picture();
        }
    }
}

TEST_F(MergeMemory, EndsWithTheRowsOfAShrunkBuffer) {
    Random random(test_seed(), 11);
    for (Kind kind : {Kind::linear_memory, Kind::linear_shrink}) {
        Subject subject(kind, 24, 300, 200, random);
        ASSERT_EQ(api().buf32ReAlloc(subject, 20), 1);
        Picture shrunk(Geometry(300, 20, 24, BUF32_LINEAR));
        for (size_t y = 0; y < 20; ++y)
            std::memcpy(shrunk.image.row(y), subject.picture.image.row(y), 900);
        subject.picture = shrunk;
        check_merge_memory(subject, {-5, -5, 310, 210}, MemoryBlock::fence_behind, random);
        expect_rows(subject, subject.picture);
        const uint8_t memory[3] = {};
        EXPECT_REPORT(api().buf32MergeMem(subject, 0, 20, memory, 1, 1), 3200, 1, 3, 14);
    }
}

} // namespace
} // namespace q32::test

// buf32GetMem: rectangles of ordinary buffers into memory.
#include "tests/frame/edition.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class GetMemory : public RectangleTest {};

// Worked out by hand: the first pixel that lies in the image is written 10 pixels into each row.
TEST_F(GetMemory, LeavesRoomForPixelsLeftOfTheImage) {
    Buffer buffer(24, 300, 200);
    Picture picture(geometry_of(buffer));
    uint8_t *const row = picture.image.row(0);
    for (uint8_t i = 0; i < 6; ++i)
        row[i] = uint8_t(i + 1);
    store(buffer, picture.image);
    Bytes memory(2 * 12 * 3, 0xCC), expected = memory;
    for (size_t i = 0; i < 6; ++i)
        expected[30 + i] = uint8_t(i + 1);
    std::memset(&expected[36 + 30], 0, 6); // row 1 of the image is zero
    EXPECT_SUCCESS(api().buf32GetMem(buffer, -10, 0, 12, 2, memory.data()));
    EXPECT_EQ(memory, expected);
    // And one row down for a row above.
    memory.assign(72, 0xCC);
    expected.assign(72, 0xCC);
    for (size_t i = 0; i < 6; ++i)
        expected[36 + 30 + i] = uint8_t(i + 1);
    EXPECT_SUCCESS(api().buf32GetMem(buffer, -10, -1, 12, 2, memory.data()));
    EXPECT_EQ(memory, expected);
}

TEST_F(GetMemory, OfBitsByHand) {
    Buffer buffer(1, 20, 2);
    Picture picture(geometry_of(buffer));
    const uint8_t rows[2][3] = {{0b10110011, 0b01010101, 0b11110000},
                                {0b00001111, 0b11001100, 0b00010000}};
    std::memcpy(picture.image.row(0), rows, 6);
    store(buffer, picture.image);
    // Columns 3 to 14: 10011 0101010; and 01111 1100110. Four bits of each second byte stay.
    uint8_t memory[4] = {0xFF, 0xFF, 0x00, 0x00};
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 3, 0, 12, 2, memory));
    EXPECT_EQ(memory[0], 0b10011010);
    EXPECT_EQ(memory[1], 0b10101111);
    EXPECT_EQ(memory[2], 0b01111110);
    EXPECT_EQ(memory[3], 0b01100000);
    // Two columns left of the image, three inside, the rest of the byte stays.
    memory[0] = 0b01000110;
    EXPECT_SUCCESS(api().buf32GetMem(buffer, -2, 0, 5, 1, memory));
    EXPECT_EQ(memory[0], 0b01101110);
    // The last two columns, and three behind the image.
    memory[0] = 0b10111111;
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 18, 1, 5, 1, memory));
    EXPECT_EQ(memory[0], 0b01111111);
}

TEST_F(GetMemory, OfFourBitPixelsByHand) {
    Buffer buffer(4, 5, 1);
    Picture picture(geometry_of(buffer));
    const uint8_t row[3] = {0x12, 0x34, 0x5F};
    std::memcpy(picture.image.row(0), row, 3);
    store(buffer, picture.image);
    uint8_t memory[2] = {0xAB, 0xCD};
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 1, 0, 3, 1, memory));
    EXPECT_EQ(memory[0], 0x23);
    EXPECT_EQ(memory[1], 0x4D);
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 4, 0, 3, 1, memory));
    EXPECT_EQ(memory[0], 0x53);
    EXPECT_EQ(memory[1], 0x4D);
}

// 12-bit pixels are packed to the bit in rows; rectangles move one byte for each, from the start of
// its cell.
TEST_F(GetMemory, OfTwelveBitPixelsByHand) {
    Buffer buffer(12, 130, 1);
    Picture picture(geometry_of(buffer));
    for (size_t i = 0; i < picture.image.row_bytes(); ++i)
        picture.image.row(0)[i] = uint8_t(i);
    store(buffer, picture.image);
    uint8_t memory[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 126, 0, 5, 1, memory));
    EXPECT_EQ(memory[0], 126);
    EXPECT_EQ(memory[1], 127);
    EXPECT_EQ(memory[2], 192); // the second cell begins behind 128 x 12 / 8 bytes
    EXPECT_EQ(memory[3], 193);
    EXPECT_EQ(memory[4], 0xEE);
}

// Sides beyond all numbers are as good as any beyond the image.
TEST_F(GetMemory, OfEndlessRectangles) {
    Random random(test_seed(), 6);
    Subject subject(Kind::tiled, 8, 300, 200, random);
    for (const int x : {0, 5, 127, 299}) {
        MemoryBlock block(size_t(300 - x), MemoryBlock::fence_behind, random);
        Bytes expected(subject.picture.image.row(7) + x, subject.picture.image.row(7) + 300);
        EXPECT_SUCCESS(api().buf32GetMem(subject, x, 7, INT_MAX, 1, block.data()));
        block.expect(expected);
    }
    for (const int y : {0, 5, 199}) {
        MemoryBlock block(size_t(200 - y), MemoryBlock::fence_behind, random);
        Bytes expected;
        for (int row = y; row < 200; ++row)
            expected.push_back(subject.picture.image.row(size_t(row))[3]);
        EXPECT_SUCCESS(api().buf32GetMem(subject, 3, y, 1, INT_MAX, block.data()));
        block.expect(expected);
    }
}

// Nothing is touched where the address space has no room for the caller's block: 2 000 000 000
// pixels of 24 bits to a row, two of which begin in the image, or as many rows above it.
TEST_F(GetMemory, IntoBlocksBeyondTheAddressSpace) {
    constexpr int many = 2000000000;
    const Buffer buffer(24, 30, 20);
    uint8_t memory[1] = {7};
    if constexpr (frame::is_64_bit) { // 23456 rows fit
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, -many, many, many + 20, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, -23457, many, 23458, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, -many, -many, many + 1, many + 1, memory));
    } else {
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, many, 2, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, -many, 30, many + 20, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, -many, 0, many + 1, 1, memory));
    }
    EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, 1, 1, before_the_end(2)));
    EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 3, 3, 3, 3, before_the_end(26)));
    EXPECT_EQ(memory[0], 7);
}

TEST_F(GetMemory, ArgumentsAreCheckedMemoryFirst) {
    Buffer buffer(8, 30, 20);
    uint8_t memory[1] = {7};
    EXPECT_REPORT(api().buf32GetMem(buffer, 0, 0, 1, 1, nullptr), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32GetMem(buffer, 99, 0, 1, 1, nullptr), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32GetMem(0, 0, 0, 1, 1, nullptr), 3200, 0, 4, 6);
    EXPECT_SILENT_FAILURE(api().buf32GetMem(0, 0, 0, 1, 1, memory));
    EXPECT_EQ(memory[0], 7);
}

TEST_F(GetMemory, WithoutAnEntryIsRefusedInSilence) {
    Buffer buffer(8, 30, 20);
    uint8_t memory[1] = {7};
    const uintptr_t entry = word(buffer, field_of(entry_get_memory));
    set_word(buffer, field_of(entry_get_memory), 0);
    EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, 1, 1, memory));
    set_word(buffer, field_of(entry_get_memory), entry);
    EXPECT_EQ(memory[0], 7);
}

TEST_F(GetMemory, KeepsLocksAndMode) {
    Random random(test_seed(), 7);
    for (Kind kind : all_kinds) {
        SCOPED_TRACE(name_of(kind));
        for (int bits : {4, 24}) {
            Subject subject(kind, bits, 300, 200, random);
            ASSERT_EQ(api().buf32Lock(subject, 77, nullptr), 1);
            check_get_memory(subject, {100, 100, 90, 50}, MemoryBlock::fence_behind, random);
            EXPECT_EQ(word(subject, field_lock_count), 1u);
            EXPECT_EQ(word(subject, field_access_mode), 77u);
            ASSERT_EQ(api().buf32Unlock(subject), 1);
            check_get_memory(subject, {0, 0, 90, 50}, MemoryBlock::fence_behind, random);
            EXPECT_EQ(word(subject, field_lock_count), 0u);
            EXPECT_EQ(word(subject, field_access_mode), 77u);
        }
    }
}

// A duplicate reads its source's pixels and goes on sharing them.
TEST_F(GetMemory, OfADuplicateKeepsItSharing) {
    Random random(test_seed(), 8);
    for (Kind kind : {Kind::duplicate, Kind::linear_duplicate, Kind::shared}) {
        Subject subject(kind, 24, 300, 200, random);
        const size_t in_use = memory_in_use();
        check_get_memory(subject, {-5, -5, 400, 300}, MemoryBlock::fence_behind, random);
        EXPECT_EQ(memory_in_use(), in_use);
        EXPECT_EQ(in_use, 180000u);
        const HBUF32 duplicate = kind == Kind::shared ? subject.partner() : HBUF32(subject);
        EXPECT_EQ(word(duplicate, field_share_marker), 64u);
        EXPECT_EQ(word(duplicate, field_storage), 0u);
    }
}

// A buffer that has given rows back to the system ends where its rows end.
TEST_F(GetMemory, OfAShrunkBufferEndsWithItsRows) {
    Random random(test_seed(), 9);
    for (Kind kind : {Kind::linear_memory, Kind::linear_shrink}) {
        Subject subject(kind, 24, 300, 200, random);
        ASSERT_EQ(api().buf32ReAlloc(subject, 20), 1);
        Picture shrunk(Geometry(300, 20, 24, BUF32_LINEAR));
        for (size_t y = 0; y < 20; ++y)
            std::memcpy(shrunk.image.row(y), subject.picture.image.row(y), 900);
        subject.picture = shrunk;
        check_get_memory(subject, {-5, -5, 310, 210}, MemoryBlock::fence_behind, random);
        uint8_t memory[3];
        EXPECT_REPORT(api().buf32GetMem(subject, 0, 20, 1, 1, memory), 3200, 1, 3, 13);
    }
}

// The processor's wide moves are switched off by the common library's word: the same bytes.
TEST_F(GetMemory, AndMergeMemoryWithoutWideMoves) {
    frame::comm().mmx = false;
    fresh_library();
    Random random(test_seed(), 10);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Subject subject(Kind::tiled, bits, 260, 133, random);
        for (int width = 1; width <= 40; ++width) {
            const int x = between(random, -3, 230), y = between(random, -1, 130);
            check_get_memory(subject, {x, y, width + 3, 3}, random_fence(random), random);
            check_get_memory_with_background(subject, {x, y, width, 3}, random_fence(random),
                                             random);
            check_merge_memory(subject, {x, y, width + 3, 3}, random_fence(random), random);
        }
        subject.expect_picture();
    }
    frame::comm().mmx = true;
    fresh_library();
}

} // namespace
} // namespace q32::test

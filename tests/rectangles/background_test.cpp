// buf32GetMemWithBC: rectangles of ordinary buffers into memory, with a background around the
// image.
#include "tests/frame/edition.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class GetMemoryWithBackground : public RectangleTest {};

TEST_F(GetMemoryWithBackground, BeginsAndEndsAtAnyBit) {
    Random random(test_seed(), 3);
    for (int bits = 1; bits <= 7; ++bits) {
        SCOPED_TRACE(bits);
        Subject subject(Kind::tiled, bits, 150, 3, random);
        for (int x : {-9, -8, -7, -3, -1, 0, 1, 5, 120, 127, 128, 129, 131, 140, 149})
            for (int width = std::max(1, 1 - x); width <= 40; ++width)
                check_get_memory_with_background(subject, {x, -1, width, 5}, random_fence(random),
                                                 random);
        if (HasFailure())
            return;
    }
}

// Wholly outside, on every side and far away: nothing but background, and no failure.
TEST_F(GetMemoryWithBackground, OutsideIsAllBackground) {
    Random random(test_seed(), 4);
    for (Kind kind : all_kinds) {
        for (int bits : all_depths) {
            if (kind != Kind::tiled && bits % 8 != 0 && bits != 1)
                continue;
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 300, 200));
            Subject subject(kind, bits, 300, 200, random);
            const Area areas[] = {
                {-13, 0, 13, 4},       {300, 0, 13, 4},         {0, -4, 13, 4},
                {0, 200, 13, 4},       {INT_MIN, 0, 13, 4},     {INT_MAX, 0, 13, 4},
                {0, INT_MIN, 13, 4},   {0, INT_MAX, 13, 4},     {INT_MIN, INT_MIN, 13, 4},
                {INT_MAX, 199, 13, 4}, {INT_MAX - 12, 0, 13, 4}};
            for (const Area &area : areas)
                check_get_memory_with_background(subject, area, random_fence(random), random);
            subject.expect_picture();
            if (HasFailure())
                return;
        }
    }
}

TEST_F(GetMemoryWithBackground, NothingToDoTouchesNothing) {
    Random random(test_seed(), 5);
    for (Kind kind : all_kinds) {
        for (int bits : {1, 4, 8, 24}) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + size_text(bits, 300, 200));
            Subject subject(kind, bits, 300, 200, random);
            MemoryBlock nowhere(0, MemoryBlock::fence_behind, random);
            const Area areas[] = {{0, 0, 0, 4},         {0, 0, 4, 0},
                                  {0, 0, 0, 0},         {10, 10, -4, 4},
                                  {10, 10, 4, -4},      {10, 10, -4, -4},
                                  {-5, -5, -4, -4},     {0, 0, INT_MIN, INT_MIN},
                                  {0, 0, INT_MIN, 1},   {0, 0, 1, INT_MIN},
                                  {500, 500, -100, 10}, {INT_MIN, INT_MIN, INT_MIN, INT_MIN}};
            for (const Area &area : areas) {
                SCOPED_TRACE(text_of(area));
                EXPECT_SUCCESS(api().buf32GetMemWithBC(subject, area.x, area.y, area.width,
                                                       area.height, nowhere.data(), some_colour));
            }
        }
    }
}

// As in GetMemory.IntoBlocksBeyondTheAddressSpace, but what surrounds the image counts too.
TEST_F(GetMemoryWithBackground, IntoBlocksBeyondTheAddressSpace) {
    constexpr int many = 2000000000;
    const Buffer buffer(24, 30, 20), one_colour(24, 30, 20, BUF32_ONE_COLOUR, some_colour);
    uint8_t memory[1] = {7};
    for (const HBUF32 any : {HBUF32(buffer), HBUF32(one_colour)}) {
        const auto expect_refused = [&](int x, int width, int height) {
            EXPECT_SILENT_FAILURE(
                api().buf32GetMemWithBC(any, x, 0, width, height, memory, some_colour));
        };
        if constexpr (frame::is_64_bit) { // 23456 rows fit
            expect_refused(0, many, 23457);
            expect_refused(0, many, many);
            expect_refused(90, many, many);
        } else {
            expect_refused(0, many, 2);
            expect_refused(0, 30, many);
            expect_refused(90, many, 1);
        }
    }
    EXPECT_EQ(memory[0], 7);
}

// A background under 8 bits is a byte of pixels: outside the image each pixel takes the bits that
// stand at its own place in the row, and so does what lies behind the last pixel.
TEST_F(GetMemoryWithBackground, OfBitsByHand) {
    Buffer buffer(1, 5, 1);
    Picture picture(geometry_of(buffer));
    picture.image.row(0)[0] = 0b01001000;
    store(buffer, picture.image);
    const uint8_t background = 0b11001010;
    uint8_t memory[6] = {};
    EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -3, -1, 11, 3, memory, &background));
    const uint8_t expected[6] = {0b11001010, 0b11001010, 0b11001001,
                                 0b11001010, 0b11001010, 0b11001010};
    EXPECT_EQ(std::memcmp(memory, expected, 6), 0)
        << std::hex << int(memory[2]) << " " << int(memory[3]);
    // Inside, and three bits behind the last pixel.
    EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, 0, 0, 5, 1, memory, &background));
    EXPECT_EQ(memory[0], 0b01001010);
}

TEST_F(GetMemoryWithBackground, OfFourBitPixelsByHand) {
    Buffer buffer(4, 3, 1);
    Picture picture(geometry_of(buffer));
    picture.image.row(0)[0] = 0x12;
    picture.image.row(0)[1] = 0x30;
    store(buffer, picture.image);
    const uint8_t background = 0xAB;
    uint8_t memory[3] = {};
    EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -1, 0, 5, 1, memory, &background));
    EXPECT_EQ(memory[0], 0xA1);
    EXPECT_EQ(memory[1], 0x23);
    EXPECT_EQ(memory[2], 0xAB);
}

TEST_F(GetMemoryWithBackground, OfColoursByHand) {
    Buffer buffer(24, 2, 1);
    Picture picture(geometry_of(buffer));
    for (uint8_t i = 0; i < 6; ++i)
        picture.image.row(0)[i] = uint8_t(i + 1);
    store(buffer, picture.image);
    const uint8_t background[3] = {0xF0, 0xE0, 0xD0};
    Bytes memory(2 * 4 * 3);
    EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -1, 0, 4, 2, memory.data(), background));
    EXPECT_EQ(memory,
              (Bytes{0xF0, 0xE0, 0xD0, 1,    2,    3,    4,    5,    6,    0xF0, 0xE0, 0xD0,
                     0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0}));
}

TEST_F(GetMemoryWithBackground, ArgumentsAreCheckedMemoryFirst) {
    for (uint32_t type : {BUF32_TILED, BUF32_ONE_COLOUR, BUF32_LINEAR}) {
        Buffer buffer(8, 30, 20, type, some_colour);
        uint8_t memory[1] = {7};
        EXPECT_REPORT(api().buf32GetMemWithBC(buffer, 0, 0, 1, 1, nullptr, some_colour), 3200, 0, 4,
                      6);
        EXPECT_REPORT(api().buf32GetMemWithBC(buffer, 99, 0, 1, 1, nullptr, nullptr), 3200, 0, 4,
                      6);
        EXPECT_REPORT(api().buf32GetMemWithBC(0, 0, 0, 1, 1, nullptr, some_colour), 3200, 0, 4, 6);
        EXPECT_SILENT_FAILURE(api().buf32GetMemWithBC(0, 0, 0, 1, 1, memory, some_colour));
        EXPECT_SILENT_FAILURE(api().buf32GetMemWithBC(buffer, 0, 0, 1, 1, memory, nullptr));
        EXPECT_SILENT_FAILURE(api().buf32GetMemWithBC(buffer, 99, 0, 1, 1, memory, nullptr));
        EXPECT_EQ(memory[0], 7);
    }
}

// The colour may lie in the block that it fills.
TEST_F(GetMemoryWithBackground, MayLieInTheBlock) {
    Random random(test_seed(), 7);
    for (int bits : {4, 8, 24, 64}) {
        for (uint32_t type : {BUF32_TILED, BUF32_ONE_COLOUR}) {
            SCOPED_TRACE(size_text(bits, 4, 3) + " type " + std::to_string(type));
            Buffer buffer(bits, 4, 3, type, some_colour);
            const size_t bytes = size_t(8 * bits * 7 / 8);
            MemoryBlock outside(bytes, MemoryBlock::fence_behind, random);
            MemoryBlock inside(bytes, MemoryBlock::fence_before, random);
            uint8_t *const background = inside.data() + 9;
            std::memcpy(background, other_colour, sizeof other_colour);
            EXPECT_SUCCESS(
                api().buf32GetMemWithBC(buffer, -2, -2, 8, 7, outside.data(), other_colour));
            EXPECT_SUCCESS(
                api().buf32GetMemWithBC(buffer, -2, -2, 8, 7, inside.data(), background));
            EXPECT_EQ(inside.contents(), outside.contents());
        }
    }
}

// Under 8 bits the image is read under a read lock that is given back: the mode tells.
TEST_F(GetMemoryWithBackground, RecordsAReadLockUnderEightBits) {
    Random random(test_seed(), 6);
    for (Kind kind : writable_kinds) {
        SCOPED_TRACE(name_of(kind));
        for (int bits : {1, 2, 4, 7, 8, 24}) {
            SCOPED_TRACE(bits);
            Subject subject(kind, bits, 300, 200, random);
            ASSERT_EQ(api().buf32Lock(subject, 77, nullptr), 1);
            check_get_memory_with_background(subject, {-1, -1, 90, 50}, MemoryBlock::fence_behind,
                                             random);
            EXPECT_EQ(word(subject, field_lock_count), 1u);
            EXPECT_EQ(word(subject, field_access_mode), bits < 8 ? 1u : 77u);
            set_word(subject, field_access_mode, 77);
            check_get_memory_with_background(subject, {-9, -1, 9, 50}, MemoryBlock::fence_behind,
                                             random); // does not meet the image: no lock
            EXPECT_EQ(word(subject, field_lock_count), 1u);
            EXPECT_EQ(word(subject, field_access_mode), 77u);
            ASSERT_EQ(api().buf32Unlock(subject), 1);
        }
    }
}

} // namespace
} // namespace q32::test

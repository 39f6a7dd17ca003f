// Rectangles from and into one-colour buffers, and what a duplicate of one takes over.
#include "tests/frame/edition.h"
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class OneColourRectangles : public RectangleTest {};

// A byte of equal pixels under 8 bits: every strip of it looks alike, wherever it begins.
constexpr uint8_t all_ones[1] = {0xFF};

// A buffer that becomes an ordinary one is filled with the colour's whole bytes per pixel: at 12
// bits not to the end of its storage.
constexpr int depths_that_fill[] = {1, 2, 3, 4, 5, 6, 7, 8, 16, 24, 32, 48, 64};

constexpr Failure no_file{1001, 0, 4, 3}, no_storage{1001, 0, 2, 4};

size_t unit_of(int bits) {
    return size_t(std::max(bits / 8, 1));
}

Bytes colour_of(HBUF32 buffer) {
    const auto *const colour =
        reinterpret_cast<const uint8_t *>(buffer + field_offset(field_colour));
    return Bytes(colour, colour + 8);
}

// --- GetMem ----------------------------------------------------------------------------------

// The block is filled whole, also where it stands for pixels outside the image: required, and other
// than every other type of buffer does it. Under 8 bits the colour's byte is repeated from the
// start of each row, whatever x is.
TEST_F(OneColourRectangles, FillTheWholeBlock) {
    Random random(test_seed(), 1);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 300, 141, BUF32_ONE_COLOUR, some_colour);
        for (const Area &area : rectangles_around(300, 141)) {
            SCOPED_TRACE(text_of(area));
            MemoryBlock block(block_bytes(bits, area), random_fence(random), random);
            Bytes expected(block.size());
            for (size_t i = 0; i < expected.size(); ++i)
                expected[i] = some_colour[i % unit_of(bits)];
            EXPECT_SUCCESS(
                api().buf32GetMem(buffer, area.x, area.y, area.width, area.height, block.data()));
            block.expect(expected);
        }
        EXPECT_EQ(memory_in_use(), 0u); // reading takes no storage
        EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(buffer, field_access_mode), 1u);
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        if (HasFailure())
            return;
    }
}

TEST_F(OneColourRectangles, BeyondTheAddressSpaceFillNothing) {
    constexpr int many = 2000000000;
    const Buffer buffer(24, 30, 20, BUF32_ONE_COLOUR, some_colour);
    uint8_t memory[1] = {7};
    if constexpr (frame::is_64_bit) { // 23456 rows fit
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, many, 23457, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, many, many, memory));
    } else {
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, many, 1, memory));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, 30, many, memory));
    }
    EXPECT_EQ(memory[0], 7);
}

TEST_F(OneColourRectangles, FillTheWholeBlockByHand) {
    const uint8_t colour[3] = {0x11, 0x22, 0x33};
    Buffer buffer(24, 2, 2, BUF32_ONE_COLOUR, colour);
    Bytes memory(3 * 2 * 3, 0xCC);
    EXPECT_SUCCESS(api().buf32GetMem(buffer, 1, 1, 3, 2, memory.data())); // one pixel is inside
    EXPECT_EQ(memory, (Bytes{0x11, 0x22, 0x33, 0x11, 0x22, 0x33, 0x11, 0x22, 0x33, 0x11, 0x22, 0x33,
                             0x11, 0x22, 0x33, 0x11, 0x22, 0x33}));
    // 3 + 5 bits of padding, and the byte stays as it is at an odd x.
    Buffer bits(1, 20, 2, BUF32_ONE_COLOUR, colour);
    memory.assign(3, 0xCC);
    EXPECT_SUCCESS(api().buf32GetMem(bits, 3, 0, 3, 2, memory.data()));
    EXPECT_EQ(memory, (Bytes{0x11, 0x11, 0xCC}));
}

TEST_F(OneColourRectangles, OutsideAreReported) {
    Random random(test_seed(), 2);
    for (int bits : {1, 4, 8, 24, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, some_colour);
        MemoryBlock nowhere(0, MemoryBlock::fence_behind, random);
        const Area areas[] = {{-4, 0, 4, 4},
                              {300, 0, 4, 4},
                              {0, -4, 4, 4},
                              {0, 200, 4, 4},
                              {0, 0, 0, 4},
                              {0, 0, 4, 0},
                              {10, 10, -4, -4},
                              {INT_MIN, 0, INT_MAX, 4},
                              {0, INT_MIN, 4, INT_MAX},
                              {INT_MAX, 0, INT_MAX, 4},
                              {0, INT_MAX, 4, INT_MAX},
                              {INT_MIN, INT_MIN, INT_MIN, INT_MIN},
                              {INT_MAX, INT_MAX, INT_MAX, INT_MAX},
                              {299, 199, INT_MIN, INT_MIN}};
        for (const Area &area : areas) {
            SCOPED_TRACE(text_of(area));
            EXPECT_REPORT(
                api().buf32GetMem(buffer, area.x, area.y, area.width, area.height, nowhere.data()),
                3200, 0, 2, 10);
        }
        EXPECT_REPORT(api().buf32GetMem(buffer, 0, 0, 1, 1, nullptr), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32MergeMem(buffer, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
        EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
    }
}

// --- GetMemWithBC ----------------------------------------------------------------------------

TEST_F(OneColourRectangles, WithBackgroundByHand) {
    const uint8_t colour[3] = {0x11, 0x22, 0x33}, background[3] = {0xF0, 0xE0, 0xD0};
    Buffer buffer(24, 2, 2, BUF32_ONE_COLOUR, colour);
    Bytes memory(4 * 3 * 3, 0xCC);
    EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -2, -1, 4, 3, memory.data(), background));
    const Bytes expected = {
        0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, //
        0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0x11, 0x22, 0x33, 0x11, 0x22, 0x33, //
        0xF0, 0xE0, 0xD0, 0xF0, 0xE0, 0xD0, 0x11, 0x22, 0x33, 0x11, 0x22, 0x33};
    EXPECT_EQ(memory, expected);
}

TEST_F(OneColourRectangles, WithBackgroundOfAllDepths) {
    Random random(test_seed(), 3);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        OneColourSubject subject(bits, 300, 141);
        std::vector<Area> areas = rectangles_around(300, 141);
        for (const Area &outside : {Area{-13, 0, 13, 4},
                                    {300, 0, 13, 4},
                                    {0, -4, 13, 4},
                                    {0, 141, 13, 4},
                                    {INT_MIN, INT_MAX, 13, 4}})
            areas.push_back(outside);
        ASSERT_EQ(api().buf32Lock(subject, 77, nullptr), 1);
        for (const Area &area : areas) {
            SCOPED_TRACE(text_of(area));
            MemoryBlock block(block_bytes(bits, area), random_fence(random), random);
            Bytes expected = block.contents();
            subject.picture.get_with_background(area, expected.data(), other_colour);
            set_word(subject, field_access_mode, 77);
            EXPECT_SUCCESS(api().buf32GetMemWithBC(subject, area.x, area.y, area.width, area.height,
                                                   block.data(), other_colour));
            block.expect(expected);
            // Under 8 bits what meets the image is read under a read lock.
            EXPECT_EQ(word(subject, field_access_mode),
                      bits < 8 && subject.picture.meets(area) ? 1u : 77u);
            EXPECT_EQ(word(subject, field_lock_count), 1u);
        }
        ASSERT_EQ(api().buf32Unlock(subject), 1);
        EXPECT_EQ(word(subject, field_type), BUF32_ONE_COLOUR);
        if (HasFailure())
            return;
    }
}

TEST_F(OneColourRectangles, WithBackgroundTakeStorageUnderEightBitsOnly) {
    for (int bits : {1, 2, 3, 4, 7, 8, 12, 24, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, some_colour);
        Bytes memory(64 * 8, 0xCC);
        EXPECT_SUCCESS(
            api().buf32GetMemWithBC(buffer, -9, 0, 8, 8, memory.data(), other_colour)); // outside
        EXPECT_EQ(memory_in_use(), 0u);
        {
            FailingCall block("VirtualAlloc", 1);
            if (bits < 8) {
                EXPECT_REPORT(
                    api().buf32GetMemWithBC(buffer, -4, 0, 8, 8, memory.data(), other_colour), 1001,
                    0, 2, 5);
                EXPECT_EQ(memory_in_use(), 0u);
                EXPECT_EQ(word(buffer, field_lock_count), 0u);
            } else {
                EXPECT_SUCCESS(
                    api().buf32GetMemWithBC(buffer, -4, 0, 8, 8, memory.data(), other_colour));
                EXPECT_EQ(block.calls(), 0);
            }
        }
        EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, -4, 0, 8, 8, memory.data(), other_colour));
        EXPECT_EQ(memory_in_use(),
                  bits < 8 ? Geometry(300, 200, bits, BUF32_ONE_COLOUR).block_bytes() : 0u);
    }
}

// The processor's wide moves make no difference.
TEST_F(OneColourRectangles, WithoutWideMoves) {
    frame::comm().mmx = false;
    fresh_library();
    Random random(test_seed(), 4);
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        OneColourSubject subject(bits, 60, 9);
        for (int i = 0; i < 60; ++i) {
            const Area area = random_area(random, 60, 9);
            MemoryBlock block(block_bytes(bits, area), random_fence(random), random);
            Bytes expected = block.contents();
            subject.picture.get_with_background(area, expected.data(), other_colour);
            EXPECT_SUCCESS(api().buf32GetMemWithBC(subject, area.x, area.y, area.width, area.height,
                                                   block.data(), other_colour));
            block.expect(expected);
            for (size_t k = 0; k < expected.size(); ++k)
                expected[k] = some_colour[k % unit_of(bits)];
            EXPECT_SUCCESS(
                api().buf32GetMem(subject, area.x, area.y, area.width, area.height, block.data()));
            block.expect(expected);
        }
    }
    frame::comm().mmx = true;
    fresh_library();
}

// --- MergeMem --------------------------------------------------------------------------------

TEST_F(OneColourRectangles, BecomeOrdinaryWhenMemoryIsMerged) {
    Random random(test_seed(), 5);
    for (int bits : depths_that_fill) {
        for (const auto &[width, height] : {std::pair{300, 141}, {1, 1}, {128, 128}, {129, 257}}) {
            SCOPED_TRACE(size_text(bits, width, height));
            OneColourSubject subject(bits, width, height);
            const Area area = random_area(random, width, height);
            SCOPED_TRACE(text_of(area));
            MemoryBlock block(block_bytes(bits, area), random_fence(random), random);
            block.protect();
            subject.picture.merge(area, block.data());
            EXPECT_SUCCESS(api().buf32MergeMem(subject, area.x, area.y, block.data(), area.width,
                                               area.height));
            EXPECT_EQ(word(subject, field_type), BUF32_TILED);
            EXPECT_EQ(word(subject, field_one_colour), 0u);
            EXPECT_EQ(word(subject, field_lock_count), 0u);
            EXPECT_EQ(word(subject, field_access_mode), 2u); // by way of a write lock
            EXPECT_EQ(memory_in_use(), word(subject, field_reserved_bytes));
            subject.expect_picture();
            if (HasFailure())
                return;
        }
    }
}

TEST_F(OneColourRectangles, MergeMemoryBesideOtherLocks) {
    OneColourSubject subject(24, 300, 200);
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(subject, BUF32_READ, &base), 1);
    const uint8_t pixel[3] = {1, 2, 3};
    subject.picture.merge({299, 199, 1, 1}, pixel);
    EXPECT_SUCCESS(api().buf32MergeMem(subject, 299, 199, pixel, 1, 1));
    EXPECT_EQ(word(subject, field_lock_count), 1u);
    EXPECT_EQ(memory_in_use(), 180000u); // the block has gone
    subject.expect_picture();
    ASSERT_EQ(api().buf32Unlock(subject), 1);
}

// The write lock comes first: a rectangle that misses leaves an ordinary buffer of that colour.
TEST_F(OneColourRectangles, BecomeOrdinaryEvenWhenMemoryMisses) {
    for (int bits : {1, 8, 24}) {
        OneColourSubject subject(bits, 300, 200);
        EXPECT_REPORT(api().buf32MergeMem(subject, 300, 0, some_colour, 1, 1), 3200, 1, 3, 14);
        EXPECT_EQ(word(subject, field_type), BUF32_TILED);
        EXPECT_EQ(word(subject, field_lock_count), 0u);
        subject.expect_picture();
    }
}

TEST_F(OneColourRectangles, WithoutStorageStayAsTheyAre) {
    for (int bits : {1, 8, 24}) {
        SCOPED_TRACE(bits);
        OneColourSubject subject(bits, 300, 200);
        {
            const NoStorage none;
            EXPECT_REPORTS(api().buf32MergeMem(subject, 3, 4, other_colour, 1, 1), no_file,
                           no_storage);
        }
        EXPECT_EQ(word(subject, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(subject, field_one_colour), 1u);
        EXPECT_EQ(word(subject, field_lock_count), 0u);
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(colour_of(subject)[0], some_colour[0]);
        subject.expect_picture();
    }
}

// --- GetBuf ----------------------------------------------------------------------------------

// The whole image, and what misses it, stay one colour; a part is copied, and copying writes.
TEST_F(OneColourRectangles, GetBufMakesOneOfTheSameColour) {
    for (int bits : depths_that_fill) {
        SCOPED_TRACE(bits);
        const uint8_t *const colour = bits < 8 ? all_ones : some_colour;
        OneColourSubject source(bits, 300, 200, colour);
        const struct {
            Area area;
            uint32_t type;
        } cases[] = {{{0, 0, 300, 200}, BUF32_ONE_COLOUR},  {{300, 0, 300, 200}, BUF32_ONE_COLOUR},
                     {{-20, 0, 20, 10}, BUF32_ONE_COLOUR},  {{0, 0, 299, 200}, BUF32_TILED},
                     {{1, 0, 300, 200}, BUF32_TILED},       {{0, -1, 300, 200}, BUF32_TILED},
                     {{-10, -20, 400, 300}, BUF32_TILED},   {{299, 199, 1, 1}, BUF32_TILED},
                     {{INT_MAX, 0, 5, 5}, BUF32_ONE_COLOUR}};
        for (const auto &[area, type] : cases) {
            SCOPED_TRACE(text_of(area));
            HBUF32 handle = 0;
            EXPECT_SUCCESS(
                api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
            const Buffer made(handle);
            ASSERT_TRUE(made);
            EXPECT_EQ(word(made, field_type), type);
            EXPECT_EQ(word(made, field_one_colour), type);
            EXPECT_EQ(word(made, field_share_marker), 0u);
            EXPECT_EQ(word(made, field_lock_count), 0u);
            EXPECT_EQ(word(made, field_width), uint32_t(area.width));
            EXPECT_EQ(word(made, field_height), uint32_t(area.height));
            EXPECT_EQ(word(made, field_bits_per_pixel), uint32_t(bits));
            // It is of that colour everywhere, also where it lies outside the source.
            OneColourSubject expected(bits, area.width, area.height, colour);
            expect_same_pixels(picture_of(made), expected.picture);
        }
        EXPECT_EQ(word(source, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(source, field_first_sharer), 0u);
    }
}

TEST_F(OneColourRectangles, GetBufThatCannotMakeOneLeavesTheHandle) {
    OneColourSubject source(24, 300, 200);
    HBUF32 handle = 0;
    EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 0, 5, &handle), 3200, 0, 4, 7);
    EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 5, -1, &handle), 3200, 0, 4, 7);
    EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 32001, 5, &handle), 5402, 0, 4, 71);
    EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 5, 32001, &handle), 5403, 0, 4, 72);
    for (int n = 1; n <= 3; ++n) { // the probe, the record, the record with room for its cells
        FailingCall record("GlobalAlloc", n);
        EXPECT_REPORT(api().buf32GetBuf(source, 1, 0, 300, 200, &handle), 1001, 0, 4,
                      n < 3 ? 9 : 10);
    }
    {
        const NoStorage none; // it can be made, but not be written
        EXPECT_REPORTS(api().buf32GetBuf(source, 1, 0, 300, 200, &handle), no_file, no_storage);
    }
    {
        FailingCall count("GlobalAlloc", 0);
        EXPECT_SUCCESS(api().buf32GetBuf(source, 500, 0, 300, 10, &handle));
        Buffer(handle).free();
        handle = 0;
        FailingCall strips("GlobalAlloc", count.calls() + 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().buf32GetBuf(source, 1, 0, 300, 10, &handle), 1001, 1, 4, 19);
    }
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(source, 0, 0, 5, 5, nullptr));
}

TEST_F(OneColourRectangles, GetBufIntoOrdinaryBuffers) {
    Random random(test_seed(), 6);
    for (int bits : all_depths) {
        OneColourSubject source(bits, 260, 150, bits < 8 ? all_ones : some_colour);
        for (Kind kind : {Kind::tiled, Kind::linear, Kind::file, Kind::duplicate, Kind::shared}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + name_of(kind));
            Subject destination(kind, bits, 150, 260, random);
            for (int i = 0; i < 4; ++i) {
                const Area area = random_area(random, 260, 150);
                SCOPED_TRACE(text_of(area));
                HBUF32 handle = destination;
                destination.picture.merge(source.picture, area, 0, 0);
                EXPECT_SUCCESS(
                    api().buf32GetBuf(source, area.x, area.y, area.width, area.height, &handle));
                EXPECT_EQ(handle, HBUF32(destination));
                destination.expect_picture();
            }
            EXPECT_EQ(word(destination, field_type), type_of(kind));
            if (HasFailure())
                return;
        }
        EXPECT_EQ(word(source, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(memory_in_use(), 0u);
    }
}

// The block that a one-colour source fills begins with the colour's byte, so under 8 bits every
// strip does.
TEST_F(OneColourRectangles, CopiesUnderEightBitsBeginWithTheByte) {
    const uint8_t colour = 0b10010110;
    Buffer source(1, 20, 4, BUF32_ONE_COLOUR, &colour), destination(1, 24, 4);
    Picture zero(geometry_of(destination));
    store(destination, zero.image);
    EXPECT_SUCCESS(api().buf32MergeBuf(source, 3, 1, 10, 2, destination, 8, 1));
    HBUF32 handle = destination;
    EXPECT_SUCCESS(api().buf32GetBuf(source, 5, 0, 8, 1, &handle));
    EXPECT_EQ(read_rows(destination).bytes(), (Bytes{0b10010110, 0, 0,          //
                                                     0, 0b10010110, 0b10000000, //
                                                     0, 0b10010110, 0b10000000, //
                                                     0, 0, 0}));
}

TEST_F(OneColourRectangles, GetBufOfTheWholeIntoItsLikeKeepsTheFirstByte) {
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Buffer source(bits, 300, 200, BUF32_ONE_COLOUR, some_colour),
            destination(bits, 300, 200, BUF32_ONE_COLOUR, other_colour);
        Bytes expected = colour_of(destination);
        for (size_t i = 1; i < size_t(bits + 7) / 8; ++i)
            expected[i] = some_colour[i];
        HBUF32 handle = destination;
        StripWatch watch;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
        EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(colour_of(destination), expected);
        EXPECT_EQ(word(destination, field_type), BUF32_ONE_COLOUR);
    }
}

TEST_F(OneColourRectangles, GetBufIntoAnotherOneColourBufferMakesItOrdinary) {
    for (int bits : {1, 8, 24, 48}) {
        SCOPED_TRACE(bits);
        OneColourSubject source(bits, 300, 200);
        OneColourSubject other(bits, 301, 200, other_colour), same(bits, 300, 200, other_colour);
        HBUF32 handle = other;
        other.picture.merge(source.picture, {0, 0, 300, 200}, 0, 0);
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
        EXPECT_EQ(word(other, field_type), BUF32_TILED);
        other.expect_picture();
        handle = same;
        same.picture.merge(source.picture, {0, 0, 299, 200}, 0, 0);
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 299, 200, &handle));
        EXPECT_EQ(word(same, field_type), BUF32_TILED);
        same.expect_picture();
    }
}

TEST_F(OneColourRectangles, OfAnotherDepthAreReported) {
    Random random(test_seed(), 7);
    OneColourSubject source(24, 300, 200), other(32, 300, 200, other_colour);
    Subject ordinary(Kind::tiled, 8, 300, 200, random);
    for (HBUF32 into : {HBUF32(other), HBUF32(ordinary)}) {
        HBUF32 handle = into;
        EXPECT_REPORT(api().buf32GetBuf(source, 0, 1, 300, 200, &handle), 3200, 1, 4, 18);
        EXPECT_REPORT(api().buf32MergeBuf(source, 0, 0, 300, 200, into, 0, 0), 3200, 1, 4, 18);
        EXPECT_SUCCESS(api().buf32GetBuf(source, 300, 0, 300, 200, &handle)); // nothing left
        EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 300, 200, into, 300, 0));
        EXPECT_EQ(handle, into);
    }
    EXPECT_EQ(word(other, field_type), BUF32_ONE_COLOUR);
    ordinary.expect_picture();
}

// The whole into a one-colour buffer of its size is first tried as a duplicate, of which another
// depth is refused; then as a copy, which is refused too. A caller reads both reports. Required.
TEST_F(OneColourRectangles, TheWholeOfAnotherDepthIsReportedTwice) {
    const Failure no_duplicate{3200, 0, 2, 8}, no_copy{3200, 1, 4, 18};
    for (const auto &[from, into] :
         {std::pair{24, 32}, {32, 24}, {8, 1}, {1, 8}, {8, 12}, {15, 16}, {1, 2}, {64, 63}}) {
        SCOPED_TRACE(std::to_string(from) + " bits into " + std::to_string(into));
        const Buffer source(from, 300, 200, BUF32_ONE_COLOUR, some_colour),
            alike(into, 300, 200, BUF32_ONE_COLOUR, other_colour),
            wider(into, 301, 200, BUF32_ONE_COLOUR, other_colour),
            lower(into, 300, 199, BUF32_ONE_COLOUR, other_colour), tiled(into, 300, 200),
            linear(into, 300, 200, BUF32_LINEAR);
        const Bytes colour = colour_of(alike);
        HBUF32 handle = alike;
        StripWatch watch;
        EXPECT_REPORTS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), no_duplicate, no_copy);
        // Neither a part, nor into another size or type: there nothing speaks for a duplicate.
        EXPECT_REPORTS(api().buf32GetBuf(source, 1, 0, 300, 200, &handle), no_copy);
        EXPECT_REPORTS(api().buf32GetBuf(source, 0, 1, 300, 200, &handle), no_copy);
        EXPECT_REPORTS(api().buf32GetBuf(source, 0, 0, 299, 200, &handle), no_copy);
        EXPECT_REPORTS(api().buf32GetBuf(source, 0, 0, 300, 201, &handle), no_copy);
        EXPECT_EQ(handle, HBUF32(alike));
        for (HBUF32 other : {HBUF32(wider), HBUF32(lower), HBUF32(tiled), HBUF32(linear)}) {
            handle = other;
            EXPECT_REPORTS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), no_copy);
            EXPECT_EQ(handle, other);
        }
        EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
        EXPECT_EQ(word(alike, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(alike, field_bits_per_pixel), uint32_t(into));
        EXPECT_EQ(colour_of(alike), colour);
        EXPECT_EQ(word(alike, field_storage), 0u);
    }
}

// --- MergeBuf --------------------------------------------------------------------------------

TEST_F(OneColourRectangles, MergeBufIntoOrdinaryBuffers) {
    Random random(test_seed(), 8);
    for (int bits : all_depths) {
        OneColourSubject source(bits, 260, 150, bits < 8 ? all_ones : some_colour);
        for (Kind kind : {Kind::tiled, Kind::linear, Kind::duplicate}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + name_of(kind));
            Subject destination(kind, bits, 150, 260, random);
            for (int i = 0; i < 6; ++i) {
                const Area area = random_area(random, 260, 150);
                const int x = between(random, -160, 160), y = between(random, -100, 270);
                SCOPED_TRACE(text_of(area));
                destination.picture.merge(source.picture, area, x, y);
                EXPECT_SUCCESS(api().buf32MergeBuf(source, area.x, area.y, area.width, area.height,
                                                   destination, x, y));
                destination.expect_picture();
            }
            if (HasFailure())
                return;
        }
        EXPECT_EQ(word(source, field_type), BUF32_ONE_COLOUR);
    }
}

TEST_F(OneColourRectangles, BecomeOrdinaryWhenABufferIsMerged) {
    Random random(test_seed(), 9);
    for (Kind kind : all_kinds)
        for (int bits : {1, 8, 24}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + name_of(kind));
            Subject source(kind, bits, 260, 150, random);
            OneColourSubject merged(bits, 200, 140), got(bits, 260, 150);
            HBUF32 handle = got;
            got.picture.merge(source.picture, {0, 0, 260, 150}, 0, 0);
            EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 260, 150, &handle));
            EXPECT_EQ(word(got, field_type), BUF32_TILED);
            got.expect_picture();
            if (kind == Kind::caller_memory)
                continue; // is no source of MergeBuf
            merged.picture.merge(source.picture, {100, 90, 50, 40}, 120, 110);
            EXPECT_SUCCESS(api().buf32MergeBuf(source, 100, 90, 50, 40, merged, 120, 110));
            EXPECT_EQ(word(merged, field_type), BUF32_TILED);
            merged.expect_picture();
            // Nothing to merge, and it stays as it is.
            OneColourSubject missed(bits, 200, 140);
            EXPECT_SUCCESS(api().buf32MergeBuf(source, 0, 0, 260, 150, missed, 200, 0));
            EXPECT_EQ(word(missed, field_type), BUF32_ONE_COLOUR);
        }
}

TEST_F(OneColourRectangles, MergeBufWithExtremeArguments) {
    Random random(test_seed(), 10);
    OneColourSubject source(24, 300, 200);
    Subject destination(Kind::tiled, 24, 280, 190, random);
    const struct {
        Area area;
        int x, y;
    } cases[] = {
        {{0, 0, INT_MAX, INT_MAX}, 200, 100},
        {{-7, -9, INT_MAX, INT_MAX}, -100, -50},
        {{-2147483000, 0, INT_MAX, 10}, -2147483000, 3},
        {{0, 0, 20, 10}, INT_MAX, 0},
        {{0, 0, 20, 10}, INT_MIN, INT_MIN},
        {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 0, 0},
        {{INT_MAX, INT_MAX, INT_MAX, INT_MAX}, INT_MIN, INT_MIN},
    };
    for (const auto &[area, x, y] : cases) {
        SCOPED_TRACE(text_of(area));
        destination.picture.merge(source.picture, area, x, y);
        EXPECT_SUCCESS(api().buf32MergeBuf(source, area.x, area.y, area.width, area.height,
                                           destination, x, y));
        destination.expect_picture();
    }
    EXPECT_SILENT_FAILURE(api().buf32MergeBuf(source, 0, 0, 5, 5, 0, 0, 0));
}

// --- DupBuf ----------------------------------------------------------------------------------

TEST_F(OneColourRectangles, DuplicatesHaveTheColourAndShareNothing) {
    for (int bits : depths_that_fill) {
        SCOPED_TRACE(bits);
        Buffer source(bits, 300, 200, BUF32_ONE_COLOUR, some_colour);
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(source, BUF32_READ, &base), 1); // it has a block
        const size_t in_use = memory_in_use();
        HBUF32 handle = 0;
        EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
        {
            const Buffer made(handle);
            ASSERT_TRUE(made);
            EXPECT_NE(handle, HBUF32(source));
            EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
            EXPECT_EQ(word(made, field_previous), uintptr_t(source));
            EXPECT_EQ(word(made, field_next), 0u);
            EXPECT_EQ(word(made, field_type), BUF32_ONE_COLOUR);
            EXPECT_EQ(word(made, field_one_colour), 1u);
            EXPECT_EQ(colour_of(made), colour_of(source));
            EXPECT_EQ(word(made, field_lock_count), 0u);
            EXPECT_EQ(word(made, field_storage), 0u);
            EXPECT_EQ(cell_address_word(made, 0), 0u);
            EXPECT_EQ(word(made, field_share_marker), 0u);
            EXPECT_EQ(word(made, field_source), 0u);
            EXPECT_EQ(word(source, field_first_sharer), 0u);
            EXPECT_EQ(memory_in_use(), in_use);
            OneColourSubject expected(bits, 300, 200);
            expect_same_pixels(picture_of(made), expected.picture); // by a block of its own
            EXPECT_EQ(memory_in_use(), 2 * in_use);
        }
        EXPECT_EQ(memory_in_use(), in_use);
        ASSERT_EQ(api().buf32Unlock(source), 1);
    }
}

// At 12 bits the colour's one whole byte is written as often as there are pixels: the block and the
// storage end in zeros, and rows show them, before the first write and after it.
TEST_F(OneColourRectangles, RowsAreThoseOfTheBlock) {
    Buffer buffer(12, 10, 10, BUF32_ONE_COLOUR, some_colour);
    Bytes expected(150, 0);
    std::fill_n(expected.begin(), 100, some_colour[0]);
    for (int mode : {BUF32_READ, BUF32_WRITE}) {
        SCOPED_TRACE(mode);
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer, mode, &base), 1);
        EXPECT_EQ(std::memcmp(base, expected.data(), expected.size()), 0);
        EXPECT_EQ(read_rows(buffer).bytes(), expected);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// An existing destination keeps the first byte of its own colour. A caller who duplicates red into
// blue gets neither. Required.
TEST_F(OneColourRectangles, DuplicatesKeepTheFirstByteOfTheirOwnColour) {
    const uint8_t red[3] = {0xFF, 0x10, 0x20}, blue[3] = {0x01, 0x02, 0xFE};
    Buffer source(24, 300, 200, BUF32_ONE_COLOUR, red),
        destination(24, 300, 200, BUF32_ONE_COLOUR, blue);
    HBUF32 handle = destination;
    EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
    EXPECT_EQ(handle, HBUF32(destination));
    uint8_t pixel[3] = {};
    EXPECT_SUCCESS(api().buf32GetMem(destination, 0, 0, 1, 1, pixel));
    EXPECT_EQ(pixel[0], 0x01);
    EXPECT_EQ(pixel[1], 0x10);
    EXPECT_EQ(pixel[2], 0x20);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 2); // it is not listed twice
    for (int bits : all_depths) {
        SCOPED_TRACE(bits);
        Buffer from(bits, 30, 20, BUF32_ONE_COLOUR, some_colour),
            into(bits, 30, 20, BUF32_ONE_COLOUR, other_colour);
        Bytes expected = colour_of(into);
        for (size_t i = 1; i < size_t(bits + 7) / 8; ++i)
            expected[i] = some_colour[i];
        handle = into;
        EXPECT_SUCCESS(api().buf32DupBuf(from, &handle));
        EXPECT_EQ(colour_of(into), expected);
        EXPECT_EQ(word(into, field_one_colour), 1u);
        EXPECT_EQ(word(into, field_share_marker), 0u);
    }
}

TEST_F(OneColourRectangles, DuplicatesIntoOthersAreReported) {
    Buffer source(24, 300, 200, BUF32_ONE_COLOUR, some_colour);
    Buffer tiled(24, 300, 200), linear(8, 30, 20, BUF32_LINEAR),
        wide(24, 301, 200, BUF32_ONE_COLOUR, other_colour),
        high(24, 300, 201, BUF32_ONE_COLOUR, other_colour),
        deep(32, 300, 200, BUF32_ONE_COLOUR, other_colour);
    for (HBUF32 other : {HBUF32(tiled), HBUF32(linear)}) {
        HBUF32 handle = other;
        EXPECT_REPORT(api().buf32DupBuf(source, &handle), 3200, 0, 2, 7);
        EXPECT_EQ(handle, other);
    }
    for (HBUF32 other : {HBUF32(wide), HBUF32(high), HBUF32(deep)}) {
        const Bytes colour = colour_of(other);
        HBUF32 handle = other;
        EXPECT_REPORT(api().buf32DupBuf(source, &handle), 3200, 0, 2, 8);
        EXPECT_EQ(handle, other);
        EXPECT_EQ(colour_of(other), colour);
    }
    HBUF32 handle = 0;
    FailingCall record("GlobalAlloc", 1);
    EXPECT_REPORT(api().buf32DupBuf(source, &handle), 1001, 0, 2, 9);
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 6);
}

} // namespace
} // namespace q32::test

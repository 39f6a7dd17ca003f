// Buffers over caller memory: what they can, which is reading, and how they refuse the rest. The
// memory is always one that a write would crash on.
#include "tests/rectangles/rectangle_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class CallerMemory : public RectangleTest {};

uintptr_t address_of(const void *pointer) {
    return uintptr_t(pointer);
}

uintptr_t pixels_of(HBUF32 buffer) {
    return word(buffer, field_external_data);
}

// --- locks -----------------------------------------------------------------------------------

TEST_F(CallerMemory, ReadLocksGiveTheCallersPointer) {
    Random random(test_seed(), 1);
    for (int bits : {1, 8, 24}) {
        Subject over(Kind::caller_memory, bits, 300, 200, random);
        uint32_t count = 0;
        for (int mode : {1, 0, 5, 9, -1, 64, INT_MAX, INT_MIN, 1}) {
            SCOPED_TRACE(mode);
            void *base = nullptr;
            EXPECT_SUCCESS(api().buf32Lock(over, mode, &base));
            EXPECT_EQ(address_of(base), pixels_of(over));
            EXPECT_EQ(word(over, field_lock_count), ++count);
            EXPECT_EQ(word(over, field_access_mode), uint32_t(mode));
            EXPECT_SUCCESS(api().buf32Lock(over, mode, nullptr));
            EXPECT_EQ(word(over, field_lock_count), ++count);
        }
        for (int mode : {2, 3, 4}) {
            void *base = &base;
            EXPECT_SILENT_FAILURE(api().buf32Lock(over, mode, &base));
            EXPECT_EQ(base, nullptr);
            EXPECT_SILENT_FAILURE(api().buf32Lock(over, mode, nullptr));
            EXPECT_EQ(word(over, field_lock_count), count);
            EXPECT_EQ(word(over, field_access_mode), 1u);
        }
        for (; count > 0; --count) {
            EXPECT_EQ(word(over, field_lock_count), count);
            if (count % 2 == 0)
                EXPECT_SUCCESS(api().buf32Unlock(over));
            else
                EXPECT_SUCCESS(api().buf32CellUnlock(over, 0)); // either unlock serves
        }
        EXPECT_REPORT(api().buf32Unlock(over), 5804, 1, 3, 4);
        EXPECT_REPORT(api().buf32CellUnlock(over, 0), 5804, 0, 3, 2);
        EXPECT_EQ(word(over, field_lock_count), 0u);
        over.expect_picture();
        EXPECT_EQ(word(over, field_type), BUF32_CALLER_MEMORY);
    }
}

TEST_F(CallerMemory, CellLocksFailInSilence) {
    Random random(test_seed(), 2);
    Subject over(Kind::caller_memory, 8, 300, 200, random);
    for (int mode : {1, 2}) {
        set_word(over, field_access_mode, uint32_t(mode));
        for (int index : {0, 5, 6, -1, INT_MAX}) {
            void *address = &address;
            BUF32CELL cell;
            EXPECT_SILENT_FAILURE(api().buf32CellLock(over, index, &address, &cell));
            EXPECT_EQ(address, nullptr);
            EXPECT_SILENT_FAILURE(api().buf32CellLock(over, index, nullptr, nullptr));
        }
    }
    EXPECT_EQ(word(over, field_lock_count), 0u);
}

// --- rows ------------------------------------------------------------------------------------

TEST_F(CallerMemory, RowsComeOutOfAllDepths) {
    Random random(test_seed(), 3);
    for (int bits = 1; bits <= 64; ++bits)
        for (int width : {1, 127, 128, 129, 300}) {
            SCOPED_TRACE(size_text(bits, width, 5));
            Subject over(Kind::caller_memory, bits, width, 5, random);
            ASSERT_EQ(api().buf32Lock(over, 77, nullptr), 1);
            for (int y : {0, 1, 2, 3, 4, -1, INT_MIN, 5, INT_MAX}) {
                const Bytes expected(over.picture.image.row(size_t(std::clamp(y, 0, 4))),
                                     over.picture.image.row(size_t(std::clamp(y, 0, 4))) +
                                         over.picture.image.row_bytes());
                MemoryBlock row(expected.size(), random_fence(random), random);
                EXPECT_SUCCESS(api().buf32Line(over, y, BUF32_LINE_READ, row.data()));
                row.expect(expected);
                EXPECT_EQ(word(over, field_lock_count), 1u);
                EXPECT_EQ(word(over, field_access_mode), 1u);
            }
            ASSERT_EQ(api().buf32Unlock(over), 1);
        }
}

// Rows are converted on the way like those of any buffer of the same pixels.
TEST_F(CallerMemory, RowsAreConverted) {
    Random random(test_seed(), 4);
    for (const auto &[bits, mode] : {std::pair{1, 3}, {16, 5}, {16, 7}, {8, 3}, {24, 5}}) {
        SCOPED_TRACE(std::to_string(bits) + " bits, mode " + std::to_string(mode));
        Subject over(Kind::caller_memory, bits, 301, 3, random);
        Buffer ordinary(bits, 301, 3);
        store(ordinary, over.picture.image);
        ASSERT_EQ(api().buf32Lock(over, 1, nullptr), 1);
        ASSERT_EQ(api().buf32Lock(ordinary, 1, nullptr), 1);
        Bytes row(301 * 3, 0xCC), expected = row;
        for (int y = 0; y < 3; ++y) {
            EXPECT_SUCCESS(api().buf32Line(over, y, mode, row.data()));
            EXPECT_SUCCESS(api().buf32Line(ordinary, y, mode, expected.data()));
            EXPECT_EQ(row, expected);
        }
        ASSERT_EQ(api().buf32Unlock(over), 1);
        ASSERT_EQ(api().buf32Unlock(ordinary), 1);
    }
}

TEST_F(CallerMemory, RowsDoNotGoIn) {
    Random random(test_seed(), 5);
    Subject over(Kind::caller_memory, 16, 300, 200, random);
    Bytes row(900, 0xCC);
    for (int mode = -1; mode <= 10; ++mode) {
        EXPECT_REPORT(api().buf32Line(over, 0, mode, row.data()), 5804, 1, 3, 3);
        EXPECT_REPORT(api().buf32Line(over, 0, mode, nullptr), 3200, 0, 4, 6);
    }
    ASSERT_EQ(api().buf32Lock(over, 1, nullptr), 1);
    for (int mode : {2, 4, 6, 8, 9, 0, -1, 10, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(mode);
        EXPECT_SILENT_FAILURE(api().buf32Line(over, 0, mode, row.data()));
        EXPECT_EQ(word(over, field_lock_count), 1u);
        EXPECT_EQ(word(over, field_access_mode), 1u);
    }
    ASSERT_EQ(api().buf32Unlock(over), 1);
    EXPECT_EQ(row, Bytes(900, 0xCC));
    over.expect_picture();
}

// --- what writes is refused ------------------------------------------------------------------

TEST_F(CallerMemory, WhatWritesIsRefusedByReport) {
    Random random(test_seed(), 6);
    for (int bits : {1, 8, 24}) {
        SCOPED_TRACE(bits);
        Subject over(Kind::caller_memory, bits, 300, 200, random);
        forget_reports();
        EXPECT_EQ(entry_of<void *(HBUF32, int, int)>(over, entry_point_address)(over, 0, 0),
                  nullptr);
        EXPECT_EQ(frame::reports(), (std::vector<Failure>{{5800, 0, 50, 61}}));
        EXPECT_REPORT(api().buf32FillOneColor(over, some_colour), 5800, 0, 50, 62);
        EXPECT_REPORT(api().buf32FillOneColor(over, nullptr), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32MergeMem(over, 0, 0, some_colour, 1, 1), 5800, 0, 50, 64);
        EXPECT_REPORT(api().buf32MergeMem(over, 300, 0, some_colour, 1, 1), 5800, 0, 50, 64);
        EXPECT_REPORT(api().buf32MergeMem(over, 0, 0, some_colour, 0, 0), 5800, 0, 50, 64);
        EXPECT_REPORT(api().buf32MergeMem(over, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
        const BUF32PATTERN pattern{2, 2, some_colour};
        EXPECT_REPORT(api().buf32FillPattern(over, &pattern), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32FillPattern(over, nullptr), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32ReAlloc(over, 100), 3200, 0, 4, 11);
        EXPECT_EQ(word(over, field_type), BUF32_CALLER_MEMORY);
        EXPECT_EQ(word(over, field_lock_count), 0u);
        over.expect_picture();
    }
}

// MergeBuf is the source's: one over caller memory refuses it, whatever is asked and whoever is to
// receive the pixels, before anything is cut, compared or taken.
TEST_F(CallerMemory, MergeBufFromItIsRefusedByReport) {
    Random random(test_seed(), 13);
    for (int bits : {1, 8, 24}) {
        Subject over(Kind::caller_memory, bits, 300, 200, random);
        const auto expect_refused = [&](HBUF32 destination) {
            const struct {
                Area area;
                int x, y;
            } cases[] = {{{0, 0, 300, 200}, 0, 0},   {{10, 20, 30, 40}, 150, 5},
                         {{-5, -5, 30, 40}, -7, -9}, {{0, 0, 0, 0}, 0, 0},
                         {{900, 0, 10, 10}, 0, 0},   {{0, 0, 10, 10}, 900, 0},
                         {{0, 0, -5, -5}, 0, 0},     {{INT_MIN, 0, INT_MAX, INT_MAX}, INT_MAX, 0}};
            const uintptr_t marker = word(destination, field_share_marker);
            for (const auto &[area, x, y] : cases) {
                SCOPED_TRACE(text_of(area) + " to " + std::to_string(x) + ", " + std::to_string(y));
                StripWatch watch;
                EXPECT_REPORT(api().buf32MergeBuf(over, area.x, area.y, area.width, area.height,
                                                  destination, x, y),
                              5800, 0, 50, 63);
                EXPECT_EQ(watch.asked(), std::vector<SIZE_T>{});
            }
            EXPECT_EQ(word(destination, field_share_marker), marker);
            EXPECT_EQ(word(destination, field_lock_count), 0u);
        };
        for (Kind kind : all_kinds) {
            SCOPED_TRACE(std::string(name_of(kind)) + ", " + std::to_string(bits) + " bits");
            Subject destination(kind, bits, 300, 200, random);
            expect_refused(destination);
            destination.expect_picture();
        }
        OneColourSubject one_colour(bits, 300, 200);
        expect_refused(one_colour);
        EXPECT_EQ(word(one_colour, field_type), BUF32_ONE_COLOUR);
        const BUF32PATTERN descriptor{2, 1, some_colour};
        Buffer pattern(bits, 300, 200, BUF32_PATTERN, &descriptor);
        expect_refused(pattern);
        EXPECT_EQ(word(pattern, field_type), BUF32_PATTERN);
        Subject other_depth(Kind::tiled, bits + 1, 300, 200, random);
        expect_refused(other_depth);
        other_depth.expect_picture();
        expect_refused(over);
        EXPECT_SILENT_FAILURE(api().buf32MergeBuf(over, 0, 0, 10, 10, 0, 0, 0));
        EXPECT_EQ(word(over, field_lock_count), 0u);
        EXPECT_EQ(word(over, field_access_mode), 1u);
        over.expect_picture();
    }
}

// Sources of every type, all of one depth, that a buffer over caller memory is to receive.
struct Sources {
    Sources(int bits, Random &random)
        : bitmap_pixels(size_t(300 * bits + 31) / 32 * 4 * 200, MemoryBlock::fence_behind, random),
          one_colour(bits, 300, 200, BUF32_ONE_COLOUR, some_colour),
          pattern(bits, 300, 200, BUF32_PATTERN, &descriptor) {
        for (Kind kind : writable_kinds)
            subjects.push_back(std::make_unique<Subject>(kind, bits, 300, 200, random));
        HBUF32 handle = 0;
        EXPECT_EQ(api().buf32DIBMemBufAlloc(&handle, bits, 300, 200, bitmap_pixels.data()), 1);
        bitmap = std::make_unique<Buffer>(handle);
        for (const auto &subject : subjects)
            all.push_back(*subject);
        all.insert(all.end(), {HBUF32(one_colour), HBUF32(pattern), HBUF32(*bitmap)});
    }

    MemoryBlock bitmap_pixels;
    const BUF32PATTERN descriptor{2, 1, some_colour};
    Buffer one_colour, pattern;
    std::vector<std::unique_ptr<Subject>> subjects;
    std::unique_ptr<Buffer> bitmap;
    std::vector<HBUF32> all;
};

// From all others a copy into one over caller memory ends at its MergeMem, with the first strip.
TEST_F(CallerMemory, MergeBufIntoItIsRefusedLikeMergeMem) {
    Random random(test_seed(), 14);
    for (int bits : {1, 8, 24}) {
        Subject over(Kind::caller_memory, bits, 290, 190, random);
        const Sources sources(bits, random);
        for (HBUF32 source : sources.all) {
            const auto type = word(source, field_type);
            SCOPED_TRACE("type " + std::to_string(type) + ", " + std::to_string(bits) + " bits");
            const auto merge = [&](const Area &area, int x, int y) {
                return api().buf32MergeBuf(source, area.x, area.y, area.width, area.height, over, x,
                                           y);
            };
            for (const Area &area : {Area{0, 0, 300, 200}, {-5, 7, 30, 20}, {299, 199, 9, 9}}) {
                SCOPED_TRACE(text_of(area));
                StripWatch watch;
                EXPECT_REPORT(merge(area, 3, 5), 5800, 0, 50, 64);
                EXPECT_EQ(watch.asked().size(), 1u);
            }
            { // by whichever strip is the first
                StripWatch watch(SIZE_T(block_row_bytes(bits, 300)) * 60);
                EXPECT_REPORT(merge({0, 0, 300, 200}, 0, 0), 5800, 0, 50, 64);
                EXPECT_EQ(watch.asked().size(), 3u);
            }
            { // or without any
                FailingCall strips("GlobalAlloc", 1, FailingCall::from_there_on);
                EXPECT_REPORT(merge({0, 0, 300, 200}, 0, 0), 1001, 1, 4, 19);
            }
            // With nothing to copy its MergeMem is not asked.
            EXPECT_SUCCESS(merge({0, 0, 0, 0}, 0, 0));
            EXPECT_SUCCESS(merge({300, 0, 10, 10}, 0, 0));
            EXPECT_SUCCESS(merge({0, 0, 10, 10}, 290, 0));
            EXPECT_SUCCESS(merge({0, 0, 10, 10}, 0, -10));
            EXPECT_EQ(word(source, field_type), type);
            EXPECT_EQ(word(source, field_lock_count), 0u);
            EXPECT_EQ(word(over, field_lock_count), 0u);
        }
        for (const auto &subject : sources.subjects)
            subject->expect_picture();
        const Sources deep(bits + 8, random);
        for (HBUF32 source : deep.all) {
            SCOPED_TRACE("type " + std::to_string(word(source, field_type)));
            EXPECT_REPORT(api().buf32MergeBuf(source, 0, 0, 300, 200, over, 0, 0), 3200, 1, 4, 18);
        }
        over.expect_picture();
    }
}

TEST_F(CallerMemory, GetBufIntoItIsRefusedLikeMergeMem) {
    Random random(test_seed(), 15);
    for (int bits : {1, 8, 24}) {
        Subject over(Kind::caller_memory, bits, 290, 190, random);
        const Sources sources(bits, random);
        HBUF32 handle = over;
        for (HBUF32 source : sources.all) {
            const auto type = word(source, field_type);
            SCOPED_TRACE("type " + std::to_string(type) + ", " + std::to_string(bits) + " bits");
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 5800, 0, 50, 64);
            EXPECT_REPORT(api().buf32GetBuf(source, -5, 7, 30, 20, &handle), 5800, 0, 50, 64);
            EXPECT_SUCCESS(api().buf32GetBuf(source, 300, 0, 30, 20, &handle)); // nothing to copy
            EXPECT_EQ(handle, HBUF32(over));
            EXPECT_EQ(word(source, field_type), type);
        }
        over.expect_picture();
    }
}

// A copy into one fails with its first strip.
TEST_F(CallerMemory, GetBufIntoItIsRefusedByReport) {
    Random random(test_seed(), 7);
    Subject over(Kind::caller_memory, 24, 300, 200, random),
        alike(Kind::caller_memory, 24, 300, 200, random), tiled(Kind::tiled, 24, 300, 200, random),
        deep(Kind::tiled, 32, 300, 200, random);
    OneColourSubject one_colour(24, 300, 200);
    HBUF32 handle = over;
    for (HBUF32 source : {HBUF32(alike), HBUF32(tiled), HBUF32(one_colour), HBUF32(over)}) {
        if (source == HBUF32(over)) // it has those pixels already
            EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 300, 200, &handle));
        else
            EXPECT_REPORT(api().buf32GetBuf(source, 0, 0, 300, 200, &handle), 5800, 0, 50, 64);
        EXPECT_REPORT(api().buf32GetBuf(source, -5, 7, 30, 20, &handle), 5800, 0, 50, 64);
        EXPECT_SUCCESS(api().buf32GetBuf(source, 300, 0, 30, 20, &handle)); // nothing to copy
        EXPECT_EQ(handle, HBUF32(over));
    }
    EXPECT_REPORT(api().buf32GetBuf(deep, 0, 0, 300, 200, &handle), 3200, 1, 4, 18);
    {
        FailingCall strips("GlobalAlloc", 1, FailingCall::from_there_on);
        EXPECT_REPORT(api().buf32GetBuf(tiled, 0, 0, 300, 200, &handle), 1001, 1, 4, 19);
    }
    EXPECT_EQ(handle, HBUF32(over));
    EXPECT_EQ(word(over, field_share_marker), 0u);
    over.expect_picture();
}

TEST_F(CallerMemory, IsNeverDuplicated) {
    Random random(test_seed(), 8);
    Subject over(Kind::caller_memory, 24, 300, 200, random),
        alike(Kind::caller_memory, 24, 300, 200, random), tiled(Kind::tiled, 24, 300, 200, random);
    HBUF32 handle = 0;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(over, &handle));
    EXPECT_EQ(handle, 0u);
    for (HBUF32 destination : {HBUF32(alike), HBUF32(tiled), HBUF32(over)}) {
        handle = destination;
        EXPECT_SILENT_FAILURE(api().buf32DupBuf(over, &handle));
        EXPECT_EQ(handle, destination);
        EXPECT_EQ(word(destination, field_share_marker), 0u);
    }
    EXPECT_EQ(api().buf32CountBuf(nullptr), 3);
    // Nor does it take another one's pixels.
    handle = over;
    EXPECT_REPORT(api().buf32DupBuf(tiled, &handle), 4026, 1, 3, 6);
    EXPECT_EQ(handle, HBUF32(over));
    over.expect_picture();
    tiled.expect_picture();
}

TEST_F(CallerMemory, HasNoAddresses) {
    Random random(test_seed(), 9);
    Subject over(Kind::caller_memory, 24, 300, 200, random);
    EXPECT_REPORT(api().buf32PointAddr(over, 0, 0), 3200, 1, 4, 182);
    forget_reports();
    EXPECT_EQ(api().buf32PointAddEx(over, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
    expect_no_report();
    EXPECT_EQ(word(over, field_lock_count), 0u);
    ASSERT_EQ(api().buf32Lock(over, 1, nullptr), 1);
    EXPECT_REPORT(api().buf32PointAddr(over, 0, 0), 3200, 1, 4, 182);
    EXPECT_EQ(word(over, field_lock_count), 1u);
    ASSERT_EQ(api().buf32Unlock(over), 1);
}

// --- as a source -----------------------------------------------------------------------------

// The whole of it into a new buffer is a copy: there is nothing to share.
TEST_F(CallerMemory, GetBufOfTheWholeIsACopy) {
    Random random(test_seed(), 10);
    for (int bits : {1, 2, 4, 7, 8, 16, 24, 32, 48, 64}) {
        SCOPED_TRACE(bits);
        Subject over(Kind::caller_memory, bits, 300, 200, random);
        HBUF32 handle = 0;
        EXPECT_SUCCESS(api().buf32GetBuf(over, 0, 0, 300, 200, &handle));
        const Buffer made(handle);
        ASSERT_TRUE(made);
        EXPECT_EQ(word(made, field_type), BUF32_TILED);
        EXPECT_EQ(word(made, field_share_marker), 0u);
        EXPECT_EQ(memory_in_use(), word(made, field_reserved_bytes));
        expect_same_pixels(picture_of(made), [&] {
            Picture expected(Geometry(300, 200, bits, BUF32_TILED));
            expected.image = over.picture.image; // rows are packed alike
            return expected;
        }());
        EXPECT_EQ(word(over, field_lock_count), 0u);
        EXPECT_EQ(word(over, field_first_sharer), 0u);
    }
}

TEST_F(CallerMemory, StagingBlocksAreOfItsCellsAndRows) {
    Random random(test_seed(), 11);
    Subject over(Kind::caller_memory, 24, 300, 200, random);
    for (const auto &[kind, bytes] : {std::pair{1, 49152u}, {2, 900u}}) {
        void *block = nullptr;
        size_t unit = 0;
        EXPECT_SUCCESS(api().buf32GetMemSpace(over, kind, 3, 0, &block, &unit));
        EXPECT_EQ(unit, bytes);
        EXPECT_GE(GlobalSize(block), bytes * 3 + 4);
        frame::forget_block(block);
        GlobalFree(block);
    }
}

// --- the end ---------------------------------------------------------------------------------

TEST_F(CallerMemory, IsFreedLockedOrNotAndStaysTheCallers) {
    Random random(test_seed(), 12);
    for (bool locked : {false, true}) {
        MemoryBlock block(60000, MemoryBlock::fence_behind, random);
        const Bytes bytes = block.contents();
        block.protect();
        const BUF32MEMORY memory{0, block.data()};
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32Alloc(&handle, 8, 300, 200, BUF32_CALLER_MEMORY, &memory), 1);
        if (locked) {
            ASSERT_EQ(api().buf32Lock(handle, BUF32_READ, nullptr), 1);
            ASSERT_EQ(word(handle, field_lock_count), 1u);
        }
        EXPECT_SUCCESS(api().buf32Free(handle));
        EXPECT_SILENT_FAILURE(api().buf32Free(handle));
        EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
        block.expect(bytes);
    }
}

} // namespace
} // namespace q32::test

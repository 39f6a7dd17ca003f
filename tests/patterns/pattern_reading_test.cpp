// Reading pattern buffers: every entry, pattern sizes from one pixel to more than the image, and
// what needs a block and what does not.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class PatternReading : public BufferTest {};

constexpr Failure no_block{1001, 1, 4, 21}, bad_cell{5804, 0, 3, 1};

constexpr int depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
constexpr std::pair<int, int> pattern_sizes[] = {{1, 1},  {2, 1},  {1, 2},   {3, 2},    {5, 4},
                                                 {7, 7},  {8, 8},  {9, 3},   {13, 5},   {16, 1},
                                                 {20, 7}, {33, 5}, {131, 3}, {170, 150}};

TEST_F(PatternReading, EveryEntryShowsThePatternRepeated) {
    for (int bits : depths)
        for (const auto &[width, height] : pattern_sizes) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << bits);
            PatternBuffer buffer(bits, 150, 140, width, height);
            expect_read_everywhere(buffer.picture);
            EXPECT_EQ(word(buffer, field_type), BUF32_PATTERN);
        }
}

TEST_F(PatternReading, OfImagesOfSeveralSizes) {
    for (const auto &[width, height] :
         {std::pair{1, 1}, {5, 3}, {8, 1}, {1, 9}, {128, 128}, {129, 131}, {300, 5}, {3, 300}})
        for (int bits : {1, 3, 4, 8, 24, 64})
            for (const auto &[pattern_width, pattern_height] :
                 {std::pair{1, 1}, {5, 4}, {20, 7}, {400, 310}}) {
                SCOPED_TRACE(testing::Message() << size_text(bits, width, height) << ", pattern "
                                                << pattern_width << " x " << pattern_height);
                PatternBuffer buffer(bits, width, height, pattern_width, pattern_height);
                expect_read_everywhere(buffer.picture);
            }
}

// Beyond the first repeat of patterns whose width or height takes more than a byte.
TEST_F(PatternReading, OfPatternsBeyond255Pixels) {
    for (int bits : depths)
        for (int size : {256, 257, 300, 513, 700}) {
            SCOPED_TRACE(testing::Message() << size << " at " << bits);
            PatternBuffer wide(bits, 1500, 9, size, 4);
            expect_read_everywhere(wide.picture);
            PatternBuffer high(bits, 9, 1500, 4, size);
            expect_read_everywhere(high.picture);
        }
}

TEST_F(PatternReading, RectanglesAndSourcesNeedNoBlock) {
    for (int bits : depths) {
        SCOPED_TRACE(bits);
        PatternBuffer buffer(bits, 150, 140, 7, 5);
        expect_read_everywhere(buffer.picture, Through::without_locks);
        EXPECT_EQ(word(buffer, field_storage), 0u);
        EXPECT_EQ(memory_in_use(), 0u);
        const Area all{0, 0, 150, 140}, across{-3, -2, 156, 145};
        Bytes memory(block_bytes(buffer.picture.geometry.bits, across));
        FailingCall block("VirtualAlloc", 1, FailingCall::from_there_on);
        EXPECT_SUCCESS(
            api().buf32GetMem(buffer, all.x, all.y, all.width, all.height, memory.data()));
        EXPECT_SUCCESS(api().buf32GetMemWithBC(buffer, across.x, across.y, across.width,
                                               across.height, memory.data(), colour));
        EXPECT_EQ(block.calls(), 0);
    }
}

// A row needs a lock by the caller, and no more.
TEST_F(PatternReading, RowsNeedNoBlock) {
    for (int bits : {1, 3, 8, 24}) {
        SCOPED_TRACE(bits);
        PatternBuffer buffer(bits, 150, 140, 7, 5);
        FencedBlock memory(buffer.picture.image.row_bytes());
        set_word(buffer, field_lock_count, 1);
        FailingCall block("VirtualAlloc", 1, FailingCall::from_there_on);
        for (int y : {0, 1, 4, 5, 127, 128, 139, -5, 140, 1000}) {
            set_word(buffer, field_access_mode, 5);
            EXPECT_SUCCESS(api().buf32Line(buffer, y, BUF32_LINE_READ, memory.data()));
            const uint8_t *expected = buffer.picture.image.row(size_t(std::clamp(y, 0, 139)));
            EXPECT_TRUE(
                same_rows({expected, memory.size()}, memory.data(), memory.size(), 150 * bits))
                << y;
            EXPECT_EQ(word(buffer, field_access_mode), 1u);
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
        }
        EXPECT_EQ(block.calls(), 0);
        set_word(buffer, field_lock_count, 0);
    }
}

// At 12 bits a pixel takes one byte of a row that has room for twelve bits of each.
TEST_F(PatternReading, RowsOfTwelveBitPixelsByHand) {
    const uint8_t pixels[2][3] = {{0x11, 0x22, 0x77}, {0x33, 0x44, 0x77}};
    const BUF32PATTERN pattern{2, 2, pixels};
    const Buffer buffer(12, 4, 3, BUF32_PATTERN, &pattern);
    set_word(buffer, field_lock_count, 1);
    const uint8_t rows[3][6] = {{0x11, 0x22, 0x11, 0x22, 0, 0},
                                {0x33, 0x44, 0x33, 0x44, 0, 0},
                                {0x11, 0x22, 0x11, 0x22, 0, 0}};
    for (int y = 0; y < 3; ++y) {
        FencedBlock memory(6);
        EXPECT_SUCCESS(api().buf32Line(buffer, y, BUF32_LINE_READ, memory.data()));
        EXPECT_EQ(std::memcmp(memory.data(), rows[y], 6), 0) << y;
    }
    set_word(buffer, field_lock_count, 0);
}

// At depths between whole bytes rows are not the pixels side by side: the same bytes as of an
// ordinary buffer with the same pixels.
TEST_F(PatternReading, RowsOfDepthsBetweenWholeBytes) {
    for (int bits : {9, 12, 20, 30})
        for (int pattern_width : {5, 131, 256, 300, 700}) {
            SCOPED_TRACE(testing::Message() << pattern_width << " at " << bits);
            PatternBuffer buffer(bits, 1500, 5, pattern_width, 3);
            const Buffer ordinary(bits, 1500, 5);
            const Area all = buffer.picture.whole();
            Bytes pixels(block_bytes(bits, all));
            buffer.picture.get(all, pixels.data());
            ASSERT_EQ(api().buf32MergeMem(ordinary, 0, 0, pixels.data(), 1500, 5), 1);
            FencedBlock expected(buffer.picture.image.row_bytes()), row(expected.size());
            ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
            ASSERT_EQ(api().buf32Lock(ordinary, BUF32_READ, nullptr), 1);
            for (int y = 0; y < 5; ++y) {
                ASSERT_EQ(api().buf32Line(ordinary, y, BUF32_LINE_READ, expected.data()), 1);
                ASSERT_EQ(api().buf32Line(buffer, y, BUF32_LINE_READ, row.data()), 1);
                EXPECT_TRUE(same_bytes({expected.data(), expected.size()}, row.data())) << y;
            }
            ASSERT_EQ(api().buf32Unlock(ordinary), 1);
            ASSERT_EQ(api().buf32Unlock(buffer), 1);
        }
}

// 128 pixels of a first cell and 64 bytes of nothing, 12 pixels of a second one and 6.
TEST_F(PatternReading, RowsOfTwelveBitPixelsOfTwoCells) {
    const uint8_t pixels[2] = {0x11, 0x77};
    const BUF32PATTERN pattern{1, 1, pixels};
    const Buffer buffer(12, 140, 1, BUF32_PATTERN, &pattern);
    set_word(buffer, field_lock_count, 1);
    FencedBlock row(210);
    EXPECT_SUCCESS(api().buf32Line(buffer, 0, BUF32_LINE_READ, row.data()));
    for (int i = 0; i < 210; ++i)
        EXPECT_EQ(row.data()[i], i < 128 || (i >= 192 && i < 204) ? 0x11 : 0) << i;
    const uintptr_t copy = word(buffer, field_external_data);
    set_word(buffer, field_external_data, 0); // as after a refused free
    EXPECT_SUCCESS(api().buf32Line(buffer, 0, BUF32_LINE_READ, row.data()));
    for (int i = 0; i < 210; ++i)
        EXPECT_EQ(row.data()[i], 0) << i;
    set_word(buffer, field_external_data, copy);
    set_word(buffer, field_lock_count, 0);
}

TEST_F(PatternReading, RowsConvert) {
    PatternBuffer bits(1, 150, 140, 11, 3);
    FencedBlock bytes(150);
    ASSERT_EQ(api().buf32Lock(bits, BUF32_READ, nullptr), 1);
    EXPECT_SUCCESS(api().buf32Line(bits, 100, BUF32_LINE_READ_BITS, bytes.data()));
    for (size_t x = 0; x < 150; ++x)
        EXPECT_EQ(bytes.data()[x],
                  (bits.picture.image.row(100)[x / 8] << x % 8 & 0x80) != 0 ? 255 : 0)
            << x;
    ASSERT_EQ(api().buf32Unlock(bits), 1);

    // Words of full and empty fields, so that no rounding comes in.
    constexpr uint16_t words[] = {0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000};
    constexpr uint8_t pixels[][3] = {
        {255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}, {0, 0, 0}};
    const BUF32PATTERN pattern{5, 1, words};
    Buffer buffer(16, 150, 140, BUF32_PATTERN, &pattern);
    FencedBlock row(450);
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    EXPECT_SUCCESS(api().buf32Line(buffer, 7, BUF32_LINE_READ_565, row.data()));
    for (size_t x = 0; x < 150; ++x)
        for (size_t i = 0; i < 3; ++i) {
            // An empty field is widened with its low bits set.
            const int got = row.data()[3 * x + i];
            EXPECT_TRUE(pixels[x % 5][i] == 255 ? got == 255 : got <= 7) << x << ' ' << got;
        }
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

TEST_F(PatternReading, RowsAreRefusedLikeOthers) {
    PatternBuffer buffer(8, 150, 140, 7, 5);
    uint8_t row[150];
    EXPECT_REPORT(api().buf32Line(buffer, 0, 1, row), 5804, 1, 3, 3);
    EXPECT_REPORT(api().buf32Line(buffer, 0, 1, nullptr), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32GetMem(buffer, 150, 0, 1, 1, row), 3200, 1, 3, 13);
    EXPECT_REPORT(api().buf32PointAddr(buffer, 0, 0), 3200, 1, 4, 182);
    forget_reports();
}

// --- locks -----------------------------------------------------------------------------------

TEST_F(PatternReading, AReadLockMakesTheBlockAndRendersItEveryTime) {
    for (int bits : {1, 8, 24})
        for (const auto &[pattern_width, pattern_height] : {std::pair{7, 5}, {3, 200}}) {
            SCOPED_TRACE(testing::Message() << bits << ' ' << pattern_height);
            PatternBuffer buffer(bits, 150, 140, pattern_width, pattern_height);
            const uint32_t bytes = pattern_block_bytes(buffer.picture.geometry, buffer.pattern);
            Picture rows(0, Geometry(150, pattern_height, bits, BUF32_LINEAR));
            rows.paint(buffer.pattern);
            uint32_t locks = 0;
            void *block = nullptr;
            for (int mode : {1, 0, 5, -1, 1000}) {
                ObservedCalls calls;
                void *base = nullptr;
                EXPECT_SUCCESS(api().buf32Lock(buffer, mode, &base));
                EXPECT_EQ(calls.virtual_blocks().size(), locks == 0 ? 1u : 0u);
                if (locks == 0) {
                    EXPECT_EQ(calls.virtual_blocks()[0].bytes, bytes);
                    block = base;
                }
                EXPECT_EQ(base, block);
                EXPECT_EQ(uintptr_t(base), word(buffer, field_storage));
                EXPECT_EQ(word(buffer, field_lock_count), ++locks);
                EXPECT_EQ(word(buffer, field_access_mode), uint32_t(mode));
                EXPECT_EQ(word(buffer, field_type), BUF32_PATTERN);
                EXPECT_EQ(memory_in_use(), bytes);
                EXPECT_TRUE(same_rows(rows.image.bytes(), static_cast<const uint8_t *>(base),
                                      rows.image.row_bytes(), 150 * bits));
                std::memset(base, 0x5C, bytes); // a caller's mistake does not last
            }
            EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr)); // without a base too
            EXPECT_TRUE(same_rows(rows.image.bytes(), static_cast<const uint8_t *>(block),
                                  rows.image.row_bytes(), 150 * bits));
            for (++locks; locks > 0; --locks)
                EXPECT_EQ(api().buf32Unlock(buffer), 1);
            EXPECT_EQ(memory_in_use(), bytes); // stays until the buffer goes
        }
}

TEST_F(PatternReading, ACellLockMakesTheBlockAndRendersTheCell) {
    PatternBuffer buffer(24, 300, 200, 7, 5);
    const Geometry &geometry = buffer.picture.geometry;
    uint32_t locks = 0;
    for (int i : {5, 0, 2, 3, 0}) {
        void *address = nullptr;
        BUF32CELL cell;
        EXPECT_SUCCESS(api().buf32CellLock(buffer, i, &address, &cell));
        EXPECT_EQ(word(buffer, field_lock_count), ++locks);
        EXPECT_EQ(uintptr_t(address), word(buffer, field_storage)); // all cells begin there
        EXPECT_EQ(memory_in_use(), uint32_t(geometry.cell_bytes()));
        const BUF32CELL described = geometry.description(i);
        EXPECT_TRUE(same_cell(cell, described));
        for (int y = 0; y < cell.height; ++y)
            ASSERT_TRUE(same_bytes(
                {buffer.picture.image.row(size_t(cell.y + y)) + cell.x * 3, size_t(cell.row_bytes)},
                static_cast<const uint8_t *>(address) + y * cell.row_bytes))
                << "cell " << i << " row " << y;
    }
    EXPECT_SUCCESS(api().buf32CellLock(buffer, 1, nullptr, nullptr));
    for (++locks; locks > 0; --locks)
        EXPECT_EQ(api().buf32CellUnlock(buffer, -7), 1);
}

// Write locks that were cannot make a cell lock write: what the caller puts there is lost.
TEST_F(PatternReading, CellLocksNeverTurnItIntoAnOrdinaryBuffer) {
    PatternBuffer buffer(8, 150, 140, 7, 5);
    for (uint32_t mode : {2u, 3u, 4u}) {
        set_word(buffer, field_access_mode, mode);
        void *address = nullptr;
        EXPECT_SUCCESS(api().buf32CellLock(buffer, 1, &address, nullptr));
        std::memset(address, 0x5C, 100);
        EXPECT_EQ(word(buffer, field_type), BUF32_PATTERN);
        EXPECT_SUCCESS(api().buf32CellUnlock(buffer, 1));
    }
    expect_read_everywhere(buffer.picture);
}

TEST_F(PatternReading, CellIndexOutOfRange) {
    PatternBuffer buffer(8, 150, 140, 7, 5);
    for (int index : {-1, 4, 5, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        void *address = &address;
        BUF32CELL cell;
        EXPECT_EQ(api().buf32CellLock(buffer, index, &address, &cell), 0);
        EXPECT_EQ(address, nullptr);
        expect_report(bad_cell);
    }
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    EXPECT_EQ(memory_in_use(), 0u); // no block was made
}

TEST_F(PatternReading, UnlockingAnUnlockedBuffer) {
    PatternBuffer buffer(8, 150, 140, 7, 5);
    EXPECT_REPORT(api().buf32Unlock(buffer), 5804, 1, 3, 4);
    EXPECT_REPORT(api().buf32CellUnlock(buffer, 0), 5804, 0, 3, 2);
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    forget_reports();
}

TEST_F(PatternReading, NoBlock) {
    PatternBuffer buffer(8, 150, 140, 7, 5);
    for (int mode : {1, 0, 7}) {
        FailingCall block("VirtualAlloc", 1);
        void *base = &base;
        EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 0);
        EXPECT_EQ(base, nullptr);
        expect_report(no_block);
    }
    {
        FailingCall block("VirtualAlloc", 1);
        void *address = &address;
        EXPECT_EQ(api().buf32CellLock(buffer, 0, &address, nullptr), 0);
        EXPECT_EQ(address, nullptr);
        expect_report(no_block);
    }
    {
        FailingCall block("VirtualAlloc", 1);
        using PointAddress = void *(HBUF32, int, int);
        EXPECT_EQ(entry_of<PointAddress>(buffer, entry_point_address)(buffer, 3, 4), nullptr);
        EXPECT_TRUE(block.happened());
        EXPECT_TRUE(frame::reports().empty());
    }
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    EXPECT_EQ(word(buffer, field_storage), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    expect_read_everywhere(buffer.picture); // and now there is memory
}

// --- the copy is lost ------------------------------------------------------------------------

// A refused free of a locked buffer has released the pattern: everything reads as zero, and the
// buffer can still be filled, written and freed.
class LostPattern : public BufferTest {
protected:
    static void lose(PatternBuffer &buffer) {
        const auto locks = word(buffer, field_lock_count);
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        const int runtime_blocks = frame::Census::now().runtime_blocks;
        EXPECT_REPORT(api().buf32Free(buffer), 5804, 1, 4, 12);
        forget_reports();
        EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks - 1);
        EXPECT_EQ(word(buffer, field_external_data), 0u);
        EXPECT_EQ(word(buffer, field_type), BUF32_PATTERN);
        EXPECT_EQ(word(buffer, field_lock_count), locks + 1);
        buffer.picture.image = PlainImage(buffer.picture.geometry); // zeros
    }
};

TEST_F(LostPattern, ReadsAsZero) {
    for (int bits : depths) {
        SCOPED_TRACE(bits);
        PatternBuffer buffer(bits, 150, 140, 7, 5);
        lose(buffer);
        expect_read_everywhere(buffer.picture);
        EXPECT_REPORT(api().buf32Free(buffer), 5804, 1, 4, 12); // and no second release
        forget_reports();
        expect_read_everywhere(buffer.picture);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
        expect_read_everywhere(buffer.picture);
    }
}

TEST_F(LostPattern, CanBeFilledAgain) {
    for (int bits : {1, 8, 24}) {
        Random random(test_seed(), uint64_t(bits));
        PatternBuffer buffer(bits, 150, 140, 7, 5);
        lose(buffer);
        const Pattern other(3, 9, bits, random);
        fill_with(buffer.picture, other);
        expect_filled_with(buffer.picture, other);
        expect_read_everywhere(buffer.picture);
        lose(buffer);
        EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
        buffer.picture.paint(colour);
        expect_read_everywhere(buffer.picture);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

TEST_F(LostPattern, CanBeWritten) {
    for (int bits : {1, 8, 24})
        for (const WritePath &path : write_paths_to_ordinary(bits)) {
            SCOPED_TRACE(testing::Message() << path.name << ' ' << bits);
            Random random(test_seed(), uint64_t(bits));
            PatternBuffer buffer(bits, 152, 140, 7, 5);
            lose(buffer);
            EXPECT_TRUE(path.write(buffer.picture, random));
            expect_no_report();
            EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
            expect_read_everywhere(buffer.picture);
            ASSERT_EQ(api().buf32Unlock(buffer), 1);
        }
}

TEST_F(LostPattern, UnloadingReleasesItOnce) {
    fresh_library();
    const BUF32PATTERN pattern{2, 1, colour};
    HBUF32 buffer = 0;
    ASSERT_EQ(api().buf32Alloc(&buffer, 8, 300, 200, BUF32_PATTERN, &pattern), 1);
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    EXPECT_REPORT(api().buf32Free(buffer), 5804, 1, 4, 12);
    forget_reports();
    fresh_library(); // checks that nothing is left
    expect_no_report();
}

} // namespace
} // namespace q32::test

// buf32Line: rows in and out of buffers as they are stored; what it refuses, clamps and counts. The
// converting modes are the subject of line_conversions_test.cpp.
#include "tests/buffer/buffer_fixture.h"
#include "tests/buffer/entry_hook.h"

#include <climits>

namespace q32::test {
namespace {

class BufferLines : public BufferTest {};

constexpr Failure no_memory_given{3200, 0, 4, 6}, not_locked{5804, 1, 3, 3};

// --- failures --------------------------------------------------------------------------------

TEST_F(BufferLines, NullMemoryIsReportedBeforeAllElse) {
    Buffer buffer(8, 300, 200);
    for (int mode = 0; mode <= 9; ++mode) {
        EXPECT_EQ(api().buf32Line(0, 0, mode, nullptr), 0);
        expect_report(no_memory_given);
        EXPECT_EQ(api().buf32Line(buffer, 0, mode, nullptr), 0); // and the buffer is not locked
        expect_report(no_memory_given);
    }
    uint8_t memory[300];
    EXPECT_EQ(api().buf32Line(0, 0, 1, memory), 0);
    expect_no_report();
}

TEST_F(BufferLines, NeedsALockedBuffer) {
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        const uint8_t colour = 9;
        Buffer buffer(8, 300, 200, type, &colour);
        uint8_t memory[900];
        std::memset(memory, 0xCC, sizeof memory);
        for (int mode = -1; mode <= 10; ++mode) {
            EXPECT_EQ(api().buf32Line(buffer, 0, mode, memory), 0);
            expect_report(not_locked);
        }
        EXPECT_EQ(memory[0], 0xCC);
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        EXPECT_EQ(word(buffer, field_access_mode), 1u);
        EXPECT_EQ(word(buffer, field_type), type);
    }
}

TEST_F(BufferLines, AnyLockOfTheCallerServes) {
    Buffer buffer(8, 300, 200);
    fill_and_check(buffer);
    uint8_t memory[300];
    EXPECT_EQ(api().buf32CellLock(buffer, 3, nullptr, nullptr), 1);
    EXPECT_EQ(api().buf32Line(buffer, 5, 1, memory), 1);
    EXPECT_EQ(api().buf32Line(buffer, 5, 2, memory), 1);
    EXPECT_EQ(api().buf32CellUnlock(buffer, 3), 1);
    EXPECT_EQ(api().buf32Line(buffer, 5, 1, memory), 0);
    expect_report(not_locked);
}

TEST_F(BufferLines, LeaveTheCountAndRecordTheirMode) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(16, 300, 200, type);
        std::vector<uint8_t> memory(900);
        ASSERT_EQ(api().buf32Lock(buffer, 77, nullptr), 1);
        for (int mode = 1; mode <= 8; ++mode) {
            EXPECT_EQ(api().buf32Line(buffer, 0, mode, memory.data()), 1) << mode;
            EXPECT_EQ(word(buffer, field_lock_count), 1u) << mode;
            EXPECT_EQ(word(buffer, field_access_mode), mode % 2 == 1 ? 1u : 2u) << mode;
        }
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// Another mode takes a write lock and gives it back, and that is all.
TEST_F(BufferLines, OtherModesOnlyRecordAWriteLock) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(8, 300, 200, type);
        const PlainImage image = fill_and_check(buffer);
        std::vector<uint8_t> memory(900, 0xCC);
        ASSERT_EQ(api().buf32Lock(buffer, 1, nullptr), 1);
        for (int mode : {9, 0, -1, 10, 255, 256 + 1, INT_MAX, INT_MIN}) {
            set_word(buffer, field_access_mode, 1);
            EXPECT_EQ(api().buf32Line(buffer, 7, mode, memory.data()), 1) << mode;
            EXPECT_EQ(word(buffer, field_lock_count), 1u) << mode;
            EXPECT_EQ(word(buffer, field_access_mode), 2u) << mode;
        }
        EXPECT_EQ(memory, std::vector<uint8_t>(900, 0xCC));
        expect_pixels(buffer, image);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// A caller may cast const away from memory that goes into a buffer: a write there would end the
// test.
TEST_F(BufferLines, WhatGoesIntoABufferIsOnlyRead) {
    Random random(test_seed(), 31);
    for (uint32_t type : ordinary_types)
        for (int bits : {1, 8, 16, 24}) {
            Buffer buffer(bits, 300, 200, type);
            MemoryBlock memory(900, MemoryBlock::fence_behind, random);
            memory.protect();
            ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
            for (int mode : {2, 4, 6, 8, 0, 9})
                EXPECT_EQ(api().buf32Line(buffer, 150, mode, memory.data()), 1) << mode;
            ASSERT_EQ(api().buf32Unlock(buffer), 1);
        }
}

// A row that has been moved under a lock that cannot be given back.
TEST_F(BufferLines, FailWhereTheirOwnLockStays) {
    Buffer buffer(24, 30, 20);
    const FencedBlock row(90);
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    {
        const UnlockHook stays(buffer, [](auto *, HBUF32) { return 0; });
        EXPECT_SILENT_FAILURE(api().buf32Line(buffer, 3, BUF32_LINE_READ, row.data()));
    }
    EXPECT_EQ(word(buffer, field_lock_count), 2u);
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
}

TEST_F(BufferLines, WithoutStagingMemoryFailInSilence) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(16, 300, 200, type);
        const PlainImage image = fill_and_check(buffer);
        std::vector<uint8_t> memory(900, 0xCC);
        ASSERT_EQ(api().buf32Lock(buffer, 1, nullptr), 1);
        for (int mode = 1; mode <= 8; ++mode) {
            SCOPED_TRACE(mode);
            FailingCall staging("GlobalAlloc", 1);
            const bool staged = mode > 2;
            std::vector<uint8_t> row(image.row(3), image.row(3) + image.row_bytes());
            EXPECT_EQ(api().buf32Line(buffer, 3, mode, staged ? memory.data() : row.data()),
                      !staged);
            EXPECT_EQ(staging.calls(), staged ? 1 : 0);
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
            expect_no_report();
        }
        EXPECT_EQ(memory, std::vector<uint8_t>(900, 0xCC));
        expect_pixels(buffer, image);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// --- clamping --------------------------------------------------------------------------------

TEST_F(BufferLines, ClampTheRow) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(8, 300, 200, type);
        PlainImage image = fill_and_check(buffer);
        ASSERT_EQ(api().buf32Lock(buffer, 1, nullptr), 1);
        Bytes row(300);
        for (int y : {-1, -5, -200, INT_MIN}) {
            EXPECT_EQ(api().buf32Line(buffer, y, 1, row.data()), 1);
            EXPECT_EQ(row, Bytes(image.row(0), image.row(0) + 300)) << y;
        }
        for (int y : {200, 201, 256, 32000, INT_MAX}) {
            EXPECT_EQ(api().buf32Line(buffer, y, 1, row.data()), 1);
            EXPECT_EQ(row, Bytes(image.row(199), image.row(199) + 300)) << y;
        }
        std::memset(image.row(0), 7, 300);
        EXPECT_EQ(api().buf32Line(buffer, -5, 2, image.row(0)), 1);
        std::memset(image.row(199), 9, 300);
        EXPECT_EQ(api().buf32Line(buffer, 200, 2, image.row(199)), 1);
        expect_pixels(buffer, image);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// --- as stored -------------------------------------------------------------------------------

// Random rows into random sizes, in random order, with the memory ending at an inaccessible page.
TEST_F(BufferLines, GoInAndComeOut) {
    random_cases(220, [](Random &random, uint64_t number) {
        const int depths[] = {1, 2, 4, 8, 16, 24, 32, 48, 64, between(random, 1, 64)};
        const int bits = depths[random.below(10)];
        const int width = between(random, 1, 600), height = between(random, 1, 300);
        const uint32_t type = ordinary_types[random.below(std::size(ordinary_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + "; " +
                     rerun(number));
        Buffer buffer(bits, width, height, type);
        EXPECT_TRUE(buffer);
        const Geometry model(width, height, bits, type);
        PlainImage image(model);
        random.fill(image.bytes());
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
        FencedBlock row(image.row_bytes());
        std::vector<int> order(static_cast<size_t>(height));
        for (size_t i = 0; i < order.size(); ++i) {
            order[i] = int(i);
            std::swap(order[i], order[random.below(i + 1)]);
        }
        for (int y : order) {
            std::memcpy(row.data(), image.row(size_t(y)), row.size());
            EXPECT_EQ(api().buf32Line(buffer, y, BUF32_LINE_WRITE, row.data()), 1);
        }
        for (int y : order) {
            std::memset(row.data(), 0, row.size());
            EXPECT_EQ(api().buf32Line(buffer, y, BUF32_LINE_READ, row.data()), 1);
            EXPECT_EQ(std::memcmp(row.data(), image.row(size_t(y)), row.size()), 0) << y;
        }
        const std::vector<uint8_t> expected = storage_of(image, model);
        EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(word(buffer, field_storage)),
                              expected.data(), expected.size()),
                  0);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        return !::testing::Test::HasFailure();
    });
}

// Rows under 8 bits continue from cell to cell without a seam: the leftmost pixel is the highest.
TEST_F(BufferLines, UnderEightBitsCrossCells) {
    for (int bits : {1, 2, 4}) {
        for (int width : {127, 128, 129, 135, 136, 137, 255, 256, 257, 300}) {
            SCOPED_TRACE(size_text(bits, width, 3));
            Buffer buffer(bits, width, 3);
            const Geometry model(width, 3, bits, 0);
            Bytes row(size_t(model.row_bytes()));
            for (int x = 0; x < width; ++x) {
                std::fill(row.begin(), row.end(), uint8_t(0));
                const int first_bit = x * bits;
                row[size_t(first_bit / 8)] =
                    uint8_t(((1 << bits) - 1) << (8 - bits - first_bit % 8));
                ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
                ASSERT_EQ(api().buf32Line(buffer, 1, BUF32_LINE_WRITE, row.data()), 1);
                ASSERT_EQ(api().buf32Unlock(buffer), 1);
                // The pixel's byte, and no other byte of the row, is set.
                const auto *storage =
                    reinterpret_cast<const uint8_t *>(word(buffer, field_storage));
                const auto at = model.pixel_offset(x, 1);
                ASSERT_EQ(storage[at], row[size_t(first_bit / 8)]) << x;
                int set = 0;
                for (int64_t i = 0; i < model.image_bytes(); ++i)
                    set += storage[i] != 0;
                ASSERT_EQ(set, 1) << x;
                ASSERT_EQ(static_cast<const uint8_t *>(api().buf32PointAddr(buffer, x, 1)),
                          storage + at);
            }
        }
    }
}

} // namespace
} // namespace q32::test

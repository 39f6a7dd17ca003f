// Whole-buffer locks and cell locks of ordinary buffers: modes, counts, cell addresses and cell
// descriptions.
#include "tests/buffer/buffer_fixture.h"

#include <climits>
#include <set>

namespace q32::test {
namespace {

class BufferLocks : public BufferTest {};

constexpr Failure bad_cell{5804, 0, 3, 1}, cell_not_locked{5804, 0, 3, 2},
    not_locked{5804, 1, 3, 4};

uint32_t count_of(HBUF32 buffer) {
    return word(buffer, field_lock_count);
}
uint32_t mode_of(HBUF32 buffer) {
    return word(buffer, field_access_mode);
}
uintptr_t address_of(const void *pointer) {
    return uintptr_t(pointer);
}

// --- whole buffer ----------------------------------------------------------------------------

TEST_F(BufferLocks, StoreTheBaseCountAndRecordTheMode) {
    for (uint32_t type : ordinary_types) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type);
        ASSERT_TRUE(buffer);
        uint32_t count = 0;
        for (int mode : {1, 2, 3, 4, 1, 0, 5, 9, -1, 64, 1000, INT_MAX, INT_MIN, 2}) {
            SCOPED_TRACE(mode);
            void *base = nullptr;
            EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 1);
            EXPECT_EQ(address_of(base), word(buffer, field_storage));
            EXPECT_EQ(count_of(buffer), ++count);
            EXPECT_EQ(mode_of(buffer), uint32_t(mode));
            EXPECT_EQ(api().buf32Lock(buffer, mode, nullptr), 1); // the base may be left out
            EXPECT_EQ(count_of(buffer), ++count);
        }
        EXPECT_EQ(word(buffer, field_type), type);
        for (; count > 0; --count) {
            EXPECT_EQ(count_of(buffer), count);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        }
        EXPECT_EQ(count_of(buffer), 0u);
        EXPECT_EQ(mode_of(buffer), 2u); // unlocking keeps the mode
    }
}

TEST_F(BufferLocks, ChangeNoPixel) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(8, 300, 200, type);
        const PlainImage image = fill_and_check(buffer);
        for (int mode : {1, 2, 3, 4, 0, 77}) {
            EXPECT_EQ(api().buf32Lock(buffer, mode, nullptr), 1);
            expect_pixels(buffer, image);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        }
    }
}

TEST_F(BufferLocks, UnlockingAnUnlockedBufferIsReported) {
    for (uint32_t type : ordinary_types) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(api().buf32Unlock(buffer), 0);
            expect_report(not_locked);
            EXPECT_EQ(count_of(buffer), 0u);
            EXPECT_EQ(api().buf32CellUnlock(buffer, 0), 0);
            expect_report(cell_not_locked);
            EXPECT_EQ(count_of(buffer), 0u);
        }
        EXPECT_EQ(api().buf32Lock(buffer, 1, nullptr), 1);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        EXPECT_EQ(api().buf32Unlock(buffer), 0);
        expect_report(not_locked);
    }
}

TEST_F(BufferLocks, NullHandlesFailInSilence) {
    void *base = &base;
    EXPECT_EQ(api().buf32Lock(0, 1, &base), 0);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(api().buf32Lock(0, 2, nullptr), 0);
    base = &base;
    BUF32CELL cell;
    EXPECT_EQ(api().buf32CellLock(0, 0, &base, &cell), 0);
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ(api().buf32CellLock(0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(api().buf32Unlock(0), 0);
    EXPECT_EQ(api().buf32CellUnlock(0, 0), 0);
    expect_no_report();
}

// --- cells -----------------------------------------------------------------------------------

TEST_F(BufferLocks, CellsAreDescribed) {
    for (uint32_t type : ordinary_types) {
        for (int bits : {1, 2, 3, 4, 7, 8, 12, 16, 24, 48, 64}) {
            for (const auto &[width, height] :
                 {std::pair{1, 1}, {128, 128}, {129, 127}, {300, 200}, {384, 257}, {13, 300}}) {
                SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type));
                Buffer buffer(bits, width, height, type);
                ASSERT_TRUE(buffer);
                const Geometry model(width, height, bits, type);
                for (int i = 0; i < int(model.cell_count()); ++i) {
                    FencedBlock block(sizeof(BUF32CELL));
                    std::memset(block.data(), 0xCC, block.size());
                    void *address = nullptr;
                    EXPECT_EQ(api().buf32CellLock(buffer, i, &address,
                                                  reinterpret_cast<BUF32CELL *>(block.data())),
                              1);
                    const BUF32CELL expected = model.description(i);
                    EXPECT_TRUE(same_cell(*reinterpret_cast<BUF32CELL *>(block.data()), expected))
                        << i;
                    EXPECT_EQ(address_of(address),
                              word(buffer, field_storage) + uint32_t(model.offset_of(i)))
                        << i;
                    EXPECT_EQ(cell_address_word(buffer, i), address_of(address)) << i;
                    EXPECT_EQ(api().buf32CellUnlock(buffer, i), 1);
                }
            }
        }
    }
}

// 300 x 200 at 24 bits, cell by cell, worked out by hand.
TEST_F(BufferLocks, CellsOf300By200At24Bits) {
    Buffer buffer(24, 300, 200);
    const uintptr_t storage = word(buffer, field_storage);
    const uint32_t band = 2 * 49152 + 128 * 132;
    const struct {
        BUF32CELL cell;
        uint32_t offset;
    } cells[] = {
        {{0, 0, 0, 128, 128, 24, 3, 384, 49152, 16384}, 0},
        {{1, 128, 0, 128, 128, 24, 3, 384, 49152, 16384}, 49152},
        {{2, 256, 0, 44, 128, 24, 3, 132, 16896, 5632}, 98304},
        {{3, 0, 128, 128, 72, 24, 3, 384, 27648, 9216}, band},
        {{4, 128, 128, 128, 72, 24, 3, 384, 27648, 9216}, band + 27648},
        {{5, 256, 128, 44, 72, 24, 3, 132, 9504, 3168}, band + 2 * 27648},
    };
    for (const auto &expected : cells) {
        BUF32CELL cell;
        void *address = nullptr;
        EXPECT_EQ(api().buf32CellLock(buffer, expected.cell.index, &address, &cell), 1);
        EXPECT_TRUE(same_cell(cell, expected.cell)) << expected.cell.index;
        EXPECT_EQ(address_of(address) - storage, expected.offset) << expected.cell.index;
        EXPECT_EQ(api().buf32CellUnlock(buffer, expected.cell.index), 1);
    }
}

// Cells lie in the storage without overlap and without gap, whatever the size.
TEST_F(BufferLocks, CellsCoverTheStorageExactly) {
    random_cases(150, [](Random &random, uint64_t number) {
        const int bits = between(random, 1, 64), width = between(random, 1, 700),
                  height = between(random, 1, 700);
        const bool file = random.below(8) == 0;
        SCOPED_TRACE(size_text(bits, width, height) + "; " + rerun(number));
        Buffer buffer(bits, width, height, file ? BUF32_TILED_FILE : BUF32_TILED);
        EXPECT_TRUE(buffer);
        uintptr_t next = word(buffer, field_storage);
        std::set<std::pair<uint32_t, uint32_t>> cells;
        const int count = int(word(buffer, field_cell_count));
        for (int i = 0; i < count; ++i) {
            void *address = nullptr;
            BUF32CELL cell;
            EXPECT_EQ(api().buf32CellLock(buffer, i, &address, &cell), 1);
            EXPECT_EQ(address_of(address), next);
            next += uint32_t(cell.bytes);
            cells.emplace(uint32_t(cell.x), uint32_t(cell.y));
            EXPECT_EQ(api().buf32CellUnlock(buffer, i), 1);
        }
        EXPECT_EQ(cells.size(), size_t(count));
        const Geometry model(width, height, bits, 0);
        EXPECT_EQ(next - word(buffer, field_storage),
                  uint32_t(model.offset_of(count - 1)) + uint32_t(model.bytes_of(count - 1)));
        EXPECT_LE(next - word(buffer, field_storage), word(buffer, field_reserved_bytes));
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BufferLocks, CellIndexOutOfRangeIsReported) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(8, 300, 200, type);
        const int count = int(word(buffer, field_cell_count));
        for (int index : {-1, count, count + 1, 1000000, INT_MAX, INT_MIN}) {
            SCOPED_TRACE(index);
            void *address = &address;
            BUF32CELL cell;
            EXPECT_EQ(api().buf32CellLock(buffer, index, &address, &cell), 0);
            EXPECT_EQ(address, nullptr);
            expect_report(bad_cell);
            EXPECT_EQ(api().buf32CellLock(buffer, index, nullptr, nullptr), 0);
            expect_report(bad_cell);
            EXPECT_EQ(count_of(buffer), 0u);
        }
    }
}

TEST_F(BufferLocks, CellLocksCountAndKeepTheMode) {
    for (uint32_t type : ordinary_types) {
        Buffer buffer(8, 300, 200, type);
        for (int mode : {1, 2, 3, 4, 0, 99}) {
            EXPECT_EQ(api().buf32Lock(buffer, mode, nullptr), 1);
            void *address = nullptr;
            EXPECT_EQ(api().buf32CellLock(buffer, 0, &address, nullptr), 1);
            EXPECT_EQ(address_of(address), word(buffer, field_storage));
            EXPECT_EQ(mode_of(buffer), uint32_t(mode));
            EXPECT_EQ(api().buf32CellLock(buffer, 0, nullptr, nullptr), 1); // both outputs left out
            EXPECT_EQ(count_of(buffer), 3u);
            // Which cell is given back is not looked at, and either unlock serves for either lock.
            EXPECT_EQ(api().buf32CellUnlock(buffer, -77), 1);
            EXPECT_EQ(api().buf32CellUnlock(buffer, 1000000), 1);
            EXPECT_EQ(count_of(buffer), 1u);
            EXPECT_EQ(api().buf32CellUnlock(buffer, 0), 1);
            EXPECT_EQ(count_of(buffer), 0u);
            EXPECT_EQ(api().buf32CellLock(buffer, 0, &address, nullptr), 1);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
            EXPECT_EQ(mode_of(buffer), uint32_t(mode));
        }
    }
}

// Callers fill in cells through the addresses; rows read them back.
TEST_F(BufferLocks, CellAddressesReachThePixels) {
    for (uint32_t type : ordinary_types) {
        for (int bits : {1, 4, 8, 24}) {
            SCOPED_TRACE(size_text(bits, 300, 200) + " type " + std::to_string(type));
            Buffer buffer(bits, 300, 200, type);
            const Geometry model(300, 200, bits, type);
            PlainImage image(model);
            Random random(test_seed(), uint64_t(bits));
            random.fill(image.bytes());
            for (int i = 0; i < int(model.cell_count()); ++i) {
                void *address = nullptr;
                BUF32CELL cell;
                ASSERT_EQ(api().buf32CellLock(buffer, i, &address, &cell), 1);
                for (int y = 0; y < cell.height; ++y)
                    std::memcpy(static_cast<uint8_t *>(address) + y * cell.row_bytes,
                                image.row(size_t(cell.y + y)) + cell.x * bits / 8,
                                size_t(cell.row_bytes));
                ASSERT_EQ(api().buf32CellUnlock(buffer, i), 1);
            }
            expect_pixels(buffer, image);
        }
    }
}

// Memory of the caller's is read as it stands: no cells, and nothing to write.
TEST_F(BufferLocks, CallerMemoryTakesReadLocksOnly) {
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    void *base = nullptr;
    EXPECT_EQ(api().buf32Lock(over, BUF32_READ, &base), 1);
    EXPECT_EQ(base, image);
    EXPECT_EQ(count_of(over), 1u);
    for (int mode : {2, 3, 4}) {
        base = &base;
        EXPECT_EQ(api().buf32Lock(over, mode, &base), 0);
        EXPECT_EQ(base, nullptr);
        EXPECT_EQ(mode_of(over), 1u);
    }
    void *address = &address;
    BUF32CELL cell;
    EXPECT_EQ(api().buf32CellLock(over, 0, &address, &cell), 0);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(count_of(over), 1u);
    EXPECT_EQ(api().buf32Unlock(over), 1);
    expect_no_report();
}

} // namespace
} // namespace q32::test

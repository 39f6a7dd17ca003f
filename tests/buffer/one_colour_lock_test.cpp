// Locks of one-colour buffers: the one block that all cells share, and the write locks that turn
// the buffer into an ordinary one.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class OneColour : public BufferTest {};

constexpr uint8_t colour[8] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6, 0x17, 0x28};
constexpr Failure bad_cell{5805, 0, 2, 1}, no_cell_block{1001, 0, 2, 2},
    cell_not_locked{5804, 0, 2, 3}, no_storage{1001, 0, 2, 4}, no_block{1001, 0, 2, 5},
    not_locked{5804, 0, 2, 6}, no_directory{1001, 0, 4, 3};
constexpr int whole_byte_depths[] = {8, 16, 24, 32, 40, 48, 56, 64};

uintptr_t address_of(const void *pointer) {
    return uintptr_t(pointer);
}

// The colour over and over, one after another.
bool is_filled(const uint8_t *bytes, size_t count, int bits) {
    const size_t unit = std::max(bits / 8, 1);
    for (size_t i = 0; i < count; ++i)
        if (bytes[i] != colour[i % unit])
            return false;
    return true;
}

// --- the block -------------------------------------------------------------------------------

TEST_F(OneColour, AllCellsShareOneBlock) {
    for (int bits : {1, 2, 4, 8, 16, 24, 32, 48, 64}) {
        for (const auto &[width, height] :
             {std::pair{300, 200}, {1, 1}, {128, 128}, {20000, 3}, {3, 20000}}) {
            SCOPED_TRACE(size_text(bits, width, height));
            const Geometry model(width, height, bits, 1);
            Buffer buffer(bits, width, height, BUF32_ONE_COLOUR, colour);
            ASSERT_TRUE(buffer);
            EXPECT_EQ(memory_in_use(), 0u);
            uintptr_t block = 0;
            uint32_t locks = 0;
            const int count = int(model.cell_count());
            for (int i = 0; i < count; i += 1 + count / 7) {
                void *address = nullptr;
                BUF32CELL cell;
                EXPECT_EQ(api().buf32CellLock(buffer, i, &address, &cell), 1);
                const BUF32CELL expected = model.description(i);
                EXPECT_TRUE(same_cell(cell, expected)) << i;
                if (block == 0)
                    block = address_of(address);
                EXPECT_EQ(address_of(address), block);
                EXPECT_EQ(word(buffer, field_lock_count), ++locks);
                EXPECT_TRUE(is_filled(static_cast<uint8_t *>(address), size_t(cell.bytes), bits));
            }
            EXPECT_NE(block, 0u);
            EXPECT_EQ(word(buffer, field_storage), block);
            EXPECT_EQ(cell_address_word(buffer, 0), block);
            EXPECT_EQ(memory_in_use(), model.block_bytes());
            for (; locks > 0; --locks)
                EXPECT_EQ(api().buf32CellUnlock(buffer, 12345), 1);
            EXPECT_EQ(memory_in_use(), model.block_bytes()); // stays until the buffer goes
            EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
        }
    }
}

TEST_F(OneColour, BlockIsOfTheLargerOfRowAndCell) {
    for (const auto &[width, height] : {std::pair{300, 200}, {20000, 3}, {300, 1}, {128, 300}}) {
        SCOPED_TRACE(size_text(24, width, height));
        const auto bytes = uint32_t(Geometry(width, height, 24, 1).block_bytes());
        Buffer buffer(24, width, height, BUF32_ONE_COLOUR, colour);
        ObservedCalls calls;
        void *base = nullptr;
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
        ASSERT_EQ(calls.virtual_blocks().size(), 1u);
        EXPECT_EQ(calls.virtual_blocks()[0].kind, DWORD(MEM_RESERVE | MEM_COMMIT));
        EXPECT_EQ(calls.virtual_blocks()[0].protection, DWORD(PAGE_READWRITE));
        EXPECT_EQ(calls.virtual_blocks()[0].bytes, bytes);
        EXPECT_TRUE(is_filled(static_cast<uint8_t *>(base), bytes - bytes % 3, 24));
        EXPECT_EQ(api().buf32CellLock(buffer, 0, &base, nullptr), 1);
        EXPECT_EQ(api().buf32Lock(buffer, 0, &base), 1);
        EXPECT_EQ(calls.virtual_blocks().size(), 1u); // made once
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// A block of 1, 2 or 4 bits takes the colour's byte as it stands.
TEST_F(OneColour, UnderEightBitsTheByteIsThePattern) {
    for (int bits : {1, 2, 3, 4, 5, 6, 7}) {
        for (uint8_t byte : {uint8_t(0), uint8_t(0x5A), uint8_t(0xFF), uint8_t(0x80)}) {
            SCOPED_TRACE(bits);
            Buffer buffer(bits, 301, 200, BUF32_ONE_COLOUR, &byte);
            const auto bytes = size_t(Geometry(301, 200, bits, 1).block_bytes());
            void *base = nullptr;
            EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
            for (size_t i = 0; i < bytes; ++i)
                ASSERT_EQ(static_cast<uint8_t *>(base)[i], byte) << i;
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        }
    }
}

TEST_F(OneColour, ReadLocksRefillTheBlock) {
    for (int bits : whole_byte_depths) {
        SCOPED_TRACE(bits);
        const auto bytes = size_t(Geometry(300, 200, bits, 1).block_bytes());
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, colour);
        void *base = nullptr;
        uint32_t locks = 0;
        for (int mode : {1, 0, 5, -1, 1000}) {
            EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 1);
            ASSERT_NE(base, nullptr);
            EXPECT_EQ(address_of(base), word(buffer, field_storage));
            EXPECT_EQ(word(buffer, field_lock_count), ++locks);
            EXPECT_EQ(word(buffer, field_access_mode), uint32_t(mode));
            EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
            EXPECT_TRUE(is_filled(static_cast<uint8_t *>(base), bytes, bits)) << mode;
            std::memset(base, 0, bytes); // a caller's mistake does not last
        }
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1); // without a base too
        EXPECT_TRUE(is_filled(static_cast<uint8_t *>(base), bytes, bits));
        for (++locks; locks > 0; --locks)
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        EXPECT_EQ(memory_in_use(), bytes);
    }
}

// A cell lock makes the block and fills it; it does not fill it again.
TEST_F(OneColour, CellLocksFillTheBlockOnce) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    void *address = nullptr;
    EXPECT_EQ(api().buf32CellLock(buffer, 0, &address, nullptr), 1);
    *static_cast<uint8_t *>(address) = 7;
    EXPECT_EQ(api().buf32CellLock(buffer, 1, &address, nullptr), 1);
    EXPECT_EQ(*static_cast<uint8_t *>(address), 7);
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    EXPECT_EQ(*static_cast<uint8_t *>(address), colour[0]);
    EXPECT_EQ(api().buf32CellLock(buffer, 1, nullptr, nullptr), 1);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
}

TEST_F(OneColour, RowsReadAsTheColour) {
    for (int bits : {1, 2, 4, 8, 16, 24, 32, 48, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, colour);
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        FencedBlock row(size_t(Geometry(300, 200, bits, 1).row_bytes()));
        for (int y : {0, 1, 127, 128, 199, 500, -1}) {
            std::memset(row.data(), 0, row.size());
            EXPECT_EQ(api().buf32Line(buffer, y, BUF32_LINE_READ, row.data()), 1);
            EXPECT_TRUE(is_filled(row.data(), row.size(), bits)) << y;
        }
        EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
        EXPECT_EQ(word(buffer, field_lock_count), 1u);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// --- back to an ordinary buffer --------------------------------------------------------------

void expect_ordinary(HBUF32 buffer, const Geometry &model, bool file) {
    EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
    EXPECT_EQ(word(buffer, field_one_colour), 0u);
    EXPECT_EQ(word(buffer, field_file) != 0, file);
    const uintptr_t storage = word(buffer, field_storage);
    for (int i = 0; i < int(model.cell_count()); ++i)
        EXPECT_EQ(cell_address_word(buffer, i), storage + uint32_t(model.offset_of(i))) << i;
    Buffer ordinary(8, 1, 1);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(word(buffer, field_operations + i), word(ordinary, field_operations + i)) << i;
}

TEST_F(OneColour, WriteLocksTurnItIntoAnOrdinaryBuffer) {
    for (bool file : {false, true}) {
        set_memory_limit(file ? 1 : 0, 0);
        for (bool with_block : {false, true}) {
            for (int mode : {2, 3, 4}) {
                for (int bits : whole_byte_depths) {
                    SCOPED_TRACE("mode " + std::to_string(mode) + " bits " + std::to_string(bits) +
                                 (file ? " file" : "") + (with_block ? " with block" : ""));
                    const Geometry model(300, 200, bits, 0);
                    const auto bytes = uint32_t(model.image_bytes());
                    Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, colour);
                    uint32_t locks = 0;
                    if (with_block) {
                        ASSERT_EQ(api().buf32CellLock(buffer, 2, nullptr, nullptr), 1);
                        ++locks;
                        EXPECT_EQ(memory_in_use(), model.block_bytes());
                    }
                    void *base = nullptr;
                    EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 1);
                    EXPECT_EQ(word(buffer, field_lock_count), ++locks);
                    EXPECT_EQ(word(buffer, field_access_mode), uint32_t(mode));
                    EXPECT_EQ(address_of(base), word(buffer, field_storage));
                    EXPECT_EQ(memory_in_use(), file ? 0 : bytes);
                    EXPECT_EQ(mapped_bytes(), file ? bytes : 0);
                    expect_ordinary(buffer, model, file);
                    if (mode != 4) {
                        EXPECT_TRUE(is_filled(static_cast<uint8_t *>(base), bytes, bits));
                    }
                    for (; locks > 0; --locks)
                        EXPECT_EQ(api().buf32Unlock(buffer), 1);
                    fill_and_check(buffer);
                    buffer.free();
                    EXPECT_EQ(memory_in_use(), 0u);
                    EXPECT_EQ(mapped_bytes(), 0u);
                }
            }
        }
    }
}

// With mode 4 the caller overwrites everything: fresh storage is left as the system gives it.
TEST_F(OneColour, Mode4DoesNotFill) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_OVERWRITE, &base), 1);
    const std::vector<uint8_t> zeros(60000);
    EXPECT_EQ(std::memcmp(base, zeros.data(), zeros.size()), 0);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

// Under 8 bits the whole storage is filled with the colour's byte, all rows and all columns.
TEST_F(OneColour, UnderEightBitsTheWholeStorageIsFilled) {
    for (int bits : {1, 2, 3, 4, 5, 6, 7}) {
        for (const auto &[width, height] : {std::pair{300, 200}, {9, 1}, {129, 129}, {1, 300}}) {
            SCOPED_TRACE(size_text(bits, width, height));
            const uint8_t byte = 0x5A;
            Buffer buffer(bits, width, height, BUF32_ONE_COLOUR, &byte);
            void *base = nullptr;
            ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, &base), 1);
            const size_t bytes = word(buffer, field_image_bytes);
            for (uint32_t i = 0; i < bytes; ++i)
                ASSERT_EQ(static_cast<uint8_t *>(base)[i], byte) << i;
            ASSERT_EQ(api().buf32Unlock(buffer), 1);
        }
    }
}

// Between whole bytes the fill still counts width x height units of whole bytes, and writes nowhere
// else.
TEST_F(OneColour, OddDepthsFillWholeBytesPerPixel) {
    for (int bits = 9; bits < 64; ++bits) {
        if (bits % 8 == 0)
            continue;
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, colour);
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, &base), 1);
        const auto *bytes = static_cast<const uint8_t *>(base);
        const size_t filled = size_t(300 * 200 * (bits / 8));
        EXPECT_TRUE(is_filled(bytes, filled, bits));
        for (size_t i = filled; i < word(buffer, field_image_bytes); ++i)
            ASSERT_EQ(bytes[i], 0) << i;
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

TEST_F(OneColour, SmallOnesGoToMemoryUnderAnyLimit) {
    set_memory_limit(1, 0);
    Buffer small(8, 128, 128, BUF32_ONE_COLOUR, colour), large(8, 129, 1, BUF32_ONE_COLOUR, colour);
    EXPECT_EQ(api().buf32Lock(small, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(api().buf32Lock(large, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(word(small, field_file), 0u);
    EXPECT_NE(word(large, field_file), 0u);
    EXPECT_EQ(api().buf32Unlock(small), 1);
    EXPECT_EQ(api().buf32Unlock(large), 1);
}

TEST_F(OneColour, WritingARowTurnsItIntoAnOrdinaryBuffer) {
    for (int bits : {1, 4, 8, 24, 64}) {
        SCOPED_TRACE(bits);
        const Geometry model(300, 200, bits, 0);
        Buffer buffer(bits, 300, 200, BUF32_ONE_COLOUR, colour);
        PlainImage image(model);
        for (size_t i = 0; i < image.bytes().size(); ++i)
            image.bytes()[i] = colour[i % image.row_bytes() % size_t(std::max(bits / 8, 1))];
        std::memset(image.row(130), 0x33, image.row_bytes());
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        EXPECT_EQ(api().buf32Line(buffer, 130, BUF32_LINE_WRITE, image.row(130)), 1);
        EXPECT_EQ(word(buffer, field_lock_count), 1u);
        EXPECT_EQ(word(buffer, field_access_mode), 2u);
        expect_ordinary(buffer, model, false);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
        expect_pixels(buffer, image);
    }
}

// The other modes of a row take a write lock too.
TEST_F(OneColour, Mode9OfARowTurnsItIntoAnOrdinaryBuffer) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    uint8_t row[300];
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    EXPECT_EQ(api().buf32Line(buffer, 0, 9, row), 1);
    EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
    EXPECT_EQ(word(buffer, field_lock_count), 1u);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

// --- failures --------------------------------------------------------------------------------

TEST_F(OneColour, CellIndexOutOfRange) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    for (int index : {-1, 6, 7, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        void *address = &address;
        BUF32CELL cell;
        EXPECT_EQ(api().buf32CellLock(buffer, index, &address, &cell), 0);
        EXPECT_EQ(address, nullptr);
        expect_report(bad_cell);
        EXPECT_EQ(api().buf32CellLock(buffer, index, nullptr, nullptr), 0);
        expect_report(bad_cell);
    }
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    EXPECT_EQ(memory_in_use(), 0u); // no block was made
}

TEST_F(OneColour, UnlockingAnUnlockedBuffer) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(api().buf32CellUnlock(buffer, 0), 0);
        expect_report(cell_not_locked);
        EXPECT_EQ(api().buf32Unlock(buffer), 0);
        expect_report(not_locked);
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    }
    EXPECT_EQ(api().buf32CellLock(buffer, 0, nullptr, nullptr), 1);
    EXPECT_EQ(api().buf32Unlock(buffer), 1); // either unlock serves
    EXPECT_EQ(api().buf32Lock(buffer, 1, nullptr), 1);
    EXPECT_EQ(api().buf32CellUnlock(buffer, -9), 1);
}

TEST_F(OneColour, NoBlock) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
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
        expect_report(no_cell_block);
    }
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    EXPECT_EQ(word(buffer, field_storage), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(api().buf32Lock(buffer, 1, nullptr), 1); // and now there is memory
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
}

// Without storage a write lock fails and everything is as it was: type, flag, block, counts.
TEST_F(OneColour, NoStorageRestoresEverything) {
    use_no_directory();
    for (bool with_block : {false, true}) {
        Buffer buffer(24, 300, 200, BUF32_ONE_COLOUR, colour);
        const auto block_bytes = uint32_t(Geometry(300, 200, 24, 1).block_bytes());
        if (with_block) {
            ASSERT_EQ(api().buf32Lock(buffer, 5, nullptr), 1);
        }
        std::vector<uint32_t> before(126);
        std::memcpy(before.data(), reinterpret_cast<const void *>(HBUF32(buffer)), 504);
        for (int mode : {2, 3, 4}) {
            FailingCall reserve("VirtualAlloc", 1);
            void *base = &base;
            EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 0);
            EXPECT_EQ(base, nullptr);
            expect_reports({no_directory, no_storage});
            EXPECT_EQ(
                std::memcmp(before.data(), reinterpret_cast<const void *>(HBUF32(buffer)), 504), 0)
                << "the record has changed";
            EXPECT_EQ(memory_in_use(), with_block ? block_bytes : 0);
            EXPECT_EQ(mapped_bytes(), 0u);
        }
        // Reading goes on.
        void *base = nullptr;
        EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
        EXPECT_TRUE(is_filled(static_cast<uint8_t *>(base), block_bytes, 24));
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
        if (with_block) {
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        }
    }
}

TEST_F(OneColour, NoStorageForARow) {
    use_no_directory();
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    uint8_t row[300] = {};
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    FailingCall reserve("VirtualAlloc", 1);
    EXPECT_EQ(api().buf32Line(buffer, 0, BUF32_LINE_WRITE, row), 0);
    expect_reports({no_directory, no_storage});
    EXPECT_EQ(word(buffer, field_lock_count), 1u);
    EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
}

// Storage of a bitmap is the caller's: there is none to be had for it.
TEST_F(OneColour, NoStorageForABitmap) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    set_word(buffer, field_type, BUF32_DIB);
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 0);
    set_word(buffer, field_type, BUF32_ONE_COLOUR);
    expect_reports({{5800, 0, 4, 1}, no_storage});
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(word(buffer, field_storage), 0u);
}

// The largest image has a colour and no storage: reading works, writing fails cleanly.
TEST_F(OneColour, OfTheLargestImage) {
    const FailingCall memory("VirtualAlloc",
                             frame::is_64_bit ? 1 : 0); // there is enough in 64 bits
    use_no_directory();
    Buffer buffer(64, 32000, 32000, BUF32_ONE_COLOUR, colour);
    ASSERT_TRUE(buffer);
    void *base = nullptr;
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_WRITE, &base), 0);
    EXPECT_EQ(base, nullptr);
    expect_reports({no_directory, no_storage});
    EXPECT_EQ(word(buffer, field_type), BUF32_ONE_COLOUR);
    EXPECT_EQ(api().buf32CellLock(buffer, 62499, &base, nullptr), 1);
    EXPECT_EQ(memory_in_use(), 32000u * 8);
    std::vector<uint8_t> row(32000 * 8);
    EXPECT_EQ(api().buf32Line(buffer, 31999, BUF32_LINE_READ, row.data()), 1);
    EXPECT_TRUE(is_filled(row.data(), row.size(), 64));
    EXPECT_EQ(api().buf32CellUnlock(buffer, 0), 1);
}

} // namespace
} // namespace q32::test

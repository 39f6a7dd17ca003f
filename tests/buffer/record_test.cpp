// The record behind a handle: what each field holds after allocation, the information calls, and
// the list of live buffers.
#include "tests/buffer/buffer_fixture.h"

#include <array>

namespace q32::test {
namespace {

class BufferRecord : public BufferTest {};

constexpr uint8_t colour[8] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6, 0x17, 0x28};

// --- fields --------------------------------------------------------------------------------------

void expect_common_fields(HBUF32 buffer, uint32_t type) {
    EXPECT_EQ(word(buffer, field_type), type);
    EXPECT_EQ(word(buffer, field_data_handle), 0u);
    EXPECT_EQ(word(buffer, field_format_depth), 0u);
    EXPECT_EQ(word(buffer, field_one_colour), type & 1);
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
    EXPECT_EQ(word(buffer, field_access_mode), 1u);
    EXPECT_EQ(word(buffer, field_first_sharer), 0u);
    EXPECT_EQ(word(buffer, field_last_sharer), 0u);
    EXPECT_EQ(word(buffer, field_share_marker), 0u);
    EXPECT_EQ(word(buffer, field_source), 0u);
    EXPECT_EQ(word(buffer, field_self), uintptr_t(buffer));
    EXPECT_EQ(word(buffer, field_previous_sharer), 0u);
    EXPECT_EQ(word(buffer, field_next_sharer), 0u);
    EXPECT_EQ(word(buffer, field_of(entry_empty)), 0u);
}

TEST_F(BufferRecord, OfMemoryBuffers) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        SCOPED_TRACE(type);
        Buffer buffer(24, 300, 200, type);
        ASSERT_TRUE(buffer);
        expect_common_fields(buffer, type);
        EXPECT_EQ(word(buffer, field_mapping), 0u);
        EXPECT_NE(word(buffer, field_storage), 0u);
        EXPECT_STREQ(swap_file_of(buffer), "");
        EXPECT_EQ(word(buffer, field_file), 0u);
        EXPECT_EQ(word(buffer, field_record_entry), 0xFFFFFFFFu);
    }
}

TEST_F(BufferRecord, OfFileBuffers) {
    Buffer buffer(24, 300, 200, BUF32_TILED_FILE);
    ASSERT_TRUE(buffer);
    expect_common_fields(buffer, BUF32_TILED_FILE);
    EXPECT_NE(word(buffer, field_mapping), 0u);
    EXPECT_NE(word(buffer, field_storage), 0u);
    EXPECT_NE(word(buffer, field_file), 0u);
    EXPECT_NE(word(buffer, field_record_entry), 0xFFFFFFFFu);
    EXPECT_TRUE(file_exists(swap_file_of(buffer))) << swap_file_of(buffer);
    EXPECT_EQ(std::string(swap_file_of(buffer)).rfind(frame::sandbox_swap(), 0), 0u)
        << swap_file_of(buffer);
}

// The two file entries differ: each file buffer has its own place in the process's record.
TEST_F(BufferRecord, EntriesOfTwoSwapFilesDiffer) {
    Buffer first(8, 300, 200, BUF32_TILED_FILE), second(8, 300, 200, BUF32_TILED_FILE);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(word(first, field_record_entry), word(second, field_record_entry));
    EXPECT_STRNE(swap_file_of(first), swap_file_of(second));
}

TEST_F(BufferRecord, OfOneColourBuffersKeepsTheColourByteForByte) {
    for (int bits = 1; bits <= 64; ++bits) {
        SCOPED_TRACE(bits);
        const size_t bytes = size_t(bits + 7) / 8;
        FencedBlock fenced(bytes); // one byte too far would end the program
        std::memcpy(fenced.data(), colour, bytes);
        Buffer buffer(bits, 200, 200, BUF32_ONE_COLOUR, fenced.data());
        ASSERT_TRUE(buffer);
        expect_common_fields(buffer, BUF32_ONE_COLOUR);
        uint8_t expected[8] = {};
        std::memcpy(expected, colour, bytes);
        const void *kept = reinterpret_cast<const void *>(buffer + field_offset(field_colour));
        EXPECT_EQ(std::memcmp(kept, expected, 8), 0);
        EXPECT_EQ(word(buffer, field_storage), 0u);
        EXPECT_EQ(word(buffer, field_mapping), 0u);
        EXPECT_EQ(word(buffer, field_file), 0u);
        EXPECT_EQ(word(buffer, field_record_entry), 0xFFFFFFFFu);
        EXPECT_EQ(cell_address_word(buffer, 0), 0u);
    }
}

TEST_F(BufferRecord, OfPatternBuffersOwnsACopyOfThePattern) {
    for (int bits : {1, 2, 4, 8, 12, 24, 64}) {
        SCOPED_TRACE(bits);
        const size_t bytes = size_t(5 * bits + 7) / 8 * 3;
        FencedBlock pixels(bytes);
        std::vector<uint8_t> expected(bytes);
        for (size_t i = 0; i < bytes; ++i)
            expected[i] = pixels.data()[i] = uint8_t(i * 37 + 11);
        const BUF32PATTERN pattern{5, 3, pixels.data()};
        Buffer buffer(bits, 200, 200, BUF32_PATTERN, &pattern);
        ASSERT_TRUE(buffer);
        expect_common_fields(buffer, BUF32_PATTERN);
        EXPECT_EQ(word(buffer, field_colour), 5u | 3u << 16);
        const auto *copy = reinterpret_cast<const uint8_t *>(word(buffer, field_external_data));
        ASSERT_NE(copy, nullptr);
        EXPECT_NE(copy, pixels.data());
        std::memset(pixels.data(), 0, bytes);
        EXPECT_EQ(std::memcmp(copy, expected.data(), bytes), 0);
        EXPECT_EQ(word(buffer, field_storage), 0u);
        EXPECT_EQ(memory_in_use(), 0u);
    }
}

TEST_F(BufferRecord, OfCallerMemoryKeepsThePointer) {
    uint8_t pixels[300] = {};
    const BUF32MEMORY memory{0xDEADBEEF, pixels};
    Buffer buffer(8, 20, 15, BUF32_CALLER_MEMORY, &memory);
    ASSERT_TRUE(buffer);
    expect_common_fields(buffer, BUF32_CALLER_MEMORY);
    EXPECT_EQ(word(buffer, field_colour), 0xDEADBEEFu);
    EXPECT_EQ(word(buffer, field_external_data), uintptr_t(pixels));
    EXPECT_EQ(memory_in_use(), 0u);
}

// --- operation tables ------------------------------------------------------------------------

std::array<uint32_t, 16> table_of(HBUF32 buffer) {
    std::array<uint32_t, 16> table;
    for (int i = 0; i < 16; ++i)
        table[size_t(i)] = word(buffer, field_operations + i);
    return table;
}

TEST_F(BufferRecord, TablesFollowTheType) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer tiled(8, 10, 10), tiled_file(8, 10, 10, BUF32_TILED_FILE), other(8, 10, 10, 0x100);
    Buffer linear(8, 10, 10, BUF32_LINEAR), linear_memory(8, 10, 10, BUF32_LINEAR_MEMORY),
        shrink(8, 10, 10, BUF32_LINEAR_SHRINK);
    Buffer one_colour(8, 10, 10, BUF32_ONE_COLOUR, colour);
    Buffer patterned(8, 10, 10, BUF32_PATTERN, &pattern);
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    EXPECT_EQ(table_of(tiled), table_of(tiled_file));
    EXPECT_EQ(table_of(tiled), table_of(other));
    EXPECT_EQ(table_of(linear), table_of(linear_memory));
    EXPECT_EQ(table_of(linear), table_of(shrink));
    // The set goes by the whole type, not by its bits.
    for (uint32_t type : {3u, 5u, 129u, 0x80000001u, 0x40u, 0x20000000u}) {
        Buffer buffer(8, 10, 10, type, colour);
        EXPECT_EQ(table_of(buffer), table_of(tiled)) << type;
    }
    EXPECT_NE(table_of(tiled), table_of(one_colour));
    EXPECT_NE(table_of(tiled), table_of(patterned));
    EXPECT_NE(table_of(tiled), table_of(over));
    EXPECT_NE(table_of(patterned), table_of(over));
    for (Entry shared : {entry_lock, entry_cell_lock, entry_cell_unlock, entry_line, entry_unlock})
        EXPECT_EQ(table_of(tiled)[shared], table_of(linear)[shared]) << shared;
    for (Entry shared : {entry_line, entry_line_span})
        EXPECT_EQ(table_of(tiled)[shared], table_of(one_colour)[shared]) << shared;
    for (Entry own :
         {entry_lock, entry_cell_lock, entry_cell_unlock, entry_point_address, entry_unlock})
        EXPECT_NE(table_of(tiled)[own], table_of(one_colour)[own]) << own;
    EXPECT_EQ(table_of(over)[entry_line_span], 0u);
    EXPECT_EQ(table_of(over)[entry_fill_pattern], 0u);
}

TEST_F(BufferRecord, CallerMemoryRefusesAddressesByReport) {
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    ASSERT_TRUE(over);
    EXPECT_EQ(entry_of<void *(HBUF32, int, int)>(over, entry_point_address)(over, 0, 0), nullptr);
    expect_report(5800, 0, 50, 61);
    EXPECT_EQ(image[0], 0);
}

// --- information calls -----------------------------------------------------------------------

TEST_F(BufferRecord, InfoIsTheFirst24Words) {
    for (uint32_t type : {BUF32_TILED, BUF32_ONE_COLOUR, BUF32_LINEAR, BUF32_LINEAR_MEMORY,
                          BUF32_LINEAR_SHRINK, BUF32_TILED_FILE}) {
        SCOPED_TRACE(type);
        Buffer buffer(24, 300, 200, type, colour);
        ASSERT_TRUE(buffer);
        ASSERT_EQ(api().buf32Lock(buffer, 7, nullptr), 1);
        FencedBlock block(sizeof(BUF32INFO));
        std::memset(block.data(), 0xCC, block.size());
        auto *info = reinterpret_cast<BUF32INFO *>(block.data());
        EXPECT_EQ(api().buf32GetInfo(buffer, info), 1);
        EXPECT_EQ(std::memcmp(info, reinterpret_cast<const void *>(HBUF32(buffer)), 96), 0);
        EXPECT_EQ(info->type, type);
        EXPECT_EQ(info->width, 300);
        EXPECT_EQ(info->height, 200);
        EXPECT_EQ(info->lock_count, 1);
        EXPECT_EQ(info->access_mode, 7);
        EXPECT_EQ(api().buf32Unlock(buffer), 1);
    }
}

TEST_F(BufferRecord, InfoShowsCallerMemoryAsType0) {
    uint8_t image[100] = {};
    const BUF32MEMORY memory{3, image};
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    ASSERT_TRUE(over);
    BUF32INFO info;
    EXPECT_EQ(api().buf32GetInfo(over, &info), 1);
    EXPECT_EQ(info.type, 0u);
    EXPECT_EQ(word(over, field_type), 32u);
    EXPECT_EQ(info.colour[0], 3u);
    EXPECT_EQ(info.colour[1], uintptr_t(image));
    EXPECT_EQ(info.width, 10);
    EXPECT_EQ(info.cell_width, 10);
}

TEST_F(BufferRecord, InfoWithoutABlockOnlyChecks) {
    Buffer buffer(8, 10, 10);
    EXPECT_EQ(api().buf32GetInfo(buffer, nullptr), 1);
    EXPECT_EQ(api().buf32GetInfo(0, nullptr), 0);
    BUF32INFO info;
    std::memset(&info, 0xCC, sizeof info);
    const BUF32INFO before = info;
    EXPECT_EQ(api().buf32GetInfo(0, &info), 0);
    EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

TEST_F(BufferRecord, WidthHeightUnit) {
    const struct {
        int bits, unit;
    } rows[] = {{1, 0},  {2, 0},  {4, 0},  {7, 0},  {8, 1},
                {15, 1}, {16, 2}, {24, 3}, {32, 4}, {64, 8}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.bits);
        Buffer buffer(row.bits, 30, 20);
        int width = -1, height = -1, unit = -1;
        EXPECT_EQ(api().buf32GetWHU(buffer, &width, &height, &unit), 1);
        EXPECT_EQ(width, 30);
        EXPECT_EQ(height, 20);
        EXPECT_EQ(unit, row.unit);
    }
    Buffer buffer(8, 30, 20);
    int value = -1;
    EXPECT_EQ(api().buf32GetWHU(buffer, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(api().buf32GetWHU(buffer, &value, nullptr, nullptr), 1);
    EXPECT_EQ(value, 30);
    EXPECT_EQ(api().buf32GetWHU(buffer, nullptr, &value, nullptr), 1);
    EXPECT_EQ(value, 20);
    EXPECT_EQ(api().buf32GetWHU(buffer, nullptr, nullptr, &value), 1);
    EXPECT_EQ(value, 1);
    value = -1;
    EXPECT_EQ(api().buf32GetWHU(0, &value, &value, &value), 0);
    EXPECT_EQ(value, -1);
}

TEST_F(BufferRecord, IsBufCleanIsAlways0) {
    EXPECT_EQ(api().IsBufClean(), 0);
    Buffer buffer(8, 10, 10);
    EXPECT_EQ(api().IsBufClean(), 0);
    EXPECT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(api().IsBufClean(), 0);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
}

// --- the list --------------------------------------------------------------------------------

std::vector<HBUF32> listed() {
    const int count = api().buf32CountBuf(nullptr);
    FencedBlock block(size_t(count) * sizeof(HBUF32));
    auto *handles = reinterpret_cast<HBUF32 *>(block.data());
    EXPECT_EQ(api().buf32CountBuf(handles), count);
    return std::vector<HBUF32>(handles, handles + count);
}

void expect_linked(const std::vector<HBUF32> &expected) {
    EXPECT_EQ(listed(), expected);
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(word(expected[i], field_previous), i == 0 ? 0 : uint32_t(expected[i - 1]));
        EXPECT_EQ(word(expected[i], field_next),
                  i + 1 == expected.size() ? 0 : uint32_t(expected[i + 1]));
    }
}

TEST_F(BufferRecord, ListKeepsTheOrderOfAllocation) {
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    std::vector<HBUF32> expected;
    const auto add = [&](int side, uint32_t type, const void *extra) {
        HBUF32 handle = 0;
        EXPECT_EQ(api().buf32Alloc(&handle, 8, side, side, type, extra), 1);
        expected.push_back(handle);
        expect_linked(expected);
    };
    add(10, BUF32_TILED, nullptr);
    add(300, BUF32_TILED, nullptr);
    add(10, BUF32_ONE_COLOUR, colour);
    add(300, BUF32_ONE_COLOUR, colour);
    add(10, BUF32_PATTERN, &pattern);
    add(10, BUF32_CALLER_MEMORY, &memory);
    add(300, BUF32_TILED_FILE, nullptr);
    add(300, BUF32_LINEAR, nullptr);
    const auto remove = [&](size_t index) {
        EXPECT_EQ(api().buf32Free(expected[index]), 1);
        expected.erase(expected.begin() + ptrdiff_t(index));
        expect_linked(expected);
    };
    remove(3);                   // in the middle
    remove(0);                   // the head
    remove(expected.size() - 1); // the tail
    add(20, BUF32_TILED, nullptr);
    while (!expected.empty())
        remove(expected.size() / 2);
    add(20, BUF32_TILED, nullptr); // after the list has been empty
    remove(0);
}

// --- validation ------------------------------------------------------------------------------

TEST_F(BufferRecord, GarbageHandlesAreRefusedInSilence) {
    Buffer buffer(8, 300, 200);
    ASSERT_TRUE(buffer);
    std::vector<uint32_t> copy(256); // a faithful copy of a live record is not in the list
    std::memcpy(copy.data(), reinterpret_cast<const void *>(HBUF32(buffer)), 512);
    uint32_t local = 0;
    const HBUF32 garbage[] = {0,
                              1,
                              4,
                              0xFFFF,
                              0x7FFFFFFF,
                              0x80000000,
                              0xFFFFFFFF,
                              buffer + 1,
                              buffer + 4,
                              buffer - 4,
                              HBUF32(&local),
                              HBUF32(copy.data()),
                              HBUF32(word(buffer, field_storage))};
    for (HBUF32 handle : garbage) {
        SCOPED_TRACE(handle);
        BUF32INFO info;
        int value = 5;
        EXPECT_EQ(api().buf32GetInfo(handle, &info), 0);
        EXPECT_EQ(api().buf32GetInfo(handle, nullptr), 0);
        EXPECT_EQ(api().buf32GetWHU(handle, &value, &value, &value), 0);
        EXPECT_EQ(value, 5);
        EXPECT_EQ(api().buf32Free(handle), 0);
    }
    expect_no_report();
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
}

TEST_F(BufferRecord, OfATypeThatSaysFreedIsRefused) {
    Buffer buffer(8, 10, 10);
    ASSERT_TRUE(buffer);
    set_word(buffer, field_type, 0xFFFFFFFF);
    BUF32INFO info;
    int value = 5;
    EXPECT_EQ(api().buf32GetInfo(buffer, &info), 0);
    EXPECT_EQ(api().buf32GetWHU(buffer, &value, nullptr, nullptr), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(api().buf32Free(buffer), 0);
    expect_no_report();
    set_word(buffer, field_type, 0);
    EXPECT_EQ(api().buf32GetInfo(buffer, &info), 1);
}

// A record of many cells has pages of its own, whose protection can be changed. The buffer is the
// list's first, so that the walk finds it without reading it.
TEST_F(BufferRecord, MustBeReadableAndWritable) {
    Buffer buffer(8, 32000, 32000, BUF32_ONE_COLOUR, colour);
    ASSERT_TRUE(buffer);
    for (DWORD protection : {DWORD(PAGE_READONLY), DWORD(PAGE_NOACCESS)}) {
        SCOPED_TRACE(protection);
        DWORD before = 0;
        auto *record = reinterpret_cast<void *>(HBUF32(buffer));
        ASSERT_TRUE(VirtualProtect(record, 96, protection, &before));
        BUF32INFO info;
        int value = 5;
        const int got_info = api().buf32GetInfo(buffer, &info);
        const int got_check = api().buf32GetInfo(buffer, nullptr);
        const int got_size = api().buf32GetWHU(buffer, &value, nullptr, nullptr);
        const int freed = api().buf32Free(buffer);
        ASSERT_TRUE(VirtualProtect(record, 96, before, &before));
        EXPECT_EQ(got_info, 0);
        EXPECT_EQ(got_check, 0);
        EXPECT_EQ(got_size, 0);
        EXPECT_EQ(freed, 0);
        EXPECT_EQ(value, 5);
        expect_no_report();
    }
    EXPECT_EQ(api().buf32GetInfo(buffer, nullptr), 1);
}

} // namespace
} // namespace q32::test

// buf32ReAlloc: the height of linear buffers within the height at allocation.
#include "tests/buffer/buffer_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class BufferReAlloc : public BufferTest {};

constexpr Failure refused{3200, 0, 4, 11};
constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};

// Every field that follows from the height; the others keep the values of the allocation.
void expect_rows(HBUF32 buffer, uint32_t rows, uint32_t row_bytes, uint32_t capacity) {
    EXPECT_EQ(word(buffer, field_height), rows);
    EXPECT_EQ(word(buffer, field_capacity_rows), capacity);
    EXPECT_EQ(word(buffer, field_reserved_bytes), capacity * row_bytes);
    for (int field :
         {field_image_bytes, field_band_bytes, field_cell_bytes, field_last_column_cell_bytes,
          field_last_row_cell_bytes, field_corner_cell_bytes})
        EXPECT_EQ(word(buffer, field), rows * row_bytes) << field;
    for (int field : {field_cell_height, field_last_row_height})
        EXPECT_EQ(word(buffer, field), rows) << field;
    for (int field : {field_cell_row_bytes, field_last_column_row_bytes, field_row_bytes})
        EXPECT_EQ(word(buffer, field), row_bytes) << field;
    for (int field : {field_cell_count, field_cell_columns, field_cell_rows})
        EXPECT_EQ(word(buffer, field), 1u) << field;
}

TEST_F(BufferReAlloc, RefusesOtherTypes) {
    for (uint32_t type : {0u, 1u, 2u, 0x80000000u}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type, colour);
        for (int rows : {1, 100, 199, 200, 201, 32000}) {
            EXPECT_EQ(api().buf32ReAlloc(buffer, rows), 0);
            expect_report(refused);
        }
        EXPECT_EQ(word(buffer, field_height), 200u);
    }
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer patterned(8, 10, 10, BUF32_PATTERN, &pattern);
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    EXPECT_EQ(api().buf32ReAlloc(patterned, 5), 0);
    expect_report(refused);
    EXPECT_EQ(api().buf32ReAlloc(over, 5), 0);
    expect_report(refused);
}

TEST_F(BufferReAlloc, NeverGrowsBeyondTheHeightAtAllocation) {
    for (uint32_t type : {4u, 16u, 6u, 20u}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type);
        ASSERT_TRUE(buffer);
        for (int rows : {201, 256, 32000, INT_MAX}) {
            EXPECT_EQ(api().buf32ReAlloc(buffer, rows), 0);
            expect_report(refused);
        }
        EXPECT_EQ(api().buf32ReAlloc(buffer, 100), 1);
        EXPECT_EQ(api().buf32ReAlloc(buffer, 201), 0);
        expect_report(refused);
        expect_rows(buffer, 100, 300, 200);
        EXPECT_EQ(api().buf32ReAlloc(buffer, 200), 1);
        expect_rows(buffer, 200, 300, 200);
    }
}

TEST_F(BufferReAlloc, RefusesFewerRowsThanOne) {
    EXPECT_EQ(api().buf32ReAlloc(0, 5), 0);
    expect_no_report();
    for (uint32_t type : {4u, 16u}) {
        Buffer buffer(8, 300, 200, type);
        for (int rows : {0, -1, INT_MIN}) {
            EXPECT_EQ(api().buf32ReAlloc(buffer, rows), 0);
            expect_report(refused);
        }
        expect_rows(buffer, 200, 300, 200);
        fill_and_check(buffer);
    }
}

TEST_F(BufferReAlloc, FieldsFollow) {
    for (uint32_t type : {4u, 16u}) {
        for (int bits : {1, 5, 8, 24}) {
            SCOPED_TRACE(size_text(bits, 301, 200) + " type " + std::to_string(type));
            const auto row_bytes = uint32_t(Geometry(301, 200, bits, type).row_bytes());
            Buffer buffer(bits, 301, 200, type);
            for (int rows : {200, 199, 150, 150, 1, 2, 128, 127, 200}) {
                EXPECT_EQ(api().buf32ReAlloc(buffer, rows), 1);
                expect_rows(buffer, uint32_t(rows), row_bytes, 200);
                fill_and_check(buffer);
            }
        }
    }
}

bool committed(uint32_t address) {
    MEMORY_BASIC_INFORMATION page{};
    return VirtualQuery(reinterpret_cast<const void *>(address), &page, sizeof page) != 0 &&
           page.State == MEM_COMMIT;
}

// Pages wholly above the kept rows go back to the system; the page that holds the end of the last
// kept row stays.
TEST_F(BufferReAlloc, GivesWholePagesBack) {
    constexpr uint32_t page = 4096;
    for (int width : {100, 4096, 5000, 1}) {
        for (int rows : {199, 198, 150, 41, 40, 2, 1}) {
            SCOPED_TRACE(size_text(8, width, rows));
            Buffer buffer(8, width, 200, BUF32_LINEAR_MEMORY);
            ASSERT_TRUE(buffer);
            const uintptr_t storage = word(buffer, field_storage);
            const uint32_t all = 200u * uint32_t(width);
            const uint32_t kept = uint32_t(rows) * uint32_t(width);
            for (uint32_t i = 0; i < all; ++i)
                reinterpret_cast<uint8_t *>(storage)[i] = uint8_t(i % 251 + 1);
            ASSERT_EQ(api().buf32ReAlloc(buffer, rows), 1);
            const uint32_t kept_pages = (kept + page - 1) / page * page;
            for (uint32_t offset = 0; offset < (all + page - 1) / page * page; offset += page)
                EXPECT_EQ(committed(storage + offset), offset < kept_pages) << offset;
            for (uint32_t i = 0; i < kept; ++i)
                ASSERT_EQ(reinterpret_cast<uint8_t *>(storage)[i], uint8_t(i % 251 + 1)) << i;

            ASSERT_EQ(api().buf32ReAlloc(buffer, 200), 1);
            for (uint32_t i = 0; i < kept; ++i)
                ASSERT_EQ(reinterpret_cast<uint8_t *>(storage)[i], uint8_t(i % 251 + 1)) << i;
            for (uint32_t i = kept_pages; i < all; ++i)
                ASSERT_EQ(reinterpret_cast<uint8_t *>(storage)[i], 0) << i;
            EXPECT_EQ(memory_in_use(), all);
        }
    }
}

TEST_F(BufferReAlloc, FileBuffersChangeFieldsOnly) {
    set_memory_limit(1, 0);
    Buffer buffer(8, 300, 200, BUF32_LINEAR_SHRINK);
    ASSERT_TRUE(buffer);
    ASSERT_NE(word(buffer, field_file), 0u);
    auto *storage = reinterpret_cast<uint8_t *>(word(buffer, field_storage));
    for (int i = 0; i < 60000; ++i)
        storage[i] = uint8_t(i % 251);
    FailingCall commits("VirtualAlloc", 1), releases("VirtualFree", 1);
    EXPECT_EQ(api().buf32ReAlloc(buffer, 10), 1);
    expect_rows(buffer, 10, 300, 200);
    EXPECT_EQ(mapped_bytes(), 60000u);
    EXPECT_EQ(api().buf32ReAlloc(buffer, 200), 1);
    expect_rows(buffer, 200, 300, 200);
    EXPECT_EQ(commits.calls(), 0);
    EXPECT_EQ(releases.calls(), 0);
    for (int i = 0; i < 60000; ++i)
        ASSERT_EQ(storage[i], uint8_t(i % 251)) << i;
}

TEST_F(BufferReAlloc, FailsInSilenceWhenTheSystemDoes) {
    Buffer buffer(8, 300, 200, BUF32_LINEAR_SHRINK);
    fill_and_check(buffer);
    {
        FailingCall release("VirtualFree", 1);
        EXPECT_EQ(api().buf32ReAlloc(buffer, 50), 0);
        EXPECT_EQ(release.calls(), 1);
    }
    expect_no_report();
    expect_rows(buffer, 200, 300, 200);
    EXPECT_EQ(api().buf32ReAlloc(buffer, 50), 1);
    {
        FailingCall commit("VirtualAlloc", 1);
        EXPECT_EQ(api().buf32ReAlloc(buffer, 200), 0);
        EXPECT_EQ(commit.calls(), 1);
    }
    expect_no_report();
    expect_rows(buffer, 50, 300, 200);
    EXPECT_EQ(api().buf32ReAlloc(buffer, 200), 1);
    fill_and_check(buffer);
}

// Lines and addresses follow the new height.
TEST_F(BufferReAlloc, LinesClampToTheNewHeight) {
    Buffer buffer(8, 300, 200, BUF32_LINEAR_MEMORY);
    fill_and_check(buffer);
    std::vector<uint8_t> row(300), last(300);
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    ASSERT_EQ(api().buf32Line(buffer, 49, BUF32_LINE_READ, last.data()), 1);
    ASSERT_EQ(api().buf32ReAlloc(buffer, 50), 1);
    EXPECT_EQ(api().buf32Line(buffer, 199, BUF32_LINE_READ, row.data()), 1);
    EXPECT_EQ(row, last);
    EXPECT_EQ(api().buf32PointAddr(buffer, 5, 199), api().buf32PointAddr(buffer, 5, 49));
    EXPECT_EQ(api().buf32PointAddEx(buffer, 5, 50, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
}

} // namespace
} // namespace q32::test

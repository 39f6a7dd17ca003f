// Buffers of 32000 x 32000 pixels of 64 bits, 8,192,000,000 bytes each, in memory and in swap
// files: their facts, their far ends, several at once, and the limits that admit them.
#include "tests/library/library_fixture.h"

#include <array>
#include <cstring>

namespace q32::test {
namespace {

constexpr int side = 32000, bits = 64, pixel_bytes = 8, row_bytes = side * pixel_bytes;
constexpr size_t image_bytes = 8192000000;
constexpr Failure no_file{1001, 0, 4, 2}, no_place{1001, 0, 4, 3}, no_memory{1001, 0, 4, 4};

using Pixel = std::array<uint8_t, pixel_bytes>;

Pixel pixel_of(int value) {
    Pixel pixel;
    for (size_t i = 0; i < pixel.size(); ++i)
        pixel[i] = uint8_t(value + int(i) * 31);
    return pixel;
}

class LargeBuffers : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        start();
        roomy_.emplace([](auto, DWORD *sectors, DWORD *bytes, DWORD *clusters, DWORD *all) {
            *sectors = *bytes = 256; // swap files have holes: no volume needs that much
            *clusters = *all = 1u << 24;
            return TRUE;
        });
    }
    void TearDown() override {
        roomy_.reset();
        LibraryTest::TearDown();
    }

    HBUF32 large(uint32_t type) { return allocate(bits, side, side, type); }

    void write(HBUF32 buffer, int x, int y, const Pixel &pixel) {
        EXPECT_EQ(api().buf32MergeMem(buffer, x, y, pixel.data(), 1, 1), 1);
    }
    Pixel read(HBUF32 buffer, int x, int y) {
        Pixel pixel = {};
        EXPECT_EQ(api().buf32GetMem(buffer, x, y, 1, 1, pixel.data()), 1);
        return pixel;
    }

    // The corners, and both sides of what 2 and 4 GB of a linear image and of a tiled one hold.
    static constexpr int places[][2] = {
        {0, 0},        {side - 1, 0}, {0, side - 1},  {side - 1, side - 1},
        {15487, 8388}, {15488, 8388}, {30975, 16777}, {30976, 16777},
        {127, 16383},  {128, 16384},  {8191, 8319},   {8192, 8320}};
    void write_places(HBUF32 buffer, int seed) {
        for (int i = 0; i < int(std::size(places)); ++i)
            write(buffer, places[i][0], places[i][1], pixel_of(seed + i * 7));
    }
    void expect_places(HBUF32 buffer, int seed) {
        for (int i = 0; i < int(std::size(places)); ++i)
            EXPECT_EQ(read(buffer, places[i][0], places[i][1]), pixel_of(seed + i * 7)) << i;
    }

private:
    std::optional<Replaced<call::GetDiskFreeSpaceA>> roomy_;
};

uint64_t size_on_disk(const std::string &path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data);
    return uint64_t(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

// --- one -----------------------------------------------------------------------------------------

TEST_F(LargeBuffers, TellTheirBytesInFull) {
    for (uint32_t type : {BUF32_TILED, BUF32_TILED_FILE}) {
        SCOPED_TRACE(type);
        const HBUF32 buffer = large(type);
        BUF32INFO info = {};
        EXPECT_EQ(api().buf32GetInfo(buffer, &info), 1);
        EXPECT_EQ(info.image_bytes, image_bytes);
        EXPECT_EQ(info.reserved_bytes, image_bytes);
        EXPECT_EQ(info.cell_count, 62500);
        EXPECT_EQ(info.band_bytes, 32768000u);
        EXPECT_EQ(info.cell_bytes, 131072u);
        EXPECT_EQ(memory_in_use(), type == BUF32_TILED ? image_bytes : 0);
        EXPECT_EQ(mapped_bytes(), type == BUF32_TILED ? 0 : image_bytes);
        free(buffer);
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 0u);
    }
}

TEST_F(LargeBuffers, KeepThePixelsOfTheirFarEnds) {
    for (uint32_t type :
         {BUF32_TILED, BUF32_TILED_FILE, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        SCOPED_TRACE(type);
        const HBUF32 buffer = large(type);
        write_places(buffer, 50);
        expect_places(buffer, 50);
        free(buffer);
    }
}

TEST_F(LargeBuffers, LinearOnesAreOneCellOfAllBytes) {
    const HBUF32 buffer = large(BUF32_LINEAR_MEMORY);
    BUF32INFO info = {};
    EXPECT_EQ(api().buf32GetInfo(buffer, &info), 1);
    EXPECT_EQ(info.cell_bytes, image_bytes);
    EXPECT_EQ(info.band_bytes, image_bytes);
    void *address = nullptr;
    BUF32CELL cell = {};
    EXPECT_EQ(api().buf32CellLock(buffer, 0, &address, &cell), 1);
    EXPECT_EQ(cell.bytes, image_bytes);
    EXPECT_EQ(cell.pixels, side * side);
    EXPECT_EQ(cell.row_bytes, row_bytes);
    const Pixel last = pixel_of(9);
    std::memcpy(static_cast<uint8_t *>(address) + image_bytes - pixel_bytes, last.data(),
                pixel_bytes);
    EXPECT_EQ(read(buffer, side - 1, side - 1), last);
    EXPECT_EQ(api().buf32PointAddr(buffer, side - 1, side - 1),
              static_cast<uint8_t *>(address) + image_bytes - pixel_bytes);
    EXPECT_EQ(api().buf32CellUnlock(buffer, 0), 1);
    free(buffer);
}

TEST_F(LargeBuffers, ChangeTheirHeight) {
    const HBUF32 buffer = large(BUF32_LINEAR_MEMORY);
    write_places(buffer, 3);
    EXPECT_EQ(api().buf32ReAlloc(buffer, side - 1), 1);
    write(buffer, side - 1, side - 2, pixel_of(77));
    EXPECT_EQ(api().buf32ReAlloc(buffer, 1), 1);
    EXPECT_EQ(word(buffer, field_image_bytes), size_t(row_bytes));
    EXPECT_EQ(word(buffer, field_reserved_bytes), image_bytes);
    EXPECT_EQ(read(buffer, side - 1, 0), pixel_of(3 + 7));
    EXPECT_EQ(api().buf32ReAlloc(buffer, side), 1);
    EXPECT_EQ(word(buffer, field_image_bytes), image_bytes);
    write_places(buffer, 4);
    expect_places(buffer, 4);
    free(buffer);
    EXPECT_EQ(memory_in_use(), 0u);
}

TEST_F(LargeBuffers, LieInASwapFileOfTheirBytesAndTen) {
    const HBUF32 buffer = large(BUF32_TILED_FILE);
    const std::string path = swap_file_of(buffer);
    EXPECT_EQ(size_on_disk(path), image_bytes + 10);
    write(buffer, side - 1, side - 1, pixel_of(200));
    free(buffer);
    EXPECT_FALSE(frame::file_exists(path));
}

TEST_F(LargeBuffers, AreAddressedByCells) {
    const HBUF32 buffer = large(BUF32_TILED);
    void *first = nullptr, *cell = nullptr, *pixel = nullptr;
    int x = 0, y = 0;
    EXPECT_EQ(api().buf32PointAddEx(buffer, 0, 0, &first, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(api().buf32PointAddEx(buffer, side - 1, side - 1, &cell, &pixel, &x, &y), 62499);
    EXPECT_EQ(static_cast<uint8_t *>(cell) - static_cast<uint8_t *>(first),
              ptrdiff_t(image_bytes - 131072));
    EXPECT_EQ(static_cast<uint8_t *>(pixel) - static_cast<uint8_t *>(first),
              ptrdiff_t(image_bytes - pixel_bytes));
    EXPECT_EQ(x, 127);
    EXPECT_EQ(y, 127);
    free(buffer);
}

// --- several -------------------------------------------------------------------------------------

TEST_F(LargeBuffers, KeepTheirPixelsBesideEachOther) {
    constexpr uint32_t types[] = {BUF32_TILED, BUF32_TILED_FILE, BUF32_TILED, BUF32_TILED_FILE};
    HBUF32 buffers[4];
    for (int i = 0; i < 4; ++i)
        write_places(buffers[i] = large(types[i]), i * 40);
    EXPECT_EQ(memory_in_use(), 2 * image_bytes);
    EXPECT_EQ(mapped_bytes(), 2 * image_bytes);
    for (int i = 0; i < 4; ++i)
        expect_places(buffers[i], i * 40);
    for (const HBUF32 buffer : buffers)
        free(buffer);
    EXPECT_EQ(memory_in_use() + mapped_bytes(), 0u);
}

TEST_F(LargeBuffers, GiveRectanglesToEachOther) {
    const HBUF32 source = large(BUF32_TILED), destination = large(BUF32_TILED_FILE);
    write(source, side - 1, side - 1, pixel_of(61));
    EXPECT_EQ(api().buf32MergeBuf(source, side - 300, side - 200, 300, 200, destination, 5, 20000),
              1);
    EXPECT_EQ(read(destination, 304, 20199), pixel_of(61));
    HBUF32 part = 0;
    EXPECT_EQ(api().buf32GetBuf(destination, 300, 20190, 10, 10, &part), 1);
    EXPECT_EQ(read(part, 4, 9), pixel_of(61));
    for (const HBUF32 buffer : {source, destination, part})
        free(buffer);
}

// --- limits --------------------------------------------------------------------------------------

TEST_F(LargeBuffers, FollowLimitsBeyond4Gigabytes) {
    set_memory_limit(1, image_bytes);
    HBUF32 buffer = large(BUF32_TILED);
    EXPECT_NE(word(buffer, field_file), 0u); // exactly all is too much
    free(buffer);
    set_memory_limit(1, image_bytes + 1);
    set_file_limit(1, image_bytes + 1);
    buffer = large(BUF32_TILED);
    EXPECT_EQ(word(buffer, field_file), 0u);
    const HBUF32 second = large(BUF32_TILED); // over the limit of memory
    EXPECT_NE(word(second, field_file), 0u);
    LibraryTest::expect_refused(bits, side, side, BUF32_TILED, no_place); // and of files
    set_file_limit(1, 2 * image_bytes + 1);
    const HBUF32 third = large(BUF32_TILED);
    EXPECT_EQ(mapped_bytes(), 2 * image_bytes);
    for (const HBUF32 each : {buffer, second, third})
        free(each);
}

TEST_F(LargeBuffers, ReportWhatFails) {
    {
        FailingCall failing("VirtualAlloc");
        LibraryTest::expect_refused(bits, side, side, BUF32_LINEAR_MEMORY, no_memory);
    }
    for (const char *function :
         {"SetFilePointer", "WriteFile", "CreateFileMappingA", "MapViewOfFile"}) {
        SCOPED_TRACE(function);
        FailingCall failing(function);
        LibraryTest::expect_refused(bits, side, side, BUF32_TILED_FILE, no_file);
    }
}

// A position whose lower half alone is right.
TEST_F(LargeBuffers, TakeNoPositionForAnother) {
    const Replaced<call::SetFilePointer> seek(
        [](HANDLE file, LONG distance, LONG *high, DWORD from) {
            const DWORD low = call::SetFilePointer::real(file, distance, high, from);
            if (high != nullptr)
                *high = 0;
            return low;
        });
    LibraryTest::expect_refused(bits, side, side, BUF32_TILED_FILE, no_file);
}

TEST_F(LargeBuffers, HaveStagingBlocksOfTheirSize) {
    const HBUF32 buffer = large(BUF32_LINEAR_MEMORY);
    size_t unit = 0;
    EXPECT_EQ(api().buf32GetMemSpace(buffer, 1, 0, 0, nullptr, &unit), 1);
    EXPECT_EQ(unit, image_bytes);
    Calls calls;
    Watch<call::GlobalAlloc> memory{calls};
    memory.refuse_all(); // the system would fill it with zeros
    void *block = nullptr;
    EXPECT_EQ(api().buf32GetMemSpace(buffer, 1, 2, 0, &block, &unit), 0);
    expect_reports({Failure{1001, 1, 4, 17}});
    EXPECT_EQ(calls.text(), "GlobalAlloc(64, 16384000004) refused\n");
    free(buffer);
}

// The library's copy is of the pattern's size, 4 GB and a little here, and not of its lower half.
TEST_F(LargeBuffers, CopyPatternsInFull) {
    std::vector<size_t> asked;
    const Replaced<call::malloc> nothing([&](size_t bytes) -> void * {
        asked.push_back(bytes);
        return nullptr;
    });
    const uint8_t pixel[pixel_bytes] = {};
    const BUF32PATTERN pattern{65535, 8193, pixel};
    HBUF32 buffer = 0;
    EXPECT_REPORT(api().buf32Alloc(&buffer, bits, 10, 10, BUF32_PATTERN, &pattern), 1001, 0, 4, 10);
    EXPECT_EQ(asked, std::vector<size_t>{4295426040});
    frame::forget_reports();
}

} // namespace
} // namespace q32::test

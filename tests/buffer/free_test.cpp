// buf32Free: what it refuses, the order of its steps, and that everything goes back.
#include "tests/buffer/buffer_fixture.h"

namespace q32::test {
namespace {

class BufferFree : public BufferTest {};

constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
constexpr Failure locked{5804, 1, 4, 12};

HBUF32 allocated(int bits, int width, int height, uint32_t type, const void *extra = nullptr) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32Alloc(&handle, bits, width, height, type, extra), 1);
    return handle;
}

TEST_F(BufferFree, NullHandle) {
    EXPECT_EQ(api().buf32Free(0), 0);
    expect_no_report();
}

TEST_F(BufferFree, TwiceIsRefusedInSilence) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    const struct {
        uint32_t type;
        const void *extra;
    } kinds[] = {{0, nullptr},  {1, colour},   {2, nullptr},    {4, nullptr},
                 {16, nullptr}, {32, &memory}, {128, &pattern}, {0x80000000, nullptr}};
    Buffer other(8, 10, 10); // the list is not empty
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.type);
        const HBUF32 handle = allocated(8, 10, 10, kind.type, kind.extra);
        EXPECT_EQ(api().buf32Free(handle), 1);
        EXPECT_EQ(api().buf32Free(handle), 0);
        EXPECT_EQ(api().buf32GetInfo(handle, nullptr), 0);
        expect_no_report();
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    }
}

TEST_F(BufferFree, RefusesALockedBuffer) {
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 300, 200, type, colour);
        ASSERT_TRUE(buffer);
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, &base), 1);
        ASSERT_EQ(api().buf32CellLock(buffer, 0, &base, nullptr), 1);
        const size_t used = memory_in_use(), mapped = mapped_bytes();
        for (int locks = 2; locks > 0; --locks) {
            EXPECT_EQ(api().buf32Free(buffer), 0);
            expect_report(locked);
            EXPECT_EQ(word(buffer, field_lock_count), uint32_t(locks));
            EXPECT_EQ(word(buffer, field_type), type);
            EXPECT_EQ(memory_in_use(), used);
            EXPECT_EQ(mapped_bytes(), mapped);
            EXPECT_NE(word(buffer, field_storage), 0u);
            *static_cast<volatile uint8_t *>(base) = 3; // storage is still there
            EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
        }
        buffer.free();
    }
}

// A locked pattern buffer is refused too, but its copy of the pattern has gone before the lock is
// looked at; it is not released a second time.
TEST_F(BufferFree, RefusesALockedPatternBufferThatLosesItsPattern) {
    const uint8_t pixels[4] = {1, 2, 3, 4};
    const BUF32PATTERN pattern{2, 2, pixels};
    for (bool by_cell : {false, true}) {
        const HBUF32 handle = allocated(8, 300, 200, BUF32_PATTERN, &pattern);
        ASSERT_NE(handle, 0u);
        if (by_cell) {
            ASSERT_EQ(api().buf32CellLock(handle, 5, nullptr, nullptr), 1);
        } else {
            ASSERT_EQ(api().buf32Lock(handle, BUF32_READ, nullptr), 1);
        }
        const size_t block = memory_in_use();
        FailingCall releases("free", 0);
        EXPECT_EQ(api().buf32Free(handle), 0);
        expect_report(locked);
        EXPECT_EQ(releases.calls(), 1);
        EXPECT_EQ(word(handle, field_external_data), 0u);
        EXPECT_EQ(word(handle, field_type), BUF32_PATTERN);
        EXPECT_EQ(memory_in_use(), block); // nothing else is released
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
        EXPECT_EQ(api().buf32Free(handle), 0);
        expect_report(locked);
        EXPECT_EQ(api().buf32Unlock(handle), 1);
        EXPECT_EQ(api().buf32Free(handle), 1);
        expect_no_report();
        EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
        EXPECT_EQ(memory_in_use(), 0u);
    }
}

// Type 32 is released without a look at its locks.
TEST_F(BufferFree, CallerMemoryIsReleasedLockedOrNot) {
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    const HBUF32 handle = allocated(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    ASSERT_NE(handle, 0u);
    ASSERT_EQ(api().buf32Lock(handle, BUF32_READ, nullptr), 1);
    EXPECT_EQ(word(handle, field_lock_count), 1u);
    EXPECT_EQ(api().buf32Free(handle), 1);
    expect_no_report();
    image[99] = 1; // still the caller's
}

TEST_F(BufferFree, ReleasesVirtualMemory) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        const HBUF32 handle = allocated(8, 300, 200, type);
        const auto *storage = reinterpret_cast<const void *>(word(handle, field_storage));
        EXPECT_EQ(memory_in_use(), 60000u);
        EXPECT_EQ(api().buf32Free(handle), 1);
        EXPECT_EQ(memory_in_use(), 0u);
        MEMORY_BASIC_INFORMATION pages{};
        VirtualQuery(storage, &pages, sizeof pages);
        EXPECT_EQ(pages.State, DWORD(MEM_FREE));
    }
}

TEST_F(BufferFree, ReleasesTheSwapFile) {
    const HBUF32 handle = allocated(8, 300, 200, BUF32_TILED_FILE);
    const auto *storage = reinterpret_cast<const void *>(word(handle, field_storage));
    const std::string name = swap_file_of(handle);
    EXPECT_TRUE(file_exists(name));
    EXPECT_EQ(mapped_bytes(), 60000u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(api().buf32Free(handle), 1);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_FALSE(file_exists(name));
    MEMORY_BASIC_INFORMATION pages{};
    VirtualQuery(storage, &pages, sizeof pages);
    EXPECT_NE(pages.State, DWORD(MEM_COMMIT)); // a fence of another block may lie there by now
}

// One colour counts its block: the larger of row bytes and cell bytes.
TEST_F(BufferFree, ReleasesTheBlockOfOneColour) {
    for (const auto &[width, height] : {std::pair{300, 200}, {300, 1}, {5, 5}, {32000, 1}}) {
        SCOPED_TRACE(size_text(24, width, height));
        const HBUF32 handle = allocated(24, width, height, BUF32_ONE_COLOUR, colour);
        EXPECT_EQ(memory_in_use(), 0u);
        ASSERT_EQ(api().buf32Lock(handle, BUF32_READ, nullptr), 1);
        EXPECT_EQ(memory_in_use(), Geometry(width, height, 24, 1).block_bytes());
        ASSERT_EQ(api().buf32Unlock(handle), 1);
        EXPECT_EQ(api().buf32Free(handle), 1);
        EXPECT_EQ(memory_in_use(), 0u);
    }
}

// A buffer that was in memory counts its reserved bytes, whatever its height has become.
TEST_F(BufferFree, AfterShrinkingTakesOffTheReservedBytes) {
    const HBUF32 handle = allocated(8, 300, 200, BUF32_LINEAR_MEMORY);
    ASSERT_EQ(api().buf32ReAlloc(handle, 50), 1);
    EXPECT_EQ(memory_in_use(), 60000u);
    EXPECT_EQ(api().buf32Free(handle), 1);
    EXPECT_EQ(memory_in_use(), 0u);
}

// A record whose type says freed once its storage has been released: reported, and not freed again.
TEST_F(BufferFree, RecordThatIsFreedMeanwhile) {
    const HBUF32 handle = allocated(8, 300, 200, BUF32_TILED);
    {
        frame::Replaced<frame::call::VirtualFree> meanwhile(
            [handle](LPVOID address, SIZE_T bytes, DWORD kind) {
                set_word(handle, field_type, 0xFFFFFFFF);
                return VirtualFree(address, bytes, kind);
            });
        EXPECT_EQ(api().buf32Free(handle), 0);
    }
    expect_report(3200, 0, 4, 6);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(api().buf32Free(handle), 0); // it counts as freed
    expect_no_report();
    set_word(handle, field_type, BUF32_TILED);
    EXPECT_EQ(api().buf32Free(handle), 1);
}

// At the end of the library all buffers go, locked or not.
TEST_F(BufferFree, UnloadingFreesEverything) {
    fresh_library();
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    static uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    const HBUF32 locked_handle = allocated(8, 300, 200, BUF32_TILED);
    api().buf32Lock(locked_handle, BUF32_WRITE, nullptr);
    api().buf32CellLock(locked_handle, 1, nullptr, nullptr);
    const HBUF32 file = allocated(8, 300, 200, BUF32_TILED_FILE);
    api().buf32Lock(file, BUF32_READ, nullptr);
    const std::string name = swap_file_of(file);
    const HBUF32 one_colour = allocated(8, 300, 200, BUF32_ONE_COLOUR, colour);
    api().buf32Lock(one_colour, BUF32_READ, nullptr);
    const HBUF32 patterned = allocated(8, 300, 200, BUF32_PATTERN, &pattern);
    EXPECT_EQ(api().buf32Lock(patterned, BUF32_READ, nullptr), 1);
    EXPECT_EQ(api().buf32CellLock(patterned, 3, nullptr, nullptr), 1);
    allocated(8, 300, 200, BUF32_PATTERN, &pattern);
    const HBUF32 over = allocated(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    EXPECT_EQ(api().buf32Lock(over, BUF32_READ, nullptr), 1);
    allocated(8, 300, 200, BUF32_LINEAR);
    EXPECT_TRUE(file_exists(name));
    fresh_library(); // checks that the old one left nothing behind
    EXPECT_FALSE(file_exists(name));
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
    expect_no_report();
}

} // namespace
} // namespace q32::test

// buf32Alloc: the order of its checks, what storage in memory looks like, and the counters. What
// goes into memory and what into a file is the subject of memory_policy_test.cpp.
#include "tests/buffer/buffer_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class BufferAllocation : public BufferTest {};

constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
constexpr Failure no_record{1001, 0, 4, 9}, too_wide{5402, 0, 4, 71}, too_high{5403, 0, 4, 72},
    bad_size{3200, 0, 4, 7}, no_colour{3200, 0, 4, 8}, no_layout{1001, 0, 4, 10};

// --- checks ----------------------------------------------------------------------------------

TEST_F(BufferAllocation, RefusesSizesOutOfRange) {
    for (uint32_t type : {0u, 1u, 2u, 4u, 16u, 0x80000000u}) {
        for (int width : {32001, 32768, 65536, INT_MAX})
            expect_refused(8, width, 10, type, colour, too_wide);
        for (int height : {32001, 32768, 65536, INT_MAX})
            expect_refused(8, 10, height, type, colour, too_high);
        for (int side : {0, -1, -32000, INT_MIN}) {
            expect_refused(8, side, 10, type, colour, bad_size);
            expect_refused(8, 10, side, type, colour, bad_size);
            expect_refused(8, side, side, type, colour, bad_size);
        }
        for (int bits : {0, -1, INT_MIN, 65, 128, 256, INT_MAX})
            expect_refused(bits, 10, 10, type, colour, bad_size);
    }
}

TEST_F(BufferAllocation, ChecksWidthThenHeightThenTheRest) {
    for (uint32_t type : {0u, 1u, 4u, 8u, 32u, 128u, 0x80000000u}) {
        expect_refused(0, 32001, 32001, type, nullptr, too_wide);
        expect_refused(65, 32001, -1, type, nullptr, too_wide);
        expect_refused(65, -1, 32001, type, nullptr, too_high);
        expect_refused(0, 32000, 32001, type, nullptr, too_high);
    }
    for (uint32_t type : {1u, 3u, 129u, 0x80000001u}) {
        expect_refused(0, 10, 10, type, nullptr, bad_size);
        expect_refused(65, 10, 10, type, nullptr, bad_size);
        expect_refused(8, 0, 10, type, nullptr, bad_size);
        expect_refused(8, 10, 0, type, nullptr, bad_size);
    }
}

// Bit 0 of the type asks for a colour, whatever the other bits are.
TEST_F(BufferAllocation, RequiresAColourForBit0) {
    for (uint32_t type : {1u, 3u, 5u, 17u, 129u, 0x80000001u, 0xFFFFFFFFu})
        expect_refused(8, 10, 10, type, nullptr, no_colour);
}

// It would be a buffer that nobody can free.
TEST_F(BufferAllocation, RefusesTheTypeOfFreedBuffers) {
    expect_refused(8, 10, 10, 0xFFFFFFFF, colour, no_colour);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
}

TEST_F(BufferAllocation, RequiresDescriptors) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN no_pixels{2, 2, nullptr}, no_width{0, 2, pixels}, no_height{2, 0, pixels};
    for (const BUF32PATTERN *pattern :
         {static_cast<const BUF32PATTERN *>(nullptr), &no_pixels, &no_width, &no_height})
        expect_refused(8, 10, 10, BUF32_PATTERN, pattern, no_colour);
    const BUF32MEMORY nowhere{0, nullptr};
    expect_refused(8, 10, 10, BUF32_CALLER_MEMORY, nullptr, no_colour);
    expect_refused(8, 10, 10, BUF32_CALLER_MEMORY, &nowhere, no_colour);
}

TEST_F(BufferAllocation, RequiresAHandlePointer) {
    EXPECT_EQ(api().buf32Alloc(nullptr, 8, 10, 10, 0, nullptr), 0);
    expect_report(bad_size);
    EXPECT_EQ(api().buf32Alloc(nullptr, 8, 32001, 10, 0, nullptr), 0);
    expect_report(too_wide);
}

TEST_F(BufferAllocation, AcceptsTheLargestSides) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK,
                          BUF32_ONE_COLOUR, BUF32_TILED_FILE}) {
        Buffer wide(1, 32000, 1, type, colour), high(1, 1, 32000, type, colour);
        EXPECT_TRUE(wide) << type;
        EXPECT_TRUE(high) << type;
    }
}

// The probe for 128 KB comes before every check, and its block is given back at once.
TEST_F(BufferAllocation, ProbesForMemoryFirst) {
    const struct {
        int bits, width, height;
        uint32_t type;
    } calls[] = {
        {8, 10, 10, 0}, {8, 32001, 10, 0}, {8, 10, 32001, 1}, {0, 0, 0, 1}, {8, 10, 10, 8}};
    for (const auto &call : calls) {
        FailingCall probe("GlobalAlloc", 1);
        expect_refused(call.bits, call.width, call.height, call.type, nullptr, no_record);
        EXPECT_EQ(probe.calls(), 1);
    }
}

TEST_F(BufferAllocation, ProbeIsAMoveableBlockOf128KB) {
    ObservedCalls allocations;
    expect_refused(8, 32001, 10, 0, nullptr, too_wide);
    ASSERT_EQ(allocations.global_blocks().size(), 1u);
    EXPECT_EQ(allocations.global_blocks()[0].flags, UINT(GMEM_MOVEABLE));
    EXPECT_EQ(allocations.global_blocks()[0].bytes, 0x20000u);
}

TEST_F(BufferAllocation, ReportsARecordThatCannotBeHad) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[4] = {};
    const BUF32MEMORY memory{0, image};
    const struct {
        uint32_t type;
        const void *extra;
    } calls[] = {{0, nullptr},  {1, colour},   {2, nullptr},    {4, nullptr},
                 {16, nullptr}, {32, &memory}, {128, &pattern}, {0x80000000, nullptr}};
    for (const auto &call : calls) {
        FailingCall record("GlobalAlloc", 2);
        expect_refused(8, 300, 200, call.type, call.extra, no_record);
    }
}

// The third block is the record with room for the cells.
TEST_F(BufferAllocation, ReportsALayoutThatCannotBeHad) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    {
        FailingCall layout("GlobalAlloc", 3);
        expect_refused(8, 300, 200, BUF32_ONE_COLOUR, colour, no_layout);
    }
    {
        FailingCall layout("GlobalAlloc", 3);
        expect_refused(8, 300, 200, BUF32_PATTERN, &pattern, no_layout);
    }
    {
        FailingCall copy("malloc", 1);
        expect_refused(8, 300, 200, BUF32_PATTERN, &pattern, no_layout);
        EXPECT_EQ(copy.calls(), 1);
    }
    for (uint32_t type : {BUF32_TILED, BUF32_TILED_FILE}) {
        FailingCall layout("GlobalAlloc", 3);
        expect_refused(8, 300, 200, type, nullptr, no_record);
    }
}

// A failed allocation leaves what the caller's handle held.
TEST_F(BufferAllocation, NeedsNoExtraForOrdinaryTypes) {
    const auto *nowhere = reinterpret_cast<const void *>(uintptr_t(0x10));
    for (uint32_t type : {0u, 2u, 4u, 16u, 0x80000000u}) {
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32Alloc(&handle, 8, 300, 200, type, nowhere), 1); // never looked at
        EXPECT_EQ(word(handle, field_capacity_rows), 200u);
        EXPECT_EQ(api().buf32Free(handle), 1);
    }
}

// --- storage in memory -----------------------------------------------------------------------

TEST_F(BufferAllocation, ReservesAndCommitsTheImage) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        SCOPED_TRACE(type);
        ObservedCalls calls;
        Buffer buffer(24, 301, 203, type);
        ASSERT_TRUE(buffer);
        const uint32_t bytes = 301 * 3 * 203;
        ASSERT_EQ(calls.virtual_blocks().size(), 2u);
        EXPECT_EQ(calls.virtual_blocks()[0].kind, DWORD(MEM_RESERVE));
        EXPECT_EQ(calls.virtual_blocks()[0].protection, DWORD(PAGE_READWRITE));
        EXPECT_EQ(calls.virtual_blocks()[0].bytes, bytes);
        EXPECT_EQ(calls.virtual_blocks()[1].kind, DWORD(MEM_COMMIT));
        EXPECT_EQ(calls.virtual_blocks()[1].bytes, bytes);
        EXPECT_EQ(calls.virtual_blocks()[1].address, word(buffer, field_storage));

        MEMORY_BASIC_INFORMATION pages{};
        const auto *storage = reinterpret_cast<const void *>(word(buffer, field_storage));
        ASSERT_NE(VirtualQuery(storage, &pages, sizeof pages), 0u);
        EXPECT_EQ(pages.State, DWORD(MEM_COMMIT));
        EXPECT_EQ(pages.Protect, DWORD(PAGE_READWRITE));
        EXPECT_EQ(pages.AllocationBase, storage);
        EXPECT_GE(pages.RegionSize, bytes);
        EXPECT_LT(pages.RegionSize, bytes + 4096);
        EXPECT_EQ(memory_in_use(), bytes);
        EXPECT_EQ(mapped_bytes(), 0u);
    }
}

TEST_F(BufferAllocation, CountsReservedBytesOfMemoryAndFiles) {
    Buffer first(8, 300, 200), second(1, 1001, 10, BUF32_LINEAR);
    EXPECT_EQ(memory_in_use(), 60000u + 1260);
    Buffer file(16, 130, 5, BUF32_TILED_FILE), small(8, 128, 128, BUF32_TILED_FILE);
    EXPECT_EQ(memory_in_use(), 60000u + 1260 + 16384);
    EXPECT_EQ(mapped_bytes(), 1300u);
    first.free();
    EXPECT_EQ(memory_in_use(), 1260u + 16384);
    file.free();
    EXPECT_EQ(mapped_bytes(), 0u);
    small.free();
    second.free();
    EXPECT_EQ(memory_in_use(), 0u);
}

TEST_F(BufferAllocation, OneColourPatternAndCallerMemoryHaveNoStorage) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    std::vector<uint8_t> image(60000);
    const BUF32MEMORY memory{0, image.data()};
    ObservedCalls calls;
    Buffer one_colour(8, 300, 200, BUF32_ONE_COLOUR, colour);
    Buffer patterned(8, 300, 200, BUF32_PATTERN, &pattern);
    Buffer over(8, 300, 200, BUF32_CALLER_MEMORY, &memory);
    EXPECT_TRUE(one_colour && patterned && over);
    EXPECT_EQ(calls.virtual_blocks().size(), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    one_colour.free();
    patterned.free();
    over.free();
    EXPECT_EQ(memory_in_use(), 0u); // nothing was counted, nothing is taken off
}

// A record that has become one of one colour when its cells get their addresses has no cells.
TEST_F(BufferAllocation, OneColourHasNoAddressTable) {
    HBUF32 record = 0;
    frame::Replaced<frame::call::GlobalAlloc> blocks([&](UINT flags, SIZE_T bytes) {
        const HGLOBAL block = GlobalAlloc(flags, bytes);
        record = HBUF32(block); // the newest one is the final record
        return block;
    });
    frame::Replaced<frame::call::VirtualAlloc> storage(
        [&](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
            if (kind == MEM_COMMIT)
                set_word(record, field_type, BUF32_ONE_COLOUR);
            return VirtualAlloc(at, bytes, kind, protection);
        });
    expect_refused(8, 300, 200, BUF32_TILED, nullptr, {5800, 0, 4, 5});
    EXPECT_EQ(memory_in_use(), 0u);
}

// --- types that nobody asks for --------------------------------------------------------------

// Whatever the type is, allocation ends, and the library can be unloaded.
TEST_F(BufferAllocation, AnyTypeValueIsSurvived) {
    fresh_library();
    Random random(test_seed(), 0);
    const uint8_t pixels[64] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    for (int i = 0; i < 400; ++i) {
        uint32_t type = i < 256 ? uint32_t(i) : uint32_t(random.next());
        if (i == 256)
            type = 0xFFFFFFFE;
        HBUF32 handle = 0;
        const void *const extra = type == BUF32_DIB ? nullptr : &pattern; // that is no bitmap
        if (api().buf32Alloc(&handle, 24, 140, 130, type, extra) == 1) {
            EXPECT_NE(type, BUF32_DIB);
            ASSERT_NE(handle, 0u);
            void *address = nullptr;
            if (api().buf32CellLock(handle, 0, &address, nullptr) == 1) {
                EXPECT_EQ(api().buf32CellUnlock(handle, 0), 1) << type;
            }
            if (api().buf32Lock(handle, BUF32_READ, &address) == 1) {
                EXPECT_EQ(api().buf32Unlock(handle), 1) << type;
            }
            api().buf32PointAddr(handle, 1, 1);
            EXPECT_EQ(api().buf32Free(handle), 1) << type;
        }
        forget_reports();
    }
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
}

} // namespace
} // namespace q32::test

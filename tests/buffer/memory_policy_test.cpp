// Memory or swap file: what the limits, the sizes and the types decide, what happens when either is
// not to be had, and images that fit neither.
#include "tests/buffer/buffer_fixture.h"

#include <algorithm>

namespace q32::test {
namespace {

constexpr Failure no_file{1001, 0, 4, 2}, refused_file{1001, 0, 4, 3}, no_memory{1001, 0, 4, 4};

// --- memory or file --------------------------------------------------------------------------

class MemoryPolicy : public BufferTest {
protected:
    // Whether a new buffer of this size and type goes into memory.
    bool in_memory(int bits, int width, int height, uint32_t type = BUF32_TILED) {
        Buffer buffer(bits, width, height, type);
        EXPECT_TRUE(buffer);
        if (!buffer)
            return false;
        EXPECT_NE(word(buffer, field_storage), 0u);
        const size_t bytes = word(buffer, field_reserved_bytes);
        const bool file = word(buffer, field_file) != 0;
        EXPECT_EQ(word(buffer, field_mapping) != 0, file);
        EXPECT_EQ(mapped_bytes(), file ? bytes : 0);
        return !file;
    }
};

TEST_F(MemoryPolicy, WithoutASwitchAllButFileBuffersGoToMemory) {
    set_memory_limit(0, 0); // the limit is not looked at
    for (uint32_t type : {0u, 2u, 4u, 16u, 0x40000000u})
        EXPECT_TRUE(in_memory(8, 300, 200, type)) << type;
    EXPECT_FALSE(in_memory(8, 300, 200, BUF32_TILED_FILE));
}

TEST_F(MemoryPolicy, SmallBuffersAlwaysGoToMemory) {
    set_memory_limit(1, 0);
    for (uint32_t type : {0u, 2u, 4u, 16u, 0x40000000u, 0x80000000u}) {
        for (int bits : {1, 8, 64}) {
            EXPECT_TRUE(in_memory(bits, 128, 128, type)) << type;
            EXPECT_TRUE(in_memory(bits, 1, 1, type)) << type;
            EXPECT_EQ(in_memory(bits, 129, 1, type), type == BUF32_LINEAR_MEMORY) << type;
            EXPECT_EQ(in_memory(bits, 1, 129, type), type == BUF32_LINEAR_MEMORY) << type;
        }
    }
}

// Reserved bytes plus memory in use must be below the limit.
TEST_F(MemoryPolicy, LimitIsExclusive) {
    const size_t used = absolute_memory_in_use();
    set_memory_limit(1, used + 60001);
    EXPECT_TRUE(in_memory(8, 300, 200));
    set_memory_limit(1, used + 60000);
    EXPECT_FALSE(in_memory(8, 300, 200));
    set_memory_limit(1, used + 59999);
    EXPECT_FALSE(in_memory(8, 300, 200));
    EXPECT_TRUE(in_memory(8, 300, 200, BUF32_LINEAR_MEMORY)); // memory only: no limit applies
    set_memory_limit(1, used + 120001);
    Buffer first(8, 300, 200);
    EXPECT_TRUE(in_memory(8, 300, 200));
    set_memory_limit(1, used + 120000);
    EXPECT_FALSE(in_memory(8, 300, 200));
    Buffer small(8, 128, 128); // counted, though never refused
    set_memory_limit(1, used + 60000 + 16384 + 60000);
    EXPECT_FALSE(in_memory(8, 300, 200));
    set_memory_limit(1, used + 60000 + 16384 + 60001);
    EXPECT_TRUE(in_memory(8, 300, 200));
    set_memory_limit(77, 60000); // any switch but 0 is on
    EXPECT_FALSE(in_memory(8, 300, 200));
}

// A file buffer's bytes do not count as memory in use.
TEST_F(MemoryPolicy, FilesDoNotCountAgainstTheLimit) {
    Buffer file(8, 300, 200, BUF32_TILED_FILE);
    set_memory_limit(1, absolute_memory_in_use() + 60001);
    Buffer memory(8, 300, 200);
    EXPECT_EQ(word(memory, field_file), 0u);
}

TEST_F(MemoryPolicy, AllOnesMeansThePhysicalMemory) {
    set_memory_limit(1, frame::no_limit);
    EXPECT_TRUE(in_memory(8, 300, 200));
    EXPECT_TRUE(in_memory(24, 1000, 1000));
}

TEST_F(MemoryPolicy, PhysicalMemoryIsMeasuredAtTheStart) {
    frame::drop_shared_library();
    {
        frame::Replaced<frame::call::GlobalMemoryStatus> small([](MEMORYSTATUS *status) {
            GlobalMemoryStatus(status);
            status->dwTotalPhys = 60001;
        });
        frame::Replaced<frame::call::GlobalMemoryStatusEx> small_in_64_bits(
            [](MEMORYSTATUSEX *status) {
                const BOOL result = GlobalMemoryStatusEx(status);
                status->ullTotalPhys = 60001;
                return result;
            });
        frame::shared_library();
    }
    set_memory_limit(1, frame::no_limit);
    EXPECT_TRUE(in_memory(8, 300, 200));
    EXPECT_FALSE(in_memory(8, 300, 201));
    fresh_library();
}

// The comparison is signed: a limit with the highest bit of a size is negative and admits nothing.
TEST_F(MemoryPolicy, NegativeLimitsAdmitNothing) {
    constexpr size_t lowest = ~(frame::no_limit >> 1); // 2 GB in 32 bits
    for (size_t limit : {lowest, lowest + 1, lowest + lowest / 2, frame::no_limit - 1}) {
        set_memory_limit(1, limit);
        EXPECT_FALSE(in_memory(8, 300, 200)) << limit;
    }
    set_memory_limit(1, lowest - 1);
    EXPECT_TRUE(in_memory(8, 300, 200));
}

// A failed commitment releases the reservation and yet keeps its bytes in the count of memory in
// use. That is what lets the following tests bring the count where they want it.
TEST_F(MemoryPolicy, FailedCommitKeepsMemoryInUse) {
    fresh_library();
    {
        FailingCall commit("VirtualAlloc", 2);
        Buffer file(8, 300, 200); // falls back to a file
        ASSERT_TRUE(file);
        EXPECT_EQ(commit.calls(), 2);
        EXPECT_NE(word(file, field_file), 0u);
        EXPECT_EQ(memory_in_use(), 60000u);
        EXPECT_EQ(mapped_bytes(), 60000u);
    }
    EXPECT_EQ(memory_in_use(), 60000u);
    EXPECT_EQ(mapped_bytes(), 0u);
    {
        FailingCall commit("VirtualAlloc", 2);
        expect_refused(8, 300, 200, BUF32_LINEAR_MEMORY, nullptr, no_memory);
    }
    EXPECT_EQ(memory_in_use(), 120000u);
    {
        FailingCall reserve("VirtualAlloc", 1); // nothing was reserved, nothing is counted
        expect_refused(8, 300, 200, BUF32_LINEAR_MEMORY, nullptr, no_memory);
        EXPECT_EQ(reserve.calls(), 1);
    }
    EXPECT_EQ(memory_in_use(), 120000u);
    {
        FailingCall commit("VirtualAlloc", 2);
        Buffer small(8, 128, 128);
        ASSERT_TRUE(small);
        EXPECT_NE(word(small, field_file), 0u); // the smallest go to a file rather than fail
    }
    EXPECT_EQ(memory_in_use(), 120000u + 16384);
    fresh_library();
}

// Brings the count of memory in use up by failed commitments of exactly these many bytes.
class MemoryInUse : public MemoryPolicy {
protected:
    void SetUp() override {
        MemoryPolicy::SetUp();
        fresh_library();
    }
    void TearDown() override {
        fresh_library();
        MemoryPolicy::TearDown();
    }
    void count_up(uint32_t bytes) {
        // Address space of these sizes is not to be had: a page stands for each reservation.
        frame::Replaced<frame::call::VirtualAlloc> no_commit([](LPVOID, SIZE_T, DWORD kind,
                                                                DWORD protection) -> LPVOID {
            return kind == MEM_RESERVE ? VirtualAlloc(nullptr, 4096, kind, protection) : nullptr;
        });
        while (bytes != 0) {
            const int width = int(std::min<uint32_t>(bytes, 32000));
            const int height = int(std::min<uint32_t>(bytes / uint32_t(width), 32000));
            expect_refused(8, width, height, BUF32_LINEAR_MEMORY, nullptr, no_memory);
            bytes -= uint32_t(width * height);
        }
    }
};

#ifndef _WIN64 // sums that no machine of 64 bits reaches
TEST_F(MemoryInUse, SumOf2GBIsNegativeAndAdmitted) {
    count_up(0x7FFFFFFF - 60000);
    ASSERT_EQ(absolute_memory_in_use(), 0x7FFFFFFFu - 60000);
    set_memory_limit(1, 0x7FFFFFFF);
    EXPECT_FALSE(in_memory(8, 300, 200)); // the sum is the limit
    EXPECT_TRUE(in_memory(8, 300, 199));
    EXPECT_TRUE(in_memory(8, 300, 201)); // the sum is negative
    set_memory_limit(1, 1);
    EXPECT_TRUE(in_memory(8, 300, 201));
    EXPECT_FALSE(in_memory(8, 300, 200));
}

TEST_F(MemoryInUse, NegativeLimitsAreComparedSigned) {
    count_up(0x80000000u);
    ASSERT_EQ(absolute_memory_in_use(), 0x80000000u);
    set_memory_limit(1, 0x80000000u + 60001);
    EXPECT_TRUE(in_memory(8, 300, 200));
    set_memory_limit(1, 0x80000000u + 60000);
    EXPECT_FALSE(in_memory(8, 300, 200));
    set_memory_limit(1, 0); // never in memory, though the sum is below it
    EXPECT_FALSE(in_memory(8, 300, 200));
    set_memory_limit(1, 0xFFFFFFFE);
    EXPECT_TRUE(in_memory(8, 300, 200));
    set_memory_limit(1, frame::no_limit); // the physical memory
    EXPECT_TRUE(in_memory(8, 300, 200));
}

TEST_F(MemoryInUse, WrapsAt4GB) {
    count_up(0xFFFFFFFF);
    count_up(1);
    EXPECT_EQ(absolute_memory_in_use(), 0u);
    set_memory_limit(1, 60001);
    EXPECT_TRUE(in_memory(8, 300, 200));
}
#endif

// --- fallback and failure of storage ---------------------------------------------------------

TEST_F(MemoryPolicy, FallsBackToAFileWithoutAddressSpace) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_SHRINK}) {
        FailingCall reserve("VirtualAlloc", 1);
        Buffer buffer(8, 300, 200, type);
        ASSERT_TRUE(buffer);
        EXPECT_NE(word(buffer, field_file), 0u);
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(mapped_bytes(), 60000u);
        fill_and_check(buffer);
    }
}

TEST_F(MemoryPolicy, MemoryOnlyNeverFallsBack) {
    for (int side : {10, 128, 129, 300}) {
        FailingCall reserve("VirtualAlloc", 1);
        FailingCall files("GetTempFileNameA", 0);
        expect_refused(8, side, side, BUF32_LINEAR_MEMORY, nullptr, no_memory);
        EXPECT_EQ(files.calls(), 0);
    }
}

TEST_F(MemoryPolicy, NeitherMemoryNorDirectory) {
    use_no_directory();
    for (int side : {10, 300}) {
        FailingCall reserve("VirtualAlloc", 1);
        expect_refused(8, side, side, BUF32_TILED, nullptr, refused_file);
    }
    expect_refused(8, 300, 200, BUF32_TILED_FILE, nullptr, refused_file);
    EXPECT_TRUE(in_memory(8, 100, 100, BUF32_TILED_FILE));
}

TEST_F(MemoryPolicy, FileLimitRefuses) {
    set_memory_limit(1, 0);
    set_file_limit(1, 0);
    expect_refused(8, 200, 200, BUF32_TILED, nullptr, refused_file);
    expect_refused(8, 200, 200, BUF32_LINEAR, nullptr, refused_file);
    expect_refused(8, 200, 200, BUF32_TILED_FILE, nullptr, refused_file);
    EXPECT_TRUE(in_memory(8, 200, 200, BUF32_LINEAR_MEMORY));
    EXPECT_TRUE(in_memory(8, 100, 100));
    set_file_limit(1, 40000);
    expect_refused(8, 200, 200, BUF32_TILED, nullptr, refused_file);
    set_file_limit(1, 40001);
    EXPECT_FALSE(in_memory(8, 200, 200));
}

TEST_F(MemoryPolicy, FileThatCannotBeMade) {
    for (const char *call : {"GetTempFileNameA", "CreateFileA", "SetFilePointer", "WriteFile",
                             "CreateFileMappingA", "MapViewOfFile"}) {
        SCOPED_TRACE(call);
        { // the process's own record exists from the first file on
            Buffer first(8, 300, 200, BUF32_TILED_FILE);
            ASSERT_TRUE(first);
        }
        FailingCall failing(call, 1);
        expect_refused(8, 300, 200, BUF32_TILED_FILE, nullptr, no_file);
        EXPECT_EQ(failing.calls(), 1);
        EXPECT_EQ(mapped_bytes(), 0u);
        expect_no_swap_files();
    }
    FailingCall reopened("CreateFileA", 2);
    expect_refused(8, 300, 200, BUF32_TILED_FILE, nullptr, no_file);
    expect_no_swap_files();
}

// --- sizes that do not fit -------------------------------------------------------------------

#ifndef _WIN64 // tests/large_images
TEST_F(MemoryPolicy, ImagesOver4GBFailCleanly) {
    for (int bits : {34, 40, 48, 63, 64}) {
        for (uint32_t type : {0u, 2u, 16u, 0x80000000u})
            expect_refused(bits, 32000, 32000, type, nullptr, refused_file);
        expect_refused(bits, 32000, 32000, BUF32_LINEAR_MEMORY, nullptr, no_memory);
    }
    // 2^32 bytes and a little, so that a wrapped product would look small: 32000 x 16778 x 64 bits
    // is 2^32 + 200,704 bytes.
    for (uint32_t type : {0u, 2u, 16u, 0x80000000u})
        expect_refused(64, 32000, 16778, type, nullptr, refused_file);
    expect_refused(64, 32000, 16778, BUF32_LINEAR_MEMORY, nullptr, no_memory);
    EXPECT_EQ(memory_in_use(), 0u);
    expect_no_swap_files();
}

// Images that fit 32 bits and not the address space: whatever the system refuses, nothing is left.
TEST_F(MemoryPolicy, ImagesOver2GBFailCleanly) {
    for (uint32_t type : {0u, 2u, 0x80000000u}) {
        HBUF32 handle = 0x5A5A5A5A;
        EXPECT_EQ(api().buf32Alloc(&handle, 24, 32000, 32000, type, nullptr), 0);
        EXPECT_EQ(handle, 0x5A5A5A5Au);
        expect_report_of({no_file, refused_file});
        expect_no_swap_files();
    }
    expect_refused(24, 32000, 32000, BUF32_LINEAR_MEMORY, nullptr, no_memory);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
}
#endif

TEST_F(MemoryPolicy, ImagesOver4GBAreRefusedUnderEveryLimit) {
    for (uint32_t limit : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        set_memory_limit(1, limit);
        set_file_limit(1, limit);
        expect_refused(64, 32000, 32000, BUF32_TILED, nullptr, refused_file);
    }
}

} // namespace
} // namespace q32::test

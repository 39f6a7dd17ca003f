// A swap file while it lives: its name, size and bytes, the calls that make and delete it, and the
// counters.
#include "tests/storage/storage_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

class SwapFile : public StorageTest {};

HANDLE file_of(HBUF32 buffer) {
    return reinterpret_cast<HANDLE>(word(buffer, field_file));
}

std::string number(DWORD value) {
    return std::to_string(value);
}

TEST_F(SwapFile, IsNamedInTheDirectory) {
    const HBUF32 first = swapped(200, 200), second = swapped(129, 1);
    for (HBUF32 buffer : {first, second}) {
        const std::string path = swap_file_of(buffer);
        EXPECT_TRUE(path.starts_with(frame::sandbox_swap() + "~QT")) << path;
        EXPECT_TRUE(frame::file_exists(path)) << path;
    }
    EXPECT_STRNE(swap_file_of(first), swap_file_of(second));
    EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 2u);
    free(first);
    EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 1u);
    free(second);
    EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 0u);
}

TEST_F(SwapFile, IsTheReservedBytesAndTenMore) {
    const struct {
        int bits, width, height;
    } sizes[] = {{24, 200, 200}, {8, 129, 1},    {1, 129, 1},  {1, 1, 129},
                 {64, 129, 130}, {13, 1000, 77}, {8, 128, 512}};
    for (const auto &size : sizes) {
        SCOPED_TRACE(size.width);
        const HBUF32 buffer = allocate(size.bits, size.width, size.height, BUF32_TILED_FILE);
        const uint32_t reserved = uint32_t(size.height) * ((size.width * size.bits + 7) / 8);
        EXPECT_EQ(word(buffer, field_reserved_bytes), reserved);
        EXPECT_EQ(GetFileSize(file_of(buffer), nullptr), reserved + 10);
        const Bytes content = content_of(file_of(buffer));
        ASSERT_EQ(content.size(), reserved + 10);
        EXPECT_EQ(std::memcmp(&content[reserved], swap_file_of(buffer), 10), 0);
        free(buffer);
    }
}

TEST_F(SwapFile, HoldsTheStorageByteForByte) {
    const HBUF32 buffer = swapped(300, 200);
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, &base), 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(base), word(buffer, field_storage));
    auto *bytes = static_cast<unsigned char *>(base);
    for (int i = 0; i < 300 * 200; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
    EXPECT_TRUE(FlushViewOfFile(base, 0));
    const Bytes content = content_of(file_of(buffer));
    EXPECT_EQ(std::memcmp(content.data(), bytes, 300 * 200), 0);
    EXPECT_EQ(std::memcmp(&content[300 * 200], swap_file_of(buffer), 10), 0);
    EXPECT_EQ(api().buf32Unlock(buffer), 1);
    free(buffer);
}

TEST_F(SwapFile, IsNotShared) {
    const HBUF32 buffer = swapped(200, 200);
    for (DWORD access : {DWORD(GENERIC_READ), DWORD(GENERIC_WRITE)}) {
        const HANDLE second = CreateFileA(swap_file_of(buffer), access,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(second, INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    }
    free(buffer);
}

TEST_F(SwapFile, IsMadeStepByStep) {
    swapped(129, 1); // the record file exists from now on
    std::vector<HANDLE> opened;
    FileWatch watch;
    watch.create.instead = [&](auto... arguments) {
        opened.push_back(call::CreateFileA::real(arguments...));
        return opened.back();
    };
    const HBUF32 buffer = swapped(200, 150);
    const std::string path = swap_file_of(buffer);
    const std::string open_words = number(GENERIC_READ | GENERIC_WRITE) + ", 0, null, ";
    const std::string normal = ", " + number(FILE_ATTRIBUTE_NORMAL) + ", null)";
    const std::string expected[] = {
        "GetVolumeInformationA(\"C:\\\"",
        "GetDiskFreeSpaceA(\"C:\\\"",
        "GetTempFileNameA(\"" + frame::sandbox_swap() + "\", \"~QT\", 0, *)",
        "CreateFileA(\"" + path + "\", " + open_words + number(CREATE_ALWAYS) + normal,
        "SetFilePointer(*, 30000, ",
        "WriteFile(*, *, 10, ",
        "CloseHandle(*)",
        "CreateFileA(\"" + path + "\", " + open_words + number(OPEN_ALWAYS),
        "CreateFileMappingA(*, null, " + number(PAGE_READWRITE) + ", 0, 30000, null)",
        "MapViewOfFile(*, " + number(FILE_MAP_WRITE) + ", 0, 0, ",
        "SetFilePointer(*, 260, ", // entry 1 of the record file
        "WriteFile(*, *, 260, ",
        "FlushFileBuffers(*)",
    };
    const auto &calls = watch.calls.all();
    ASSERT_EQ(calls.size(), std::size(expected)) << watch.calls.text();
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_TRUE(text_of(calls[i]).starts_with(expected[i]))
            << text_of(calls[i]) << "\ninstead of\n"
            << expected[i];
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(file_of(buffer), opened[1]);
}

TEST_F(SwapFile, IsReleasedStepByStep) {
    swapped(129, 1);
    const HBUF32 buffer = swapped(200, 150);
    const std::string path = swap_file_of(buffer);
    const void *const view = reinterpret_cast<void *>(word(buffer, field_storage));
    const HANDLE mapping = reinterpret_cast<HANDLE>(word(buffer, field_mapping));
    const HANDLE file = file_of(buffer);
    FileWatch watch;
    std::vector<const void *> released;
    watch.unmap.before = [&](const void *address) { released.push_back(address); };
    watch.close.before = [&](HANDLE handle) { released.push_back(handle); };
    free(buffer);
    EXPECT_EQ(released, (std::vector<const void *>{view, mapping, file}));
    const std::string expected[] = {"UnmapViewOfFile",
                                    "CloseHandle",
                                    "CloseHandle",
                                    "DeleteFileA(\"" + path,
                                    "SetFilePointer(*, 260, ",
                                    "WriteFile(*, *, 4, ",
                                    "FlushFileBuffers"};
    const auto &calls = watch.calls.all();
    ASSERT_EQ(calls.size(), std::size(expected)) << watch.calls.text();
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_TRUE(text_of(calls[i]).starts_with(expected[i])) << text_of(calls[i]);
}

TEST_F(SwapFile, FieldsOfTheRecord) {
    const HBUF32 in_file = swapped(200, 200);
    EXPECT_NE(word(in_file, field_mapping), 0u);
    EXPECT_NE(word(in_file, field_storage), 0u);
    EXPECT_NE(word(in_file, field_file), 0u);
    EXPECT_EQ(word(in_file, field_record_entry), 0u);
    const HBUF32 in_memory = allocate(8, 20, 20, BUF32_TILED);
    EXPECT_EQ(word(in_memory, field_mapping), 0u);
    EXPECT_NE(word(in_memory, field_storage), 0u);
    EXPECT_EQ(word(in_memory, field_file), 0u);
    EXPECT_EQ(word(in_memory, field_record_entry), 0xFFFFFFFFu);
}

// Storage in a file or in memory is the same to everything above it.
TEST_F(SwapFile, CellsHaveTheAddressesThatTheyHaveInMemory) {
    const HBUF32 in_file = allocate(24, 300, 200, BUF32_TILED_FILE);
    const HBUF32 in_memory = allocate(24, 300, 200, BUF32_TILED);
    for (int cell = 0; cell < 6; ++cell)
        EXPECT_EQ(cell_address_word(in_file, cell) - word(in_file, field_storage),
                  cell_address_word(in_memory, cell) - word(in_memory, field_storage))
            << cell;
}

// --- counters ------------------------------------------------------------------------------------

TEST_F(SwapFile, CountersFollowEveryAllocationAndFree) {
    struct Step {
        int bits, width, height;
        uint32_t type, memory, mapped;
    };
    const Step steps[] = {
        {24, 100, 100, 0, 30000, 0},
        {24, 100, 100, 0x80000000, 30000, 0}, // both sides below 129
        {8, 129, 1, 0x80000000, 0, 129},
        {24, 300, 200, 0x80000000, 0, 180000},
        {24, 300, 200, 0, 180000, 0},
        {24, 300, 200, 2, 180000, 0},
        {24, 300, 200, 4, 180000, 0},
        {1, 300, 200, 16, 38 * 200, 0},
        {1, 300, 200, 0x80000000, 0, 38 * 200},
    };
    uint32_t memory = 0, mapped = 0;
    std::vector<HBUF32> buffers;
    for (const Step &step : steps) {
        buffers.push_back(allocate(step.bits, step.width, step.height, step.type));
        memory += step.memory;
        mapped += step.mapped;
        EXPECT_EQ(memory_in_use(), memory);
        EXPECT_EQ(mapped_bytes(), mapped);
    }
    for (std::size_t i : {3u, 0u, 8u, 4u, 2u, 7u, 1u, 6u, 5u}) {
        free(buffers[i]);
        memory -= steps[i].memory;
        mapped -= steps[i].mapped;
        EXPECT_EQ(memory_in_use(), memory) << i;
        EXPECT_EQ(mapped_bytes(), mapped) << i;
    }
    EXPECT_EQ(memory, 0u);
    EXPECT_EQ(mapped, 0u);
}

TEST_F(SwapFile, BuffersWithoutStorageCountNothing) {
    const uint8_t colour[3] = {1, 2, 3};
    uint8_t pixels[300] = {};
    const BUF32MEMORY memory{0, pixels};
    const BUF32PATTERN pattern{4, 4, pixels};
    const HBUF32 buffers[] = {allocate(24, 300, 200, BUF32_ONE_COLOUR, colour),
                              allocate(24, 10, 10, BUF32_CALLER_MEMORY, &memory),
                              allocate(24, 300, 200, BUF32_PATTERN, &pattern)};
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    for (HBUF32 buffer : buffers)
        free(buffer);
    EXPECT_EQ(memory_in_use(), 0u);
}

// The block that a lock gives a one-colour buffer counts as the larger of a cell and a row.
TEST_F(SwapFile, AOneColourBlockIsCounted) {
    const uint8_t colour[3] = {1, 2, 3};
    const struct {
        int width, height;
        uint32_t bytes;
    } sizes[] = {{300, 200, 128 * 128 * 3}, {20000, 2, 20000 * 3}, {10, 10, 300}};
    for (const auto &size : sizes) {
        const HBUF32 buffer = allocate(24, size.width, size.height, BUF32_ONE_COLOUR, colour);
        ASSERT_EQ(api().buf32CellLock(buffer, 0, nullptr, nullptr), 1);
        EXPECT_EQ(memory_in_use(), size.bytes);
        ASSERT_EQ(api().buf32CellUnlock(buffer, 0), 1);
        free(buffer);
        EXPECT_EQ(memory_in_use(), 0u);
    }
}

// A reservation that cannot be committed goes back, but stays counted. A caller sees the memory in
// use grow by buffers that live in files.
TEST_F(SwapFile, AFailedCommitStaysCounted) {
    Calls calls;
    Watch<call::VirtualAlloc> memory{calls};
    memory.refuse = [](void *, SIZE_T, DWORD kind, DWORD) { return kind == MEM_COMMIT; };
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED);
    EXPECT_NE(word(buffer, field_file), 0u);
    EXPECT_EQ(memory_in_use(), 40000u);
    EXPECT_EQ(mapped_bytes(), 40000u);
    EXPECT_EQ(Census::now().reservations, 0);
    free(buffer);
    EXPECT_EQ(memory_in_use(), 40000u);
    EXPECT_EQ(mapped_bytes(), 0u);
}

TEST_F(SwapFile, AFailedReservationIsNotCounted) {
    Calls calls;
    Watch<call::VirtualAlloc> memory{calls};
    memory.refuse_all();
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED);
    EXPECT_NE(word(buffer, field_file), 0u);
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 40000u);
    free(buffer);
}

} // namespace
} // namespace q32::test

// The stop of the library: the order of its steps, and that whatever callers have left behind goes
// back to the system.
#include "tests/library/library_fixture.h"

namespace q32::test {
namespace {

class Stop : public LibraryTest {};

TEST_F(Stop, StepsComeInOrder) {
    start();
    const HBUF32 in_file = allocate(24, 200, 200, BUF32_TILED_FILE);
    allocate(24, 50, 50, BUF32_TILED);
    ASSERT_EQ(api().buf32Lock(in_file, BUF32_READ, nullptr), 1);
    const std::string swap_file = swap_file_of(in_file);
    const auto records = files_beginning(frame::sandbox_family(), "QTR");
    ASSERT_EQ(records.size(), 1u);

    Calls calls;
    {
        Watch<call::DeleteCriticalSection> lock{calls};
        Watch<call::UnmapViewOfFile> unmap{calls};
        Watch<call::VirtualFree> release{calls};
        Watch<call::DeleteFileA> delete_file{calls};
        Watch<call::CreateFileA> create_file{calls};
        Watch<call::WriteFile> write_file{calls};
        library().detach();
    }
    const int lock = calls.find("DeleteCriticalSection");
    const int unmapped = calls.find("UnmapViewOfFile");
    const int swap_deleted = calls.find("DeleteFileA(\"" + swap_file);
    const int released = calls.find("VirtualFree");
    const int record_deleted = calls.find("DeleteFileA(\"" + frame::sandbox_family() + records[0]);
    const int master = calls.find("CreateFileA(\"" + master_file());
    const int cleared = calls.find("WriteFile(*, *, 4,", std::max(master, 0));
    const std::vector<int> order = {lock,   unmapped, swap_deleted,  released,
                                    master, cleared,  record_deleted};
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_NE(order[i], -1) << i << calls.text();
        if (i > 0) {
            EXPECT_LT(order[i - 1], order[i]) << i << '\n' << calls.text();
        }
    }
    expect_no_report();
    expect_nothing_left();
}

TEST_F(Stop, FreesBuffersOfEveryTypeHoweverOftenLocked) {
    start();
    const uint8_t colour[8] = {1, 2, 3};
    uint8_t pixels[200 * 3] = {};
    const BUF32PATTERN pattern{4, 4, pixels};
    const BUF32MEMORY memory{0, pixels};
    const auto bitmap = [] { // 10 x 10 pixels of 24 bits
        const HGLOBAL block = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + 320);
        BITMAPINFOHEADER header{sizeof header, 10, 10, 1, 24};
        std::memcpy(GlobalLock(block), &header, sizeof header);
        GlobalUnlock(block);
        return block;
    };
    const struct {
        uint32_t type;
        const void *extra;
        int width, height;
    } kinds[] = {{0, nullptr, 200, 150}, {0x80000000, nullptr, 200, 150}, {1, colour, 200, 150},
                 {2, nullptr, 200, 150}, {4, nullptr, 200, 150},          {16, nullptr, 200, 150},
                 {32, &memory, 10, 10},  {128, &pattern, 200, 150},       {8, nullptr, 10, 10}};
    std::vector<HGLOBAL> bitmaps;
    for (int locks = 0; locks <= 3; ++locks)
        for (const auto &kind : kinds) {
            SCOPED_TRACE(kind.type);
            const void *const extra =
                kind.type == BUF32_DIB ? bitmaps.emplace_back(bitmap()) : kind.extra;
            const HBUF32 buffer = allocate(24, kind.width, kind.height, kind.type, extra);
            for (int lock = 0; lock < locks; ++lock)
                EXPECT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
            if (locks == 3 && kind.type != BUF32_CALLER_MEMORY) { // which has no cells
                EXPECT_EQ(api().buf32CellLock(buffer, 0, nullptr, nullptr), 1);
            }
        }
    EXPECT_EQ(api().buf32CountBuf(nullptr), 36);
    expect_no_report();
    stop();
    expect_no_report();
    for (HGLOBAL block : bitmaps) // they went with their buffers
        EXPECT_EQ(GlobalFlags(block), UINT(GMEM_INVALID_HANDLE));
}

TEST_F(Stop, ClearsItsSlotInTheMasterFileAndNothingElse) {
    frame::write_file(master_file(), master_with({frame::sandbox() + "a", frame::sandbox() + "b"}));
    start();
    allocate(24, 200, 200, BUF32_TILED_FILE);
    Bytes expected = frame::read_file(master_file());
    ASSERT_EQ(expected.size(), master_bytes);
    EXPECT_TRUE(text_at(expected, 2 * slot_bytes).starts_with(frame::sandbox_family() + "QTR"));
    stop();
    std::fill_n(expected.begin() + 2 * slot_bytes, 4, 0);
    EXPECT_EQ(frame::read_file(master_file()), expected);
}

TEST_F(Stop, WithoutSwapFilesLeavesTheMasterFileAlone) {
    start();
    allocate(24, 20, 20, BUF32_TILED);
    const Bytes expected = frame::read_file(master_file());
    Calls calls;
    {
        Watch<call::CreateFileA> create_file{calls};
        library().detach();
    }
    EXPECT_EQ(calls.all().size(), 0u) << calls.text();
    EXPECT_EQ(frame::read_file(master_file()), expected);
}

// The master file is busy for a while at the end: the slot is cleared all the same.
TEST_F(Stop, TriesForTheMasterFileAgain) {
    start();
    allocate(24, 200, 200, BUF32_TILED_FILE);
    Calls calls;
    int attempts = 0;
    {
        Watch<call::CreateFileA> create_file{calls};
        Watch<call::Sleep> sleep{calls};
        create_file.refuse = [&](const char *path, auto...) {
            return path == master_file() && ++attempts <= 500;
        };
        stop();
    }
    EXPECT_EQ(attempts, 501);
    EXPECT_EQ(calls.find("Sleep(0)"), calls.find("CreateFileA(\"" + master_file()) + 1);
    EXPECT_EQ(calls.count("Sleep"), 500);
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

TEST_F(Stop, GivesUpOnTheMasterFileAfter501Attempts) {
    start();
    allocate(24, 200, 200, BUF32_TILED_FILE);
    int attempts = 0;
    {
        Calls calls;
        Watch<call::CreateFileA> create_file{calls};
        create_file.refuse = [&](const char *path, auto...) {
            return path == master_file() && ++attempts > 0;
        };
        library().detach();
    }
    EXPECT_EQ(attempts, 501);
    EXPECT_NE(frame::read_file(master_file())[0], 0);
    // The record file is kept with its slot: the next start finds both, and that nobody holds them.
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 1u);
    start();
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
    stop();
}

// The end of the process instead of an unload.
TEST_F(Stop, AtTheEndOfTheProcessRemovesTheFilesToo) {
    start();
    const HBUF32 buffer = allocate(24, 200, 200, BUF32_TILED_FILE);
    const std::string swap_file = swap_file_of(buffer);
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_WRITE, nullptr), 1);
    EXPECT_TRUE(frame::file_exists(swap_file));
    library().detach(true);
    EXPECT_FALSE(frame::file_exists(swap_file));
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR"), std::vector<std::string>{});
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
}

} // namespace
} // namespace q32::test

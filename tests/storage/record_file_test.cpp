// The process's record file: its entries, their reuse, and how it is held open.
#include "tests/storage/storage_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

// The library's handle of its record file is caught when it is opened.
class RecordFile : public StorageTest {
protected:
    void SetUp() override {
        StorageTest::SetUp();
        catch_handle_.emplace([this](auto path, auto... rest) {
            const HANDLE file = call::CreateFileA::real(path, rest...);
            if (is_record_file(path))
                record = file;
            return file;
        });
    }
    void TearDown() override {
        catch_handle_.reset();
        StorageTest::TearDown();
    }

    Bytes entries() { return content_of(record); }

    HANDLE record = nullptr;

private:
    std::optional<Replaced<call::CreateFileA>> catch_handle_;
};

TEST_F(RecordFile, IsMadeAtTheFirstSwapFile) {
    const Bytes master = frame::read_file(master_file());
    const HBUF32 in_memory = allocate(8, 200, 200, BUF32_TILED);
    free(in_memory);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
    EXPECT_EQ(frame::read_file(master_file()), master);

    free(swapped(200, 200));
    const std::string path = record_path(); // it stays when the buffer goes
    EXPECT_TRUE(path.starts_with(frame::sandbox_family() + "QTR")) << path;
    const HANDLE first = record;
    free(swapped(200, 200));
    EXPECT_EQ(record, first);
    EXPECT_EQ(record_path(), path);
}

TEST_F(RecordFile, IsMadeByTheseCalls) {
    Calls calls;
    {
        Watch<call::GetTempFileNameA> name{calls};
        Watch<call::CreateFileA> create{calls};
        free(swapped(200, 200));
    }
    const std::string family = '"' + frame::sandbox_family() + '"';
    EXPECT_NE(calls.find("GetTempFileNameA(" + family + ", \"QTR\", 0, *)"), -1) << calls.text();
    const std::string expected = "CreateFileA(\"" + record_path() + "\", " +
                                 std::to_string(GENERIC_READ | GENERIC_WRITE) + ", 0, null, " +
                                 std::to_string(CREATE_ALWAYS);
    EXPECT_NE(calls.find(expected), -1) << calls.text();
}

TEST_F(RecordFile, IsHeldOpenExclusively) {
    swapped(200, 200);
    for (DWORD access : {DWORD(GENERIC_READ), DWORD(GENERIC_WRITE)}) {
        const HANDLE second = CreateFileA(record_path().c_str(), access,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(second, INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    }
}

TEST_F(RecordFile, HoldsAnEntryForEachSwapFile) {
    std::vector<HBUF32> buffers;
    for (uint32_t i = 0; i < 5; ++i) {
        buffers.push_back(swapped(200 + int(i), 200));
        const Bytes bytes = entries();
        ASSERT_EQ(bytes.size(), (i + 1) * 260u);
        for (uint32_t k = 0; k <= i; ++k) {
            EXPECT_EQ(word(buffers[k], field_record_entry), k);
            EXPECT_EQ(text_at(bytes, k * 260), swap_file_of(buffers[k]));
        }
    }

    // A freed entry begins with 4 zero bytes; nothing else changes.
    Bytes expected = entries();
    for (uint32_t freed : {1u, 3u}) {
        free(buffers[freed]);
        std::fill_n(expected.begin() + freed * 260, 4, 0);
        EXPECT_EQ(entries(), expected);
    }

    // The first free entry is taken, then the next.
    for (uint32_t entry : {1u, 3u, 5u}) {
        const HBUF32 next = swapped(150, 150);
        EXPECT_EQ(word(next, field_record_entry), entry);
        EXPECT_EQ(text_at(entries(), entry * 260), swap_file_of(next));
    }
    EXPECT_EQ(entries().size(), 6 * 260u);
    for (uint32_t kept : {0u, 2u, 4u})
        EXPECT_EQ(text_at(entries(), kept * 260), swap_file_of(buffers[kept]));
}

// A swap file that cannot be entered fails the allocation, and its entry is free for the next.
TEST_F(RecordFile, AnEntryThatCannotBeWrittenStaysFree) {
    const HBUF32 first = swapped(200, 200);
    const Census before = Census::now();
    for (int time = 0; time < 2; ++time) {
        Calls calls;
        Watch<call::WriteFile> write{calls};
        if (time == 0)
            write.refuse = [this](HANDLE file, auto...) { return file == record; };
        else
            write.instead = [this](HANDLE file, const void *data, DWORD bytes, DWORD *written,
                                   OVERLAPPED *overlapped) {
                return call::WriteFile::real(file, data, file == record ? bytes - 1 : bytes,
                                             written, overlapped);
            };
        HBUF32 buffer = 0;
        EXPECT_EQ(api().buf32Alloc(&buffer, 8, 200, 200, BUF32_TILED_FILE, nullptr), 0);
        EXPECT_EQ(frame::reports().size(), 1u);
        frame::forget_reports();
        EXPECT_EQ(Census::now(), before);
        EXPECT_EQ(mapped_bytes(), 40000u);
    }
    const HBUF32 second = swapped(200, 200);
    EXPECT_EQ(word(second, field_record_entry), 1u);
    EXPECT_EQ(text_at(entries(), 260), swap_file_of(second));
    EXPECT_EQ(text_at(entries(), 0), swap_file_of(first));
}

TEST_F(RecordFile, IsFlushedAtEveryChange) {
    const HBUF32 first = swapped(200, 200);
    FileWatch watch;
    std::vector<HANDLE> flushed;
    watch.flush.before = [&](HANDLE file) { flushed.push_back(file); };
    const HBUF32 second = swapped(200, 200);
    EXPECT_EQ(flushed, std::vector<HANDLE>{record});
    free(first);
    EXPECT_EQ(flushed, (std::vector<HANDLE>{record, record}));
    free(second);
    EXPECT_EQ(flushed.size(), 3u);
}

TEST_F(RecordFile, IsEnteredInTheMasterFile) {
    const Bytes before = frame::read_file(master_file());
    ASSERT_EQ(before, empty_master());
    const HBUF32 buffer = swapped(200, 200);
    Bytes after = frame::read_file(master_file());
    ASSERT_EQ(after.size(), master_bytes);
    EXPECT_EQ(text_at(after, 0), record_path());
    std::fill_n(after.begin(), slot_bytes, 0);
    EXPECT_EQ(after, before);
    free(buffer);
    EXPECT_EQ(text_at(frame::read_file(master_file()), 0), record_path());
}

TEST_F(RecordFile, TakesTheFirstFreeSlot) {
    Bytes master = master_with({"a", "b", "", "d"});
    frame::write_file(master_file(), master);
    swapped(200, 200);
    EXPECT_EQ(text_at(frame::read_file(master_file()), 2 * slot_bytes), record_path());
    stop();
    const Bytes after = frame::read_file(master_file());
    EXPECT_EQ(after[2 * slot_bytes], 0);
    for (std::size_t slot : {0u, 1u, 3u})
        EXPECT_EQ(text_at(after, slot * slot_bytes), text_at(master, slot * slot_bytes));
}

// Somebody has deleted the master file since the start: it is made again, and the next process
// takes it for a valid one.
TEST_F(RecordFile, AMasterFileThatIsGoneIsMadeAgain) {
    ASSERT_TRUE(DeleteFileA(master_file().c_str()));
    swapped(200, 200);
    Bytes master = frame::read_file(master_file());
    ASSERT_EQ(master.size(), master_bytes);
    EXPECT_EQ(text_at(master, 0), record_path());
    std::fill_n(master.begin(), slot_bytes, 0);
    EXPECT_EQ(master, empty_master());
}

TEST_F(RecordFile, IsDeletedAtTheStop) {
    swapped(200, 200);
    const std::string path = record_path();
    stop();
    EXPECT_FALSE(frame::file_exists(path));
    EXPECT_EQ(frame::read_file(master_file())[0], 0);
    EXPECT_EQ(frame::read_file(master_file()).size(), master_bytes);
}

// Dying between the two leaves a file of a few bytes, and no slot that is used for ever.
TEST_F(RecordFile, ItsSlotIsClearedBeforeItIsDeleted) {
    swapped(200, 200);
    const std::string path = record_path();
    FileWatch watch;
    int deletions = 0;
    watch.remove.before = [&](const char *name) {
        if (name != path)
            return;
        ++deletions;
        EXPECT_EQ(frame::read_file(master_file())[0], 0);
    };
    library().detach();
    EXPECT_EQ(deletions, 1);
}

// A slot that cannot be cleared keeps its record file, by which the next start finds both.
class KeptRecordFile : public RecordFile {
protected:
    void expect_kept(const std::function<void(FileWatch &)> &hinder) {
        swapped(200, 200);
        const std::string path = record_path();
        {
            FileWatch watch;
            watch.sleep.instead = [](DWORD) {};
            hinder(watch);
            library().detach();
        }
        EXPECT_TRUE(frame::file_exists(path));
        EXPECT_EQ(text_at(frame::read_file(master_file()), 0), path);
        ASSERT_TRUE(library().attach());
        EXPECT_FALSE(frame::file_exists(path));
        EXPECT_EQ(frame::read_file(master_file())[0], 0);
    }
};

TEST_F(KeptRecordFile, WithoutTheLock) {
    expect_kept([](FileWatch &watch) {
        watch.lock.error = ERROR_LOCK_VIOLATION;
        watch.lock.refuse_all();
    });
}

TEST_F(KeptRecordFile, WhenTheSlotCannotBeWritten) {
    expect_kept([](FileWatch &watch) { watch.write.refuse_all(); });
}

TEST_F(KeptRecordFile, WhenTheMasterFileIsHeld) {
    expect_kept([](FileWatch &watch) {
        watch.create.error = ERROR_SHARING_VIOLATION;
        watch.create.refuse_all();
    });
}

TEST_F(RecordFile, IsDeletedWhenThereIsNoMasterFile) {
    swapped(200, 200);
    const std::string path = record_path();
    ASSERT_TRUE(DeleteFileA(master_file().c_str()));
    stop();
    EXPECT_FALSE(frame::file_exists(path));
}

TEST_F(RecordFile, IsDeletedWhenItsFolderIsSaidToBeGone) {
    swapped(200, 200);
    const std::string path = record_path();
    FileWatch watch;
    watch.create.error = ERROR_PATH_NOT_FOUND;
    watch.create.refuse_all();
    library().detach();
    EXPECT_FALSE(frame::file_exists(path));
}

// A master file that was cut off has no slot of ours any more.
TEST_F(RecordFile, IsDeletedWhenItsSlotHasGone) {
    swapped(200, 200);
    const std::string path = record_path();
    const Bytes cut(100, 'x');
    frame::write_file(master_file(), cut);
    stop();
    EXPECT_FALSE(frame::file_exists(path));
    EXPECT_EQ(frame::read_file(master_file()), cut);
}

// The master file was made anew behind our back, and our slot is another's.
TEST_F(RecordFile, LeavesTheSlotsOfOthers) {
    swapped(200, 200);
    const std::string path = record_path();
    const Bytes others = master_with({frame::sandbox() + "QTR77.TMP"});
    frame::write_file(master_file(), others);
    stop();
    EXPECT_FALSE(frame::file_exists(path));
    EXPECT_EQ(frame::read_file(master_file()), others);
}

TEST_F(RecordFile, TakesNoSlotWithoutTheLock) {
    FileWatch watch;
    watch.lock.error = ERROR_LOCK_VIOLATION;
    watch.lock.refuse_all();
    watch.sleep.instead = [](DWORD) {};
    expect_refused(no_master_entry);
    EXPECT_EQ(frame::read_file(master_file()), empty_master());
}

// --- the slot map --------------------------------------------------------------------------------

// Swap files by the thousand, each of 17 bytes and 10 more. What takes time in it is left out:
// waiting for the disk, and looking for names in a full folder.
class SlotMap : public RecordFile {
protected:
    void SetUp() override {
        RecordFile::SetUp();
        no_flush_.emplace([](HANDLE) { return TRUE; });
        next_name_.emplace([this, number = 0](auto directory, const char *prefix, UINT unique,
                                              char *name) mutable {
            if (std::string(prefix) == "QTR")
                return call::GetTempFileNameA::real(directory, prefix, unique, name);
            if (number % 64 == 0)
                CreateDirectoryA((folder + std::to_string(number / 64)).c_str(), nullptr);
            wsprintfA(name, "%s%d\\~QT%d.tmp", folder.c_str(), number / 64, number);
            return UINT(++number);
        });
    }
    void TearDown() override {
        next_name_.reset();
        no_flush_.reset();
        RecordFile::TearDown();
    }

    int add() {
        HBUF32 buffer = 0;
        const int result = api().buf32Alloc(&buffer, 1, 129, 1, BUF32_TILED_FILE, nullptr);
        if (result == 1)
            buffers.push_back(buffer);
        return result;
    }

    const std::string folder = frame::make_folder("many");
    std::vector<HBUF32> buffers;

private:
    std::optional<Replaced<call::FlushFileBuffers>> no_flush_;
    std::optional<Replaced<call::GetTempFileNameA>> next_name_;
};

// The map is full at 1024 entries and grows.
TEST_F(SlotMap, HasRoomForMoreThan1024SwapFiles) {
    for (int i = 0; i < 1024; ++i)
        ASSERT_EQ(add(), 1) << i;
    expect_no_report();

    // The map cannot grow, however it tries; and it can be tried again.
    const Census full = Census::now();
    for (int time = 0; time < 2; ++time) {
        Calls calls;
        Watch<call::GlobalReAlloc> enlarge{calls};
        Watch<call::GlobalAlloc> another{calls};
        enlarge.refuse_all();
        another.refuse = [](UINT, SIZE_T bytes) { return bytes >= 2048 && bytes < 0x20000; };
        EXPECT_EQ(add(), 0);
        expect_reports({no_larger_slot_map});
        EXPECT_EQ(Census::now(), full);
        EXPECT_EQ(mapped_bytes(), 1024u * 17);
    }

    for (uint32_t entry = 1024; entry < 1030; ++entry) {
        ASSERT_EQ(add(), 1);
        EXPECT_EQ(word(buffers.back(), field_record_entry), entry);
        EXPECT_EQ(text_at(entries(), entry * 260), swap_file_of(buffers.back()));
    }
    // Growing has kept who is there, and a freed entry is found again.
    free(buffers[700]);
    ASSERT_EQ(add(), 1);
    EXPECT_EQ(word(buffers.back(), field_record_entry), 700u);
    ASSERT_EQ(add(), 1);
    EXPECT_EQ(word(buffers.back(), field_record_entry), 1030u);
    buffers.erase(buffers.begin() + 700);
    const Bytes all = entries();
    for (HBUF32 buffer : buffers)
        EXPECT_EQ(text_at(all, word(buffer, field_record_entry) * 260), swap_file_of(buffer));
    stop(); // frees them all
    EXPECT_EQ(frame::files_below(folder).size(), 0u);
}

// One after the other, they take the same entry again and again, and the map stays as it is.
TEST_F(SlotMap, DoesNotGrowForSwapFilesThatHaveGone) {
    ASSERT_EQ(add(), 1);
    Calls calls;
    Watch<call::GlobalReAlloc> enlarge{calls};
    for (int i = 0; i < 1030; ++i) {
        ASSERT_EQ(add(), 1) << i;
        ASSERT_EQ(word(buffers.back(), field_record_entry), 1u) << i;
        free(buffers.back());
        buffers.pop_back();
    }
    EXPECT_EQ(calls.all().size(), 0u);
    EXPECT_EQ(entries().size(), 2 * 260u);
    expect_no_report();
}

} // namespace
} // namespace q32::test

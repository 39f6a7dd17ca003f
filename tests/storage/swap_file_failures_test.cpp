// Everything that can fail while a swap file is made: each failure has its report, and leaves no
// file, handle, view, block or count.
#include "tests/storage/storage_fixture.h"

#include <cstring>
#include <map>

namespace q32::test {
namespace {

class SwapFileFailures : public StorageTest {
protected:
    // One refused allocation, before the first swap file and after it. Then, with the system well
    // again, an allocation that succeeds.
    void expect_failure(const char *what, const std::function<void(FileWatch &)> &prepare,
                        const Failure &report) {
        SCOPED_TRACE(what);
        for (bool first : {true, false}) {
            SCOPED_TRACE(first ? "first swap file" : "later swap file");
            const HBUF32 earlier = first ? 0 : swapped(129, 1);
            const std::size_t files = first ? 0 : 1;
            {
                FileWatch watch;
                prepare(watch);
                expect_refused(report);
            }
            EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), files);
            EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), files);
            free(swapped(200, 200));
            if (!first)
                free(earlier);
            stop();
            start();
        }
    }
};

auto opens_swap_file(DWORD disposition) {
    return [=](const char *path, DWORD, DWORD, auto, DWORD how, auto...) {
        return is_swap_file(path) && how == disposition;
    };
}

TEST_F(SwapFileFailures, Name) {
    expect_failure(
        "name",
        [](FileWatch &watch) {
            watch.name.refuse = [](auto, const char *prefix, auto...) {
                return std::string(prefix) == "~QT";
            };
        },
        no_file);
}

TEST_F(SwapFileFailures, Creation) {
    expect_failure(
        "creation", [](FileWatch &watch) { watch.create.refuse = opens_swap_file(CREATE_ALWAYS); },
        no_file);
}

TEST_F(SwapFileFailures, Seek) {
    expect_failure(
        "failing", [](FileWatch &watch) { watch.seek.refuse_call(1); }, no_file);
    for (LONG off : {-1, 1, -40000})
        expect_failure(
            "elsewhere",
            [off](FileWatch &watch) {
                watch.seek.instead = [off](HANDLE file, LONG distance, LONG *high, DWORD from) {
                    return call::SetFilePointer::real(file, distance, high, from) + DWORD(off);
                };
            },
            no_file);
}

TEST_F(SwapFileFailures, Write) {
    expect_failure(
        "write", [](FileWatch &watch) { watch.write.refuse_call(1); }, no_file);
    expect_failure(
        "half a write",
        [](FileWatch &watch) {
            watch.write.instead = [](HANDLE, const void *, DWORD bytes, DWORD *written, auto) {
                *written = bytes - 1;
                return TRUE;
            };
        },
        no_file);
}

TEST_F(SwapFileFailures, SecondOpen) {
    expect_failure(
        "second open", [](FileWatch &watch) { watch.create.refuse = opens_swap_file(OPEN_ALWAYS); },
        no_file);
}

TEST_F(SwapFileFailures, Mapping) {
    expect_failure(
        "mapping", [](FileWatch &watch) { watch.mapping.refuse_all(); }, no_file);
}

TEST_F(SwapFileFailures, View) {
    expect_failure(
        "view", [](FileWatch &watch) { watch.view.refuse_all(); }, no_file);
}

// What an ordinary buffer meets when there is no memory for it.
TEST_F(SwapFileFailures, AfterMemoryHasFailed) {
    Calls calls;
    Watch<call::VirtualAlloc> memory{calls};
    memory.refuse_all();
    Watch<call::MapViewOfFile> view{calls};
    view.refuse_all();
    for (uint32_t type : {0u, 2u, 16u}) {
        expect_refused(8, 200, 200, type, no_file);
        expect_refused(8, 100, 100, type, no_file);
    }
    expect_refused(8, 200, 200, BUF32_LINEAR_MEMORY, {1001, 0, 4, 4});
    EXPECT_EQ(calls.count("MapViewOfFile"), 6);
}

// --- registration --------------------------------------------------------------------------------

class Registration : public StorageTest {
protected:
    // The first swap file of the process cannot be registered; the report is the registration's
    // own, and neither the swap file nor a record file stays. The next one succeeds.
    void expect_failure(const std::function<void(FileWatch &)> &prepare, const Failure &report) {
        const Bytes master = frame::read_file(master_file());
        for (int time = 0; time < 2; ++time) {
            FileWatch watch;
            prepare(watch);
            expect_refused(report);
            EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 0u);
            EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
        }
        if (frame::file_exists(master_file())) {
            EXPECT_EQ(frame::read_file(master_file()), master);
        }
        const HBUF32 buffer = swapped(200, 200);
        EXPECT_EQ(word(buffer, field_record_entry), 0u);
        EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 1u);
        free(buffer);
    }
};

TEST_F(Registration, RecordFileWithoutAName) {
    expect_failure(
        [](FileWatch &watch) {
            watch.name.refuse = [](auto, const char *prefix, auto...) {
                return std::string(prefix) == "QTR";
            };
        },
        no_record_file);
}

TEST_F(Registration, RecordFileWithoutADirectory) {
    char &first = frame::comm().temporary_directory[0];
    const char letter = std::exchange(first, '\0');
    expect_refused(no_record_file);
    EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 0u);
    first = letter;
    free(swapped(200, 200));
}

TEST_F(Registration, RecordFileThatCannotBeCreated) {
    expect_failure(
        [](FileWatch &watch) {
            watch.create.refuse = [](const char *path, auto...) { return is_record_file(path); };
        },
        no_record_file);
}

TEST_F(Registration, MasterFileThatCannotBeOpened) {
    expect_failure(
        [](FileWatch &watch) {
            watch.create.refuse = [](const char *path, auto...) { return path == master_file(); };
        },
        no_master_entry);
}

TEST_F(Registration, MasterFileIsTriedFor501Times) {
    FileWatch watch;
    watch.create.refuse = [](const char *path, auto...) { return path == master_file(); };
    expect_refused(no_master_entry);
    const std::string open = "CreateFileA(\"" + master_file() + "\", " +
                             std::to_string(GENERIC_READ | GENERIC_WRITE) + ", " +
                             std::to_string(FILE_SHARE_READ | FILE_SHARE_WRITE) + ", null, " +
                             std::to_string(OPEN_ALWAYS);
    int attempts = 0;
    for (int place = watch.calls.find(open); place != -1;
         place = watch.calls.find(open, place + 1), ++attempts) {
        if (attempts < 500) {
            EXPECT_EQ(watch.calls.find("Sleep(0)", place), place + 1);
        }
    }
    EXPECT_EQ(attempts, 501);
    EXPECT_EQ(watch.calls.count("Sleep"), 500);

    // The last attempt is as good as the first.
    FileWatch second;
    second.create.refuse = [left = 500](const char *path, auto...) mutable {
        return path == master_file() && left-- > 0;
    };
    free(swapped(200, 200));
    EXPECT_EQ(second.calls.count("Sleep"), 500);
}

TEST_F(Registration, NoFreeSlot) {
    stop();
    std::vector<std::string> paths(slot_count);
    for (std::size_t i = 0; i < slot_count; ++i)
        paths[i] = frame::sandbox() + "gone" + std::to_string(i);
    const Bytes full = master_with(paths);
    frame::write_file(master_file(), full);
    start();
    for (int time = 0; time < 2; ++time) {
        expect_refused(no_free_slot);
        EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), 0u);
        EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
        EXPECT_EQ(frame::read_file(master_file()), full);
    }
    // One slot less, and it is found at the very end.
    Bytes room = full;
    std::fill_n(room.begin() + 99 * slot_bytes, 4, 0);
    frame::write_file(master_file(), room);
    const HBUF32 buffer = swapped(200, 200);
    EXPECT_EQ(text_at(frame::read_file(master_file()), 99 * slot_bytes), record_path());
    free(buffer);
    stop();
    EXPECT_EQ(frame::read_file(master_file())[99 * slot_bytes], 0);
}

TEST_F(Registration, NoSlotMap) {
    Calls calls;
    {
        Watch<call::GlobalAlloc> memory{calls};
        memory.refuse = [](UINT, SIZE_T bytes) { return bytes == 1024; };
        expect_refused(no_slot_map);
        EXPECT_EQ(files_beginning(frame::sandbox_family(), "QTR").size(), 0u);
    }
    const auto blocks = calls.of("GlobalAlloc");
    const int place = calls.find("GlobalAlloc(" + std::to_string(GMEM_MOVEABLE | GMEM_ZEROINIT) +
                                 ", 1024) refused");
    EXPECT_NE(place, -1) << calls.text();
    free(swapped(200, 200));
}

// --- every call, one after another ---------------------------------------------------------------

// The n-th call of each function fails, for every n. Either the buffer is made all the same, and
// then it works and goes back whole; or there is a report that the function may have, and nothing
// is left.
class EveryCall : public StorageTest {
protected:
    // Nothing is left, save a record file that was made in time: it stays for the next swap file.
    void expect_as_before(Census before) {
        if (before.files == 0 && !files_beginning(frame::sandbox_family(), "QTR").empty()) {
            ++before.files;
            ++before.files_on_disk;
            ++before.global_blocks; // its slot map
        }
        EXPECT_EQ(Census::now(), before);
    }

    void sweep(const char *function, bool first, const Reports &allowed) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE(std::string(function) + " number " + std::to_string(n) +
                         (first ? ", first swap file" : ", later swap file"));
            const HBUF32 earlier = first ? 0 : swapped(129, 1);
            const Census before = Census::now();
            const size_t mapped = mapped_bytes();
            bool happened = false;
            HBUF32 buffer = 0;
            int result = 0;
            {
                FailingCall failing(function, n);
                result = api().buf32Alloc(&buffer, 24, 200, 200, BUF32_TILED_FILE, nullptr);
                happened = failing.happened();
            }
            const Reports reports = frame::reports();
            frame::forget_reports();
            if (result == 0) {
                EXPECT_TRUE(happened);
                ASSERT_EQ(reports.size(), 1u);
                EXPECT_NE(std::find(allowed.begin(), allowed.end(), reports[0]), allowed.end())
                    << reports[0];
                EXPECT_EQ(buffer, 0u);
                expect_as_before(before);
            } else {
                EXPECT_TRUE(reports.empty());
                EXPECT_EQ(mapped_bytes(), mapped + 120000);
                free(buffer);
            }
            EXPECT_EQ(mapped_bytes(), mapped);
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(files_beginning(frame::sandbox_swap(), "").size(), first ? 0u : 1u);
            free(allocate(24, 200, 200, BUF32_TILED_FILE));
            if (!first)
                free(earlier);
            stop();
            if (HasFailure() || !happened)
                break;
            start();
        }
        start();
    }
};

TEST_F(EveryCall, MayFail) {
    const Failure no_buffer{1001, 0, 4, 9};
    const std::pair<const char *, Reports> functions[] = {
        {"GlobalAlloc", {no_buffer, no_slot_map, no_master_entry, no_free_slot, no_file}},
        {"GlobalLock", {no_buffer, no_slot_map}},
        {"VirtualAlloc", {}},
        {"GetVolumeInformationA", {no_place}},
        {"GetDiskFreeSpaceA", {no_place}},
        {"GetTempFileNameA", {no_file, no_record_file}},
        {"CreateFileA", {no_file, no_record_file}},
        {"SetFilePointer", {no_file, no_record_file, no_master_entry}},
        {"ReadFile", {no_master_entry, no_free_slot}},
        {"WriteFile", {no_file, no_record_file, no_master_entry}},
        {"FlushFileBuffers", {no_record_file, no_master_entry}},
        {"CreateFileMappingA", {no_file}},
        {"MapViewOfFile", {no_file}},
    };
    for (const auto &[function, allowed] : functions) {
        sweep(function, true, allowed);
        sweep(function, false, allowed);
    }
}

// Frees go through whatever the files say: nothing is left, and nothing is counted twice.
TEST_F(EveryCall, OfAFreeMayFail) {
    for (const char *function : {"SetFilePointer", "WriteFile", "FlushFileBuffers"}) {
        SCOPED_TRACE(function);
        const HBUF32 buffer = swapped(200, 200);
        const std::string path = swap_file_of(buffer);
        {
            FailingCall failing(function, 1, FailingCall::from_there_on);
            EXPECT_EQ(api().buf32Free(buffer), 1);
            EXPECT_TRUE(failing.happened());
        }
        frame::forget_reports();
        EXPECT_FALSE(frame::file_exists(path));
        EXPECT_EQ(mapped_bytes(), 0u);
        stop();
        start();
    }
}

} // namespace
} // namespace q32::test

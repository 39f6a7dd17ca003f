// The start of the library: the order of its steps, and what a failing step leaves.
#include "tests/frame/figures.h"
#include "tests/library/library_fixture.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace q32::test {
namespace {

class Start : public LibraryTest {};

constexpr Failure no_master{4010, 0, 9, 1}, no_zeroed_slots{1004, 0, 9, 2},
    no_work_blocks{1004, 0, 9, 8};

// Places in the log, in the order in which they must come.
void expect_order(const Calls &calls, const std::vector<std::pair<const char *, int>> &places) {
    for (std::size_t i = 0; i < places.size(); ++i) {
        EXPECT_NE(places[i].second, -1) << places[i].first << " is missing in\n" << calls.text();
        if (i > 0) {
            EXPECT_LT(places[i - 1].second, places[i].second)
                << places[i - 1].first << " before " << places[i].first << " in\n"
                << calls.text();
        }
    }
}

TEST_F(Start, StepsComeInOrder) {
    load();
    Calls calls;
    Watch<call::CreateICA> context{calls};
    Watch<call::GetDeviceCaps> caps{calls};
    Watch<call::DeleteDC> delete_dc{calls};
    Watch<call::GetTempPathA> temporary_path{calls};
    Watch<call::GetPrivateProfileIntA> settings{calls};
    Watch<call::GetPrivateProfileStringA> setting_texts{calls};
    Watch<call::CreateFileA> create_file{calls};
    Watch<call::InitializeCriticalSection> section{calls};
    CommonWatch name{library(), "GetCPUName", calls};
    CommonWatch mmx{library(), "IsSupportMMX", calls};
    CommonWatch family{library(), "q32GetQuillTempDir", calls};
    start();

    const int master = calls.find("CreateFileA(\"" + master_file());
    const int bits = calls.find("GetDeviceCaps(*, " + std::to_string(BITSPIXEL));
    expect_order(calls, {{"display opened", calls.find("CreateICA(\"DISPLAY\"")},
                         {"colours asked", bits},
                         {"display closed", calls.find("DeleteDC")},
                         {"temporary path", calls.find("GetTempPathA(256")},
                         {"first setting", calls.find("GetPrivateProfile")},
                         {"master file", master},
                         {"lock", calls.find("InitializeCriticalSection", std::max(master, 0))},
                         {"processor's name", calls.find("GetCPUName")},
                         {"wide paths", calls.find("IsSupportMMX")}});
    // Settings are read before the master file is looked at, and never again.
    EXPECT_EQ(calls.find("GetPrivateProfile", std::max(master, 0)), -1) << calls.text();
    EXPECT_LT(calls.find("q32GetQuillTempDir"), master);
    EXPECT_EQ(calls.count("GetCPUName"), 1);
    EXPECT_EQ(calls.count("IsSupportMMX"), 1);
}

TEST_F(Start, DefaultsWithoutASettingsFile) {
    start();
    size_t memory_limit = 1, file_limit = 1;
    uint32_t memory_switch = 1, file_switch = 1;
    BUF32DIRECTORIES block;
    EXPECT_EQ(
        api().buf32VMData(0, &memory_limit, &file_limit, &block, &memory_switch, &file_switch), 1);
    EXPECT_EQ(memory_limit, frame::no_limit);
    EXPECT_EQ(file_limit, frame::no_limit);
    EXPECT_EQ(memory_switch, 0u);
    EXPECT_EQ(file_switch, 0u);
    EXPECT_EQ(block.path[0], frame::sandbox_swap());
    for (int i = 1; i < 4; ++i)
        EXPECT_STREQ(block.path[i], "") << i;
    EXPECT_EQ(std::vector<uint32_t>(block.enabled, block.enabled + 4),
              (std::vector<uint32_t>{1, 0, 0, 0}));
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
}

TEST_F(Start, MakesTheTemporaryDirectoryWhenItIsMissing) {
    const std::string missing = frame::sandbox() + "missing\\";
    RemoveDirectoryA(missing.c_str());
    const Replaced<call::GetTempPathA> elsewhere([&](DWORD size, char *path) {
        EXPECT_EQ(size, 256u);
        std::strcpy(path, missing.c_str());
        return DWORD(missing.size());
    });
    start();
    EXPECT_TRUE(frame::file_exists(missing));
    EXPECT_EQ(directories().path[0], missing);
    const HBUF32 buffer = allocate(8, 200, 200, BUF32_TILED_FILE);
    EXPECT_TRUE(std::string(swap_file_of(buffer)).starts_with(missing));
    free(buffer);
    stop();
    RemoveDirectoryA(missing.c_str());
}

// One byte more than fits, terminator and all.
TEST_F(Start, StandsATemporaryPathThatIsTooLong) {
    const Replaced<call::GetTempPathA> longer([](DWORD size, char *path) {
        path[0] = 'x';
        return size;
    });
    start();
    EXPECT_STREQ(directories().path[0], "");
    EXPECT_EQ(directories().enabled[0], 1u);
}

TEST_F(Start, KeepsAnExistingTemporaryDirectory) {
    frame::write_file(frame::sandbox_swap() + "mine.txt", {1, 2, 3});
    start();
    EXPECT_EQ(frame::read_file(frame::sandbox_swap() + "mine.txt"), (Bytes{1, 2, 3}));
    DeleteFileA((frame::sandbox_swap() + "mine.txt").c_str());
}

// --- physical memory -----------------------------------------------------------------------------

// A memory limit of all bits is the physical memory as it was at the start; on systems that are
// neither NT nor version 4 or later it is 1 MB.
TEST_F(Start, MeasuresThePhysicalMemory) {
    const struct {
        DWORD version;
        bool measured;
    } systems[] = {{0x0000000A, true}, {0x1DB10106, true},  {0x04210303, true}, {0xC0000004, true},
                   {0xC0000A04, true}, {0x80000A03, false}, {0xC0000A03, false}};
    for (const auto &system : systems) {
        SCOPED_TRACE(system.version);
        {
            const Replaced<call::GetVersion> version([&] { return system.version; });
            const Replaced<call::GlobalMemoryStatus> memory([](MEMORYSTATUS *status) {
                GlobalMemoryStatus(status);
                status->dwTotalPhys = 3000000;
            });
            const Replaced<call::GlobalMemoryStatusEx> wide_memory([](MEMORYSTATUSEX *status) {
                const BOOL result = GlobalMemoryStatusEx(status);
                status->ullTotalPhys = 3000000;
                return result;
            });
            start();
        }
        set_memory_limit(1, frame::no_limit);
        allocate(8, 1000, 1000, BUF32_TILED);
        const HBUF32 second = allocate(8, 1000, 1000, BUF32_TILED);
        EXPECT_EQ(word(second, field_file) == 0, system.measured);
        if (system.measured) {
            EXPECT_NE(word(allocate(8, 1000, 1000, BUF32_TILED), field_file), 0u); // exactly all
            EXPECT_EQ(word(allocate(8, 1000, 999, BUF32_TILED), field_file), 0u);
        } else {
            EXPECT_EQ(word(allocate(8, 1000, 48, BUF32_TILED), field_file), 0u);
            EXPECT_NE(word(allocate(8, 1000, 1, BUF32_TILED), field_file), 0u);
        }
        stop();
    }
}

// --- failing steps -------------------------------------------------------------------------------

// A master file that cannot be made fails the start: nothing after it happens, and what had been
// set up goes back (try_start counts).
TEST_F(Start, WithoutAMasterFileFails) {
    load();
    Calls calls;
    Watch<call::CreateFileA> create_file{calls};
    create_file.refuse_all();
    Watch<call::InitializeCriticalSection> section{calls};
    std::optional<CommonWatch> name{std::in_place, library(), "GetCPUName", calls};
    std::optional<CommonWatch> mmx{std::in_place, library(), "IsSupportMMX", calls};
    const int sections = calls.count("InitializeCriticalSection");
    EXPECT_FALSE(library().attach());
    expect_reports({no_master});
    EXPECT_EQ(calls.count("InitializeCriticalSection"), sections);
    EXPECT_EQ(calls.count("GetCPUName"), 0);
    EXPECT_EQ(calls.count("IsSupportMMX"), 0);
    expect_nothing_left();
}

// The system stops a library at once whose start it was that failed.
TEST_F(Start, MayBeStoppedAfterItHasFailed) {
    load();
    {
        FailingCall failing("CreateFileA", 1, FailingCall::from_there_on);
        EXPECT_FALSE(library().attach());
        library().detach();
    }
    expect_reports({no_master});
    expect_nothing_left();
    {
        const Replaced<call::GetDeviceCaps> sixteen(
            [](HDC, int index) { return index == BITSPIXEL ? 4 : 1; });
        EXPECT_FALSE(library().attach());
        library().detach();
    }
    frame::forget_reports();
    expect_nothing_left();
    start();
}

// Lets the n-th call of a function fail in a start of its own, for every n, with and without a
// master file. A start either succeeds, or fails and leaves nothing; each failure is reported as
// allowed. Returns the reports that were seen.
class FailingStart : public Start {
protected:
    Reports sweep(const char *function, bool with_master, const Reports &allowed) {
        Reports seen;
        for (int n = 1;; ++n) {
            SCOPED_TRACE(std::string(function) + " number " + std::to_string(n) +
                         (with_master ? " with" : " without") + " a master file");
            DeleteFileA(master_file().c_str());
            if (with_master)
                frame::write_file(master_file(), master_with({frame::sandbox() + "nobody"}));
            bool happened = false;
            {
                FailingCall failing(function, n);
                const bool started = try_start();
                happened = failing.happened();
                EXPECT_TRUE(started || happened);
                for (const Failure &report : frame::reports()) {
                    EXPECT_NE(std::find(allowed.begin(), allowed.end(), report), allowed.end())
                        << report;
                    seen.push_back(report);
                }
                if (started)
                    stop();
            }
            frame::forget_reports();
            if (!happened || HasFailure() || n > 500)
                break;
            // The next start finds whatever the failed one left of the master file, and repairs it.
            start();
            stop();
            EXPECT_EQ(frame::read_file(master_file()).size(), master_bytes);
        }
        return seen;
    }
};

TEST_F(FailingStart, MemoryThatCannotBeHad) {
    EXPECT_EQ(sweep("GlobalAlloc", false, {no_zeroed_slots}), (Reports{no_zeroed_slots}));
    const Reports valid = sweep("GlobalAlloc", true, {no_work_blocks});
    EXPECT_FALSE(valid.empty());
    sweep("GlobalLock", false, {no_zeroed_slots});
    sweep("GlobalLock", true, {no_work_blocks});
    sweep("VirtualAlloc", true, {});
}

TEST_F(FailingStart, FilesThatFail) {
    const Failure not_reopened{4010, 0, 9, 9};
    for (const char *function :
         {"ReadFile", "WriteFile", "SetFilePointer", "FlushFileBuffers", "DeleteFileA"})
        for (bool with_master : {false, true})
            sweep(function, with_master, {no_master, not_reopened});
    // One attempt to open fails, and the next succeeds.
    EXPECT_EQ(sweep("CreateFileA", true, {}), Reports{});
}

TEST_F(FailingStart, DirectoriesAndSettingsThatFail) {
    for (const char *function :
         {"GetTempPathA", "CreateDirectoryA", "GetWindowsDirectoryA", "GetCurrentDirectoryA",
          "SetCurrentDirectoryA", "GetPrivateProfileStringA", "WritePrivateProfileStringA"})
        sweep(function, true, {});
}

TEST_F(FailingStart, DisplayThatFails) {
    for (const char *function :
         {"CreateICA", "CreateDCA", "CreateCompatibleDC", "CreatePalette", "GetDeviceCaps"})
        sweep(function, true, {});
}

// No texts, no directory, no processor's name: a common library that knows nothing must not crash
// the start.
TEST_F(Start, StandsAnEmptyCommonLibrary) {
    for (int id : {4700, 4701, 10000, 10001, 10003, 10006, 10007, 10008, 10009, 12002, 12003, 12004,
                   12005, 12010, 12011})
        frame::remove_text(id);
    frame::comm().processor_name[0] = 0;
    if (try_start())
        stop();
    frame::forget_reports();
}

TEST_F(Start, StandsAFamilyDirectoryThatCannotBeHad) {
    frame::comm().temporary_directory[0] = 0;
    if (try_start())
        stop();
    frame::forget_reports();
}

// --- again and again -----------------------------------------------------------------------------

TEST_F(Start, FiftyTimesOverLeavesNothing) {
    DWORD handles_before = 0, handles_after = 0;
    for (int round = 0; round <= 50; ++round) {
        start();
        if (round % 2 == 0)
            free(allocate(24, 300, 200, BUF32_TILED_FILE));
        stop();
        if (round == 0)
            GetProcessHandleCount(GetCurrentProcess(), &handles_before);
    }
    GetProcessHandleCount(GetCurrentProcess(), &handles_after);
    EXPECT_EQ(handles_after, handles_before);
}

// The system maps the image, finds what it imports, and starts it.
TEST_F(Start, UnderTheSystemsLoader) {
    std::vector<double> milliseconds;
    for (int round = 0; round < 11; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        const HMODULE module = LoadLibraryA(frame::library_path().c_str());
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - begin;
        milliseconds.push_back(time.count());
        ASSERT_NE(module, nullptr);
        EXPECT_TRUE(FreeLibrary(module));
    }
    EXPECT_EQ(GetModuleHandleA("Q32BASE.DLL"), nullptr);
    std::sort(milliseconds.begin(), milliseconds.end());
    figures::value("start time", milliseconds[milliseconds.size() / 2], "ms");
}

// The system tells of threads, too.
TEST_F(Start, ThreadsThatComeAndGoChangeNothing) {
    start();
    const HBUF32 buffer = allocate(24, 300, 200, BUF32_TILED);
    const auto base = reinterpret_cast<std::uintptr_t>(library().module());
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
    const auto *headers =
        reinterpret_cast<const IMAGE_NT_HEADERS *>(base + std::uintptr_t(dos->e_lfanew));
    const auto entry = reinterpret_cast<BOOL(WINAPI *)(HMODULE, DWORD, void *)>(
        base + headers->OptionalHeader.AddressOfEntryPoint);
    EXPECT_TRUE(entry(library().module(), DLL_THREAD_ATTACH, nullptr));
    EXPECT_TRUE(entry(library().module(), DLL_THREAD_DETACH, nullptr));
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    free(buffer);
}

// The same image started again, as after FreeLibrary calls that do not unload it.
TEST_F(Start, TwiceWithoutUnloading) {
    load();
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(library().attach());
        expect_no_report();
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(mapped_bytes(), 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 0);
        EXPECT_EQ(directories().path[0], frame::sandbox_swap());
        allocate(24, 300, 200, BUF32_TILED_FILE); // left to the stop
        library().detach();
        expect_nothing_left();
    }
}

} // namespace
} // namespace q32::test

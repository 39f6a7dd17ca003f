// Processes that are killed at any moment, and processes that meet at the books of swap files. How
// often is Q32BASE_TEST_KILLS, or a few times; what was left is printed.
#include "tests/frame/figures.h"
#include "tests/frame/random.h"
#include "tests/storage/other_process.h"
#include "tests/storage/storage_fixture.h"

#include <cstdio>
#include <memory>
#include <set>

namespace q32::test {
namespace {

int times() {
    return int(environment_number("Q32BASE_TEST_KILLS", 20));
}

class Books : public LibraryTest {
protected:
    // The record files that slots name; none where somebody died at making the file.
    static std::vector<std::string> used_slots() {
        Bytes master = frame::read_file(master_file());
        master.resize(master_bytes);
        std::vector<std::string> names;
        for (std::size_t slot = 0; slot < slot_count; ++slot)
            if (std::string name = text_at(master, slot * slot_bytes); !name.empty())
                names.push_back(name);
        return names;
    }

    static std::size_t swap_files() { return files_beginning(frame::sandbox_swap(), "~QT").size(); }
    static std::size_t record_files() {
        return files_beginning(frame::sandbox_family(), "QTR").size();
    }
};

// --- deaths --------------------------------------------------------------------------------------

class Deaths : public Books, public testing::WithParamInterface<const char *> {
protected:
    static std::vector<std::string> files_of_the_books() {
        std::vector<std::string> files = frame::files_below(frame::sandbox());
        std::erase_if(files, [](const std::string &path) {
            return !is_swap_file(path) && !is_record_file(path);
        });
        return files;
    }

    // What users have for what is left. The exit code of q32tool, which looks where the dead kept
    // their files.
    static DWORD remove_leftovers() {
        SetEnvironmentVariableA("Q32COMM_TEMPDIR", frame::sandbox_family().c_str());
        char own[MAX_PATH];
        GetModuleFileNameA(nullptr, own, sizeof own);
        const std::string path = own;
        std::string command = '"' + path.substr(0, path.find_last_of('\\') + 1) +
                              "..\\..\\bin\\q32tool.exe\" leftovers --remove --older 0";
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process = {};
        EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &process))
            << command;
        EXPECT_EQ(WaitForSingleObject(process.hProcess, 60000), DWORD(WAIT_OBJECT_0));
        DWORD code = 1;
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
        return code;
    }
};

const char *figure_of(const std::string &manner) {
    return manner == "busy"     ? "kills, busy loop"
           : manner == "paused" ? "kills, pauses"
                                : "kills, starts and stops";
}

// A death inside the making of a file may leave that file, and nothing else: no slot, and no file
// that was ever in use.
TEST_P(Deaths, LeaveNoSlot) {
    const std::string manner = GetParam();
    Random random(test_seed(), manner.size());
    for (int kill = 0; kill < times(); ++kill) {
        OtherProcess process(manner + ' ' + std::to_string(random.below(1000000)));
        ASSERT_EQ(process.read_line(), "running");
        Sleep(DWORD(random.below(40)));
        process.kill();
        ASSERT_LE(used_slots().size(), 1u) << "after " << kill + 1 << " deaths";
    }
    start();
    library().detach();
    std::printf("%s, seed %llu: %d deaths left %zu slots, %zu swap files, %zu record files\n",
                manner.c_str(), static_cast<unsigned long long>(test_seed()), times(),
                used_slots().size(), swap_files(), record_files());
    figures::count(figure_of(manner), std::uint64_t(times()));
    figures::count("slots left", used_slots().size());
    figures::count("swap files left", swap_files());
    figures::count("record files left", record_files());
    EXPECT_EQ(used_slots().size(), 0u);
    EXPECT_EQ(remove_leftovers(), 0u);
    const std::vector<std::string> kept = files_of_the_books();
    std::printf("%s: %zu files after q32tool leftovers --remove\n", manner.c_str(), kept.size());
    EXPECT_EQ(kept, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Of, Deaths, testing::Values("busy", "paused", "restarting"),
                         [](const auto &manner) { return std::string(manner.param); });

// --- meetings ------------------------------------------------------------------------------------

class Meetings : public Books {};

// Processes that make their first swap file at the same instant take a slot each.
TEST_F(Meetings, ShareNoSlot) {
    constexpr std::size_t count = 4;
    std::unique_ptr<OtherProcess> processes[count];
    for (auto &process : processes)
        process = std::make_unique<OtherProcess>("obey");
    for (int round = 0; round < times(); ++round) {
        SCOPED_TRACE(round);
        const std::string name =
            "q32 go " + std::to_string(GetCurrentProcessId()) + '_' + std::to_string(round);
        const HANDLE go = CreateEventA(nullptr, TRUE, FALSE, name.c_str());
        for (auto &process : processes)
            ASSERT_EQ(process->ask("load"), "loaded");
        for (auto &process : processes)
            process->write_line("first " + name);
        Sleep(5); // until all wait
        SetEvent(go);
        std::set<std::string> files;
        for (auto &process : processes)
            files.insert(process->read_line());
        CloseHandle(go);
        EXPECT_EQ(files.size(), count);
        EXPECT_EQ(swap_files(), count);
        EXPECT_EQ(record_files(), count);
        const auto slots = used_slots();
        EXPECT_EQ(std::set<std::string>(slots.begin(), slots.end()).size(), count);
        for (auto &process : processes)
            ASSERT_EQ(process->ask("unload"), "unloaded");
        ASSERT_EQ(used_slots().size() + swap_files() + record_files(), 0u);
    }
    for (auto &process : processes)
        EXPECT_EQ(process->end(), 0u);
}

// Another program holds the master file for a moment while a process starts: whether that start is
// refused or not, the living keep their slots.
TEST_F(Meetings, AHeldMasterFileCostsNobodyASlot) {
    OtherProcess living("hold 1"), starting("obey");
    while (living.read_line() != "ready") {
    }
    const auto slots = used_slots();
    ASSERT_EQ(slots.size(), 1u);
    Random random(test_seed(), 1);
    int refused = 0;
    for (int round = 0; round < times(); ++round) {
        const HANDLE held = CreateFileA(master_file().c_str(), GENERIC_READ, 0, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        starting.write_line("load");
        Sleep(DWORD(20 + random.below(280)));
        CloseHandle(held);
        refused += starting.read_line() == "refused";
        ASSERT_EQ(starting.ask("unload"), "unloaded");
        ASSERT_EQ(used_slots(), slots) << round;
    }
    std::printf("held %d times, %d starts refused\n", times(), refused);
    EXPECT_EQ(living.end(), 0u);
    EXPECT_EQ(starting.end(), 0u);
}

} // namespace
} // namespace q32::test

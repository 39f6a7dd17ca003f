// Figures reach their file whole, whichever way the file is named and however the tests end.
#include "tests/frame/figures.h"

#include "tests/frame/calls.h"
#include "tests/frame/comm.h"
#include "tests/frame/counted.h"
#include "tests/frame/library.h"
#include "tests/frame/misaligned.h"
#include "tests/frame/sandbox.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace q32::frame {
namespace {

// What another process of this program measures, which runs this test alone. It fails.
constexpr char alone[] = "Q32BASE_TEST_FIGURES_ALONE";

class OfAnotherProcess : public testing::Test {
    void TestBody() override {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([] {
                for (int j = 0; j < 1000; ++j)
                    figures::count("pieces of work");
            });
        for (std::thread &thread : threads)
            thread.join();
        figures::count("pieces of work", 10'000'000'000);
        figures::value("start time", 1, "s");
        figures::value("start time", 2.25, "ms");
        figures::at_the_end([] { figures::count("told at the end"); });
        use_library();
        FAIL();
    }

    // Calls and reports are told without the tests' doing, whether they look at them or not.
    static void use_library() {
        HBUF32 buffer = 0;
        for (int i = 0; i < 3; ++i)
            api().buf32Alloc(&buffer, 24, 32001, 1, 0, nullptr);
        reset_comm();
        const FailingCall no_memory("GlobalAlloc", 1);
        api().buf32Alloc(&buffer, 24, 1, 1, 0, nullptr);
        api().mem32Fill(nullptr, nullptr, 1, 1);
    }
};

[[maybe_unused]] const bool is_alone =
    std::getenv(alone) != nullptr &&
    testing::RegisterTest("Figures", "OfAnotherProcess", nullptr, nullptr, __FILE__, __LINE__,
                          [] { return new OfAnotherProcess; });

constexpr char its_figures[] = "count\tcalls of buf32Alloc\t4\n"
                               "count\tcalls of mem32Fill\t1\n"
                               "count\tpieces of work\t10000004000\n"
                               "count\ttests\t1\n"
                               "count\ttold at the end\t1\n"
                               "value\tstart time\t2.25\tms\n"
                               "report\t1001\t0\t4\t9\n"
                               "report\t3200\t0\t7\t4\n"
                               "report\t5402\t0\t4\t71\n";

// A variable of the environment, for the time of its own life; without a value there is none.
class Environment {
public:
    Environment(const char *name, const char *value) : name_(name) {
        GetEnvironmentVariableA(name, before_, sizeof before_);
        SetEnvironmentVariableA(name, value);
    }
    ~Environment() { SetEnvironmentVariableA(name_, *before_ ? before_ : nullptr); }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    const char *name_;
    char before_[MAX_PATH] = "";
};

// Whether it came to its end, and failed.
bool run_another_process(const std::string &file) {
    const Environment its_test(alone, "yes"), its_file("Q32BASE_TEST_FIGURES", file.c_str()),
        no_heap("Q32BASE_TEST_HEAP", nullptr), no_stack("Q32BASE_TEST_STACK", nullptr);
    char own[MAX_PATH];
    GetModuleFileNameA(nullptr, own, sizeof own);
    std::string command =
        '"' + std::string(own) + "\" --gtest_brief=1 --gtest_filter=Figures.OfAnotherProcess";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES; // none: its failure is not one of ours
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &process));
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    return code == 1;
}

std::string text_of_file(const std::string &path) {
    const auto bytes = read_file(path);
    return {bytes.begin(), bytes.end()};
}

TEST(Figures, AreAddedToTheFile) {
    const std::string file = make_folder("a folder") + "all figures.txt";
    const std::string line = "what was there\n";
    write_file(file, {line.begin(), line.end()});
    EXPECT_TRUE(run_another_process(file));
    EXPECT_TRUE(run_another_process(file));
    EXPECT_EQ(text_of_file(file), line + its_figures + its_figures);
}

TEST(Figures, FindTheFileThatTheShellNames) {
    const std::string file = "/tmp/figures of " + std::to_string(GetCurrentProcessId());
    EXPECT_TRUE(run_another_process(file));
    EXPECT_EQ(text_of_file("Z:" + file), its_figures);
    EXPECT_TRUE(DeleteFileA(("Z:" + file).c_str()));
}

TEST(Figures, AreNotKeptWithoutAFile) {
    SetCurrentDirectoryA(make_folder("empty").c_str());
    EXPECT_TRUE(run_another_process(""));
    EXPECT_TRUE(files_below(sandbox() + "empty").empty());
}

#ifndef _WIN64
// Not inlined, so that the stack is the caller's.
[[gnu::noinline]] std::uintptr_t place_of_argument(int number) {
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return number == 11 ? frame + 8 : 0; // behind the frame pointer and the return address
}

TEST(CountedCalls, HaveTheStackWhereTheCallerHasIt) {
    struct Name;
    using CountedPlace = Counted<Name, decltype(&place_of_argument)>;
    CountedPlace::function = place_of_argument;
    for (const std::uint32_t remainder : {0u, 4u, 8u, 12u})
        EXPECT_EQ(call_at(remainder, &CountedPlace::call, 11) % 16, remainder);
    EXPECT_EQ(CountedPlace::calls, 4u);
}
#endif

} // namespace
} // namespace q32::frame

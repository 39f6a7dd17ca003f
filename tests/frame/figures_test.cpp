// Figures reach their file whole, whichever way the file is named and however the tests end.
#include "tests/frame/figures.h"

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
        for (int i = 0; i < 2; ++i)
            figures::report(1001, 0, 4, 9);
        figures::at_the_end([] { figures::count("told at the end"); });
        FAIL();
    }
};

[[maybe_unused]] const bool is_alone =
    std::getenv(alone) != nullptr &&
    testing::RegisterTest("Figures", "OfAnotherProcess", nullptr, nullptr, __FILE__, __LINE__,
                          [] { return new OfAnotherProcess; });

constexpr char its_figures[] = "count\tpieces of work\t10000004000\n"
                               "count\ttests\t1\n"
                               "count\ttold at the end\t1\n"
                               "value\tstart time\t2.25\tms\n"
                               "report\t1001\t0\t4\t9\n";

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

} // namespace
} // namespace q32::frame

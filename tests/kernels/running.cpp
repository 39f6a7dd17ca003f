// The last words of a program that crashes.
#include "tests/kernels/running.h"

#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <cstdio>

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>
#endif

namespace q32::test {
namespace {

std::function<std::string()> running; // empty: nothing

void say_what_crashed() {
    if (!running)
        return;
    std::fprintf(stderr, "\ncrash in %s; %s\n", running().c_str(),
                 running_case == no_case ? "no random case" : rerun(running_case).c_str());
    std::fflush(stderr);
}

#if defined(_WIN32)
LPTOP_LEVEL_EXCEPTION_FILTER next_filter = nullptr;

LONG WINAPI crashed(EXCEPTION_POINTERS *pointers) {
    say_what_crashed();
    return next_filter ? next_filter(pointers) : EXCEPTION_CONTINUE_SEARCH;
}
#else
void crashed(int) {
    say_what_crashed();
    std::_Exit(3);
}
#endif

class Announcer : public testing::Environment {
public:
    void SetUp() override {
        std::printf("seed of the random cases: %llu\n",
                    static_cast<unsigned long long>(test_seed()));
#if defined(_WIN32)
        next_filter = SetUnhandledExceptionFilter(crashed);
#else
        std::signal(SIGSEGV, crashed);
        std::signal(SIGBUS, crashed);
        std::signal(SIGILL, crashed);
#endif
    }
};
[[maybe_unused]] testing::Environment *const announcer =
    testing::AddGlobalTestEnvironment(new Announcer);

} // namespace

Running::Running(std::function<std::string()> what) {
    running = std::move(what);
}

Running::~Running() {
    running = nullptr;
}

} // namespace q32::test

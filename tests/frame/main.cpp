// Entry point of the test programs: GoogleTest's, a crash that says where it was instead of asking
// somebody who is not there, the figures of the program, and a mark behind everything, which a
// program that was cut short lacks.
#include "tests/frame/figures.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

LONG WINAPI say_where(EXCEPTION_POINTERS *pointers) {
    const EXCEPTION_RECORD &record = *pointers->ExceptionRecord;
    char module[MAX_PATH] = "?";
    HMODULE handle = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCSTR>(record.ExceptionAddress), &handle);
    GetModuleFileNameA(handle, module, sizeof module);
    std::printf("crash: exception %08lX at %p (%s + %lX)", record.ExceptionCode,
                record.ExceptionAddress, module,
                static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(record.ExceptionAddress) -
                                   reinterpret_cast<ULONG_PTR>(handle)));
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION)
        std::printf(", %s %p", record.ExceptionInformation[0] == 0 ? "reading" : "writing",
                    reinterpret_cast<void *>(record.ExceptionInformation[1]));
    const auto *const test = testing::UnitTest::GetInstance()->current_test_info();
    std::printf(", in %s.%s\n", test ? test->test_suite_name() : "no test",
                test ? test->name() : "");
    if (q32::test::running_case != q32::test::no_case)
        std::printf("%s\n", q32::test::rerun(q32::test::running_case).c_str());
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

char end_mark[MAX_PATH];

void mark_the_end() {
    CloseHandle(CreateFileA(end_mark, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

// Registered before all else, and so called behind all else. Programs that tests start inherit the
// environment, and their end is not ours.
void promise_an_end() {
    if (GetEnvironmentVariableA("Q32BASE_TEST_END", end_mark, sizeof end_mark) == 0)
        return;
    SetEnvironmentVariableA("Q32BASE_TEST_END", nullptr);
    std::atexit(mark_the_end);
}

} // namespace
#endif

namespace {

void count_tests() {
    const auto &all = *testing::UnitTest::GetInstance();
    const auto run = std::uint64_t(all.successful_test_count() + all.failed_test_count());
    q32::figures::count("tests", run);
    if (std::getenv("Q32BASE_TEST_HEAP"))
        q32::figures::count("tests between fences", run);
    if (std::getenv("Q32BASE_TEST_STACK"))
        q32::figures::count("tests on a turning stack", run);
}

} // namespace

int main(int argc, char **argv) {
#if defined(_WIN32)
    promise_an_end();
    SetUnhandledExceptionFilter(say_where);
#endif
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    count_tests();
    q32::figures::write();
    return result;
}

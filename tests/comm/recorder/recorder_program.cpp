// A program of the family, for the flight recorder to watch: recorder_program DLL DOING [NUMBER...]
#include <q32comm.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

HMODULE library = nullptr;
decltype(&c32SetDLLErrInfo) report = nullptr;

void load(const char *path) {
    library = LoadLibraryA(path);
    report = library == nullptr ? nullptr
                                : reinterpret_cast<decltype(report)>(reinterpret_cast<void *>(
                                      GetProcAddress(library, "c32SetDLLErrInfo")));
    if (report == nullptr) {
        std::fprintf(stderr, "cannot load %s\n", path);
        std::exit(100);
    }
}

int number(char **arguments, int which) {
    return std::atoi(arguments[which]);
}

// Thread t makes its reports with message t and points 1, 2 and so on.
void report_from_threads(int reports, int threads) {
    std::vector<std::thread> all;
    for (int t = 0; t < threads; ++t)
        all.emplace_back([=] {
            for (int i = 1; i <= reports / threads; ++i)
                report(nullptr, t, 0, 1450, 1, i);
        });
    for (std::thread &thread : all)
        thread.join();
}

// What a report takes, in nanoseconds: of many rounds the quickest, which nobody has disturbed.
void measure() {
    constexpr int rounds = 200, reports = 2000;
    LARGE_INTEGER frequency, begin, end;
    QueryPerformanceFrequency(&frequency);
    double quickest = 1e9;
    for (int round = 0; round < rounds; ++round) {
        QueryPerformanceCounter(&begin);
        for (int i = 0; i < reports; ++i)
            report(nullptr, 1001, 0, 1450, 4, 3);
        QueryPerformanceCounter(&end);
        const double seconds = double(end.QuadPart - begin.QuadPart) / double(frequency.QuadPart);
        quickest = std::min(quickest, seconds / reports * 1e9);
    }
    std::printf("%.0f\n", quickest);
}

volatile int *const nowhere = nullptr;

volatile int deepest = 1 << 30;

__attribute__((noinline)) int overflow(int depth) {
    volatile char room[1000];
    room[0] = char(depth);
    return depth == deepest ? 0 : overflow(depth + 1) + room[0];
}

// Without one the system starts its debugger.
LONG WINAPI silent_filter(EXCEPTION_POINTERS *) {
    return EXCEPTION_EXECUTE_HANDLER;
}

LONG WINAPI crashing_filter(EXCEPTION_POINTERS *) {
    return *nowhere;
}

LONG WINAPI exiting_filter(EXCEPTION_POINTERS *) {
    ExitProcess(77);
}

void write_to_nowhere(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
    SetUnhandledExceptionFilter(filter);
    *nowhere = 1;
}

// So many bytes are left to those who handle it.
void overflow_stack(ULONG bytes_left) {
    SetUnhandledExceptionFilter(silent_filter);
    SetThreadStackGuarantee(&bytes_left);
    overflow(0);
}

void load_again(const char *path) {
    FreeLibrary(library);
    load(path);
    report(nullptr, 2, 0, 1450, 1, 1);
}

bool do_it(const std::string &doing, char **arguments) {
    if (doing == "report")
        report_from_threads(number(arguments, 3), number(arguments, 4));
    else if (doing == "text")
        report(std::string(size_t(number(arguments, 3)), 'x').c_str(), 1, 2, 3, 4, 5);
    else if (doing == "real")
        report(nullptr, 1001, 0, 1450, 4, 3);
    else if (doing == "cost")
        measure();
    else if (doing == "bad pointer") // meets an exception, and deals with it
        IsBadReadPtr(reinterpret_cast<void *>(0x1000), 4);
    else if (doing == "access violation")
        write_to_nowhere(silent_filter);
    else if (doing == "own filter")
        write_to_nowhere(exiting_filter);
    else if (doing == "crashing filter")
        write_to_nowhere(crashing_filter);
    else if (doing == "stack overflow")
        overflow_stack(ULONG(number(arguments, 3)));
    else if (doing == "abort")
        std::abort();
    else if (doing == "kill")
        TerminateProcess(GetCurrentProcess(), 9);
    else if (doing == "load again")
        load_again(arguments[1]);
    else if (doing == "hold") {
        std::puts("held");
        std::fflush(stdout);
        std::getchar();
    } else
        return false;
    return true;
}

} // namespace

int main(int count, char **arguments) {
    if (count < 3)
        return 101;
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); // nobody is there to see a box
    load(arguments[1]);
    report("the first", 1, 0, 1450, 1, 0);
    return do_it(arguments[2], arguments) ? 0 : 102;
}

// Console events only set a flag that the loops poll, so that buffers, swap files and unfinished
// output are released by their owners. A fault has no owner to return to: it is cleaned up here.
#include "interrupt.h"

#include "failure.h"
#include "progress.h"
#include "text.h"

#include <windows.h>

#include <atomic>
#include <cstdio>

namespace q32tool {
namespace {

std::atomic<bool> cancel_requested = false;
std::wstring unfinished_file;

BOOL WINAPI on_console_event(DWORD event) {
    cancel_requested = true;
    // The process is ended when this returns from a close event: give the loops time to finish.
    if (event == CTRL_CLOSE_EVENT)
        Sleep(5000);
    return TRUE;
}

// Without a console, Wine hands SIGINT to the main thread as an exception.
LONG CALLBACK on_exception(EXCEPTION_POINTERS *fault) {
    if (fault->ExceptionRecord->ExceptionCode != static_cast<DWORD>(STATUS_CONTROL_C_EXIT))
        return EXCEPTION_CONTINUE_SEARCH;
    cancel_requested = true;
    return EXCEPTION_CONTINUE_EXECUTION;
}

// Mapped swap files turn a full disk into a fault at the touching instruction. Leaving through
// ExitProcess lets the library remove its swap files as it is unloaded.
LONG WINAPI on_unhandled_fault(EXCEPTION_POINTERS *fault) {
    clear_progress();
    char line[200];
    std::snprintf(line, sizeof line,
                  "q32tool: memory or a swap file could not be reached (fault %08lx at %p); is the "
                  "swap directory's disk full?\n",
                  fault->ExceptionRecord->ExceptionCode, fault->ExceptionRecord->ExceptionAddress);
    print_error(line);
    if (!unfinished_file.empty())
        DeleteFileW(unfinished_file.c_str());
    ExitProcess(exit_failure);
}

} // namespace

void watch_for_interrupts() {
    SetConsoleCtrlHandler(on_console_event, TRUE);
    AddVectoredExceptionHandler(0, on_exception);
    SetUnhandledExceptionFilter(on_unhandled_fault);
}

void stop_if_cancelled() {
    if (cancel_requested)
        throw Cancelled();
}

void set_unfinished_file(const std::wstring &path) {
    unfinished_file = path;
}

} // namespace q32tool

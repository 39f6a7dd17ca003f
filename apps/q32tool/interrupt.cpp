// Console events and the Esc key only set a flag that the loops poll, so that buffers, swap files
// and unfinished output are released by their owners. A fault has no owner to return to: it is
// cleaned up here.
#include "interrupt.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/pictures/unfinished_file.h"
#include "picture_pipes.h"
#include "progress.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>

namespace apps::q32tool {
namespace {

std::atomic<bool> cancel_requested = false;
bool has_keyboard = false; // a console is standard input

BOOL WINAPI on_console_event(DWORD event) {
    cancel_requested = true;
    // The process is ended when this returns from a close event: give the loops time to finish.
    if (event == CTRL_CLOSE_EVENT)
        Sleep(5000);
    return TRUE;
}

// Whether Esc waits in the console's input, however long ago it was typed. It is taken out with all
// that was typed before it. Without it nothing is taken: that is for whoever reads the input.
bool was_escape_typed() {
    // Nothing is asked of a pipe: the call would wait as long as another thread reads from it.
    if (!has_keyboard)
        return false;
    HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    static INPUT_RECORD records[2048]; // each key is two, and the mouse makes them, too
    DWORD count = 0;
    if (!PeekConsoleInputW(input, records, static_cast<DWORD>(std::size(records)), &count))
        return false;
    const auto is_escape = [](const INPUT_RECORD &record) {
        return record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown &&
               record.Event.KeyEvent.wVirtualKeyCode == VK_ESCAPE;
    };
    const INPUT_RECORD *found = std::find_if(records, records + count, is_escape);
    if (found == records + count)
        return false;
    ReadConsoleInputW(input, records, static_cast<DWORD>(found - records) + 1, &count);
    return true;
}

// Loops may ask for every row; the console, which is another process, is asked twenty times a
// second at most.
bool is_escape_due() {
    constexpr DWORD interval = 50; // milliseconds
    static DWORD last_look = 0;
    const DWORD now = GetTickCount();
    if (now - last_look < interval)
        return false;
    last_look = now;
    return was_escape_typed();
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
    change_printed({});
    print_error(line);
    remove_unfinished_file();
    remove_piped_files();
    ExitProcess(exit_failure);
}

} // namespace

void watch_for_interrupts() {
    DWORD events = 0;
    has_keyboard = GetNumberOfConsoleInputEvents(GetStdHandle(STD_INPUT_HANDLE), &events) != 0;
    SetConsoleCtrlHandler(on_console_event, TRUE);
    AddVectoredExceptionHandler(0, on_exception);
    SetUnhandledExceptionFilter(on_unhandled_fault);
}

void request_cancel() {
    cancel_requested = true;
}

bool is_cancelled() {
    if (!cancel_requested && is_escape_due())
        cancel_requested = true;
    return cancel_requested;
}

void stop_if_cancelled() {
    if (is_cancelled())
        throw Cancelled();
}

} // namespace apps::q32tool

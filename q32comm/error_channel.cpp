// The last report of each thread. A slot of thread-local storage points at a block of the thread's
// own, made at its first report and freed when the thread or the library ends.
#include "q32comm/copy_text.h"

#include <q32comm.h>
#include <windows.h>

namespace {

// The blocks of all threads, so that unloading the library frees those of threads that live on.
struct ThreadReport {
    C32ERRINFO info;
    bool present;
    ThreadReport *previous;
    ThreadReport *next;
};

DWORD slot = TLS_OUT_OF_INDEXES;
CRITICAL_SECTION list_lock;
ThreadReport *head = nullptr;

ThreadReport *own_report() {
    // Reading a slot clears the system's last error, which a reporter's caller may still want.
    const DWORD last_error = GetLastError();
    auto *const report = static_cast<ThreadReport *>(TlsGetValue(slot));
    SetLastError(last_error);
    return report;
}

ThreadReport *make_own_report() {
    auto *const report = static_cast<ThreadReport *>(
        HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(ThreadReport)));
    if (report == nullptr)
        return nullptr;
    if (!TlsSetValue(slot, report)) {
        HeapFree(GetProcessHeap(), 0, report);
        return nullptr;
    }
    EnterCriticalSection(&list_lock);
    report->next = head;
    if (head != nullptr)
        head->previous = report;
    head = report;
    LeaveCriticalSection(&list_lock);
    return report;
}

void free_report(ThreadReport *report) {
    EnterCriticalSection(&list_lock);
    (report->previous != nullptr ? report->previous->next : head) = report->next;
    if (report->next != nullptr)
        report->next->previous = report->previous;
    LeaveCriticalSection(&list_lock);
    HeapFree(GetProcessHeap(), 0, report);
}

bool start() {
    slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES)
        return false;
    InitializeCriticalSection(&list_lock);
    return true;
}

void stop() {
    while (head != nullptr)
        free_report(head);
    DeleteCriticalSection(&list_lock);
    TlsFree(slot);
}

} // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *process_ends) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        return start();
    case DLL_THREAD_DETACH:
        if (ThreadReport *const report = own_report())
            free_report(report);
        break;
    case DLL_PROCESS_DETACH:
        // At the end of the process other threads may have died holding the lock.
        if (process_ends == nullptr)
            stop();
        break;
    }
    return TRUE;
}

int Q32COMM_CALL c32SetDLLErrInfo(const char *text, int message, int severity, int library,
                                  int module, int point) {
    ThreadReport *report = own_report();
    if (report == nullptr)
        report = make_own_report();
    if (report == nullptr)
        return 0;
    C32ERRINFO &info = report->info;
    q32comm::copy_text(text != nullptr ? text : "", info.text, C32_MAX_TEXT);
    info.message = message;
    info.severity = severity;
    info.library = library;
    info.module = module;
    info.point = point;
    report->present = true;
    return 1;
}

int Q32COMM_CALL c32GetDLLErrInfo(C32ERRINFO *info) {
    const ThreadReport *const report = own_report();
    if (report == nullptr || !report->present)
        return 0;
    if (info != nullptr)
        *info = report->info;
    return 1;
}

void Q32COMM_CALL c32ClearDLLErrInfo(void) {
    if (ThreadReport *const report = own_report())
        report->present = false;
}

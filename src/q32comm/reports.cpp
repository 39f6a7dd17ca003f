// The error channel: the last report of each thread. Uses a slot of TlsAlloc and not a thread_local
// variable, because the library may be loaded at run time into threads that exist already.
#include "q32comm/reports.h"

#include "q32comm/recorder.h"
#include "q32comm/text_copy.h"

#include <q32comm.h>
#include <windows.h>

namespace q32::comm {
namespace {

// All reports form a ring through `anchor`, so that unloading finds those of foreign threads.
struct Links {
    Links *previous;
    Links *next;
};

struct Report : Links {
    bool made;
    C32ERRINFO info;
};

DWORD slot = TLS_OUT_OF_INDEXES;
CRITICAL_SECTION lock;
Links anchor{&anchor, &anchor};

// TlsGetValue sets the last error to 0 even when it succeeds. Reporting must not disturb it: the
// caller may want to know why the failed call failed.
class KeptLastError {
public:
    KeptLastError() : error_{GetLastError()} {}
    ~KeptLastError() { SetLastError(error_); }
    KeptLastError(const KeptLastError &) = delete;
    KeptLastError &operator=(const KeptLastError &) = delete;

private:
    DWORD error_;
};

Report *own_report() {
    return static_cast<Report *>(TlsGetValue(slot));
}

Report *make_own_report() {
    auto *const report =
        static_cast<Report *>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(Report)));
    if (report == nullptr)
        return nullptr;
    if (!TlsSetValue(slot, report)) {
        HeapFree(GetProcessHeap(), 0, report);
        return nullptr;
    }
    EnterCriticalSection(&lock);
    report->previous = anchor.previous;
    report->next = &anchor;
    anchor.previous->next = report;
    anchor.previous = report;
    LeaveCriticalSection(&lock);
    return report;
}

} // namespace

bool open_reports() {
    slot = TlsAlloc();
    if (slot == TLS_OUT_OF_INDEXES)
        return false;
    InitializeCriticalSection(&lock);
    return true;
}

void forget_thread() {
    Report *const report = own_report();
    if (report == nullptr)
        return;
    EnterCriticalSection(&lock);
    report->previous->next = report->next;
    report->next->previous = report->previous;
    LeaveCriticalSection(&lock);
    TlsSetValue(slot, nullptr);
    HeapFree(GetProcessHeap(), 0, report);
}

void close_reports() {
    if (slot == TLS_OUT_OF_INDEXES)
        return;
    for (Links *links = anchor.next; links != &anchor;) {
        Links *const next = links->next;
        HeapFree(GetProcessHeap(), 0, static_cast<Report *>(links));
        links = next;
    }
    anchor = {&anchor, &anchor};
    DeleteCriticalSection(&lock);
    TlsFree(slot);
    slot = TLS_OUT_OF_INDEXES;
}

} // namespace q32::comm

using namespace q32::comm;

int Q32COMM_CALL c32SetDLLErrInfo(const char *text, int message, int severity, int library,
                                  int module, int point) {
    const KeptLastError kept;
    record_report(text, message, severity, library, module, point);
    Report *report = own_report();
    if (report == nullptr)
        report = make_own_report();
    if (report == nullptr)
        return 0;
    copy_out(text == nullptr ? "" : text, report->info.text, C32_ERR_TEXT_SIZE);
    report->info.message = message;
    report->info.severity = severity;
    report->info.library = library;
    report->info.module = module;
    report->info.point = point;
    report->made = true;
    return 1;
}

int Q32COMM_CALL c32GetDLLErrInfo(C32ERRINFO *info) {
    const KeptLastError kept;
    const Report *const report = own_report();
    if (report == nullptr || !report->made)
        return 0;
    if (info != nullptr)
        *info = report->info;
    return 1;
}

int Q32COMM_CALL c32ClearDLLErrInfo(void) {
    const KeptLastError kept;
    Report *const report = own_report();
    if (report == nullptr || !report->made)
        return 0;
    report->made = false;
    return 1;
}

// Reports and exceptions on their way into the log. Nothing here allocates, waits or takes a lock:
// it runs in the middle of failures, and in a process that is about to end.
#include "q32comm/recorder.h"

#include "q32comm/recorder/log.h"
#include "q32comm/text_copy.h"

#include <iterator>

namespace q32::comm {
namespace {

Log *log = nullptr; // null: there is none

// --- reports -------------------------------------------------------------------------------------

// Holds an entry against a thread that is a whole ring behind or ahead. Whoever comes second gives
// up: such an entry is lost, and counted.
class EntryHold {
public:
    explicit EntryHold(Q32LOGENTRY &entry)
        : busy_(reinterpret_cast<volatile LONG *>(&entry.busy)),
          is_held_(InterlockedCompareExchange(busy_, 1, 0) == 0) {}
    ~EntryHold() {
        if (is_held_)
            InterlockedExchange(busy_, 0);
    }
    EntryHold(const EntryHold &) = delete;
    EntryHold &operator=(const EntryHold &) = delete;

    explicit operator bool() const { return is_held_; }

private:
    volatile LONG *busy_;
    bool is_held_;
};

LONG count_up(uint32_t &counter) {
    return InterlockedIncrement(reinterpret_cast<volatile LONG *>(&counter));
}

// Seen from another process, which copies the entry from its beginning to its end: the last field
// stops being the number before anything else changes, and the first becomes it after all else has.
void set_number(uint32_t &field, uint32_t number) {
    InterlockedExchange(reinterpret_cast<volatile LONG *>(&field), LONG(number));
}

// --- exceptions ----------------------------------------------------------------------------------

using QueryVirtualMemory = LONG WINAPI(HANDLE, const void *, int, void *, SIZE_T, SIZE_T *);
constexpr int mapped_file_name = 2; // asks for the file that an address is mapped from

struct MappedFileName {
    USHORT bytes, room;
    const wchar_t *text;
    wchar_t buffer[512];
};

void *exception_handler = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER next_filter = nullptr;
QueryVirtualMemory *query_virtual_memory = nullptr;
LONG noting = 0; // one exception at a time: others, and those of the noting itself, go by
MappedFileName found_name;

// Not through the loader, whose lock another thread may hold for ever.
void note_module(Q32LOGFAULT &fault, const void *address) {
    MEMORY_BASIC_INFORMATION region;
    fault.module_base = 0;
    fault.module[0] = '\0';
    if (VirtualQuery(address, &region, sizeof region) == 0 || region.Type != MEM_IMAGE)
        return;
    fault.module_base = reinterpret_cast<uintptr_t>(region.AllocationBase);
    if (query_virtual_memory == nullptr ||
        query_virtual_memory(GetCurrentProcess(), address, mapped_file_name, &found_name,
                             sizeof found_name - sizeof(wchar_t), nullptr) < 0)
        return;
    const_cast<wchar_t *>(found_name.text)[found_name.bytes / sizeof(wchar_t)] = L'\0';
    const wchar_t *name = file_name(found_name.text);
    std::size_t i = 0;
    for (; name[i] != L'\0' && i + 1 < std::size(fault.module); ++i)
        fault.module[i] = name[i] < 0x80 ? char(name[i]) : '?';
    fault.module[i] = '\0';
}

void note_access(Q32LOGFAULT &fault, const EXCEPTION_RECORD &exception) {
    const bool is_access = exception.ExceptionCode == DWORD(EXCEPTION_ACCESS_VIOLATION) &&
                           exception.NumberParameters >= 2;
    fault.access = is_access ? uint32_t(exception.ExceptionInformation[0]) : ~0u;
    fault.data_address = is_access ? exception.ExceptionInformation[1] : 0;
}

void note_fault(const EXCEPTION_RECORD &exception, uint32_t state) {
    if (log == nullptr || InterlockedCompareExchange(&noting, 1, 0) != 0)
        return;
    Q32LOGFAULT &fault = log->header.fault;
    if (fault.state != Q32LOG_FAULT_FATAL) {
        fault.state = state;
        fault.code = exception.ExceptionCode;
        fault.thread = GetCurrentThreadId();
        fault.time = time_now();
        fault.address = reinterpret_cast<uintptr_t>(exception.ExceptionAddress);
        note_access(fault, exception);
        note_module(fault, exception.ExceptionAddress);
    }
    InterlockedExchange(&noting, 0);
}

LONG WINAPI on_unhandled(EXCEPTION_POINTERS *pointers) {
    const LPTOP_LEVEL_EXCEPTION_FILTER next = next_filter;
    note_fault(*pointers->ExceptionRecord, Q32LOG_FAULT_FATAL);
    return next != nullptr ? next(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

// Goes before all that handles exceptions, and leaves them alone. What nobody handles comes to the
// program's own filter, set long after this library was loaded: ours goes in front of it only now.
LONG WINAPI on_exception(EXCEPTION_POINTERS *pointers) {
    constexpr DWORD error = 0xC0000000, of_a_language = 0x20000000;
    const EXCEPTION_RECORD &exception = *pointers->ExceptionRecord;
    if ((exception.ExceptionCode & error) != error)
        return EXCEPTION_CONTINUE_SEARCH;
    const LPTOP_LEVEL_EXCEPTION_FILTER before = SetUnhandledExceptionFilter(on_unhandled);
    if (before != on_unhandled)
        next_filter = before;
    if ((exception.ExceptionCode & of_a_language) == 0)
        note_fault(exception, Q32LOG_FAULT_SEEN);
    return EXCEPTION_CONTINUE_SEARCH;
}

void watch_exceptions() {
    query_virtual_memory = reinterpret_cast<QueryVirtualMemory *>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQueryVirtualMemory")));
    exception_handler = AddVectoredExceptionHandler(1, on_exception);
}

void stop_watching() {
    if (exception_handler != nullptr)
        RemoveVectoredExceptionHandler(exception_handler);
    const LPTOP_LEVEL_EXCEPTION_FILTER now = SetUnhandledExceptionFilter(next_filter);
    if (now != on_unhandled) // never set, or hidden behind another's
        SetUnhandledExceptionFilter(now);
}

} // namespace

void open_recorder() {
    log = map_log();
    if (log != nullptr)
        watch_exceptions();
}

void record_report(const char *text, int message, int severity, int library, int module,
                   int point) {
    if (log == nullptr)
        return;
    const uint32_t number = uint32_t(count_up(log->header.reports));
    Q32LOGENTRY &entry = log->entries[(number - 1) % Q32LOG_ENTRIES];
    const EntryHold hold(entry);
    if (!hold || int32_t(number - entry.number) < 0) {
        count_up(log->header.lost);
        return;
    }
    set_number(entry.number_again, 0);
    set_number(entry.number, 0);
    entry.thread = GetCurrentThreadId();
    entry.time = time_now();
    entry.message = message;
    entry.severity = severity;
    entry.library = library;
    entry.module = module;
    entry.point = point;
    copy_out(text == nullptr ? "" : text, entry.text, Q32LOG_TEXT_SIZE);
    set_number(entry.number_again, number);
    set_number(entry.number, number);
}

void close_recorder(bool process_ends) {
    if (log == nullptr)
        return;
    log->header.ended = time_now();
    if (process_ends)
        return;
    stop_watching();
    unmap_log(log);
    log = nullptr;
}

} // namespace q32::comm

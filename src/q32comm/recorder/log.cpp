// The log is mapped memory, so that it outlives the process however that ends, and nothing has to
// be written when it does. All of its room is on the disk before it is mapped, on a disk that does
// not go away: a page that cannot be had would bring the program down in the middle of a report.
#include "q32comm/recorder/log.h"

#include "q32comm/text_copy.h"

#include <q32comm.h>

#include <cstdio>
#include <cstring>

namespace q32::comm {
namespace {

constexpr char file_variable[] = "Q32COMM_RECORD";
constexpr char process_mark[] = "%p";
constexpr uint64_t ticks_per_minute = 60 * 10'000'000ull;
constexpr uint64_t days_kept = 7;

struct Path {
    char text[MAX_PATH] = {};

    // Cut paths are none: what they name is somebody else's.
    template <typename... Values>
    bool set(const char *format, Values... values) {
        const int length = std::snprintf(text, sizeof text, format, values...);
        return length > 0 && length < int(sizeof text);
    }
};

uint64_t in_ticks(const FILETIME &time) {
    return uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

uint64_t time_of_start() {
    FILETIME started = {}, unused;
    GetProcessTimes(GetCurrentProcess(), &started, &unused, &unused, &unused);
    return in_ticks(started);
}

int32_t minutes_off_utc() {
    FILETIME now, local;
    GetSystemTimeAsFileTime(&now);
    if (!FileTimeToLocalFileTime(&now, &local))
        return 0;
    return int32_t(int64_t(in_ticks(local) - in_ticks(now)) / int64_t(ticks_per_minute));
}

// --- which file ----------------------------------------------------------------------------------

// Logs that nobody has asked for by name go after a week; the open ones cannot be deleted.
void delete_old_logs(const char *directory) {
    Path pattern;
    if (!pattern.set("%s*.q32log", directory))
        return;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(pattern.text, &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    const uint64_t oldest = time_now() - days_kept * 24 * 60 * ticks_per_minute;
    do {
        Path path;
        if (in_ticks(found.ftLastWriteTime) < oldest &&
            path.set("%s%s", directory, found.cFileName))
            DeleteFileA(path.text);
    } while (FindNextFileA(search, &found));
    FindClose(search);
}

bool default_path(const char *program, Path &path) {
    char directory[MAX_PATH];
    if (q32GetQuillTempDir(directory, sizeof directory) == 0)
        return false;
    delete_old_logs(directory);
    return path.set("%s%s-%lu.q32log", directory, program, GetCurrentProcessId());
}

// As the variable names it, with the process's number for %p; else in the family's directory.
bool choose_path(const char *program, Path &path) {
    char named[MAX_PATH];
    const DWORD length = GetEnvironmentVariableA(file_variable, named, sizeof named);
    if (length == 0)
        return default_path(program, path);
    if (length >= sizeof named)
        return false;
    char *const mark = std::strstr(named, process_mark);
    if (mark == nullptr)
        return path.set("%s", named);
    *mark = '\0';
    return path.set("%s%lu%s", named, GetCurrentProcessId(), mark + sizeof process_mark - 1);
}

bool is_on_lasting_disk(const Path &path) {
    char volume[MAX_PATH];
    if (!GetVolumePathNameA(path.text, volume, sizeof volume))
        return false;
    const UINT type = GetDriveTypeA(volume);
    return type == DRIVE_FIXED || type == DRIVE_RAMDISK;
}

// Others may read, nobody else may write.
HANDLE open(const Path &path) {
    return CreateFileA(path.text, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                       OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE open_own(const Path &path) {
    const HANDLE file = open(path);
    if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION)
        return file;
    Path beside; // another process of the same log's name is at work
    return beside.set("%s.%lu", path.text, GetCurrentProcessId()) ? open(beside) : file;
}

// --- what is in it -------------------------------------------------------------------------------

enum class Contents { nothing, a_log, own_log, something_else };

Contents contents_of(HANDLE file) {
    Q32LOGHEADER header = {};
    DWORD read = 0;
    if (!ReadFile(file, &header, sizeof header, &read, nullptr))
        return Contents::something_else;
    if (read == 0)
        return Contents::nothing;
    if (read < sizeof header || std::memcmp(header.magic, Q32LOG_MAGIC, sizeof header.magic) != 0)
        return Contents::something_else;
    const bool is_own = header.version == Q32LOG_VERSION && header.entry_count == Q32LOG_ENTRIES &&
                        header.process == GetCurrentProcessId() &&
                        header.started == time_of_start() &&
                        GetFileSize(file, nullptr) == sizeof(Log);
    return is_own ? Contents::own_log : Contents::a_log;
}

// Of a disk that has no room for all of it, nothing is taken.
bool fill_with_zeros(HANDLE file) {
    void *const zeros =
        VirtualAlloc(nullptr, sizeof(Log), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (zeros == nullptr)
        return false;
    DWORD written = 0;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    const bool done =
        WriteFile(file, zeros, sizeof(Log), &written, nullptr) && written == sizeof(Log);
    if (!done)
        SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    SetEndOfFile(file); // an older log may have been longer
    VirtualFree(zeros, 0, MEM_RELEASE);
    return done;
}

void begin(Q32LOGHEADER &header, const char *program) {
    header.version = Q32LOG_VERSION;
    header.header_bytes = sizeof(Q32LOGHEADER);
    header.entry_bytes = sizeof(Q32LOGENTRY);
    header.entry_count = Q32LOG_ENTRIES;
    header.process = GetCurrentProcessId();
    header.pointer_bytes = sizeof(void *);
    header.started = time_of_start();
    header.minutes_off_utc = minutes_off_utc();
    copy_out(program, header.program, sizeof header.program);
    std::memcpy(header.magic, Q32LOG_MAGIC, sizeof header.magic); // last: now it is a log
}

Log *map(HANDLE file) {
    const HANDLE mapping =
        CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, sizeof(Log), nullptr);
    if (mapping == nullptr)
        return nullptr;
    void *const view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, sizeof(Log));
    CloseHandle(mapping);
    return static_cast<Log *>(view);
}

Log *map_contents(HANDLE file, const char *program) {
    const Contents contents = contents_of(file);
    if (contents == Contents::something_else ||
        (contents != Contents::own_log && !fill_with_zeros(file)))
        return nullptr;
    Log *const log = map(file);
    if (log != nullptr && contents != Contents::own_log)
        begin(log->header, program);
    else if (log != nullptr)
        log->header.ended = 0;
    return log;
}

HANDLE log_file = INVALID_HANDLE_VALUE; // stays open with the view, so that nobody else writes it

} // namespace

uint64_t time_now() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return in_ticks(now);
}

Log *map_log() {
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program - 1);
    Path path;
    if (!choose_path(file_name(program), path) || !is_on_lasting_disk(path))
        return nullptr;
    log_file = open_own(path);
    if (log_file == INVALID_HANDLE_VALUE)
        return nullptr;
    Log *const log = map_contents(log_file, file_name(program));
    if (log == nullptr)
        CloseHandle(log_file);
    return log;
}

void unmap_log(Log *log) {
    UnmapViewOfFile(log);
    CloseHandle(log_file);
}

} // namespace q32::comm

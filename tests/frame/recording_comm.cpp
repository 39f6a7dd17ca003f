// The tests' own q32comm.dll: keeps every report and answers what the test wants answered. Path
// helpers, which have nothing to switch, do their work plainly.
#include "tests/frame/recording_comm.h"

#include <q32comm.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace q32::frame {
namespace {

Recording recording;
CRITICAL_SECTION lock; // reports may come from any thread

class Locked {
public:
    Locked() { EnterCriticalSection(&lock); }
    ~Locked() { LeaveCriticalSection(&lock); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
};

int copy(std::string_view text, char *out, int size) {
    if (out == nullptr || size <= 0)
        return 0;
    const std::size_t length = text.substr(0, static_cast<std::size_t>(size) - 1).size();
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
    return static_cast<int>(length);
}

template <std::size_t size>
int keep(const char *text, char (&out)[size]) {
    return copy(text == nullptr ? "" : text, out, static_cast<int>(size));
}

const Text *find_text(int id) {
    for (int i = 0; i < recording.text_count; ++i)
        if (recording.texts[i].id == id)
            return &recording.texts[i];
    return nullptr;
}

} // namespace
} // namespace q32::frame

using namespace q32::frame;

extern "C" __declspec(dllexport) Recording *q32_recording() {
    return &recording;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *) {
    if (reason == DLL_PROCESS_ATTACH)
        InitializeCriticalSection(&lock);
    return TRUE;
}

int Q32COMM_CALL c32SetDLLErrInfo(const char *text, int message, int severity, int library,
                                  int module, int point) {
    const Locked locked;
    if (recording.listener != nullptr)
        recording.listener(message, severity, module, point);
    const int place = recording.report_count++;
    if (place >= Recording::most_reports)
        return 1;
    Report &report = recording.reports[place];
    report = {text != nullptr, {}, message, severity, library, module, point};
    keep(text, report.text);
    return 1;
}

int Q32COMM_CALL c32GetDLLErrInfo(C32ERRINFO *info) {
    const Locked locked;
    const int last = recording.report_count - 1;
    if (last < 0 || last >= Recording::most_reports)
        return 0;
    if (info == nullptr)
        return 1;
    const Report &report = recording.reports[last];
    keep(report.text, info->text);
    info->message = report.message;
    info->severity = report.severity;
    info->library = report.library;
    info->module = report.module;
    info->point = report.point;
    return 1;
}

int Q32COMM_CALL c32ClearDLLErrInfo(void) {
    const Locked locked;
    return std::exchange(recording.report_count, 0) != 0;
}

int Q32COMM_CALL c32GetString(int id, char *buffer, int size) {
    const Text *const text = find_text(id);
    return copy(text != nullptr && text->present ? text->text : "", buffer, size);
}

int Q32COMM_CALL c32GetErrText(int message, char *buffer, int size) {
    return c32GetString(message, buffer, size);
}

int Q32COMM_CALL c32ShowMb(const char *text, const char *title) {
    const Locked locked;
    const int place = recording.box_count++;
    if (place < Recording::most_boxes) {
        keep(text, recording.boxes[place].text);
        keep(title, recording.boxes[place].title);
    }
    return IDOK;
}

int Q32COMM_CALL IsSupportMMX(void) {
    return recording.mmx;
}

int Q32COMM_CALL GetCPUName(char *buffer, int size) {
    return copy(recording.processor_name, buffer, size);
}

int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size) {
    const std::string_view directory = recording.temporary_directory;
    const bool fits = static_cast<int>(directory.size()) < size;
    return copy(fits ? directory : "", buffer, size);
}

void Q32COMM_CALL qfdSplitPathname(const char *path, char *drive, char *directory, char *name,
                                   char *extension) {
    std::string_view rest = path;
    const auto take = [&rest](std::size_t length, char *out) {
        copy(rest.substr(0, length), out, MAX_PATH);
        rest.remove_prefix(length);
    };
    take(rest.size() > 1 && rest[1] == ':' ? 2 : 0, drive);
    take(rest.rfind('\\') + 1, directory); // npos + 1 is 0
    take(std::min(rest.rfind('.'), rest.size()), name);
    take(rest.size(), extension);
}

void Q32COMM_CALL qfdDelSlash(char *path) {
    const std::size_t length = std::strlen(path);
    if (length > 0 && path[length - 1] == '\\')
        path[length - 1] = '\0';
}

int Q32COMM_CALL q32IsEscPressed(void) {
    const int poll = ++recording.esc_polls;
    return recording.esc_from_poll != 0 && poll >= recording.esc_from_poll;
}

// The figures of this process, and the one write that adds them to the file of all.
#include "tests/frame/figures.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace q32::figures {
namespace {

// A path as the shell says it begins at the root of the build machine, which Wine calls Z.
std::string path_of_the_file() {
    const char *const named = std::getenv("Q32BASE_TEST_FIGURES");
    const std::string path = named ? named : "";
#if defined(_WIN32)
    if (path.starts_with('/'))
        return "Z:" + path;
#endif
    return path;
}

struct Figures {
    const std::string path = path_of_the_file();
    std::mutex mutex;
    std::map<std::string, std::uint64_t, std::less<>> counts;
    std::map<std::string, std::string, std::less<>> values; // number and unit
    std::set<std::string> reports;
    std::vector<void (*)()> tellers;
};

// Statics of tests tell figures, and threads until the very end.
Figures &own() {
    static Figures *const figures = new Figures;
    return *figures;
}

std::string text_of(const Figures &figures) {
    std::string text;
    for (const auto &[name, number] : figures.counts)
        text += "count\t" + name + '\t' + std::to_string(number) + '\n';
    for (const auto &[name, measured] : figures.values)
        text += "value\t" + name + '\t' + measured + '\n';
    for (const std::string &reported : figures.reports)
        text += "report\t" + reported + '\n';
    return text;
}

// Other programs do the same at the same time. Wine looks for the end of a file first and writes
// then, so that two could write to one place: hence the lock, which programs of the build machine
// and other servers of Wine see as well.
#if defined(_WIN32)
bool append(const std::string &path, const std::string &text) {
    const HANDLE file = CreateFileA(path.c_str(), FILE_APPEND_DATA | GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    OVERLAPPED at_the_start = {};
    DWORD written = 0;
    LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &at_the_start);
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return CloseHandle(file) && written == text.size();
}
#else
bool append(const std::string &path, const std::string &text) {
    const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
    struct flock first_byte = {};
    first_byte.l_type = F_WRLCK;
    first_byte.l_len = 1;
    fcntl(file, F_SETLKW, &first_byte);
    const ssize_t written = ::write(file, text.data(), text.size());
    return close(file) == 0 && written == static_cast<ssize_t>(text.size());
}
#endif

} // namespace

bool wanted() {
    return !own().path.empty();
}

void count(std::string_view name, std::uint64_t number) {
    if (!wanted())
        return;
    const std::lock_guard lock(own().mutex);
    own().counts[std::string(name)] += number;
}

void value(std::string_view name, double number, std::string_view unit) {
    if (!wanted())
        return;
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.10g", number);
    const std::lock_guard lock(own().mutex);
    own().values[std::string(name)] = std::string(digits) + '\t' + std::string(unit);
}

void report(int message, int severity, int module, int point) {
    if (!wanted())
        return;
    char numbers[60];
    std::snprintf(numbers, sizeof numbers, "%d\t%d\t%d\t%d", message, severity, module, point);
    const std::lock_guard lock(own().mutex);
    own().reports.insert(numbers);
}

void at_the_end(void (*tell)()) {
    const std::lock_guard lock(own().mutex);
    own().tellers.push_back(tell);
}

void write() {
    if (!wanted())
        return;
    for (void (*const tell)() : own().tellers)
        tell();
    const std::lock_guard lock(own().mutex);
    if (!append(own().path, text_of(own())))
        std::fprintf(stderr, "cannot add figures to %s\n", own().path.c_str());
}

} // namespace q32::figures

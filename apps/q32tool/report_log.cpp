// A log comes from another machine, and from a program that went wrong: nothing in it is believed
// before it is looked at.
#include "report_log.h"

#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/pictures/wic.h"

#include <algorithm>
#include <cstring>

namespace apps::q32tool {
namespace {

constexpr size_t log_bytes = sizeof(Q32LOGHEADER) + Q32LOG_ENTRIES * sizeof(Q32LOGENTRY);

// As much of the file as a log has, and a byte more of a larger one. The recorder writes it still.
std::vector<uint8_t> read_shared(const std::string &path) {
    const std::wstring native = to_wide(native_path(path));
    check_is_readable_file(path, native);
    OpenFile file(CreateFileW(native.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, 0, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE)
        file.release(); // there is nothing to close
    std::vector<uint8_t> bytes(log_bytes + 1);
    DWORD read = 0;
    if (!file ||
        !ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr))
        throw Failure(path, "the file cannot be read: " + system_words(GetLastError()));
    bytes.resize(read);
    return bytes;
}

void check_header(const std::string &path, const Q32LOGHEADER &header, size_t bytes) {
    if (header.version != Q32LOG_VERSION)
        throw Failure(path,
                      "this log is of version " + std::to_string(header.version) +
                          ", and version " + std::to_string(Q32LOG_VERSION) + " is read here",
                      "use the q32tool that came with the recorder");
    if (header.header_bytes != sizeof(Q32LOGHEADER) || header.entry_bytes != sizeof(Q32LOGENTRY) ||
        header.entry_count != Q32LOG_ENTRIES)
        throw Failure(path, "the log is damaged: its header makes no sense", "ask for it again");
    if (bytes != log_bytes)
        throw Failure(path,
                      "the log is damaged: it has " +
                          (bytes < log_bytes ? counted(bytes, "byte") : "more bytes") +
                          " instead of " + std::to_string(log_bytes),
                      "ask for it again");
}

template <size_t size>
void terminate(char (&text)[size]) {
    text[size - 1] = '\0';
}

bool is_whole(const Q32LOGENTRY &entry, size_t place) {
    return entry.number != 0 && entry.number == entry.number_again &&
           (entry.number - 1) % Q32LOG_ENTRIES == place;
}

} // namespace

ReportLog read_report_log(const std::string &path) {
    const std::vector<uint8_t> bytes = read_shared(path);
    ReportLog log = {};
    std::memcpy(&log.header, bytes.data(), std::min(bytes.size(), sizeof log.header));
    if (bytes.size() < sizeof log.header ||
        std::memcmp(log.header.magic, Q32LOG_MAGIC, sizeof log.header.magic) != 0)
        throw Failure(path, "this is no log of the flight recorder",
                      "docs/support.md tells where its logs are");
    check_header(path, log.header, bytes.size());
    terminate(log.header.program);
    terminate(log.header.fault.module);
    for (size_t place = 0; place < Q32LOG_ENTRIES; ++place) {
        Q32LOGENTRY entry;
        std::memcpy(&entry, bytes.data() + sizeof log.header + place * sizeof entry, sizeof entry);
        terminate(entry.text);
        if (is_whole(entry, place))
            log.entries.push_back(entry);
    }
    // By how long ago they were: numbers begin again at 0 after four thousand million.
    std::sort(log.entries.begin(), log.entries.end(), [&](const auto &a, const auto &b) {
        return log.header.reports - a.number > log.header.reports - b.number;
    });
    return log;
}

} // namespace apps::q32tool

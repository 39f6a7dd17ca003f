// Files are told by the names that GetTempFileNameA gives, and the living by their files, which
// they hold open unshared.
#include "leftovers.h"

#include <q32base/buffers.h>
#include <q32comm.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace apps::q32tool {
namespace {

constexpr DWORD entry_bytes = 260, slot_count = 100;
constexpr DWORD locked_place = 0x40000000; // of the byte that is locked while slots are worked

// --- files ---------------------------------------------------------------------------------------

// Prefix, up to four hexadecimal digits, ".tmp".
bool is_name_of(std::string_view name, std::string_view prefix) {
    const std::string_view end = ".tmp";
    if (name.size() <= prefix.size() + end.size() || name.size() > prefix.size() + 4 + end.size())
        return false;
    const auto same = [](char a, char b) { return std::tolower(a) == std::tolower(b); };
    return std::equal(prefix.begin(), prefix.end(), name.begin(), same) &&
           std::equal(end.rbegin(), end.rend(), name.rbegin(), same) &&
           std::all_of(name.begin() + prefix.size(), name.end() - end.size(),
                       [](unsigned char digit) { return std::isxdigit(digit) != 0; });
}

struct FileCloser {
    explicit FileCloser(HANDLE file_in) : file(file_in) {}
    FileCloser(const FileCloser &) = delete;
    FileCloser &operator=(const FileCloser &) = delete;
    ~FileCloser() {
        if (is_open())
            CloseHandle(file);
    }
    bool is_open() const { return file != INVALID_HANDLE_VALUE; }

    HANDLE file;
};

HANDLE open_alone(const std::string &path) {
    return CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

uint64_t seconds_since(const FILETIME &then) {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const auto ticks = [](const FILETIME &time) {
        return uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    };
    return ticks(now) < ticks(then) ? 0 : (ticks(now) - ticks(then)) / 10'000'000;
}

// None when a process holds it, or when it is too young: somebody may be about to open it.
std::optional<Leftover> leftover_file(Leftover::Kind kind, const std::string &path,
                                      uint64_t least_age) {
    const FileCloser opened(open_alone(path));
    BY_HANDLE_FILE_INFORMATION facts;
    if (!opened.is_open() || !GetFileInformationByHandle(opened.file, &facts))
        return std::nullopt;
    const uint64_t age = seconds_since(facts.ftLastWriteTime);
    if (age < least_age)
        return std::nullopt;
    return Leftover{kind, path, uint64_t(facts.nFileSizeHigh) << 32 | facts.nFileSizeLow, age, 0};
}

std::vector<std::string> files_in(std::string directory, std::string_view prefix) {
    std::vector<std::string> paths;
    while (directory.ends_with('\\'))
        directory.pop_back();
    if (directory.empty())
        return paths;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((directory + "\\*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return paths;
    do {
        const bool is_file = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
        if (is_file && is_name_of(found.cFileName, prefix))
            paths.push_back(directory + "\\" + found.cFileName);
    } while (FindNextFileA(search, &found));
    FindClose(search);
    std::sort(paths.begin(), paths.end());
    return paths;
}

// Swap files that a record file lists, wherever they lie.
std::vector<std::string> listed_files(const std::string &record_path) {
    std::vector<std::string> paths;
    const FileCloser record(open_alone(record_path));
    char entry[entry_bytes + 1] = {};
    DWORD read = 0;
    while (record.is_open() && ReadFile(record.file, entry, entry_bytes, &read, nullptr) &&
           read == entry_bytes) {
        const std::string path = entry;
        const size_t name = path.rfind('\\');
        if (name != std::string::npos && is_name_of(std::string_view(path).substr(name + 1), "~QT"))
            paths.push_back(path);
    }
    return paths;
}

bool is_missing(const std::string &path) {
    if (GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES)
        return false;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// --- slots ---------------------------------------------------------------------------------------

// The master record file, its slots locked against everybody who would read or take one.
class LockedSlots {
public:
    explicit LockedSlots(const std::string &path)
        : opened_(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                              nullptr)) {
        for (int attempt = 0; opened_.is_open() && !locked_ && attempt < 1000; ++attempt, Sleep(1))
            locked_ = LockFile(opened_.file, locked_place, 0, 1, 0) != FALSE;
    }

    explicit operator bool() const { return locked_; }

    // What it names; empty when it is free.
    std::string read(unsigned slot) const {
        char entry[entry_bytes + 1] = {};
        DWORD read = 0;
        SetFilePointer(opened_.file, LONG(slot * entry_bytes), nullptr, FILE_BEGIN);
        ReadFile(opened_.file, entry, entry_bytes, &read, nullptr);
        return entry;
    }
    bool clear(unsigned slot) const {
        constexpr char zeros[4] = {};
        DWORD written = 0;
        SetFilePointer(opened_.file, LONG(slot * entry_bytes), nullptr, FILE_BEGIN);
        return WriteFile(opened_.file, zeros, sizeof zeros, &written, nullptr) &&
               written == sizeof zeros;
    }

private:
    FileCloser opened_; // the lock ends with it
    bool locked_ = false;
};

bool clear_slot(const BookPlaces &places, const Leftover &leftover) {
    const LockedSlots slots(places.master_file());
    // Whoever has taken it meanwhile keeps it.
    return slots &&
           (slots.read(leftover.slot_number) != leftover.path || slots.clear(leftover.slot_number));
}

// Adds to what was found each file that is left over and not among it yet.
void add_files(std::vector<Leftover> &found, Leftover::Kind kind,
               const std::vector<std::string> &paths, uint64_t least_age) {
    for (const std::string &path : paths) {
        const auto same = [&](const Leftover &other) {
            return lstrcmpiA(other.path.c_str(), path.c_str()) == 0;
        };
        if (std::none_of(found.begin(), found.end(), same))
            if (const auto file = leftover_file(kind, path, least_age))
                found.push_back(*file);
    }
}

} // namespace

BookPlaces book_places() {
    BookPlaces places;
    char family[MAX_PATH] = {};
    if (q32GetQuillTempDir(family, sizeof family) > 0)
        places.family = family;
    BUF32DIRECTORIES directories = {};
    buf32VMData(0, nullptr, nullptr, &directories, nullptr, nullptr);
    for (const auto &path : directories.path)
        places.directories.emplace_back(path, strnlen(path, sizeof path));
    return places;
}

std::vector<Leftover> find_leftovers(const BookPlaces &places, uint64_t least_age) {
    std::vector<Leftover> found;
    for (const std::string &directory : places.directories)
        add_files(found, Leftover::swap_file, files_in(directory, "~QT"), least_age);
    for (const std::string &record : files_in(places.family, "QTR")) {
        const auto file = leftover_file(Leftover::record_file, record, least_age);
        if (!file)
            continue;
        add_files(found, Leftover::swap_file, listed_files(record), least_age);
        found.push_back(*file);
    }
    if (const LockedSlots slots(places.master_file()); slots)
        for (unsigned slot = 0; slot < slot_count; ++slot)
            if (const std::string named = slots.read(slot); !named.empty() && is_missing(named))
                found.push_back({Leftover::slot, named, 0, 0, slot});
    return found;
}

bool remove_leftover(const BookPlaces &places, const Leftover &leftover) {
    if (leftover.kind == Leftover::slot)
        return clear_slot(places, leftover);
    return DeleteFileA(leftover.path.c_str()) || is_missing(leftover.path);
}

} // namespace apps::q32tool

// Reads and writes entries; whose they are and which one is free is known to the callers.
#include "buffer/bookkeeping.h"

#include <cstring>

namespace q32::buffer {
namespace {

bool seek(HANDLE file, uint32_t offset) {
    return SetFilePointer(file, LONG(offset), nullptr, FILE_BEGIN) == offset;
}

// Of letters; nothing else becomes one.
constexpr char in_small(char character) {
    return character >= 'A' && character <= 'Z' ? char(character + ('a' - 'A')) : character;
}

constexpr bool is_letter(char character) {
    return in_small(character) >= 'a' && in_small(character) <= 'z';
}

constexpr bool is_letter_or_digit(char character) {
    return is_letter(character) || (character >= '0' && character <= '9');
}

} // namespace

File open_file(const char *path, DWORD disposition, DWORD share) {
    return File(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, share, nullptr, disposition,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool write_at(HANDLE file, uint32_t offset, const void *data, uint32_t bytes) {
    DWORD written = 0;
    return seek(file, offset) && WriteFile(file, data, bytes, &written, nullptr) &&
           written == bytes;
}

bool read_at(HANDLE file, uint32_t offset, void *data, uint32_t bytes) {
    DWORD read = 0;
    return seek(file, offset) && ReadFile(file, data, bytes, &read, nullptr) && read == bytes;
}

bool read_entry(HANDLE file, uint32_t index, char *path) {
    const bool whole = read_at(file, index * entry_bytes, path, entry_bytes);
    path[entry_bytes - 1] = '\0'; // other programs write these files too
    return whole;
}

bool write_entry(HANDLE file, uint32_t index, const char *path) {
    char entry[entry_bytes] = {};
    std::strncpy(entry, path, sizeof entry - 1);
    return write_at(file, index * entry_bytes, entry, entry_bytes);
}

bool is_temporary_name(const char *entry) {
    const auto *const end = static_cast<const char *>(std::memchr(entry, 0, entry_bytes));
    if (end == nullptr || end - entry <= int(sizeof "C:\\.tmp"))
        return false;
    const bool on_drive = is_letter(entry[0]) && entry[1] == ':' && entry[2] == '\\';
    // Not the names of devices, \\.\ and \\?\, either.
    const bool on_share = entry[0] == '\\' && entry[1] == '\\' && is_letter_or_digit(entry[2]);
    return (on_drive || on_share) && end[-4] == '.' && in_small(end[-3]) == 't' &&
           in_small(end[-2]) == 'm' && in_small(end[-1]) == 'p';
}

bool clear_entry(HANDLE file, uint32_t index) {
    constexpr char zeros[4] = {};
    return write_at(file, index * entry_bytes, zeros, sizeof zeros);
}

} // namespace q32::buffer

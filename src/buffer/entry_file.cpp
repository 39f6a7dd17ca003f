// Reads and writes entries; whose they are and which one is free is known to the callers.
#include "buffer/bookkeeping.h"

#include <cstring>

namespace q32::buffer {
namespace {

bool seek(HANDLE file, uint32_t offset) {
    return SetFilePointer(file, LONG(offset), nullptr, FILE_BEGIN) == offset;
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

bool clear_entry(HANDLE file, uint32_t index) {
    constexpr char zeros[4] = {};
    return write_at(file, index * entry_bytes, zeros, sizeof zeros);
}

} // namespace q32::buffer

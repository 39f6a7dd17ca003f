// Reading and writing in pieces, between which Ctrl-C is noticed.
#include "whole_files.h"

#include "apps/pictures/files.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/pictures/unfinished_file.h"
#include "apps/pictures/wic.h"
#include "interrupt.h"

#include <algorithm>
#include <cstdint>
#include <new>

namespace apps::q32tool {
namespace {

constexpr size_t file_piece_bytes = 4 << 20;

std::vector<uint8_t> room_for(const std::string &path, uint64_t bytes) {
    try {
        return std::vector<uint8_t>(static_cast<size_t>(bytes));
    } catch (const std::bad_alloc &) {
        throw Failure(path, "not enough memory for a file of " + readable_size(bytes));
    }
}

void write_bytes(const std::string &path, const std::wstring &native,
                 const std::vector<uint8_t> &bytes) {
    const OpenFile file = open_file(native, GENERIC_WRITE, CREATE_ALWAYS);
    if (!file)
        throw creation_failure(path, GetLastError());
    for (size_t done = 0; done < bytes.size();) {
        stop_if_cancelled();
        const DWORD wanted = static_cast<DWORD>(std::min(file_piece_bytes, bytes.size() - done));
        DWORD written = 0;
        if (!WriteFile(file.get(), bytes.data() + done, wanted, &written, nullptr))
            throw writing_failure(path, GetLastError());
        if (written < wanted)
            throw writing_failure(path, ERROR_DISK_FULL);
        done += written;
    }
}

} // namespace

std::vector<uint8_t> read_file(const std::string &path) {
    const std::wstring native = to_wide(native_path(path));
    check_is_readable_file(path, native);
    const OpenFile file = open_file(native, GENERIC_READ, OPEN_EXISTING);
    LARGE_INTEGER size = {};
    if (!file || !GetFileSizeEx(file.get(), &size))
        throw Failure(path, "the file cannot be read: " + system_words(GetLastError()));
    if (size.QuadPart > PTRDIFF_MAX)
        throw Failure(path, "the file is too large", "files of less than 2 GB are read");
    std::vector<uint8_t> bytes = room_for(path, static_cast<uint64_t>(size.QuadPart));
    for (size_t done = 0; done < bytes.size();) {
        stop_if_cancelled();
        const DWORD wanted = static_cast<DWORD>(std::min(file_piece_bytes, bytes.size() - done));
        DWORD read = 0;
        if (!ReadFile(file.get(), bytes.data() + done, wanted, &read, nullptr))
            throw Failure(path, "the file cannot be read: " + system_words(GetLastError()));
        if (read == 0)
            throw Failure(path, "the file became shorter while it was read");
        done += read;
    }
    return bytes;
}

void write_file(const std::string &path, const std::vector<uint8_t> &bytes) {
    UnfinishedFile file(to_wide(native_path(path)));
    write_bytes(path, file.path(), bytes);
    if (!file.finish())
        throw replacing_failure(path, GetLastError());
}

} // namespace apps::q32tool

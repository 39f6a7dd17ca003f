// The family's temporary directory, and pieces of paths.
#include "q32comm/copy_text.h"

#include <q32comm.h>
#include <windows.h>

#include <cstring>

namespace {

constexpr int piece_size = 260; // of every output of qfdSplitPathname
constexpr char directory_name[] = "Q32\\";

bool is_separator(char c) {
    return c == '\\' || c == '/';
}

// The end of the last separator, in steps of whole characters: a second byte of a two-byte
// character may look like a separator.
const char *behind_last_separator(const char *path) {
    const char *behind = path;
    for (const char *c = path; *c != '\0'; c = CharNextA(c))
        if (is_separator(*c))
            behind = c + 1;
    return behind;
}

const char *last_dot(const char *name) {
    const char *const dot = std::strrchr(name, '.');
    return dot != nullptr ? dot : name + std::strlen(name);
}

void put_piece(const char *begin, const char *end, char *piece) {
    if (piece == nullptr)
        return;
    const size_t length = std::min(size_t(end - begin), size_t(piece_size - 1));
    std::memcpy(piece, begin, length);
    piece[length] = '\0';
}

// With a separator at its end; empty when it is too long.
struct TemporaryDirectory {
    char path[MAX_PATH + sizeof directory_name] = {};

    TemporaryDirectory() {
        DWORD length = GetEnvironmentVariableA("Q32COMM_TEMPDIR", path, MAX_PATH);
        const bool is_given = length != 0 && length < MAX_PATH;
        if (!is_given)
            length = GetTempPathA(MAX_PATH, path);
        if (length == 0 || length >= MAX_PATH)
            path[0] = '\0';
        else if (!is_given)
            std::strcat(path, directory_name);
        else if (behind_last_separator(path) != path + length)
            std::strcat(path, "\\");
    }

    bool exists_or_is_made() const {
        if (path[0] == '\0')
            return false;
        CreateDirectoryA(path, nullptr);
        const DWORD attributes = GetFileAttributesA(path);
        return attributes != INVALID_FILE_ATTRIBUTES &&
               (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
};

} // namespace

int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size) {
    const TemporaryDirectory directory;
    const bool fits = int(std::strlen(directory.path)) < size;
    const bool usable = buffer != nullptr && fits && directory.exists_or_is_made();
    return q32comm::copy_text(usable ? directory.path : "", buffer, size);
}

void Q32COMM_CALL qfdSplitPathname(const char *path, char *drive, char *directory, char *name,
                                   char *extension) {
    if (path == nullptr)
        path = "";
    const char *const behind_drive = path[0] != '\0' && path[1] == ':' ? path + 2 : path;
    const char *const file = behind_last_separator(behind_drive);
    const char *const dot = last_dot(file);
    put_piece(path, behind_drive, drive);
    put_piece(behind_drive, file, directory);
    put_piece(file, dot, name);
    put_piece(dot, dot + std::strlen(dot), extension);
}

void Q32COMM_CALL qfdDelSlash(char *path) {
    if (path == nullptr || path[0] == '\0')
        return;
    const size_t length = std::strlen(path);
    if (behind_last_separator(path) == path + length)
        path[length - 1] = '\0';
}

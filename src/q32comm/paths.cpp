// Path utilities and the family's temporary directory.
#include "q32comm/text_copy.h"

#include <q32comm.h>
#include <windows.h>

namespace q32::comm {
namespace {

constexpr int drive_size = 3;
constexpr int part_size = MAX_PATH;
constexpr char family_folder[] = "Quill";
constexpr char override_variable[] = "Q32COMM_TEMPDIR";

bool is_separator(char character) {
    return character == '\\' || character == '/';
}

bool is_letter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

// Behind the last character that is_wanted, 0 when there is none. Steps over double-byte
// characters, whose second byte may look like a backslash.
template <class IsWanted>
std::size_t behind_last(std::string_view text, IsWanted is_wanted) {
    std::size_t behind = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsDBCSLeadByte(static_cast<BYTE>(text[i])))
            ++i;
        else if (is_wanted(text[i]))
            behind = i + 1;
    }
    return behind;
}

// The directory of the override or of the system, as a full path; its length, 0 when there is none.
DWORD find_directory(char (&path)[MAX_PATH + 1]) {
    char named[MAX_PATH];
    const DWORD named_length = GetEnvironmentVariableA(override_variable, named, sizeof named);
    if (named_length >= sizeof named)
        return 0;
    if (named_length > 0) {
        const DWORD length = GetFullPathNameA(named, MAX_PATH, path, nullptr);
        return length < MAX_PATH ? length : 0;
    }
    const DWORD length = GetTempPathA(MAX_PATH, path);
    if (length == 0 || length + sizeof family_folder > MAX_PATH)
        return 0;
    std::memcpy(path + length, family_folder, sizeof family_folder);
    return length + static_cast<DWORD>(sizeof family_folder - 1);
}

bool make_directory(const char *path) {
    if (CreateDirectoryA(path, nullptr))
        return true;
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace
} // namespace q32::comm

using namespace q32::comm;

int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size) {
    copy_out("", buffer, size);
    char path[MAX_PATH + 1];
    DWORD length = find_directory(path);
    if (length == 0)
        return 0;
    if (behind_last({path, length}, is_separator) != length) {
        path[length++] = '\\';
        path[length] = '\0';
    }
    if (size <= static_cast<int>(length) || !make_directory(path))
        return 0;
    return copy_out({path, length}, buffer, size);
}

void Q32COMM_CALL qfdSplitPathname(const char *path, char *drive, char *directory, char *name,
                                   char *extension) {
    std::string_view rest = path == nullptr ? "" : path;
    const bool has_drive = rest.size() >= 2 && is_letter(rest[0]) && rest[1] == ':';
    const std::string_view drive_part = rest.substr(0, has_drive ? 2 : 0);
    rest.remove_prefix(drive_part.size());
    const std::string_view directory_part = rest.substr(0, behind_last(rest, is_separator));
    rest.remove_prefix(directory_part.size());
    const std::size_t behind_dot = behind_last(rest, [](char c) { return c == '.'; });
    const std::string_view name_part =
        rest.substr(0, behind_dot == 0 ? rest.size() : behind_dot - 1);
    rest.remove_prefix(name_part.size());
    copy_out(drive_part, drive, drive_size);
    copy_out(directory_part, directory, part_size);
    copy_out(name_part, name, part_size);
    copy_out(rest, extension, part_size);
}

void Q32COMM_CALL qfdDelSlash(char *path) {
    if (path == nullptr)
        return;
    const std::string_view text = path;
    if (!text.empty() && behind_last(text, is_separator) == text.size())
        path[text.size() - 1] = '\0';
}

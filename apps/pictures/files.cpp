// Names and attributes of files, and sentences about them.
#include "files.h"

#include "text.h"
#include "wic.h"

#include <algorithm>
#include <array>

namespace apps {
namespace {

constexpr std::array<std::string_view, 4> devices = {"CON", "PRN", "AUX", "NUL"};
constexpr std::array<std::string_view, 2> ports = {"COM", "LPT"}; // with a number
// Those of Latin-1 count, too.
constexpr std::array<std::string_view, 12> port_numbers = {"1", "2", "3", "4", "5", "6",
                                                           "7", "8", "9", "¹", "²", "³"};

template <size_t Count>
bool contains(const std::array<std::string_view, Count> &words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// The device that a path's last part stands for, whatever extension follows: "NUL" of
// "out/nul.png". Empty: none.
std::string device_of_name(std::string_view path) {
    path.remove_prefix(file_name_begin(path));
    path = path.substr(0, path.find('.'));
    path = path.substr(0, path.find_last_not_of(' ') + 1);
    std::string name(path);
    for (char &letter : name)
        letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    const bool is_port =
        contains(ports, name.substr(0, 3)) && contains(port_numbers, path.substr(3));
    return is_port || contains(devices, name) ? name : std::string();
}

} // namespace

std::string native_path(const std::string &path) {
    using UnixToDos = WCHAR *(CDECL *)(const char *);
    static const auto unix_to_dos = [] {
        const FARPROC entry =
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_dos_file_name");
        return reinterpret_cast<UnixToDos>(reinterpret_cast<void *>(entry));
    }();
    if (!path.starts_with('/') || unix_to_dos == nullptr)
        return path;
    WCHAR *converted = unix_to_dos(path.c_str());
    if (converted == nullptr)
        return path;
    const std::string result = to_utf8(converted);
    HeapFree(GetProcessHeap(), 0, converted);
    return result;
}

size_t file_name_begin(std::string_view path) {
    return path.find_last_of("/\\:") + 1;
}

void check_is_no_device(const std::string &path) {
    if (const std::string device = device_of_name(path); !device.empty())
        throw Failure(path, device + " is a device of the system, whatever extension follows",
                      "name a file");
}

DWORD attributes_of(const std::string &path) {
    return GetFileAttributesW(to_wide(native_path(path)).c_str());
}

bool is_folder(const std::string &path) {
    const DWORD attributes = attributes_of(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// What is written is shared for deletion: a fault deletes the unfinished file while it is open.
OpenFile open_file(const std::wstring &native, DWORD access, DWORD creation) {
    const DWORD sharing =
        access == GENERIC_READ ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_DELETE;
    OpenFile file(CreateFileW(native.c_str(), access, sharing, nullptr, creation,
                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE)
        file.release(); // there is nothing to close
    return file;
}

void check_is_readable_file(const std::string &path, const std::wstring &native) {
    check_is_no_device(path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(native.c_str(), GetFileExInfoStandard, &data))
        throw Failure(path, system_words(GetLastError()));
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        throw Failure(path, "this is a directory", "name a picture file");
    if (data.nFileSizeHigh == 0 && data.nFileSizeLow == 0)
        throw Failure(path, "the file is empty");
}

// Where no file can be made, the system may say that none was found. That would mislead, and is
// left out.
Failure creation_failure(const std::string &path, DWORD error) {
    const bool tells_why = error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
    return {path,
            "no file of this name can be made there" +
                (tells_why ? ": " + system_words(error) : std::string()),
            "name another file or directory"};
}

Failure writing_failure(const std::string &path, DWORD error) {
    return {path, "the picture cannot be written: " + system_words(error),
            error == ERROR_DISK_FULL ? "make room or write elsewhere" : ""};
}

Failure replacing_failure(const std::string &path, DWORD error) {
    return {path, "the file cannot be replaced: " + system_words(error)};
}

} // namespace apps

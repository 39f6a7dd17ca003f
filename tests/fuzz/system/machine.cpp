// Memory is the heap's, byte for byte, so that the sanitizer sees its ends; files lie in memory.
#include "tests/fuzz/system/machine.h"

#include <windows.h>

#include <cwchar>

#include <sanitizer/allocator_interface.h>

namespace {

using q32::fuzz::Machine;
using q32::fuzz::machine;

constexpr std::size_t most_bytes = 64 << 20; // of a block
constexpr std::size_t most_file_bytes = 4 << 20;

struct OpenFile {
    Machine::StoredFile *file;
    std::size_t at = 0;
};

DWORD last_error = 0;
int file_number = 0;

bool fails(int &left) {
    return left-- <= 0;
}

OpenFile *opened(HANDLE handle) {
    return static_cast<OpenFile *>(handle);
}

std::string narrow(const WCHAR *text) {
    std::string narrowed;
    for (; *text != 0; ++text)
        narrowed += char(*text);
    return narrowed;
}

} // namespace

namespace q32::fuzz {

Machine &machine() {
    static Machine the_one;
    return the_one;
}

void restart_machine() {
    machine() = {};
    last_error = 0;
    file_number = 0;
}

void check_nothing_is_held() {
    check(machine().open_files == 0, "a file stays open");
    check(machine().blocks == 0, "memory stays allocated");
}

} // namespace q32::fuzz

// --- memory -------------------------------------------------------------------------------------

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    if (bytes > most_bytes || fails(machine().allocations_left))
        return nullptr;
    ++machine().blocks;
    return (flags & GMEM_ZEROINIT) != 0 ? std::calloc(1, bytes) : std::malloc(bytes);
}

HGLOBAL GlobalReAlloc(HGLOBAL block, SIZE_T bytes, UINT) {
    if (bytes > most_bytes || fails(machine().allocations_left))
        return nullptr;
    const std::size_t before = __sanitizer_get_allocated_size(block);
    auto *const grown = static_cast<char *>(std::realloc(block, bytes));
    if (bytes > before)
        std::memset(grown + before, 0, bytes - before);
    return grown;
}

HGLOBAL GlobalFree(HGLOBAL block) {
    if (block != nullptr)
        --machine().blocks;
    std::free(block);
    return nullptr;
}

void *GlobalLock(HGLOBAL block) {
    return block;
}

BOOL GlobalUnlock(HGLOBAL) {
    return 1;
}

HGLOBAL GlobalHandle(const void *memory) {
    return const_cast<void *>(memory);
}

void GlobalMemoryStatus(MEMORYSTATUS *status) {
    status->dwTotalPhys = 256 << 20;
}

// --- files --------------------------------------------------------------------------------------

HANDLE CreateFileA(const char *path, DWORD, DWORD sharing, void *, DWORD disposition, DWORD,
                   HANDLE) {
    auto found = machine().files.find(path);
    if (found == machine().files.end()) {
        last_error = ERROR_FILE_NOT_FOUND;
        if (disposition == OPEN_EXISTING || *path == '\0')
            return INVALID_HANDLE_VALUE;
        found = machine().files.emplace(path, Machine::StoredFile{}).first;
    }
    Machine::StoredFile &file = found->second;
    last_error = 32; // another process has it
    if (file.held_by_others || (file.handles != 0 && (sharing == 0 || !file.is_shared)))
        return INVALID_HANDLE_VALUE;
    if (disposition == CREATE_ALWAYS)
        file.content.clear();
    ++file.handles;
    file.is_shared = sharing != 0;
    ++machine().open_files;
    return new OpenFile{&file};
}

HANDLE CreateFileW(const WCHAR *path, DWORD access, DWORD sharing, void *security,
                   DWORD disposition, DWORD flags, HANDLE like) {
    return CreateFileA(narrow(path).c_str(), access, sharing, security, disposition, flags, like);
}

BOOL CloseHandle(HANDLE file) {
    --opened(file)->file->handles;
    --machine().open_files;
    delete opened(file);
    return 1;
}

BOOL ReadFile(HANDLE file, void *data, DWORD bytes, DWORD *done, void *) {
    OpenFile &open = *opened(file);
    const q32::fuzz::Bytes &content = open.file->content;
    const std::size_t begin = std::min(open.at, content.size());
    *done = DWORD(std::min<std::size_t>(bytes, content.size() - begin));
    if (*done != 0)
        std::memcpy(data, content.data() + begin, *done);
    open.at += *done;
    return 1;
}

BOOL WriteFile(HANDLE file, const void *data, DWORD bytes, DWORD *done, void *) {
    OpenFile &open = *opened(file);
    *done = 0;
    if (fails(machine().writes_left) || open.at + bytes > most_file_bytes)
        return 0;
    q32::fuzz::Bytes &content = open.file->content;
    content.resize(std::max(content.size(), open.at + bytes));
    if (bytes != 0)
        std::memcpy(content.data() + open.at, data, bytes);
    open.at += bytes;
    *done = bytes;
    return 1;
}

DWORD SetFilePointer(HANDLE file, LONG low, LONG *, DWORD) {
    opened(file)->at = DWORD(low);
    return DWORD(low);
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER place, LARGE_INTEGER *, DWORD) {
    q32::fuzz::check(place.QuadPart >= 0, "a place in a file is negative");
    opened(file)->at = std::size_t(place.QuadPart);
    return 1;
}

BOOL SetEndOfFile(HANDLE file) {
    opened(file)->file->content.resize(opened(file)->at);
    return 1;
}

BOOL FlushFileBuffers(HANDLE) {
    return 1;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER *size) {
    size->QuadPart = LONGLONG(opened(file)->file->content.size());
    return 1;
}

BOOL LockFile(HANDLE, DWORD, DWORD, DWORD, DWORD) {
    return 1;
}

BOOL UnlockFile(HANDLE, DWORD, DWORD, DWORD, DWORD) {
    return 1;
}

BOOL DeleteFileA(const char *path) {
    machine().deleted.emplace_back(path);
    const auto found = machine().files.find(path);
    if (found == machine().files.end() || found->second.held_by_others ||
        found->second.handles != 0)
        return 0;
    machine().files.erase(found);
    return 1;
}

UINT GetTempFileNameA(const char *directory, const char *prefix, UINT, char *path) {
    const std::string name =
        std::string(directory) + prefix + std::to_string(++file_number) + ".tmp";
    if (name.size() >= MAX_PATH || fails(machine().writes_left))
        return 0;
    machine().files[name];
    std::strcpy(path, name.c_str());
    return UINT(file_number);
}

DWORD GetFileAttributesA(const char *path) {
    return machine().directories.count(path) != 0 ? FILE_ATTRIBUTE_DIRECTORY
                                                  : INVALID_FILE_ATTRIBUTES;
}

DWORD GetFileAttributesW(const WCHAR *path) {
    return GetFileAttributesA(narrow(path).c_str());
}

BOOL GetFileAttributesExW(const WCHAR *, GET_FILEEX_INFO_LEVELS, void *) {
    return 0;
}

BOOL UnmapViewOfFile(const void *) {
    return 1;
}

// --- directories and settings -------------------------------------------------------------------

DWORD GetTempPathA(DWORD size, char *path) {
    const std::string &directory = machine().directory;
    if (directory.size() >= size)
        return DWORD(directory.size() + 1);
    std::strcpy(path, directory.c_str());
    return DWORD(directory.size());
}

UINT GetWindowsDirectoryA(char *path, UINT size) {
    return GetTempPathA(size, path);
}

DWORD GetFullPathNameA(const char *path, DWORD size, char *full, char **) {
    const std::string whole = std::string("C:\\here\\") + path;
    if (whole.size() >= size)
        return DWORD(whole.size() + 1);
    std::strcpy(full, whole.c_str());
    return DWORD(whole.size());
}

// The one variable there is names the family's directory.
DWORD GetEnvironmentVariableA(const char *, char *value, DWORD size) {
    return machine().directory.size() % 2 == 0 ? 0 : GetTempPathA(size, value);
}

// As where text is Japanese.
BOOL IsDBCSLeadByte(BYTE byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

BOOL CreateDirectoryA(const char *path, void *) {
    machine().directories.insert(path);
    return 1;
}

DWORD GetCurrentDirectoryW(DWORD, WCHAR *path) {
    std::wcscpy(path, L"C:\\");
    return 3;
}

BOOL SetCurrentDirectoryA(const char *path) {
    return machine().directories.count(path) != 0;
}

BOOL SetCurrentDirectoryW(const WCHAR *) {
    return 1;
}

UINT GetPrivateProfileIntA(const char *, const char *key, int value, const char *) {
    const auto found = machine().settings.find(key);
    return found == machine().settings.end()
               ? UINT(value)
               : UINT(std::strtoull(found->second.c_str(), nullptr, 10));
}

DWORD GetPrivateProfileStringA(const char *, const char *key, const char *otherwise, char *value,
                               DWORD size, const char *) {
    const auto found = machine().settings.find(key);
    const std::string text = found == machine().settings.end() ? otherwise : found->second;
    if (size == 0)
        return 0;
    std::strncpy(value, text.c_str(), size - 1);
    value[size - 1] = '\0';
    return DWORD(std::strlen(value));
}

BOOL WritePrivateProfileStringA(const char *, const char *key, const char *value, const char *) {
    machine().settings[key] = value;
    return 1;
}

// --- anything else ------------------------------------------------------------------------------

DWORD GetLastError() {
    return last_error;
}

DWORD GetVersion() {
    return 10;
}

void Sleep(DWORD) {}

HANDLE GetCurrentThread() {
    return nullptr;
}

int GetThreadPriority(HANDLE) {
    return 0;
}

BOOL SetThreadPriority(HANDLE, int) {
    return 1;
}

void InitializeCriticalSection(CRITICAL_SECTION *) {}
void DeleteCriticalSection(CRITICAL_SECTION *) {}
void EnterCriticalSection(CRITICAL_SECTION *) {}
void LeaveCriticalSection(CRITICAL_SECTION *) {}

HMODULE GetModuleHandleW(const WCHAR *) {
    return nullptr;
}

FARPROC GetProcAddress(HMODULE, const char *) {
    return nullptr;
}

HANDLE GetProcessHeap() {
    return nullptr;
}

BOOL HeapFree(HANDLE, DWORD, void *) {
    return 1;
}

BOOL DeleteObject(void *) {
    return 1;
}

BOOL DeleteDC(HDC) {
    return 1;
}

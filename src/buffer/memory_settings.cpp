// The settings of the memory policy at the start: their defaults, and what the settings file says
// of limits and swap directories.
#include "buffer/buffer_manager.h"
#include "buffer/storage.h"
#include "library/process/settings_file.h"

#include <cstring>

namespace q32::buffer {
namespace {

// Texts of the common library. The section's name with a digit is a path's key, the switch's name
// with a digit a directory switch's key.
constexpr int section_text = 10001;
constexpr int directory_switch_text = 10003;
constexpr int file_switch_text = 10006;
constexpr int memory_switch_text = 10007;
constexpr int file_limit_text = 10008;
constexpr int memory_limit_text = 10009;
constexpr int path_digit_position = 10;
constexpr int switch_digit_position = 6;

// What a process of this edition is told. The older call knows no more than 4 GB, and in 32 bits
// that is what programs have seen as their limit from the beginning.
size_t total_physical_memory() {
#ifdef _WIN64
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatusEx(&status);
    return size_t(status.ullTotalPhys);
#else
    MEMORYSTATUS status{};
    status.dwLength = sizeof status;
    GlobalMemoryStatus(&status);
    return status.dwTotalPhys;
#endif
}

// All of the machine's memory; 1 MB on systems before Windows 95 and Windows NT.
size_t measure_physical_memory() {
    const DWORD version = GetVersion();
    const bool is_nt = (version & 0x80000000) == 0;
    const int major = version & 0xFF;
    if (!is_nt && major < 4)
        return 0x100000;
    return total_physical_memory();
}

// The system's temporary directory, made when it does not exist.
void use_system_directory(char (&path)[max_path]) {
    constexpr DWORD size = 256;
    const DWORD length = GetTempPathA(size, path);
    if (length == 0 || length >= size)
        path[0] = '\0';
    else if (GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES)
        CreateDirectoryA(path, nullptr);
}

// One that can become the current directory, which it does for a moment. The one before it is kept
// in wide characters: not every directory has a name in the system's code page.
bool is_directory(const char *path) {
    wchar_t before[MAX_PATH];
    const DWORD length = GetCurrentDirectoryW(MAX_PATH, before);
    const bool is_one = SetCurrentDirectoryA(path) != 0;
    if (length != 0 && length < MAX_PATH)
        SetCurrentDirectoryW(before);
    return is_one;
}

bool is_usable(const char (&path)[max_path]) {
    return std::strlen(path) >= 3 && path[1] == ':' && path[2] == '\\' && is_directory(path);
}

// Directory n + 1, for n from 1 to 3. A path that cannot be used, an empty or absent one too, is
// emptied and switched off, in memory and in the file.
void read_directory(const SettingsFile &file, const SettingName &section, int n) {
    const SettingName path_key = section.with_digit(path_digit_position, n);
    const SettingName switch_key =
        setting_name(directory_switch_text).with_digit(switch_digit_position, n);
    char(&path)[max_path] = memory_state.directories.path[n];
    uint32_t &enabled = memory_state.directories.enabled[n];

    file.text(section, path_key, path, max_path);
    enabled = uint32_t(file.integer(section, switch_key, 0));
    if (is_usable(path))
        return;
    enabled = 0;
    path[0] = '\0';
    file.write(section, path_key, "");
    file.write(section, switch_key, "0");
}

// The file counts in kilobytes, up to two terabytes. 4 GB and more is no limit to a 32-bit process.
size_t read_limit(const SettingsFile &file, const SettingName &section, int key_text) {
    const int kilobytes = file.integer(section, setting_name(key_text), -1);
    if (kilobytes < 0)
        return size_t(kilobytes); // -1 is no_limit
    const uint64_t bytes = uint64_t(kilobytes) * 1024;
    return bytes < no_limit ? size_t(bytes) : no_limit;
}

} // namespace

void set_defaults() {
    memory_state = MemoryState{};
    memory_state.memory_limit = no_limit;
    memory_state.file_limit = no_limit;
    memory_state.physical_memory = measure_physical_memory();
    use_system_directory(memory_state.directories.path[0]);
    memory_state.directories.enabled[0] = 1;
}

void read_settings_file() {
    const SettingsFile file;
    const SettingName section = setting_name(section_text);
    memory_state.directories.enabled[0] = uint32_t(file.integer(section, {"UseSysDir"}, 1));
    for (int n = 1; n <= 3; ++n)
        read_directory(file, section, n);
    memory_state.file_switch = uint32_t(file.integer(section, setting_name(file_switch_text), 0));
    memory_state.memory_switch =
        uint32_t(file.integer(section, setting_name(memory_switch_text), 0));
    memory_state.file_limit = read_limit(file, section, file_limit_text);
    memory_state.memory_limit = read_limit(file, section, memory_limit_text);
}

} // namespace q32::buffer

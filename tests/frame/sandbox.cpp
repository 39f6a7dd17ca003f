// The process's own place for files, under the system's temporary directory.
#include "tests/frame/sandbox.h"

#include "tests/frame/comm.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace q32::frame {
namespace {

void remove_sandbox() {
    SetCurrentDirectoryA("C:\\");
    DeleteFileA(settings_file().c_str());
    std::error_code ignored;
    std::filesystem::remove_all(sandbox(), ignored);
}

std::string make_sandbox() {
    char temporary[MAX_PATH + 1];
    GetTempPathA(sizeof temporary, temporary);
    const std::string folder = temporary + ("q32t" + std::to_string(GetCurrentProcessId())) + '\\';
    std::error_code error;
    std::filesystem::remove_all(folder, error); // of a process that had this number before
    std::filesystem::create_directories(folder + "swap", error);
    std::filesystem::create_directories(folder + "family", error);
    if (error) {
        std::fprintf(stderr, "cannot make %s\n", folder.c_str());
        std::abort();
    }
    for (const char *variable : {"TMP", "TEMP"})
        SetEnvironmentVariableA(variable, (folder + "swap").c_str());
    std::atexit(remove_sandbox);
    return folder;
}

} // namespace

const std::string &sandbox() {
    // Never destroyed: it is needed until the last thing that happens in the process.
    static const std::string &folder = *new std::string(make_sandbox());
    return folder;
}

std::string sandbox_swap() {
    return sandbox() + "swap\\";
}

std::string sandbox_family() {
    return sandbox() + "family\\";
}

std::string make_folder(const std::string &name) {
    const std::string folder = sandbox() + name + '\\';
    std::filesystem::create_directories(folder);
    return folder;
}

bool file_exists(const std::string &path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<unsigned char> read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_file(const std::string &path, const std::vector<unsigned char> &bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::string> files_below(const std::string &folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder, error))
        if (entry.is_regular_file(error))
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

void empty_sandbox() {
    for (const std::string &file : files_below(sandbox()))
        DeleteFileA(file.c_str());
    DeleteFileA(settings_file().c_str());
}

// --- settings --------------------------------------------------------------------------------

std::string settings_file() {
    char windows[MAX_PATH];
    GetWindowsDirectoryA(windows, sizeof windows);
    return windows + ('\\' + text_of(10000));
}

void write_setting(const std::string &section, const std::string &key, const std::string &value) {
    WritePrivateProfileStringA(section.c_str(), key.c_str(), value.c_str(),
                               settings_file().c_str());
}

std::string read_setting(const std::string &section, const std::string &key) {
    char value[512];
    GetPrivateProfileStringA(section.c_str(), key.c_str(), "", value, sizeof value,
                             settings_file().c_str());
    return value;
}

std::string path_key(int n) {
    return text_of(10001).substr(0, 10) + std::to_string(n);
}

std::string switch_key(int n) {
    return text_of(10003).substr(0, 6) + std::to_string(n);
}

} // namespace q32::frame

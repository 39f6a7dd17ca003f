// The name that the file has meanwhile, and who removes it.
#include "unfinished_file.h"

#include "files.h"

#include <windows.h>

namespace apps {
namespace {

std::wstring being_written;

// The file that a symbolic link leads to, which is to be replaced in its stead; what is no link, or
// is not there yet, as it was.
std::wstring behind_links(const std::wstring &path) {
    constexpr DWORD all_sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE opened = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, all_sharing, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return path;
    const OpenFile file(opened);
    std::wstring target(GetFinalPathNameByHandleW(opened, nullptr, 0, 0), L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(opened, target.data(), static_cast<DWORD>(target.size()), 0);
    if (length == 0 || length >= target.size())
        return path;
    target.resize(length);
    return target;
}

} // namespace

UnfinishedFile::UnfinishedFile(const std::wstring &final_path)
    : final_(behind_links(final_path)), path_(unfinished_path(final_, GetCurrentProcessId())) {
    being_written = path_;
}

UnfinishedFile::~UnfinishedFile() {
    being_written.clear();
    if (!finished_)
        DeleteFileW(path_.c_str());
}

bool UnfinishedFile::finish() {
    finished_ = MoveFileExW(path_.c_str(), final_.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
    return finished_;
}

std::wstring unfinished_path(const std::wstring &final_path, unsigned long process) {
    return behind_links(final_path) + L".unfinished-" + std::to_wstring(process);
}

void remove_unfinished_file() {
    if (!being_written.empty())
        DeleteFileW(being_written.c_str());
}

} // namespace apps

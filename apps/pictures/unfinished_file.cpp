// The name that the file has meanwhile, and who removes it.
#include "unfinished_file.h"

#include <windows.h>

namespace apps {
namespace {

std::wstring being_written;

} // namespace

UnfinishedFile::UnfinishedFile(const std::wstring &final_path)
    : final_(final_path), path_(unfinished_path(final_path, GetCurrentProcessId())) {
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
    return final_path + L".unfinished-" + std::to_wstring(process);
}

void remove_unfinished_file() {
    if (!being_written.empty())
        DeleteFileW(being_written.c_str());
}

} // namespace apps

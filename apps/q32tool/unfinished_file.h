// A file that is being written beside the place where it will stand: it takes that place when it is
// complete and vanishes otherwise.
#pragma once

#include "interrupt.h"

#include <windows.h>

#include <string>

namespace q32tool {

class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::wstring &final_path)
        : final_(final_path),
          path_(final_path + L".unfinished-" + std::to_wstring(GetCurrentProcessId())) {
        set_unfinished_file(path_);
    }
    ~UnfinishedFile() {
        set_unfinished_file({});
        if (!finished_)
            DeleteFileW(path_.c_str());
    }
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    const std::wstring &path() const { return path_; }

    // Gives the closed file its name, replacing an older one; false: see GetLastError.
    bool finish() {
        finished_ = MoveFileExW(path_.c_str(), final_.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
        return finished_;
    }

private:
    std::wstring final_;
    std::wstring path_;
    bool finished_ = false;
};

} // namespace q32tool

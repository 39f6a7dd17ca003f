// A file that is being written beside the place where it will stand: it takes that place when it is
// complete and vanishes otherwise. The place of a symbolic link is that of the file behind it: the
// link stays.
#pragma once

#include <string>

namespace apps {

class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::wstring &final_path);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    const std::wstring &path() const { return path_; }

    // Gives the closed file its name, replacing an older one; false: see GetLastError.
    bool finish();

private:
    std::wstring final_;
    std::wstring path_;
    bool finished_ = false;
};

// Its name meanwhile, when the process of this number writes it.
std::wstring unfinished_path(const std::wstring &final_path, unsigned long process);

// For a process that ends without unwinding: removes the file that is being written, if any. At
// most one is at a time.
void remove_unfinished_file();

} // namespace apps

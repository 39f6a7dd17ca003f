// The pictures that the user has opened last, kept from one start of the program to the next.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

namespace apps::q32view {

class RecentFiles {
public:
    static constexpr size_t most = 10;

    // Puts a picture in front.
    void remember(const std::string &path);
    void forget_all();

    // Makes a menu of those that are still there, and of a command that forgets them. first: the
    // number of the first one's command.
    void fill(HMENU menu, UINT first, UINT forget);
    // Of one of those commands; empty: there is none.
    std::string at(size_t index) const;

private:
    std::vector<std::wstring> files_; // as they were last read, the latest in front
};

} // namespace apps::q32view

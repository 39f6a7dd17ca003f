// What a window shows, as a picture file.
#pragma once

#include <windows.h>

#include <string>

namespace apps::q32view {

// whole: with title, menu and border. The file's format is that of its name. Throws Failure.
void save_screenshot(HWND window, bool whole, const std::string &path);

} // namespace apps::q32view

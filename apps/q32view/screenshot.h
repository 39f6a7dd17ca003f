// What a window shows, as a picture file.
#pragma once

#include <windows.h>

#include <string>

namespace apps::q32view {

// with_menu: with the menu above it. The file's format is that of its name. Throws Failure.
void save_screenshot(HWND window, bool with_menu, const std::string &path);

} // namespace apps::q32view

// What a window shows, as a picture file or on the clipboard.
#pragma once

#include "apps/pictures/areas.h"

#include <windows.h>

#include <string>

namespace apps::q32view {

// with_menu: with the menu above it. The file's format is that of its name. Throws Failure.
void save_screenshot(HWND window, bool with_menu, const std::string &path);

// area: of the window's client area. Throws Failure.
void copy_to_clipboard(HWND window, const Area &area);

} // namespace apps::q32view

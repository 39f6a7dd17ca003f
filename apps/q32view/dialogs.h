// The system's dialogs for names of files.
#pragma once

#include <windows.h>

#include <string>

namespace apps::q32view {

// Empty when the user cancels. Throws Failure when there is no dialog.
std::string ask_for_picture(HWND owner);
std::string ask_for_new_file(HWND owner);

} // namespace apps::q32view

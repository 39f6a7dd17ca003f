// A window that takes the whole screen, without its menu, and gives it back as it was.
#pragma once

#include <windows.h>

namespace apps::q32view {

class FullScreen {
public:
    bool is_on() const { return on_; }
    void enter(HWND window);
    void leave(HWND window);

private:
    bool on_ = false;
    // As they were before.
    WINDOWPLACEMENT placement_ = {};
    LONG_PTR style_ = 0;
    HMENU menu_ = nullptr;
};

} // namespace apps::q32view

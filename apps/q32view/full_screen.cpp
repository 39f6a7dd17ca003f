// The window's frame, menu and place, taken away and put back.
#include "full_screen.h"

namespace apps::q32view {

void FullScreen::enter(HWND window) {
    MONITORINFO monitor = {.cbSize = sizeof monitor};
    placement_.length = sizeof placement_;
    if (on_ || !GetWindowPlacement(window, &placement_) ||
        !GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor))
        return;
    on_ = true;
    menu_ = GetMenu(window);
    SetMenu(window, nullptr);
    style_ = GetWindowLongPtrW(window, GWL_STYLE);
    SetWindowLongPtrW(window, GWL_STYLE, style_ & ~LONG_PTR{WS_OVERLAPPEDWINDOW});
    const RECT &all = monitor.rcMonitor;
    SetWindowPos(window, HWND_TOP, all.left, all.top, all.right - all.left, all.bottom - all.top,
                 SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
}

void FullScreen::leave(HWND window) {
    if (!on_)
        return;
    on_ = false;
    SetWindowLongPtrW(window, GWL_STYLE, style_);
    SetMenu(window, menu_);
    SetWindowPlacement(window, &placement_);
    SetWindowPos(window, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
}

} // namespace apps::q32view

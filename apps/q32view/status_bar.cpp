// The system's own status bar, in three parts.
#include "status_bar.h"

#include "apps/pictures/text.h"

#include <commctrl.h>

#include <iterator>

namespace apps::q32view {
namespace {

enum Part { part_message, part_picture, part_device };

// From the right edge of the window.
constexpr int picture_width = 200;
constexpr int device_width = 170;

} // namespace

void StatusBar::create(HWND parent) {
    InitCommonControls();
    window_ = CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP,
                              0, 0, 0, 0, parent, nullptr, nullptr, nullptr);
}

int StatusBar::height() const {
    RECT area = {};
    GetWindowRect(window_, &area);
    return area.bottom - area.top;
}

void StatusBar::fit() {
    SendMessageW(window_, WM_SIZE, 0, 0);
    RECT area = {};
    GetClientRect(window_, &area);
    const int device = area.right - device_width, picture = device - picture_width;
    const int edges[] = {picture > 0 ? picture : 0, device > 0 ? device : 0, -1};
    SendMessageW(window_, SB_SETPARTS, std::size(edges), reinterpret_cast<LPARAM>(edges));
}

void StatusBar::say(const std::string &text) {
    set(part_message, text);
}

void StatusBar::say_picture(const std::string &text) {
    set(part_picture, text);
}

void StatusBar::say_device(const std::string &text) {
    set(part_device, text);
}

void StatusBar::set(int part, const std::string &text) {
    const std::wstring wide = to_wide(text);
    SendMessageW(window_, SB_SETTEXTW, static_cast<WPARAM>(part),
                 reinterpret_cast<LPARAM>(wide.c_str()));
    UpdateWindow(window_);
}

} // namespace apps::q32view

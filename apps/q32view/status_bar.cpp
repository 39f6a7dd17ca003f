// The system's own status bar, in three parts or in one.
#include "status_bar.h"

#include "apps/pictures/text.h"

#include <commctrl.h>

#include <algorithm>
#include <iterator>

namespace apps::q32view {
namespace {

enum Part { part_message, part_picture, part_device };

// What the parts at the right must have room for.
constexpr const char *longest_picture = "32000 x 32000, 3200 %";
constexpr const char *longest_device = "256 colours, detected";
constexpr const char *space = "MM"; // beside a text

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
    const int grip = area.bottom;
    const int device = area.right - width_of(longest_device) - width_of(space) - grip;
    const int picture = device - width_of(longest_picture) - width_of(space);
    const int edges[] = {std::max(picture, 0), std::max(device, 0), -1};
    SendMessageW(window_, SB_SETPARTS, std::size(edges), reinterpret_cast<LPARAM>(edges));
    if (tells_failure_)
        show_failure();
}

void StatusBar::say(const std::string &text) {
    if (tells_failure_)
        SendMessageW(window_, SB_SIMPLE, FALSE, 0);
    tells_failure_ = false;
    set(part_message, text);
}

void StatusBar::say_picture(const std::string &text) {
    set(part_picture, text);
}

void StatusBar::say_device(const std::string &text) {
    set(part_device, text);
}

void StatusBar::say_failure(const FailureWords &failure) {
    failure_ = failure;
    tells_failure_ = true;
    SendMessageW(window_, SB_SIMPLE, TRUE, 0);
    show_failure();
}

// Also in the part that it covers: programs that read the screen aloud look there.
void StatusBar::show_failure() {
    RECT area = {};
    GetClientRect(window_, &area);
    const int room = area.right - area.bottom - width_of(space);
    const std::string text = fitted_words(
        failure_, [this, room](const std::string &words) { return width_of(words) <= room; });
    set(part_message, text);
    set(SB_SIMPLEID, text);
}

int StatusBar::width_of(const std::string &text) const {
    const std::wstring wide = to_wide(text);
    const HDC dc = GetDC(window_);
    const auto font = reinterpret_cast<HFONT>(SendMessageW(window_, WM_GETFONT, 0, 0));
    const HGDIOBJ before = font != nullptr ? SelectObject(dc, font) : nullptr;
    SIZE size = {};
    GetTextExtentPoint32W(dc, wide.c_str(), static_cast<int>(wide.size()), &size);
    if (before != nullptr)
        SelectObject(dc, before);
    ReleaseDC(window_, dc);
    return size.cx;
}

void StatusBar::set(int part, const std::string &text) {
    const std::wstring wide = to_wide(text);
    SendMessageW(window_, SB_SETTEXTW, static_cast<WPARAM>(part),
                 reinterpret_cast<LPARAM>(wide.c_str()));
    UpdateWindow(window_);
}

} // namespace apps::q32view

// Combo boxes, track bars, check boxes and buttons, with their captions.
#include "control_column.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"

#include <commctrl.h>

#include <algorithm>

namespace apps::q32view {
namespace {

// Lengths at 96 dots an inch.
constexpr int words_height = 18;
constexpr int control_height = 26;
constexpr int space_between = 10;
constexpr int list_height = 400; // of a combo box with its list

struct Look {
    const wchar_t *type;
    DWORD style;
    bool has_caption; // above it
};

// By Control::Kind.
constexpr Look looks[] = {
    {L"COMBOBOX", CBS_DROPDOWNLIST | WS_VSCROLL, true},
    {TRACKBAR_CLASSW, TBS_HORZ | TBS_NOTICKS, true},
    {L"BUTTON", BS_AUTOCHECKBOX, false},
    {L"BUTTON", BS_PUSHBUTTON, false},
};

const Look &look_of(const Control &control) {
    return looks[static_cast<size_t>(control.kind)];
}

HWND make_child(HWND parent, const wchar_t *type, DWORD style, const std::string &text, int id) {
    const HWND window = CreateWindowExW(
        0, type, to_wide(text).c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    if (window == nullptr)
        throw Failure("the laboratory", "its controls cannot be made");
    SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(message_font()), TRUE);
    return window;
}

} // namespace

HFONT message_font() {
    static const HFONT font = [] {
        NONCLIENTMETRICSW metrics = {};
        metrics.cbSize = sizeof metrics;
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
        return CreateFontIndirectW(&metrics.lfMessageFont);
    }();
    return font;
}

int on_this_screen(int length) {
    const HDC screen = GetDC(nullptr);
    const int scaled = MulDiv(length, GetDeviceCaps(screen, LOGPIXELSY), USER_DEFAULT_SCREEN_DPI);
    ReleaseDC(nullptr, screen);
    return scaled;
}

void ControlColumn::create(HWND parent, std::vector<Control> controls) {
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES};
    InitCommonControlsEx(&classes);
    controls_ = std::move(controls);
    for (const Control &control : controls_)
        windows_.push_back(make(parent, control, first_id + static_cast<int>(windows_.size())));
    show_values();
}

ControlColumn::Windows ControlColumn::make(HWND parent, const Control &control, int id) {
    const Look &look = look_of(control);
    const HWND caption = look.has_caption
                             ? make_child(parent, L"STATIC", SS_NOPREFIX, control.caption, -1)
                             : nullptr;
    const HWND window = make_child(parent, look.type, look.style | WS_TABSTOP, control.caption, id);
    for (const std::string &word : control.choices)
        SendMessageW(window, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(to_wide(word).c_str()));
    if (control.kind == Control::Kind::number) {
        SendMessageW(window, TBM_SETRANGEMIN, FALSE, control.least);
        SendMessageW(window, TBM_SETRANGEMAX, FALSE, control.most);
        SendMessageW(window, TBM_SETPAGESIZE, 0, std::max((control.most - control.least) / 10, 1));
    }
    return {caption, window};
}

void ControlColumn::lay_out(const Area &room) {
    int top = room.top;
    for (size_t i = 0; i < windows_.size(); ++i) {
        if (windows_[i].caption != nullptr) {
            const int height = on_this_screen(words_height);
            MoveWindow(windows_[i].caption, room.left, top, room.width(), height, TRUE);
            top += height;
        }
        const bool has_list = controls_[i].kind == Control::Kind::choice;
        MoveWindow(windows_[i].control, room.left, top, room.width(),
                   on_this_screen(has_list ? list_height : control_height), TRUE);
        top += on_this_screen(control_height + space_between);
    }
}

size_t ControlColumn::index_of(std::string_view name) const {
    size_t index = 0;
    while (controls_.at(index).name != name)
        ++index;
    return index;
}

const Control &ControlColumn::control(std::string_view name) const {
    return controls_[index_of(name)];
}

void ControlColumn::show_values() {
    for (size_t i = 0; i < controls_.size(); ++i)
        show_value(i);
}

void ControlColumn::show_value(size_t index) {
    const Control &control = controls_[index];
    const auto &[caption, window] = windows_[index];
    const WPARAM value = static_cast<WPARAM>(control.value);
    switch (control.kind) {
    case Control::Kind::choice:
        SendMessageW(window, CB_SETCURSEL, value, 0);
        break;
    case Control::Kind::number:
        SendMessageW(window, TBM_SETPOS, TRUE, control.value);
        SetWindowTextW(caption, to_wide(caption_of(control)).c_str());
        break;
    case Control::Kind::toggle:
        SendMessageW(window, BM_SETCHECK, value, 0);
        break;
    case Control::Kind::button:
        break;
    }
}

void ControlColumn::limit(std::string_view name, int most) {
    const size_t index = index_of(name);
    controls_[index].most = most;
    controls_[index].unit = " of " + std::to_string(most);
    // The thumb goes where it belongs when its place changes, not with the range alone.
    SendMessageW(windows_[index].control, TBM_SETPOS, FALSE, controls_[index].least);
    SendMessageW(windows_[index].control, TBM_SETRANGEMAX, FALSE, most);
    SendMessageW(windows_[index].control, TBM_SETPAGESIZE, 0, std::max(most / 10, 1));
    show_value(index);
}

void ControlColumn::enable(std::string_view name, bool on) {
    EnableWindow(windows_[index_of(name)].control, on);
}

std::optional<size_t> ControlColumn::take(UINT message, WPARAM wide, LPARAM param) {
    const auto from =
        std::find_if(windows_.begin(), windows_.end(), [param](const Windows &windows) {
            return reinterpret_cast<LPARAM>(windows.control) == param;
        });
    if (from == windows_.end())
        return std::nullopt;
    const size_t index = static_cast<size_t>(from - windows_.begin());
    Control &control = controls_[index];
    UINT question = 0; // after the control's value
    if (message == WM_HSCROLL && control.kind == Control::Kind::number)
        question = TBM_GETPOS;
    else if (message == WM_COMMAND && control.kind == Control::Kind::choice &&
             HIWORD(wide) == CBN_SELCHANGE)
        question = CB_GETCURSEL;
    else if (message == WM_COMMAND && control.kind == Control::Kind::toggle &&
             HIWORD(wide) == BN_CLICKED)
        question = BM_GETCHECK;
    else if (message == WM_COMMAND && control.kind == Control::Kind::button &&
             HIWORD(wide) == BN_CLICKED)
        return index;
    else
        return std::nullopt;
    const int value = static_cast<int>(SendMessageW(from->control, question, 0, 0));
    if (value == control.value)
        return std::nullopt;
    control.value = value;
    show_value(index);
    return index;
}

} // namespace apps::q32view

// The window of a laboratory: its parts, and its messages.
#include "laboratory.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/q32view/dialogs.h"
#include "apps/q32view/resource.h"
#include "apps/q32view/screenshot.h"
#include "drawing.h"
#include "geometry/system_rect.h"

#include <windowsx.h>

#include <algorithm>

namespace apps::q32view {
namespace {

// Lengths at 96 dots an inch.
constexpr int column_width = 190;
constexpr int margin = 12;
constexpr int text_height = 70;

constexpr int text_id = ControlColumn::first_id - 1; // among the controls' numbers
constexpr UINT_PTR timer_id = 1;

} // namespace

// A window that is still open goes with the program, at its end. Taking it away by itself may mean
// to wait for a window manager.
Laboratory::~Laboratory() {
    if (is_closed())
        return;
    for (const HWND window : {stage_.window(), window_})
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
}

void Laboratory::open(const LaboratoryRequest &request) {
    std::vector<Control> controls = make_controls();
    for (const Setting &setting : request.settings)
        take_setting(controls, setting);
    save_to_ = request.save_to;
    create(request.size);
    column_.create(window_, std::move(controls));
    lay_out();
    try {
        take_pictures(request.pictures);
    } catch (const UsageError &) {
        throw;
    } catch (const std::exception &failure) {
        if (!request.screenshot.empty())
            throw;
        say_failure(failure);
    }
    ShowWindow(window_, SW_SHOWNORMAL);
    UpdateWindow(window_);
}

void Laboratory::create(Size size) {
    constexpr DWORD style = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
    WNDCLASSW type = {};
    type.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    type.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    type.lpszClassName = L"Q32ViewLaboratory";
    make(type, to_wide(title_ + " - q32view").c_str(), style, WS_EX_CONTROLPARENT, nullptr);
    status_.create(window_);
    stage_.create(window_);
    text_ = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | SS_NOPREFIX, 0, 0, 0, 0,
                            window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(text_id)),
                            GetModuleHandleW(nullptr), nullptr);
    SendMessageW(text_, WM_SETFONT, reinterpret_cast<WPARAM>(message_font()), FALSE);
    RECT frame = {0, 0, size.width, size.height};
    AdjustWindowRectEx(&frame, style, FALSE, WS_EX_CONTROLPARENT);
    SetWindowPos(window_, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Laboratory::save(const std::string &path) {
    settle();
    RedrawWindow(window_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    save_screenshot(window_, false, path);
}

void Laboratory::ask_and_save() {
    const std::string path = save_to_.empty() ? ask_for_new_file(window_) : save_to_;
    if (path.empty())
        return;
    save(path);
    status_.say("saved as " + path);
}

void Laboratory::set_value(std::string_view name, int value) {
    for (Control &control : column_.controls())
        if (control.name == name)
            control.value = value;
    column_.show_values();
}

void Laboratory::limit(std::string_view name, int most) {
    column_.limit(name, most);
}

bool Laboratory::take_key(WPARAM key) {
    try {
        return !Busy::is_anything() && handle_key(key);
    } catch (const std::exception &failure) {
        say_failure(failure);
        return true;
    }
}

void Laboratory::explain(const std::string &text) {
    if (text == explained_)
        return;
    explained_ = text;
    SetWindowTextW(text_, to_wide(text).c_str());
    UpdateWindow(text_);
}

void Laboratory::repaint() {
    InvalidateRect(stage_.window(), nullptr, FALSE);
}

Size Laboratory::room() const {
    return client_size(stage_.window());
}

void Laboratory::start_timer(unsigned milliseconds) {
    SetTimer(window_, timer_id, milliseconds, nullptr);
}

void Laboratory::stop_timer() {
    KillTimer(window_, timer_id);
}

LRESULT Laboratory::handle_message(UINT message, WPARAM wide, LPARAM param) {
    if (const auto changed = column_.take(message, wide, param)) {
        change(*changed);
        return 0;
    }
    switch (message) {
    case WM_SIZE:
        lay_out();
        return 0;
    case WM_COMMAND: // Esc comes as IDCANCEL
        if (LOWORD(wide) == IDCANCEL)
            DestroyWindow(window_);
        else if (LOWORD(wide) == ID_SAVE_VIEW)
            ask_and_save();
        return 0;
    case WM_TIMER:
        if (!Busy::is_anything())
            handle_timer();
        return 0;
    case WM_NCDESTROY: { // the stage has gone before
        const LRESULT result = DefWindowProcW(window_, message, wide, param);
        window_ = nullptr;
        PostMessageW(nullptr, WM_NULL, 0, 0); // whoever waits for messages looks who is left
        return result;
    }
    default:
        return DefWindowProcW(window_, message, wide, param);
    }
}

void Laboratory::change(size_t control) {
    status_.say({});
    handle_change(column_.controls()[control].name);
}

void Laboratory::say_failure(const std::exception &failure) {
    status_.say(failure.what());
}

void Laboratory::lay_out() {
    if (text_ == nullptr)
        return;
    status_.fit();
    const Size inside = client_size(window_);
    const int space = on_this_screen(margin);
    const int left = on_this_screen(column_width) + 2 * space;
    const int bottom = inside.height - status_.height();
    const int text_top = bottom - on_this_screen(text_height);
    const int width = std::max(inside.width - left - space, 0);
    column_.lay_out({space, space, left - space, bottom});
    MoveWindow(stage_.window(), left, space, width, std::max(text_top - 2 * space, 0), TRUE);
    MoveWindow(text_, left, text_top, width, bottom - text_top, TRUE);
}

// --- the area of pictures ------------------------------------------------------------------------

void Laboratory::Stage::create(HWND parent) {
    WNDCLASSW type = {};
    type.style = CS_HREDRAW | CS_VREDRAW;
    type.lpszClassName = L"Q32ViewStage";
    make(type, nullptr, WS_CHILD | WS_VISIBLE, 0, parent);
    GetCursorPos(&pointer_);
}

LRESULT Laboratory::Stage::handle(UINT message, WPARAM wide, LPARAM param) {
    switch (message) {
    case WM_PAINT:
        if (!Busy::is_anything())
            paint();
        return 0;
    case WM_ERASEBKGND: // WM_PAINT does
        return 1;
    case WM_MOUSEMOVE:
        if (!Busy::is_anything())
            take_pointer({GET_X_LPARAM(param), GET_Y_LPARAM(param)});
        return 0;
    default:
        return DefWindowProcW(window_, message, wide, param);
    }
}

// The system also tells of a pointer that rests, when windows come, go or are changed. What is said
// of its place would hide what was said last, such as that the window has been saved.
void Laboratory::Stage::take_pointer(POINT at) {
    const Point inside = {at.x, at.y};
    ClientToScreen(window_, &at);
    if (at.x == pointer_.x && at.y == pointer_.y)
        return;
    pointer_ = at;
    owner_.handle_pointer(inside);
}

void Laboratory::Stage::paint() {
    const Busy busy;
    PAINTSTRUCT state;
    const HDC dc = BeginPaint(window_, &state);
    const Size size = client_size(window_);
    try {
        owner_.draw(dc, size);
    } catch (const std::exception &failure) {
        owner_.say_failure(failure);
    }
    fill_background(dc, size);
    EndPaint(window_, &state);
}

} // namespace apps::q32view

// The window's life and messages. Commands of the menu: main_window_menu.cpp.
#include "main_window.h"

#include "apps/pictures/text.h"
#include "geometry/system_rect.h"
#include "resource.h"
#include "screenshot.h"

#include <windowsx.h>

namespace apps::q32view {
namespace {

Size client_size(HWND window) {
    RECT rect = {};
    GetClientRect(window, &rect);
    return q32::as_area(rect).size();
}

// Messages that begin something new.
bool is_request(UINT message) {
    return message == WM_COMMAND || message == WM_DROPFILES || message == WM_CLOSE ||
           message == WM_KEYDOWN || message == WM_MOUSEWHEEL;
}

} // namespace

MainWindow::MainWindow(const Options &options) : options_(options), canvas_(show_, status_, *this) {
    show_.settings = options.settings;
    show_.test_card = options.test_card;
}

void MainWindow::create() {
    WNDCLASSW type = {};
    type.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    type.lpszMenuName = MAKEINTRESOURCEW(IDR_MENU);
    type.lpszClassName = L"Q32View";
    make(type, L"q32view", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, WS_EX_ACCEPTFILES, nullptr);
    add_laboratory_menu(window_);
    status_.create(window_);
    canvas_.create(window_);
    lay_out();
    if (options_.size)
        give_size(*options_.size);
    apply(show_.settings);
    view_changed();
}

// What is asked for while something else is being done is put off until that has ended.
LRESULT MainWindow::handle(UINT message, WPARAM wide, LPARAM param) {
    if (Busy::is_anything() && is_request(message)) {
        PostMessageW(window_, message, wide, param);
        return 0;
    }
    try {
        return handle_message(message, wide, param);
    } catch (const std::exception &failure) {
        say_failure(failure);
        return 0;
    }
}

LRESULT MainWindow::handle_message(UINT message, WPARAM wide, LPARAM param) {
    switch (message) {
    case WM_SIZE:
        lay_out();
        return 0;
    case WM_COMMAND:
        handle_command(LOWORD(wide));
        return 0;
    case WM_INITMENUPOPUP:
        show_choices();
        return 0;
    case WM_KEYDOWN:
        return canvas_.handle_key(wide) ? 0 : DefWindowProcW(window_, message, wide, param);
    case WM_MOUSEWHEEL:
        canvas_.handle_wheel(GET_WHEEL_DELTA_WPARAM(wide),
                             {GET_X_LPARAM(param), GET_Y_LPARAM(param)});
        return 0;
    case WM_DROPFILES:
        take_dropped_file(reinterpret_cast<HDROP>(wide));
        return 0;
    // The library realises its palette whenever it draws: what was drawn under other palettes is
    // drawn again.
    case WM_QUERYNEWPALETTE:
        canvas_.repaint();
        return TRUE;
    case WM_PALETTECHANGED: {
        const HWND by = reinterpret_cast<HWND>(wide);
        if (by != window_ && by != canvas_.window())
            canvas_.repaint();
        return 0;
    }
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(window_, message, wide, param);
    }
}

void MainWindow::lay_out() {
    if (status_.window() == nullptr || canvas_.window() == nullptr)
        return;
    status_.fit();
    const Size room = client_size(window_);
    MoveWindow(canvas_.window(), 0, 0, room.width, std::max(room.height - status_.height(), 0),
               TRUE);
}

// The canvas is to have this size inside; the main window grows or shrinks as it must. That may
// wrap or unwrap the menu, and then it must again.
void MainWindow::give_size(Size canvas) {
    constexpr int most_tries = 4;
    for (int tries = 0; tries < most_tries; ++tries) {
        const Size inner = client_size(canvas_.window());
        if (inner == canvas)
            break;
        RECT rect = {};
        GetWindowRect(window_, &rect);
        const Size outer = q32::as_area(rect).size();
        SetWindowPos(window_, nullptr, 0, 0, outer.width + canvas.width - inner.width,
                     outer.height + canvas.height - inner.height,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void MainWindow::open(const std::string &path) {
    Picture picture = load_picture(path, status_);
    canvas_.forget_picture();
    show_.picture = std::move(picture);
    show_.test_card = false;
    canvas_.take_picture();
    SetWindowTextW(window_, to_wide(show_.picture->name + " - q32view").c_str());
    status_.say({});
}

void MainWindow::show_test_card() {
    show_.test_card = true;
    canvas_.repaint();
    view_changed();
}

void MainWindow::apply_view_options() {
    if (options_.percent)
        canvas_.zoom_to(*options_.percent);
    canvas_.scroll_to(options_.scroll);
}

void MainWindow::save_view(const std::string &path) {
    UpdateWindow(canvas_.window());
    save_screenshot(options_.whole_window ? window_ : canvas_.window(), options_.whole_window,
                    path);
}

void MainWindow::take_dropped_file(HDROP drop) {
    std::wstring path(DragQueryFileW(drop, 0, nullptr, 0) + 1, L'\0');
    path.resize(DragQueryFileW(drop, 0, path.data(), static_cast<UINT>(path.size())));
    DragFinish(drop);
    if (!path.empty())
        open(to_utf8(path));
}

void MainWindow::say_failure(const std::exception &failure) {
    status_.say(failure.what());
}

void MainWindow::view_changed() {
    std::string text;
    if (show_.test_card)
        text = "test card";
    else if (show_.picture)
        text = std::to_string(show_.picture->size.width) + " x " +
               std::to_string(show_.picture->size.height) + ", " +
               std::to_string(canvas_.view().percent()) + " %";
    status_.say_picture(text);
    status_.say_device(device_in_words(show_.settings));
}

} // namespace apps::q32view

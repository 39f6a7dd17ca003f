// The window's life and messages. Which picture it shows: main_window_pictures.cpp; commands of the
// menu: main_window_menu.cpp.
#include "main_window.h"

#include "apps/pictures/text.h"
#include "geometry/system_rect.h"
#include "resource.h"
#include "screenshot.h"

#include <windowsx.h>

#include <commctrl.h>

#include <utility>

namespace apps::q32view {

MainWindow::MainWindow(const Options &options) : options_(options), canvas_(show_, status_, *this) {
    show_.settings = options.settings;
    show_.test_card = options.test_card;
}

void MainWindow::create() {
    WNDCLASSW type = {};
    type.hIcon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_MAIN));
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

LRESULT MainWindow::handle_message(UINT message, WPARAM wide, LPARAM param) {
    switch (message) {
    case WM_SIZE:
        lay_out();
        return 0;
    case WM_SYSKEYDOWN:
        if (wide == VK_MENU)
            alt_was_used_ = false;
        return DefWindowProcW(window_, message, wide, param);
    // Letting go of Alt is not meant for the menu when it was part of another key.
    case WM_SYSCOMMAND:
        if ((wide & 0xFFF0) == SC_KEYMENU && param == 0 && std::exchange(alt_was_used_, false))
            return 0;
        return DefWindowProcW(window_, message, wide, param);
    case WM_COMMAND:
        alt_was_used_ = HIWORD(wide) == 1 && GetKeyState(VK_MENU) < 0;
        handle_command(LOWORD(wide));
        return 0;
    case WM_INITMENUPOPUP:
        show_choices();
        return 0;
    case WM_NOTIFY: {
        const auto &notice = *reinterpret_cast<const NMHDR *>(param);
        if (notice.hwndFrom == status_.window() && notice.code == static_cast<UINT>(NM_CLICK) &&
            status_.tells_failure())
            PostMessageW(window_, WM_COMMAND, ID_MESSAGE, 0);
        return 0;
    }
    case WM_DPICHANGED:
        take_new_resolution(*reinterpret_cast<const RECT *>(param));
        return 0;
    case WM_KEYDOWN:
        if (wide == VK_ESCAPE && full_screen_.is_on()) {
            toggle_full_screen();
            return 0;
        }
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
    const bool with_status = !full_screen_.is_on() || status_.tells_failure();
    ShowWindow(status_.window(), with_status ? SW_SHOWNA : SW_HIDE);
    status_.fit();
    const Size room = client_size(window_);
    const int below = with_status ? status_.height() : 0;
    MoveWindow(canvas_.window(), 0, 0, room.width, std::max(room.height - below, 0), TRUE);
}

// The window has come to a screen of another resolution.
void MainWindow::take_new_resolution(const RECT &suggested) {
    SetWindowPos(window_, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
                 suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
    lay_out();
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

void MainWindow::toggle_full_screen() {
    const bool on = !full_screen_.is_on();
    canvas_.be_plain(on);
    on ? full_screen_.enter(window_) : full_screen_.leave(window_);
    lay_out();
}

// With what the user does next; in full screen the line goes with it.
void MainWindow::forget_failure() {
    if (!status_.tells_failure())
        return;
    status_.say({});
    lay_out();
}

void MainWindow::show_test_card() {
    show_.test_card = true;
    canvas_.repaint();
    view_changed();
}

void MainWindow::apply_view_options() {
    if (options_.full_screen)
        toggle_full_screen();
    if (options_.fit_width)
        canvas_.zoom(Zoom::width);
    if (options_.percent)
        canvas_.zoom_to(*options_.percent);
    canvas_.scroll_to(options_.scroll);
}

void MainWindow::save_view(const std::string &path) {
    UpdateWindow(canvas_.window());
    save_screenshot(options_.whole_window ? window_ : canvas_.window(), options_.whole_window,
                    path);
}

void MainWindow::say_failure(const std::exception &failure) {
    status_.say_failure({failure.what(), {}});
    lay_out();
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

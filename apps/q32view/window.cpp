// From the system's messages to the object that a window belongs to.
#include "window.h"

#include "apps/pictures/exceptions.h"
#include "geometry/system_rect.h"
#include "long_work.h"

namespace apps::q32view {
namespace {

// Messages that begin something new.
bool is_request(UINT message) {
    return message == WM_COMMAND || message == WM_DROPFILES || message == WM_CLOSE ||
           message == WM_KEYDOWN || message == WM_MOUSEWHEEL || message == WM_HSCROLL;
}

} // namespace

void Window::make(WNDCLASSW type, const wchar_t *title, DWORD style, DWORD extended_style,
                  HWND parent) {
    type.lpfnWndProc = procedure;
    type.hInstance = GetModuleHandleW(nullptr);
    type.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    RegisterClassW(&type);
    window_ = CreateWindowExW(extended_style, type.lpszClassName, title, style, CW_USEDEFAULT,
                              CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, parent, nullptr,
                              type.hInstance, this);
    if (window_ == nullptr)
        throw Failure("q32view", "no window can be made");
}

LRESULT CALLBACK Window::procedure(HWND window, UINT message, WPARAM wide, LPARAM param) {
    if (message == WM_NCCREATE) {
        const auto *creation = reinterpret_cast<const CREATESTRUCTW *>(param);
        SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
        static_cast<Window *>(creation->lpCreateParams)->window_ = window;
    }
    auto *object = reinterpret_cast<Window *>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return object != nullptr ? object->handle(message, wide, param)
                             : DefWindowProcW(window, message, wide, param);
}

LRESULT TopWindow::handle(UINT message, WPARAM wide, LPARAM param) {
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

Size client_size(HWND window) {
    RECT rect = {};
    GetClientRect(window, &rect);
    return q32::as_area(rect).size();
}

} // namespace apps::q32view

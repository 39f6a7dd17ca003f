// A window whose messages go to a member function.
#pragma once

#include <windows.h>

namespace apps::q32view {

class Window {
public:
    HWND window() const { return window_; }

protected:
    ~Window() = default;

    // Registers the class and makes a window of it. Throws Failure.
    void make(WNDCLASSW type, const wchar_t *title, DWORD style, DWORD extended_style, HWND parent);

    // Called by the system, through which exceptions must not pass.
    virtual LRESULT handle(UINT message, WPARAM wide, LPARAM param) = 0;

    HWND window_ = nullptr;

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wide, LPARAM param);
};

} // namespace apps::q32view

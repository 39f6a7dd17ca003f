// Windows whose messages go to a member function.
#pragma once

#include "apps/pictures/areas.h"

#include <windows.h>

#include <exception>

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

// One of the program's own, in which people ask for things. What is asked for while something else
// is being done is put off until that has ended, and what fails is said.
class TopWindow : public Window {
protected:
    ~TopWindow() = default;

    virtual void say_failure(const std::exception &failure) = 0;

private:
    LRESULT handle(UINT message, WPARAM wide, LPARAM param) final;
    virtual LRESULT handle_message(UINT message, WPARAM wide, LPARAM param) = 0;
};

Size client_size(HWND window);

} // namespace apps::q32view

// The line under the picture: what happened, the picture's size and zoom, the display acted as.
#pragma once

#include <windows.h>

#include <string>

namespace apps::q32view {

class StatusBar {
public:
    void create(HWND parent);
    HWND window() const { return window_; }
    int height() const;
    // After the parent has changed its size.
    void fit();

    // Shown at once, also while nothing else is painted. Text is UTF-8.
    void say(const std::string &text);
    void say_picture(const std::string &text);
    void say_device(const std::string &text);

private:
    void set(int part, const std::string &text);
    HWND window_ = nullptr;
};

} // namespace apps::q32view

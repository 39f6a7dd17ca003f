// The line under the picture: what happened, the picture's size and zoom, the display acted as. A
// failure takes the whole line.
#pragma once

#include "failure_words.h"

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

    // As much of it as fits; until the next message.
    void say_failure(const FailureWords &failure);
    bool tells_failure() const { return tells_failure_; }
    // The last failure, all of it; empty: there was none.
    std::string last_failure() const { return failure_.whole(); }

private:
    void set(int part, const std::string &text);
    int width_of(const std::string &text) const;
    void show_failure();

    HWND window_ = nullptr;
    FailureWords failure_;
    bool tells_failure_ = false;
};

} // namespace apps::q32view

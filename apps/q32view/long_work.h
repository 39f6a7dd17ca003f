// Work that may take long, on the thread of the window: after a moment the pointer waits and the
// status bar counts; Esc, or closing the window, stops it.
#pragma once

#include "status_bar.h"

#include <string>

namespace apps::q32view {

class LongWork {
public:
    // what: "reading bee.jpg"
    LongWork(StatusBar &status, std::string what);
    ~LongWork();
    LongWork(const LongWork &) = delete;
    LongWork &operator=(const LongWork &) = delete;

    // So much is done. False when it is to stop: for callbacks out of the library, which must not
    // throw.
    bool reach(int done, int total);

    // The same. Throws Cancelled when it is to stop.
    void go_on(int done, int total);

    bool is_stopped() const { return stopped_; }
    // Throws Cancelled when it was to stop.
    void check() const;

    // Whether some work is under way now: messages that others send come in meanwhile.
    static bool is_under_way();

private:
    void show(int done, int total);

    StatusBar &status_;
    std::string what_;
    DWORD start_;
    DWORD last_shown_;
    HCURSOR cursor_before_ = nullptr;
    bool shown_ = false;
    bool stopped_ = false;
};

} // namespace apps::q32view

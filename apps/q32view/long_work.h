// Work that may take long, on the thread of the window: after a moment the pointer waits and the
// status bar counts; Esc, or closing the window, stops it.
#pragma once

#include "status_bar.h"

#include <string>

namespace apps::q32view {

// While one lives, nothing else may begin. Messages still come in then: those that other programs
// send, whenever the system waits for these programs.
class Busy {
public:
    Busy() { ++count_; }
    ~Busy() { --count_; }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

    static bool is_anything() { return count_ > 0; }

private:
    static inline int count_ = 0;
};

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

private:
    void show(int done, int total);

    Busy busy_;
    StatusBar &status_;
    std::string what_;
    DWORD start_;
    DWORD last_shown_;
    HCURSOR cursor_before_ = nullptr;
    bool shown_ = false;
    bool stopped_ = false;
};

} // namespace apps::q32view

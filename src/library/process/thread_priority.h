// The calling thread's priority around work that somebody waits for.
#pragma once

#include <windows.h>

namespace q32 {

// Reads the priority when made, and restores what it read at the end of the scope when it was
// raised in between.
class ThreadPriority {
public:
    ThreadPriority() : before_(GetThreadPriority(GetCurrentThread())) {}
    ThreadPriority(const ThreadPriority &) = delete;
    ThreadPriority &operator=(const ThreadPriority &) = delete;
    ~ThreadPriority() {
        if (raised_)
            SetThreadPriority(GetCurrentThread(), before_);
    }

    void raise() {
        raised_ = before_ != THREAD_PRIORITY_ERROR_RETURN;
        if (raised_)
            SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL);
    }

    // For the one failure that programs know to leave it so.
    void leave_raised() { raised_ = false; }

private:
    int before_;
    bool raised_ = false;
};

} // namespace q32

// Threads of the system's own making, for what the queues promise several of them. A body must not
// use the expectations of the tests: it leaves what it has seen for the thread that waits for it.
#pragma once

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

namespace q32::test {

class Thread {
public:
    explicit Thread(std::function<void()> body) : body_(std::move(body)) {
        handle_ = CreateThread(nullptr, 0, run, this, 0, nullptr);
        if (handle_ == nullptr) {
            std::fputs("no thread\n", stderr);
            std::abort();
        }
    }
    ~Thread() {
        WaitForSingleObject(handle_, INFINITE);
        CloseHandle(handle_);
    }
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;

    // Whether it has ended, waiting for it at most so long.
    bool ended(DWORD milliseconds) {
        return WaitForSingleObject(handle_, milliseconds) == WAIT_OBJECT_0;
    }

private:
    static DWORD WINAPI run(void *self) {
        static_cast<Thread *>(self)->body_();
        return 0;
    }

    std::function<void()> body_;
    HANDLE handle_;
};

} // namespace q32::test

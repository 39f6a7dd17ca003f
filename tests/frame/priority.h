// The calling thread's priority as a test sees it: what the library sets it to, and at which one
// bytes are touched.
#pragma once

#include "tests/frame/calls.h"
#include "tests/frame/fenced_memory.h"

#include <optional>
#include <vector>

namespace q32::frame {

inline int thread_priority() {
    return GetThreadPriority(GetCurrentThread());
}

// What the library has set the priority to.
class PriorityWatch {
public:
    const std::vector<int> &set() const { return set_; }

private:
    std::vector<int> set_;
    Replaced<call::SetThreadPriority> watch_{[this](HANDLE thread, int value) {
        set_.push_back(value);
        return ::SetThreadPriority(thread, value);
    }};
};

// Bytes whose first touch is noticed, with the priority at which it came. One at a time.
class TouchedBytes {
public:
    TouchedBytes() {
        current = this;
        handler_ = AddVectoredExceptionHandler(1, notice);
        rearm();
    }
    ~TouchedBytes() {
        RemoveVectoredExceptionHandler(handler_);
        current = nullptr;
    }
    TouchedBytes(const TouchedBytes &) = delete;
    TouchedBytes &operator=(const TouchedBytes &) = delete;

    std::uint8_t *data() const { return memory_.begin(); }
    std::optional<int> touched() const { return touched_; }
    void rearm() {
        DWORD before;
        touched_.reset();
        VirtualProtect(memory_.begin(), memory_.size(), PAGE_READWRITE | PAGE_GUARD, &before);
    }

private:
    static LONG CALLBACK notice(EXCEPTION_POINTERS *exception) {
        if (exception->ExceptionRecord->ExceptionCode != STATUS_GUARD_PAGE_VIOLATION)
            return EXCEPTION_CONTINUE_SEARCH;
        current->touched_ = thread_priority();
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    static inline TouchedBytes *current;
    test::FencedMemory memory_{test::FencedMemory::page};
    std::optional<int> touched_;
    void *handler_;
};

} // namespace q32::frame

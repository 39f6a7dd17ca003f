// One system call of the library to come that fails.
#pragma once

#include "tests/frame/calls.h"

#include <optional>
#include <string>

namespace q32::test {

// The n-th call of one function fails. Virtual memory fails when it is reserved: a failed commit
// leaves the counter of memory up, which is a test of its own.
class Injection {
public:
    Injection(const std::string &function, int n)
        : what_(function + " call " + std::to_string(n)), n_(n) {
        if (function == "VirtualAlloc")
            reserving_.emplace([this](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
                if ((kind & MEM_RESERVE) != 0 && ++calls_ == n_) {
                    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                    return LPVOID(nullptr);
                }
                return VirtualAlloc(at, bytes, kind, protection);
            });
        else
            failing_.emplace(function, n);
    }

    bool happened() const { return failing_ ? failing_->happened() : calls_ >= n_; }
    const std::string &what() const { return what_; }

private:
    std::string what_;
    int n_;
    int calls_ = 0;
    std::optional<frame::FailingCall> failing_;
    std::optional<frame::Replaced<frame::call::VirtualAlloc>> reserving_;
};

} // namespace q32::test

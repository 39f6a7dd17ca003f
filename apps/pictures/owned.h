// What the system or the library lends, given back when its owner goes.
#pragma once

#include <utility>

namespace apps {

// A handle, which give_back takes; that of value 0 stands for none.
template <auto give_back, typename Handle>
class Owned {
public:
    Owned() = default;
    explicit Owned(Handle handle) : handle_(handle) {}
    Owned(Owned &&other) noexcept : handle_(other.release()) {}
    Owned &operator=(Owned &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Owned() {
        if (handle_ != Handle{})
            give_back(handle_);
    }

    Handle get() const { return handle_; }
    explicit operator bool() const { return handle_ != Handle{}; }
    // Whoever takes it gives it back.
    Handle release() { return std::exchange(handle_, Handle{}); }

private:
    Handle handle_{};
};

} // namespace apps

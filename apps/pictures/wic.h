// The Windows Imaging Component: the factory, pointers that release themselves, failures in words.
#pragma once

#include <windows.h>

#include <wincodec.h>

#include <string>
#include <utility>

namespace apps {

template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(ComPtr &&other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ComPtr &operator=(ComPtr &&other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() { reset(); }

    T *get() const { return pointer_; }
    T *operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    // For a function that stores a new reference.
    T **out() {
        reset();
        return &pointer_;
    }
    void reset() {
        if (pointer_ != nullptr)
            std::exchange(pointer_, nullptr)->Release();
    }

private:
    T *pointer_ = nullptr;
};

// Made with the process's COM apartment on first use.
IWICImagingFactory *wic_factory();

// Throws Failure(subject, "doing: what WIC says") unless the call succeeded.
void check_wic(HRESULT result, const std::string &subject, const std::string &doing);

// What the system says of an error number of GetLastError, as part of a sentence.
std::string system_words(DWORD error);

} // namespace apps

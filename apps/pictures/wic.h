// The Windows Imaging Component: the factory, pointers that release themselves, what rows of pixels
// it is handed, failures in words.
#pragma once

#include <windows.h>

#include <wincodec.h>

#include <cstdint>
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

// The pixels of rows on their way from and to files.
enum class RowFormat {
    bits,     // 1 bit a pixel, 1 is white
    grey,     // 1 byte
    words555, // 16-bit 5-5-5 words; BMP only
    bgr,      // 3 bytes, byte 0 blue
    bgra,     // 4 bytes, byte 0 blue, byte 3 opaque at 255; PNG and TIFF only
};

// Counted in 64 bits: widths come from files, and nobody has limited them yet.
constexpr uint64_t row_bytes_of(RowFormat rows, int width) {
    constexpr uint64_t bits[] = {1, 8, 16, 24, 32};
    return (static_cast<uint64_t>(width) * bits[static_cast<size_t>(rows)] + 7) / 8;
}

// Made with the process's COM apartment on first use.
IWICImagingFactory *wic_factory();

// Throws Failure(subject, "doing: what WIC says") unless the call succeeded.
void check_wic(HRESULT result, const std::string &subject, const std::string &doing);

// What the system says of an error number of GetLastError, as part of a sentence.
std::string system_words(DWORD error);

} // namespace apps

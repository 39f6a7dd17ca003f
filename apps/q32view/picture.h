// A picture in one of the library's buffers, and the owner of such a buffer.
#pragma once

#include "apps/pictures/areas.h"
#include "long_work.h"

#include <q32base/buffers.h>

#include <string>
#include <utility>

namespace apps::q32view {

// Frees its buffer.
class Buffer {
public:
    Buffer() = default;
    explicit Buffer(HBUF32 handle) : handle_(handle) {}
    Buffer(Buffer &&other) noexcept : handle_(std::exchange(other.handle_, 0)) {}
    Buffer &operator=(Buffer &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Buffer() {
        if (handle_ != 0)
            buf32Free(handle_);
    }

    HBUF32 get() const { return handle_; }

private:
    HBUF32 handle_ = 0;
};

struct Picture {
    Buffer buffer; // 24 bits
    Size size;
    std::string name;   // of the file, without its folder
    std::string format; // of the file: "PNG"
    int file_bits = 0;  // per pixel in the file
};

// Reads a picture file. Throws Failure, Cancelled.
Picture load_picture(const std::string &path, StatusBar &status);

} // namespace apps::q32view

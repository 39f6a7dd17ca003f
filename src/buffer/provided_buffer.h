// A buffer that a call writes into: the caller's, or one that is made for it.
#pragma once

#include "geometry/area.h"

#include <q32base/buffers.h>

#include <cstdint>

namespace q32::buffer {

// What is made stands in the caller's handle from then on; unless the call keeps it, it is freed
// again and the handle is 0. What the caller gave stays.
class ProvidedBuffer {
public:
    explicit ProvidedBuffer(HBUF32 *handle) : handle_(handle), buffer_(*handle) {}
    ProvidedBuffer(const ProvidedBuffer &) = delete;
    ProvidedBuffer &operator=(const ProvidedBuffer &) = delete;
    ~ProvidedBuffer() {
        if (!is_made_)
            return;
        buf32Free(buffer_);
        *handle_ = 0;
    }

    bool is_given() const { return buffer_ != 0; }
    HBUF32 buffer() const { return buffer_; }
    void keep() { is_made_ = false; }

    bool make(Size size, int bits_per_pixel, std::uint32_t type, const void *extra) {
        is_made_ = buf32Alloc(&buffer_, bits_per_pixel, size.width, size.height, type, extra) != 0;
        if (is_made_)
            *handle_ = buffer_;
        return is_made_;
    }

private:
    HBUF32 *handle_;
    HBUF32 buffer_; // 0: neither given nor made
    bool is_made_ = false;
};

} // namespace q32::buffer

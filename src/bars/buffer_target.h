// A bar's rows into a buffer: the caller's, or one made for the bar.
#pragma once

#include "bars/failures.h"
#include "buffer/buffer_lock.h"
#include "buffer/provided_buffer.h"
#include "geometry/area.h"
#include "library/process/owners.h"

#include <q32base/buffers.h>

#include <cstdint>

namespace q32::bars {

class BufferTarget {
public:
    explicit BufferTarget(HBUF32 *handle) : provided_(handle) {}

    // A buffer is made in the size; the caller's has its own. Reports and returns false on failure.
    bool open(Size size, int bits_per_pixel, const site::BufferSites &sites);
    // The buffer stays.
    bool close();

    bool is_empty() const { return false; }
    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }
    std::uint8_t *row() const { return static_cast<std::uint8_t *>(row_.get()); }
    bool put_row() { return buf32Line(provided_.buffer(), next_row_++, BUF32_LINE_WRITE, row()); }

private:
    buffer::ProvidedBuffer provided_; // freed when nothing locks it any more
    buffer::BufferLock lock_;
    GlobalBlock row_;
    int width_ = 0, height_ = 0;
    int next_row_ = 0;
};

} // namespace q32::bars

// What scenarios act on: buffers with pixels in memory and in swap files, duplicates, bitmaps, and
// plain memory, the same at every run.
#pragma once

#include "tests/failing_calls/sweep.h"

namespace q32::test {

// Larger than 128 x 128, so that it has four cells and can lie in a file; and still small.
inline constexpr int wide = 140, high = 130;

inline constexpr uint8_t some_colour[8] = {10, 20, 30, 40, 50, 60, 70, 80};

inline Bytes some_bytes(size_t count) {
    Random random(test_seed(), count);
    return random_bytes(random, count);
}

// A buffer with pixels.
class Filled : public Buffer {
public:
    explicit Filled(int bits = 24, uint32_t type = BUF32_TILED, int width = wide, int height = high)
        : Buffer(bits, width, height, type) {
        Random random(test_seed(), 7);
        fill(*this, random);
    }
};

// A pattern of 5 x 3 pixels.
class SomePattern {
public:
    explicit SomePattern(int bits = 24) : pixels_(some_bytes(size_t((5 * bits + 7) / 8 * 3))) {}
    const BUF32PATTERN *extra() const { return &pattern_; }

private:
    Bytes pixels_;
    BUF32PATTERN pattern_{5, 3, pixels_.data()};
};

inline Bytes some_bitmap(int bits = 24) {
    Random random(test_seed(), 8);
    return block_of(Header{{bits, 33, 9}}, random);
}

// A bitmap, and a buffer over it.
class FilledBitmap {
public:
    explicit FilledBitmap(int bits = 24) : bitmap_(some_bitmap(bits)), buffer_(HGLOBAL(bitmap_)) {}
    operator HBUF32() const { return buffer_; }
    HGLOBAL block() const { return bitmap_; }
    Bytes bytes() const { return bitmap_.bytes(); }
    // The library has freed the buffer, or it and the block.
    void closed() { buffer_.gone(); }
    void freed() {
        buffer_.gone();
        bitmap_.gone();
    }

private:
    Bitmap bitmap_;
    Opened buffer_;
};

} // namespace q32::test

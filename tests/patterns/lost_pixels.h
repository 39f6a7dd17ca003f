// What the tests of buffers share that have lost their pixels to a failed fill: they have the type
// and layout that they had, and neither storage nor block.
#pragma once

#include "tests/patterns/special_buffers.h"

#include <span>

namespace q32::test {

namespace lost {

inline constexpr int width = 152, height = 140; // rows of whole bytes at every depth
inline constexpr int plain_bits = 24;           // where one depth is enough
inline constexpr size_t plain_row_bytes = width * 3;

inline bool is_special(uint32_t type) {
    return type == BUF32_ONE_COLOUR || type == BUF32_PATTERN;
}

// The pixels of a pointer that a call has given are there.
inline void touch(void *address, size_t bytes) {
    auto *const first = static_cast<volatile uint8_t *>(address);
    for (volatile uint8_t *byte : {first, first + bytes - 1}) {
        const uint8_t kept = *byte;
        *byte = kept;
    }
}

// A buffer without pixels, and an ordinary one of its type, size and depth beside it. Whatever is
// read of the one without pixels fails, and what the other one shows stays, unless a probe says
// otherwise.
struct Scene {
    HBUF32 lost;
    const Start &start;
    int bits;
    HBUF32 good;
    Picture shown;   // by the good one
    bool has_pixels; // a special one shows its colour or pattern, and takes pixels as ever
    Random &random;

    size_t row_bytes() const { return size_t(shown.geometry.row_bytes()); }
    void expect_nothing(int result) const { EXPECT_EQ(result, has_pixels ? 1 : 0); }
    void expect_good() const { expect_image(shown); }
};

struct Probe {
    const char *name;
    void (*take)(Scene &scene);
};

// One for each thing that can be done with a buffer.
std::span<const Probe> probes();

} // namespace lost

class LostPixels : public BufferTest {};

} // namespace q32::test

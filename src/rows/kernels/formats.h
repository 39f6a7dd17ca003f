// The two 16-bit pixel layouts as data: which bits of the word hold which channel.
//
// Private to the file that includes it, as vectors.h.
#pragma once

namespace q32::rows {
namespace {

// A channel of `bits` bits whose lowest bit is bit `place` of the word.
struct Field {
    int bits;
    int place;

    constexpr int lost_bits() const { return 8 - bits; } // of the channel's byte
    constexpr int mask() const { return 0xFF >> lost_bits() << place; }
};

struct Rgb555 {
    static constexpr Field first{5, 10}, second{5, 5}, third{5, 0};
};

struct Rgb565 {
    static constexpr Field first{5, 11}, second{6, 5}, third{5, 0};
};

} // namespace
} // namespace q32::rows

// Runs for loops over everything that samples can be: all pairs of a base sample and an overlay
// sample, which meet every third value in turns, and all colours in rows.
#pragma once

#include "tests/frame/random.h"
#include "tests/kernels/compared.h"
#include "tests/kernels/kernel_sweep.h"

namespace q32::test {

inline constexpr std::size_t pair_count = 256 * 256;
// As many pixels of three samples hold all pairs; the last is filled up with pairs from the front.
inline constexpr std::size_t colour_pair_pixels = (pair_count + 2) / 3;

// In an order that puts unlike pairs side by side.
struct SamplePairs {
    Bytes base;
    Bytes overlay;

    SamplePairs() : base(3 * colour_pair_pixels), overlay(3 * colour_pair_pixels) {
        for (std::size_t i = 0; i < base.size(); ++i) {
            const std::size_t pair = i * 40503 % pair_count; // odd: every pair once
            base[i] = static_cast<std::uint8_t>(pair % 256);
            overlay[i] = static_cast<std::uint8_t>(pair / 256);
        }
    }
};

inline const SamplePairs &all_pairs() {
    static const SamplePairs pairs;
    return pairs;
}

// The third value: unlike ones side by side, and in 256 turns each pixel meets each value once.
inline std::uint8_t value_of_turn(std::size_t turn, std::size_t pixel) {
    return static_cast<std::uint8_t>(turn + pixel * 167 / 8);
}

// Random bytes with stretches of one value, often 0 or 255: kernels may look ahead for those.
inline void fill_in_stretches(Random &random, Bytes &bytes) {
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t kind = random.below(4);
        const std::uint8_t value = kind == 0 ? std::uint8_t{0} : kind == 1 ? 255 : random.byte();
        for (std::size_t left = 1 + random.below(150); left > 0 && i < bytes.size(); --left, ++i)
            bytes[i] = kind == 3 ? random.byte() : value;
    }
}

inline constexpr std::size_t row_pixels = 65536;

// All colours that begin with one sample, unlike ones side by side.
inline void set_colours(Bytes &colours, std::size_t first) {
    colours.resize(3 * row_pixels);
    for (std::size_t i = 0; i < row_pixels; ++i) {
        const std::size_t rest = i * 40503 % row_pixels;
        colours[3 * i] = static_cast<std::uint8_t>(first);
        colours[3 * i + 1] = static_cast<std::uint8_t>(rest / 256);
        colours[3 * i + 2] = static_cast<std::uint8_t>(rest % 256);
    }
}

// Which of 256 or more turns or rows to run: all in the long round, else every fifth. So do the
// sanitizers, which are slow and there for other things than exactness.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t next_turn = 5;
#else
inline const std::size_t next_turn = one_in_the_round() == 1 ? 1 : 5;
#endif

} // namespace q32::test

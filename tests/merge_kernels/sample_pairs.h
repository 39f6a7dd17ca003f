// All pairs of a base sample and an overlay sample as one run, for loops over everything that two
// samples and a third value can be.
#pragma once

#include "tests/merge_kernels/kernel_sweep.h"

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

} // namespace q32::test

// Weights of cubic convolution with a = -0.5, at 16 phases between two pixels.
#pragma once

#include <array>
#include <cstdint>

namespace q32::resample {

// Of the samples at -1, 0, 1 and 2 from the index, in units of 1/16384.
using CubicWeights = std::array<std::int16_t, 4>;

inline constexpr int cubic_phases = 16;

constexpr CubicWeights cubic_weights_at(int phase) {
    const int t = 17 * phase, first = 64 * t;
    const int second = (t * t + 1) >> 2;
    const int third = (t * t * t + 512) >> 10;
    return {std::int16_t(second - third / 2 - first / 2),
            std::int16_t(third * 3 / 2 - second * 5 / 2 + 16384),
            std::int16_t(second * 2 - third * 3 / 2 + first / 2),
            std::int16_t(third / 2 - second / 2)};
}

inline constexpr auto cubic_weights = [] {
    std::array<CubicWeights, cubic_phases> weights{};
    for (int phase = 0; phase < cubic_phases; ++phase)
        weights[phase] = cubic_weights_at(phase);
    return weights;
}();

// The phase of an 8-bit fraction.
constexpr int phase_of(int fraction) {
    return (fraction + 8) / 17;
}

} // namespace q32::resample

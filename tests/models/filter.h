// The colour filter: which pixels lie in one of some ranges, and what becomes of their mask.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test::model {

// Ends may lie beyond what a sample can be.
struct SampleRange {
    std::int64_t low, high;
};
using ColourRange = std::array<SampleRange, 4>;
using ColourRanges = std::vector<ColourRange>;

// The fourth sample is compared with the high end alone.
inline bool matches(const ColourRange &range, const std::uint8_t *pixel, std::size_t samples) {
    for (std::size_t k = 0; k < std::min<std::size_t>(samples, 3); ++k)
        if (pixel[k] < range[k].low || pixel[k] > range[k].high)
            return false;
    return samples < 4 || pixel[3] == range[3].high;
}

// One pixel after the other: where the mask lies over the source, what has been cleared is met.
inline void filter(std::uint8_t *mask, const std::uint8_t *source, std::size_t pixels,
                   std::size_t samples, const ColourRanges &ranges, bool inside) {
    for (std::size_t i = 0; i < pixels; ++i) {
        const bool found = std::any_of(ranges.begin(), ranges.end(), [&](const ColourRange &range) {
            return matches(range, source + i * samples, samples);
        });
        if (found != inside)
            mask[i] = 0;
    }
}

} // namespace q32::test::model

// Clearing a mask by ranges of colours, as plain functions over pointers and counts. Checks no
// argument; what a range is made from is the driver's part. As blend_kernels.h in all that concerns
// memory and forms; but for the scalar forms, which go pixel after pixel, nothing overlaps.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32::merge {

// Both ends belong to the range; with high below low it is empty.
struct SampleRange {
    std::uint8_t high, low;

    constexpr bool contains(std::uint8_t sample) const { return low <= sample && sample <= high; }
};

inline constexpr std::size_t filter_samples = 4;
struct ColourRange {
    SampleRange samples[filter_samples];
};
static_assert(sizeof(ColourRange) == 8);

struct ColourRanges {
    const ColourRange *first;
    std::size_t count;
};

// Which pixels keep their mask byte: those that lie in at least one range, or those in none. The
// others' becomes 0.
enum class Keep : std::uint8_t { inside, outside };

using MaskFilter = void(std::uint8_t *mask, const std::uint8_t *source, std::size_t pixels,
                        const ColourRanges &ranges, Keep keep);

// By the pixels: one sample; three; four, of which the last must equal the high end of its range.
struct FilterKernels {
    MaskFilter *grey;
    MaskFilter *colour;
    MaskFilter *colour_and_fourth;
};

// The reference: reads like the rules.
extern const FilterKernels scalar_filter_kernels;

// What every processor of the platform runs. The time hardly depends on the number of ranges.
extern const FilterKernels filter_kernels;

} // namespace q32::merge

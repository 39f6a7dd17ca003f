// Filters as they are defined: each pixel against each range, in order.
#include "merge/kernels/filter_kernels.h"

#include <algorithm>
#include <span>

namespace q32::merge {
namespace {

template <std::size_t samples>
bool lies_in(const ColourRange &range, const std::uint8_t *pixel) {
    constexpr std::size_t ranged = std::min<std::size_t>(samples, 3);
    for (std::size_t sample = 0; sample < ranged; ++sample)
        if (!range.samples[sample].contains(pixel[sample]))
            return false;
    return samples == ranged || pixel[ranged] == range.samples[ranged].high;
}

template <std::size_t samples>
void filter(std::uint8_t *mask, const std::uint8_t *source, std::size_t pixels,
            const ColourRanges &ranges, Keep keep) {
    for (std::size_t i = 0; i < pixels; ++i, source += samples) {
        const bool inside =
            std::ranges::any_of(std::span(ranges.first, ranges.count),
                                [&](const auto &range) { return lies_in<samples>(range, source); });
        if (inside != (keep == Keep::inside))
            mask[i] = 0;
    }
}

} // namespace

constexpr FilterKernels scalar_filter_kernels = {
    .grey = filter<1>,
    .colour = filter<3>,
    .colour_and_fourth = filter<4>,
};

} // namespace q32::merge

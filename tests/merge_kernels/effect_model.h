// The rules of choosing by luminance, of relief and of subtraction, written a second time and as
// plainly as possible, for the tests to compare with. Shares no line with the library's own code;
// only the comparisons' names are the library's.
#pragma once

#include "merge/kernels/effect_kernels.h"

namespace q32::model {

using merge::Comparison;

// The luminance of a colour pixel before the division.
inline int luminance_sum(const std::uint8_t *pixel) {
    return 30 * pixel[0] + 59 * pixel[1] + 11 * pixel[2];
}

inline int luminance(const std::uint8_t *pixel) {
    return luminance_sum(pixel) / 100;
}

// Whether an overlay pixel acts on a base pixel, by the sums of both.
inline bool acts(Comparison comparison, int base_sum, int overlay_sum) {
    switch (comparison) {
    case Comparison::lighter:
        return overlay_sum / 100 > base_sum / 100;
    case Comparison::darker:
        return overlay_sum / 100 < base_sum / 100;
    case Comparison::lighter_by_sums:
        return overlay_sum > base_sum;
    }
    return false;
}

// A pixel of one sample is its own luminance.
inline int sum_of(const std::uint8_t *pixel, std::size_t samples) {
    return samples == 1 ? 100 * pixel[0] : luminance_sum(pixel);
}

inline int relief(int b, int s, int strength) {
    if (s > 127) {
        const int raised = b + (s - 128) * strength / 127;
        return raised > 255 ? 255 : raised;
    }
    const int lowered = b - (127 - s) * strength / 127;
    return lowered < 0 ? 0 : lowered;
}

inline int subtract_masked(int b, int s, int m) {
    const int rest = b - s * m / 255;
    return rest < 0 ? 0 : rest;
}

inline int subtract_portion(int b, int s, int portion) {
    const int rest = b - s * portion / 25500;
    return rest < 0 ? 0 : rest;
}

} // namespace q32::model

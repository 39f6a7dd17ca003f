// What merging makes of one sample, rule by rule: every division and every rounding written out.
// Modes have the numbers of the interface. Shares no line with the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32::test::model {

// All modes, those that rectangles have, and those of colour, which take pixels of 3 bytes.
inline constexpr int all_modes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
inline constexpr int rectangle_modes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr bool is_of_colour(int mode) {
    return mode >= 2 && mode <= 5;
}
constexpr bool is_premultiplied(int mode) {
    return mode == 14 || mode == 15;
}

// Bytes of pixels: those with kernels of their own, and the others.
inline constexpr int usual_sizes[] = {1, 3};
inline constexpr int other_sizes[] = {2, 4, 5, 6, 7, 8};

// How a result is weighed into a base; where it is shifted, multiply and screen truncate.
enum class Rounding { divided, shifted };
inline constexpr Rounding all_roundings[] = {Rounding::divided, Rounding::shifted};

// --- the modes that blend: 1 and 9 to 15 -----------------------------------------------------

// A remainder of 127 or more rounds up where quotients are rounded.
inline int over_255(int product, Rounding rounding) {
    const int quotient = product / 255, remainder = product % 255;
    return rounding == Rounding::divided && remainder >= 127 ? quotient + 1 : quotient;
}

// What the mode makes of an overlay sample s over a base sample b; m, not 0, is the mask byte.
inline int mode_result(int mode, Rounding rounding, int b, int s, int m) {
    switch (mode) {
    case 9:
        return s > b ? s - b : b - s;
    case 10:
        return std::min(s + b, 255);
    case 11:
        return std::max(s - b, 0);
    case 12:
        return over_255(s * b, rounding);
    case 13:
        return 255 - over_255((255 - s) * (255 - b), rounding);
    case 14:
        return std::min(s * 255 / m, 255);
    case 15:
        return std::min(std::max(s + m - 255, 0) * 255 / m, 255);
    default:
        return s;
    }
}

// r weighed into b.
inline int weigh(Rounding rounding, int r, int b, int w) {
    const int x = r * w + b * (255 - w);
    if (rounding == Rounding::divided)
        return x / 255;
    return x == 0 ? 0 : (x >> 8) + 1;
}

// Without a mask nothing was premultiplied, and nothing can be divided by it.
inline int blend(Rounding rounding, int mode, int b, int s, int w, int m) {
    if (w == 0 || (is_premultiplied(mode) && m == 0))
        return b;
    return weigh(rounding, mode_result(mode, rounding, b, s, m), b, w);
}

inline int percent_weight(int m, int percent) {
    return m * percent / 100;
}

inline int scaled_weight(int m, int scale) {
    return (m * scale) >> 8;
}

// --- by luminance: 6 and 7 -------------------------------------------------------------------

// A hundred times the luminance; grey pixels are their own.
inline int luminance_sum(const std::uint8_t *pixel, std::size_t samples) {
    return samples < 3 ? 100 * pixel[0] : 30 * pixel[0] + 59 * pixel[1] + 11 * pixel[2];
}

inline bool overlay_acts(int mode, bool by_sums, int base_sum, int overlay_sum) {
    const int step = by_sums ? 1 : 100;
    return mode == 6 ? overlay_sum / step > base_sum / step : overlay_sum / step < base_sum / step;
}

// --- relief and subtraction: 8 and 16 --------------------------------------------------------

inline int relief(int b, int s, int strength) {
    return s > 127 ? std::min(b + (s - 128) * strength / 127, 255)
                   : std::max(b - (127 - s) * strength / 127, 0);
}

inline int subtract_masked(int b, int s, int m) {
    return std::max(b - s * m / 255, 0);
}

// Of a mask byte under a percentage, the whole being 255 x 100.
inline int subtract_portion(int b, int s, int portion) {
    return std::max(b - s * portion / 25500, 0);
}

} // namespace q32::test::model

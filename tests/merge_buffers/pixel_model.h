// What the modes of merging make of one pixel of a rectangle, as plainly as their rules read: every
// rounding and every weight written out. Knows no buffers and no rectangles.
#pragma once

#include "tests/colours/colour_model.h"

#include <q32base/merge.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace q32::test::model {

struct Rules {
    int mode;
    int transparency; // as given
    int bytes;        // of a pixel
    bool mmx;

    int opacity() const { return 100 - std::clamp(transparency, 0, 100); }
    bool shifts() const { return mmx && bytes == 3; }
    // Whether the mode exists for these pixels.
    bool valid() const {
        return mode >= 1 && mode <= 15 && (mode < 2 || mode > 5 || bytes == 3) && bytes >= 1;
    }
};

inline int blend_divided(int base, int result, int weight) {
    return (result * weight + base * (255 - weight)) / 255;
}

inline int blend_shifted(int base, int result, int weight) {
    const int sum = result * weight + base * (255 - weight);
    return sum == 0 ? 0 : (sum >> 8) + 1;
}

inline int weight_divided(int mask, int opacity) {
    return opacity == 100 ? mask : mask * opacity / 100;
}

inline int round_quotient(int product) {
    return product / 255 + (product % 255 >= 127 ? 1 : 0);
}

// Modes 9 to 15: what overlay s makes of base b.
inline int mode_result(int mode, int b, int s, int mask) {
    switch (mode) {
    case MERGE_DIFFERENCE:
        return std::abs(s - b);
    case MERGE_ADD:
        return std::min(s + b, 255);
    case MERGE_SUBTRACT:
        return std::max(s - b, 0);
    case MERGE_MULTIPLY:
        return round_quotient(s * b);
    case MERGE_SCREEN:
        return 255 - round_quotient((255 - s) * (255 - b));
    case MERGE_PREMUL_BLACK:
        return std::min(s * 255 / mask, 255);
    case MERGE_PREMUL_WHITE:
        return std::min(std::max(s + mask - 255, 0) * 255 / mask, 255);
    default:
        return s;
    }
}

inline int luminance_sum(const uint8_t *pixel) {
    return 30 * pixel[0] + 59 * pixel[1] + 11 * pixel[2];
}

// Lighten and darken: whether the overlay's pixel is the one to take.
inline bool overlay_wins(const Rules &rules, const uint8_t *base, const uint8_t *overlay) {
    int b = base[0], s = overlay[0];
    if (rules.bytes >= 3) {
        const int divisor = rules.mode == MERGE_LIGHTEN && rules.shifts() ? 1 : 100;
        b = luminance_sum(base) / divisor;
        s = luminance_sum(overlay) / divisor;
    }
    return rules.mode == MERGE_LIGHTEN ? s > b : s < b;
}

inline int relief(int b, int s, int transparency) {
    const int t = std::clamp(transparency, 0, 100);
    const int strength = t == 100 ? 0 : 127 - 127 * t / 99;
    return s > 127 ? std::min(b + (s - 128) * strength / 127, 255)
                   : std::max(b - (127 - s) * strength / 127, 0);
}

// Modes 2 to 5: fields of the normally merged pixel, the others of the base.
inline void merge_fields(const Rules &rules, uint8_t *base, const uint8_t *overlay, int mask) {
    const int opacity = rules.opacity();
    std::array<int, 3> merged;
    for (size_t i = 0; i < 3; ++i)
        merged[i] = rules.shifts()
                        ? blend_shifted(base[i], overlay[i],
                                        opacity == 100 ? mask : mask * (opacity * 255 / 100) >> 8)
                        : blend_divided(base[i], overlay[i], weight_divided(mask, opacity));
    I32HSV hsv = hsv_of({base[0], base[1], base[2]});
    const I32HSV from = hsv_of({merged[0], merged[1], merged[2]});
    if (rules.mode == MERGE_COLOR || rules.mode == MERGE_HUE)
        hsv.hue = from.hue;
    if (rules.mode == MERGE_COLOR || rules.mode == MERGE_SATURATION)
        hsv.saturation = from.saturation;
    if (rules.mode == MERGE_VALUE)
        hsv.value = from.value;
    const Rgb rgb = rgb_of(hsv);
    base[0] = uint8_t(rgb.red);
    base[1] = uint8_t(rgb.green);
    base[2] = uint8_t(rgb.blue);
}

// Merges one pixel onto the base, in a mode that is valid.
inline void merge_pixel(const Rules &rules, uint8_t *base, const uint8_t *overlay, int mask) {
    const int opacity = rules.opacity();
    if (rules.mode >= MERGE_COLOR && rules.mode <= MERGE_VALUE) {
        merge_fields(rules, base, overlay, mask);
        return;
    }
    if (rules.mode == MERGE_RELIEF) {
        for (int i = 0; mask != 0 && i < rules.bytes; ++i)
            base[i] = uint8_t(relief(base[i], overlay[i], rules.transparency));
        return;
    }
    const int weight = weight_divided(mask, opacity);
    if (rules.mode == MERGE_NORMAL && rules.shifts()) {
        const int shifted = opacity == 100 ? mask : mask * ((opacity * 256 / 100) & 255) >> 8;
        for (int i = 0; i < rules.bytes; ++i)
            base[i] = uint8_t(blend_shifted(base[i], overlay[i], shifted));
        return;
    }
    if (weight == 0)
        return;
    if ((rules.mode == MERGE_LIGHTEN || rules.mode == MERGE_DARKEN) &&
        !overlay_wins(rules, base, overlay))
        return;
    for (int i = 0; i < rules.bytes; ++i)
        base[i] = uint8_t(
            blend_divided(base[i], mode_result(rules.mode, base[i], overlay[i], mask), weight));
}

} // namespace q32::test::model

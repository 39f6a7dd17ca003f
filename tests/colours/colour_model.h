// Colour filters and colour spaces, one pixel at a time and as plainly as their rules read. Knows
// no memory and no library.
#pragma once

#include <q32base/merge.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace q32::test {

using Bytes = std::vector<uint8_t>;
using Ranges = std::vector<I32COLORRANGE>;

namespace model {

// --- colour filter ---------------------------------------------------------------------------

// Ends may lie beyond what a sample can be.
inline int64_t high_end(int colour, int64_t tolerance) {
    return std::min<int64_t>(colour + tolerance, 255);
}
inline int64_t low_end(int colour, int64_t tolerance) {
    return std::max<int64_t>(colour - tolerance, 0);
}

inline int pixel_bytes(int type) {
    return type == I32_FILTER_NONE ? 0 : type;
}

inline bool matches(const I32COLORRANGE &range, int type, const uint8_t *pixel) {
    const int ranged_samples = type == I32_FILTER_GREY ? 1 : 3;
    for (int i = 0; i < ranged_samples; ++i)
        if (pixel[i] < low_end(range.colour[i], range.tolerance[i]) ||
            pixel[i] > high_end(range.colour[i], range.tolerance[i]))
            return false;
    return type != I32_FILTER_RGBX || pixel[3] == high_end(range.colour[3], range.tolerance[3]);
}

// What becomes of a mask.
inline void filter(Bytes &mask, const Bytes &source, int type, const Ranges &ranges, bool inside) {
    if (type == I32_FILTER_NONE)
        return;
    for (size_t i = 0; i < mask.size(); ++i) {
        const uint8_t *const pixel = source.data() + i * size_t(pixel_bytes(type));
        const bool found =
            std::any_of(ranges.begin(), ranges.end(),
                        [&](const I32COLORRANGE &range) { return matches(range, type, pixel); });
        if (found != inside)
            mask[i] = 0;
    }
}

// --- colour spaces ---------------------------------------------------------------------------

struct Rgb {
    int red, green, blue;
    bool operator==(const Rgb &) const = default;
};

inline int grey_of(const Rgb &rgb) {
    return (299 * rgb.red + 587 * rgb.green + 114 * rgb.blue) / 1000;
}

// The three samples in order of size, and the hue. Equal samples: blue is the larger of red and
// blue only when it is greater, and green lies between unless it is less or greater than both.
struct Ranked {
    int most, middle, least, hue;

    explicit Ranked(const Rgb &rgb) {
        const auto [red, green, blue] = rgb;
        const bool blue_larger = blue > red;
        const int larger = blue_larger ? blue : red, smaller = blue_larger ? red : blue;
        // What the quotient counts: from the maximum down, or from the minimum up.
        enum { falling, rising } way;
        int base;
        if (green < smaller) {
            most = larger, middle = smaller, least = green;
            way = blue_larger ? rising : falling;
            base = blue_larger ? 240 : 300;
        } else if (green > larger) {
            most = green, middle = larger, least = smaller;
            way = blue_larger ? rising : falling;
            base = blue_larger ? 120 : 60;
        } else {
            most = larger, middle = green, least = smaller;
            way = blue_larger ? falling : rising;
            base = blue_larger ? 180 : 0;
        }
        const int distance = most - least;
        hue = I32_NO_HUE;
        if (distance > 0) {
            const int part = (way == falling ? most - middle : middle - least) * 60;
            hue = std::clamp((distance / 2 + part) / distance + base, 0, 359);
        }
    }
};

inline I32HSV hsv_of(const Rgb &rgb) {
    const Ranked ranked(rgb);
    const int distance = ranked.most - ranked.least;
    const int saturation = distance > 0 ? (distance * 255 + ranked.most / 2) / ranked.most : 0;
    return {ranked.hue, saturation, ranked.most};
}

inline I32HLS hls_of(const Rgb &rgb) {
    const Ranked ranked(rgb);
    const int distance = ranked.most - ranked.least, sum = ranked.most + ranked.least;
    int saturation = 0;
    if (distance > 0)
        saturation = sum < 256 ? (distance * 255 + sum / 2) / sum
                               : (distance * 255 + (510 - sum) / 2) / (510 - sum);
    return {ranked.hue, sum / 2, saturation};
}

// Fields may be anything: sums and products are those of 32-bit words.
inline int wrapped(int64_t value) {
    return int(uint32_t(uint64_t(value)));
}

inline Rgb rgb_of_sector(int hue, int high, int low, int chroma) {
    if (hue > 360)
        hue -= 360;
    if (hue < 0)
        hue += 360;
    const int part = wrapped(int64_t(wrapped(int64_t(hue % 60) * chroma)) + 30) / 60;
    const int up = wrapped(int64_t(low) + part), down = wrapped(int64_t(high) - part);
    switch (hue / 60) {
    case 1:
        return {down, high, low};
    case 2:
        return {low, high, up};
    case 3:
        return {low, down, high};
    case 4:
        return {up, low, high};
    case 5:
        return {high, low, down};
    default:
        return {high, up, low};
    }
}

inline Rgb rgb_of(const I32HSV &hsv) {
    if (hsv.hue == I32_NO_HUE || hsv.saturation == 0)
        return {hsv.value, hsv.value, hsv.value};
    const int product = wrapped(int64_t(hsv.value) * hsv.saturation);
    const int chroma = wrapped(int64_t(product) + 127) / 255;
    return rgb_of_sector(hsv.hue, hsv.value, wrapped(int64_t(hsv.value) - chroma), chroma);
}

inline Rgb rgb_of(const I32HLS &hls) {
    if (hls.hue == I32_NO_HUE || hls.saturation == 0)
        return {hls.lightness, hls.lightness, hls.lightness};
    const int twice = wrapped(int64_t(hls.lightness) * 2);
    const int range = twice < 256 ? twice : wrapped(510 - int64_t(twice));
    const int chroma = wrapped(int64_t(wrapped(int64_t(hls.saturation) * range)) + 127) / 255;
    const int high = wrapped(int64_t(wrapped(int64_t(twice) + chroma)) + 1) / 2;
    return rgb_of_sector(hls.hue, high, wrapped(int64_t(high) - chroma), chroma);
}

} // namespace model
} // namespace q32::test

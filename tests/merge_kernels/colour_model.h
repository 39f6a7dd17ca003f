// The colour spaces, written a second time and as plainly as possible, for the tests to compare
// with: one pixel at a time, each branch as its rule is worded. Shares no line with the library's
// own code.
#pragma once

#include <array>
#include <cstdint>

namespace q32::model {

using Colour = std::array<std::uint8_t, 3>; // red, green, blue
using Record = std::array<std::int32_t, 3>; // HSV or HLS, in the order of the letters

inline constexpr int grey_hue = 32767;

inline int grey(Colour c) {
    return (299 * c[0] + 587 * c[1] + 114 * c[2]) / 1000;
}

// The samples of a colour by rank, and its hue.
struct Ranked {
    int max, middle, min;
    int d;
    int hue;
};

inline Ranked rank(Colour c) {
    enum Channel { red, green, blue };
    const int r = c[0], g = c[1], b = c[2];

    // Blue against red first, then green below both, above both, or between.
    Channel larger = red, smaller = blue;
    if (b > r) {
        larger = blue;
        smaller = red;
    }
    Channel first, second, third;
    if (g < c[smaller]) {
        first = larger, second = smaller, third = green;
    } else if (g > c[larger]) {
        first = green, second = larger, third = smaller;
    } else {
        first = larger, second = green, third = smaller;
    }

    const int max = c[first], middle = c[second], min = c[third];
    const int d = max - min;
    if (d == 0)
        return {max, middle, min, d, grey_hue};
    const int half = d / 2;
    const int up = (max - middle) * 60;
    const int rise = (middle - min) * 60;
    int hue = 0;
    if (first == red && second == blue)
        hue = (half + up) / d + 300;
    else if (first == red && second == green)
        hue = (half + rise) / d;
    else if (first == green && second == red)
        hue = (half + up) / d + 60;
    else if (first == green && second == blue)
        hue = (half + rise) / d + 120;
    else if (first == blue && second == green)
        hue = (half + up) / d + 180;
    else
        hue = (half + rise) / d + 240;
    if (hue > 359)
        hue = 359;
    return {max, middle, min, d, hue};
}

inline Record hsv(Colour c) {
    const Ranked ranked = rank(c);
    const int saturation = ranked.d > 0 ? (ranked.d * 255 + ranked.max / 2) / ranked.max : 0;
    return {ranked.hue, saturation, ranked.max};
}

inline Record hls(Colour c) {
    const Ranked ranked = rank(c);
    const int sum = ranked.max + ranked.min;
    int saturation = 0;
    if (ranked.d != 0) {
        if (sum < 256)
            saturation = (ranked.d * 255 + sum / 2) / sum;
        else
            saturation = (ranked.d * 255 + (510 - sum) / 2) / (510 - sum);
    }
    return {ranked.hue, sum / 2, saturation};
}

inline Colour colour(int r, int g, int b) {
    return {static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
            static_cast<std::uint8_t>(b)};
}

// For hues from -360 to 720.
inline int wrap_hue(int h) {
    if (h > 360)
        h -= 360;
    if (h < 0)
        h += 360;
    return h;
}

// hi and lo are what the largest and the smallest sample become, c apart.
inline Colour colour_of_sector(int h, int c, int hi, int lo) {
    const int f = ((h % 60) * c + 30) / 60;
    switch (h / 60) {
    case 1:
        return colour(hi - f, hi, lo);
    case 2:
        return colour(lo, hi, lo + f);
    case 3:
        return colour(lo, hi - f, hi);
    case 4:
        return colour(lo + f, lo, hi);
    case 5:
        return colour(hi, lo, hi - f);
    default:
        return colour(hi, lo + f, lo);
    }
}

inline Colour of_hsv(Record record) {
    const auto [h, s, v] = record;
    if (h == grey_hue || s == 0)
        return colour(v, v, v);
    const int c = (v * s + 127) / 255;
    return colour_of_sector(wrap_hue(h), c, v, v - c);
}

inline Colour of_hls(Record record) {
    const auto [h, l, s] = record;
    if (h == grey_hue || s == 0)
        return colour(l, l, l);
    const int l2 = 2 * l;
    const int c = l2 < 256 ? (s * l2 + 127) / 255 : (s * (510 - l2) + 127) / 255;
    const int hi = (l2 + c + 1) / 2;
    return colour_of_sector(wrap_hue(h), c, hi, hi - c);
}

// Takes fields of one record over into another; in the order of the library's names for them.
inline Record with_fields(int which, Record base, Record other) {
    switch (which) {
    case 0:
        return {other[0], other[1], base[2]};
    case 1:
        return {other[0], base[1], base[2]};
    case 2:
        return {base[0], other[1], base[2]};
    default:
        return {base[0], base[1], other[2]};
    }
}

} // namespace q32::model

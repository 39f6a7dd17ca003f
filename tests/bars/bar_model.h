// The pictures of the bars, pixel by pixel as the rules read: ramps in double precision, a step
// being added after each value, and colours from hue, saturation and brightness in whole numbers.
// Takes nothing from the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test::bar_model {

using Bytes = std::vector<std::uint8_t>;

// `steps` values from a on towards b.
inline std::vector<int> ramp(int steps, int a, int b) {
    std::vector<int> values;
    double value = a;
    for (int i = 0; i < steps; ++i) {
        values.push_back(int(value + 0.5));
        value += (b - a) / double(steps);
    }
    return values;
}

// --- colours ---------------------------------------------------------------------------------

struct Rgb {
    int red, green, blue;
    bool operator==(const Rgb &) const = default;
};

constexpr Rgb rgb_of(unsigned colour) {
    return {int(colour & 255), int(colour >> 8 & 255), int(colour >> 16 & 255)};
}

constexpr Rgb rgb_of(int hue, int saturation, int brightness) {
    if (hue == 32767 || saturation == 0)
        return {brightness, brightness, brightness};
    if (hue >= 361)
        hue -= 360;
    if (hue < 0)
        hue += 360;
    const int d = (brightness * saturation + 127) / 255;
    const int m = brightness - d;
    const int f = ((hue % 60) * d + 30) / 60;
    const int up = m + f, down = brightness - f;
    const int sector = hue / 60;
    if (sector == 1)
        return {down, brightness, m};
    if (sector == 2)
        return {m, brightness, up};
    if (sector == 3)
        return {m, down, brightness};
    if (sector == 4)
        return {up, m, brightness};
    if (sector == 5)
        return {brightness, m, down};
    return {brightness, up, m};
}

// --- pictures: rows without gaps, the top row first ------------------------------------------

inline void append(Bytes &picture, const Rgb &colour) {
    for (const int sample : {colour.red, colour.green, colour.blue})
        picture.push_back(std::uint8_t(sample));
}

inline Bytes grey_bar(int width, int height, int from, int to, bool horizontal) {
    const std::vector<int> greys = ramp(horizontal ? width : height, from & 255, to & 255);
    Bytes picture;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.push_back(std::uint8_t(greys[std::size_t(horizontal ? x : y)]));
    return picture;
}

inline Bytes colour_bar(int width, int height, unsigned from, unsigned to, bool horizontal,
                        bool rainbow) {
    const int steps = horizontal ? width : height;
    const Rgb first = rgb_of(from), last = rgb_of(to);
    const std::vector<int> reds = ramp(steps, first.red, last.red),
                           greens = ramp(steps, first.green, last.green),
                           blues = ramp(steps, first.blue, last.blue), hues = ramp(steps, 0, 359);
    Bytes picture;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto i = std::size_t(horizontal ? x : y);
            append(picture,
                   rainbow ? rgb_of(hues[i], 255, 255) : Rgb{reds[i], greens[i], blues[i]});
        }
    return picture;
}

// What one side of a field of hues runs through: rising in the first half, falling in the second.
struct Halves {
    std::vector<int> rising, falling;
    explicit Halves(int steps)
        : rising(ramp((steps + 1) / 2, 0, 255)), falling(ramp(steps / 2, 255, 0)) {}
};

// Of styles 1 to 4.
inline Bytes hue_field(int style, int width, int height) {
    const bool hue_across = style <= 2, back = style == 2 || style == 4;
    const std::vector<int> hues = ramp(hue_across ? width : height, back ? 359 : 0, back ? 0 : 359);
    const Halves halves(hue_across ? height : width);
    Bytes picture;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int hue = hues[std::size_t(hue_across ? x : y)];
            const auto across = std::size_t(hue_across ? y : x);
            const bool first_half = across < halves.rising.size();
            const int value =
                first_half ? halves.rising[across] : halves.falling[across - halves.rising.size()];
            const bool value_is_brightness = first_half != (style == 4);
            append(picture,
                   value_is_brightness ? rgb_of(hue, 255, value) : rgb_of(hue, value, 255));
        }
    return picture;
}

} // namespace q32::test::bar_model

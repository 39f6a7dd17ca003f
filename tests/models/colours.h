// Colours in other spaces, one pixel at a time, each branch as its rule is worded. Shares no line
// with the library.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;

namespace model {

using Colour = std::array<std::uint8_t, 3>; // red, green, blue
using Record = std::array<std::int32_t, 3>; // HSV or HLS, in the order of the letters

inline constexpr std::int32_t no_hue = 32767; // of grey pixels

inline Colour colour_at(const std::uint8_t *from) {
    return {from[0], from[1], from[2]};
}

inline Record record_at(const std::uint8_t *from) {
    Record record;
    std::memcpy(record.data(), from, sizeof record);
    return record;
}

template <class Pixel>
void put(std::uint8_t *to, const Pixel &pixel) {
    std::memcpy(to, pixel.data(), sizeof pixel);
}

inline Colour colour_of(int red, int green, int blue) {
    return {std::uint8_t(red), std::uint8_t(green), std::uint8_t(blue)};
}

inline int grey_of(Colour c) {
    return (299 * c[0] + 587 * c[1] + 114 * c[2]) / 1000;
}

// --- to HSV and HLS --------------------------------------------------------------------------

// The three samples in order of size, and the hue. Equal samples: blue is the larger of red and
// blue only when it is greater, and green lies between unless it is less or greater than both.
struct Ranked {
    int most, middle, least, hue;

    explicit Ranked(Colour c) {
        const int red = c[0], green = c[1], blue = c[2];
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
        hue = no_hue;
        if (distance() > 0) {
            const int part = (way == falling ? most - middle : middle - least) * 60;
            hue = std::min((distance() / 2 + part) / distance() + base, 359);
        }
    }
    int distance() const { return most - least; }
};

inline Record hsv_of(Colour colour) {
    const Ranked ranked(colour);
    const int d = ranked.distance();
    return {ranked.hue, d > 0 ? (d * 255 + ranked.most / 2) / ranked.most : 0, ranked.most};
}

inline Record hls_of(Colour colour) {
    const Ranked ranked(colour);
    const int d = ranked.distance(), sum = ranked.most + ranked.least;
    const int range = sum < 256 ? sum : 510 - sum;
    return {ranked.hue, sum / 2, d > 0 ? (d * 255 + range / 2) / range : 0};
}

// --- and back --------------------------------------------------------------------------------

// Fields may be anything: sums and products are those of 32-bit words.
inline int wrapped(std::int64_t value) {
    return int(std::uint32_t(std::uint64_t(value)));
}

// high and low are what the largest and the smallest sample become, chroma apart.
inline Colour colour_of_sector(int hue, int chroma, int high, int low) {
    if (hue > 360)
        hue -= 360;
    if (hue < 0)
        hue += 360;
    const int part = wrapped(std::int64_t{wrapped(std::int64_t(hue % 60) * chroma)} + 30) / 60;
    const int up = wrapped(std::int64_t{low} + part), down = wrapped(std::int64_t{high} - part);
    switch (hue / 60) {
    case 1:
        return colour_of(down, high, low);
    case 2:
        return colour_of(low, high, up);
    case 3:
        return colour_of(low, down, high);
    case 4:
        return colour_of(up, low, high);
    case 5:
        return colour_of(high, low, down);
    default:
        return colour_of(high, up, low);
    }
}

inline Colour colour_of_hsv(const Record &record) {
    const auto [hue, saturation, value] = record;
    if (hue == no_hue || saturation == 0)
        return colour_of(value, value, value);
    const int product = wrapped(std::int64_t{value} * saturation);
    const int chroma = wrapped(std::int64_t{product} + 127) / 255;
    return colour_of_sector(hue, chroma, value, wrapped(std::int64_t{value} - chroma));
}

inline Colour colour_of_hls(const Record &record) {
    const auto [hue, lightness, saturation] = record;
    if (hue == no_hue || saturation == 0)
        return colour_of(lightness, lightness, lightness);
    const int twice = wrapped(std::int64_t{lightness} * 2);
    const int range = twice < 256 ? twice : wrapped(510 - std::int64_t{twice});
    const int product = wrapped(std::int64_t{saturation} * range);
    const int chroma = wrapped(std::int64_t{product} + 127) / 255;
    const int high = wrapped(std::int64_t{wrapped(std::int64_t{twice} + chroma)} + 1) / 2;
    return colour_of_sector(hue, chroma, high, wrapped(std::int64_t{high} - chroma));
}

// --- whole runs ------------------------------------------------------------------------------

struct ColourConversion {
    unsigned number; // the interface's
    const char *name;
    std::size_t from_bytes, to_bytes; // of a pixel
    void (*convert_pixel)(std::uint8_t *to, const std::uint8_t *from);
};
using To = std::uint8_t *;
using From = const std::uint8_t *;
inline constexpr ColourConversion colour_conversions[] = {
    {0, "rgb to grey", 3, 1,
     [](To to, From from) { *to = std::uint8_t(grey_of(colour_at(from))); }},
    {1, "grey to rgb", 1, 3,
     [](To to, From from) {
         put(to, Colour{*from, *from, *from});
     }},
    {2, "rgb to hsv", 3, 12, [](To to, From from) { put(to, hsv_of(colour_at(from))); }},
    {3, "hsv to rgb", 12, 3, [](To to, From from) { put(to, colour_of_hsv(record_at(from))); }},
    {4, "rgb to hls", 3, 12, [](To to, From from) { put(to, hls_of(colour_at(from))); }},
    {5, "hls to rgb", 12, 3, [](To to, From from) { put(to, colour_of_hls(record_at(from))); }}};

// The caller's room is used again: runs may be long and many.
inline void convert(const ColourConversion &conversion, Bytes &to, const Bytes &from) {
    const std::size_t pixels = from.size() / conversion.from_bytes;
    to.resize(pixels * conversion.to_bytes);
    for (std::size_t i = 0; i < pixels; ++i)
        conversion.convert_pixel(to.data() + i * conversion.to_bytes,
                                 from.data() + i * conversion.from_bytes);
}

inline Bytes converted(const ColourConversion &conversion, const Bytes &from) {
    Bytes to;
    convert(conversion, to, from);
    return to;
}

// --- fields ----------------------------------------------------------------------------------

// The base with the fields of another that a merge mode takes: 2 hue and saturation, 3 hue,
// 4 saturation, 5 value.
inline Colour with_fields(int mode, Colour base, Colour other) {
    Record record = hsv_of(base);
    const Record from = hsv_of(other);
    if (mode == 2 || mode == 3)
        record[0] = from[0];
    if (mode == 2 || mode == 4)
        record[1] = from[1];
    if (mode == 5)
        record[2] = from[2];
    return colour_of_hsv(record);
}

} // namespace model
} // namespace q32::test

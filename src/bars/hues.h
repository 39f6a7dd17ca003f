// Hue, saturation and brightness as red, green and blue, in whole numbers.
#pragma once

#include <cstdint>

namespace q32::bars {

// As it lies in a pixel.
struct Colour {
    std::uint8_t red, green, blue;
    bool operator==(const Colour &) const = default;
};

struct Shade {
    std::uint16_t saturation, brightness; // 0 to 255
    bool operator==(const Shade &) const = default;
};

inline constexpr int no_hue = 32767;

// Hues from 0 to 360 degrees, once around the circle in either direction, or no_hue.
constexpr Colour colour_of(int hue, Shade shade) {
    const auto byte = [](int sample) { return std::uint8_t(sample); };
    const int top = shade.brightness;
    if (hue == no_hue || shade.saturation == 0)
        return {byte(top), byte(top), byte(top)};
    constexpr int circle = 360, sector = 60;
    if (hue > circle) // 360 itself stays, and falls to the default below
        hue -= circle;
    else if (hue < 0)
        hue += circle;

    const int depth = int((std::uint32_t(top) * shade.saturation + 127) / 255);
    const int low = top - depth;
    const int part = (hue % sector * depth + sector / 2) / sector;
    const int up = low + part, down = top - part;
    switch (hue / sector) {
    case 1:
        return {byte(down), byte(top), byte(low)};
    case 2:
        return {byte(low), byte(top), byte(up)};
    case 3:
        return {byte(low), byte(down), byte(top)};
    case 4:
        return {byte(up), byte(low), byte(top)};
    case 5:
        return {byte(top), byte(low), byte(down)};
    default:
        return {byte(top), byte(up), byte(low)};
    }
}

} // namespace q32::bars

// The colours of palettes, entry by entry: ramps of greys, colour cubes, and the two fixed sets.
// Making GDI palettes of them is another's affair.
#pragma once

#include <array>
#include <cstdint>

namespace q32::display {

struct Colour {
    std::uint8_t red, green, blue;
    bool operator==(const Colour &) const = default;
};

inline constexpr Colour black{0, 0, 0}, white{255, 255, 255};

// --- greys -----------------------------------------------------------------------------------

constexpr std::uint8_t grey_level(int index, int levels) {
    return std::uint8_t(index * 255 / (levels - 1));
}

constexpr Colour grey(int index, int levels) {
    const std::uint8_t level = grey_level(index, levels);
    return {level, level, level};
}

// --- colour cubes ----------------------------------------------------------------------------

// Levels of each channel. Red is outermost in the palette, blue innermost.
struct Cube {
    int reds, greens, blues;
    constexpr int colours() const { return reds * greens * blues; }
};

inline constexpr Cube cube_676{6, 7, 6}, cube_666{6, 6, 6}, cube_884{8, 8, 4};

// A palette with a cube has at least this many entries; what the cube leaves of them is white.
inline constexpr int cube_entries = 256;

// Rounded, unlike greys: 0, 36, 73, 109, 146, 182, 219, 255 of 8 levels.
constexpr std::uint8_t cube_level(int index, int levels) {
    const int divisions = levels - 1;
    return std::uint8_t((index * 255 + divisions / 2) / divisions);
}

constexpr Colour cube_colour(int index, const Cube &cube) {
    if (index >= cube.colours())
        return index < cube_entries ? white : black;
    return {cube_level(index / (cube.greens * cube.blues), cube.reds),
            cube_level(index / cube.blues % cube.greens, cube.greens),
            cube_level(index % cube.blues, cube.blues)};
}

// --- fixed sets ------------------------------------------------------------------------------

inline constexpr std::array<Colour, 16> sixteen_colours{{{0, 0, 0},
                                                         {128, 0, 0},
                                                         {0, 128, 0},
                                                         {128, 128, 0},
                                                         {0, 0, 128},
                                                         {128, 0, 128},
                                                         {0, 128, 128},
                                                         {128, 128, 128},
                                                         {192, 192, 192},
                                                         {255, 0, 0},
                                                         {0, 255, 0},
                                                         {255, 255, 0},
                                                         {0, 0, 255},
                                                         {255, 0, 255},
                                                         {0, 255, 255},
                                                         {255, 255, 255}}};

inline constexpr std::array<Colour, 8> eight_colours{{{0, 0, 0},
                                                      {255, 0, 0},
                                                      {0, 255, 0},
                                                      {255, 255, 0},
                                                      {0, 0, 255},
                                                      {255, 0, 255},
                                                      {0, 255, 255},
                                                      {255, 255, 255}}};

// Of a palette with fewer entries than a cube needs: two are black and white, eight the eight
// colours, and any other number the first of the sixteen, black behind them.
constexpr Colour fixed_colour(int index, int entries) {
    if (entries == 2)
        return index == 0 ? black : white;
    if (entries == int(eight_colours.size()))
        return eight_colours[index];
    return index < int(sixteen_colours.size()) ? sixteen_colours[index] : black;
}

} // namespace q32::display

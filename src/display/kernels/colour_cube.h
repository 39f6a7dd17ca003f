// How samples become colours of the display palette, a cube of 6 x 6 x 6 with red outermost.
#pragma once

#include <array>
#include <cstdint>

namespace q32::display {

inline constexpr int cube_side = 6;

struct CubeTables {
    // The level below each sample, and what is left above it. A pixel whose fraction reaches its
    // threshold takes the next level; those of the last level have nothing left.
    struct Channel {
        std::array<std::uint8_t, 256> level, fraction;
    };
    Channel red, green, blue;

    // What each level adds to the index in the palette.
    std::array<std::uint8_t, cube_side> of_red, of_green, of_blue;
};
static_assert(sizeof(CubeTables) == 6 * 256 + 3 * cube_side);

// Without dithering the levels are cut at other places, and nothing is ever left.
constexpr CubeTables cube_tables(bool dithering) {
    const int step = dithering ? 255 / (cube_side - 1) : 43;
    CubeTables tables{};
    for (int sample = 0; sample < 256; ++sample) {
        const auto level = std::uint8_t(sample / step);
        const auto fraction = std::uint8_t(dithering ? sample % step : 0);
        for (auto *const channel : {&tables.red, &tables.green, &tables.blue}) {
            channel->level[sample] = level;
            channel->fraction[sample] = fraction;
        }
    }
    for (int level = 0; level < cube_side; ++level) {
        tables.of_red[level] = std::uint8_t(level * cube_side * cube_side);
        tables.of_green[level] = std::uint8_t(level * cube_side);
        tables.of_blue[level] = std::uint8_t(level);
    }
    return tables;
}

inline constexpr CubeTables dithered_cube = cube_tables(true);

} // namespace q32::display

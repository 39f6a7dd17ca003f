// Colour separation written down a second time, as its rules are told: in whole numbers, with
// powers that are exact.
#pragma once

#include <array>
#include <cstdint>

namespace q32::test::model {

struct Inks {
    int start = 0, amount = 30, removal = 10, limit = 350;
};

struct Separation {
    std::array<int, 256> black{}, removal{}, inverse{};
    int limit = 1020;
};

// What there is before the tables are built: no black, nothing removed, no limit.
inline const Separation unbuilt{};

Separation separation(const Inks &inks);

// Bytes of a pixel, the first in the lowest.
std::uint32_t to_cmyk(const Separation &tables, int red, int green, int blue);
std::uint32_t to_rgb(const Separation &tables, int cyan, int magenta, int yellow, int black);

} // namespace q32::test::model

// Rows of colours separated into plates, and plates back to colours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace apps::q32tool {

inline constexpr size_t plate_count = 4;
inline constexpr std::array<std::string_view, plate_count> plate_names = {"cyan", "magenta",
                                                                          "yellow", "black"};

// One row of each plate, a byte a pixel: 255 is full ink.
using PlateRows = std::array<uint8_t *, plate_count>;

// Before the first row.
void prepare_separation();

// pixels: 24 bits, byte 0 red.
void separate_row(const PlateRows &plates, const uint8_t *pixels, size_t count);
void recombine_row(uint8_t *pixels, const PlateRows &plates, size_t count);

} // namespace apps::q32tool

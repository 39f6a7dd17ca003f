// What the kernels that bring rows to a display must do, as plainly as the rules read: a pixel at a
// time, with the matrices number by number. Takes nothing from the library but the types of what it
// is given.
#pragma once

#include "display/kernels/show_kernels.h"
#include "tests/models/dither_matrices.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test::model {

using Bytes = std::vector<std::uint8_t>;
using display::ChannelTable;
using display::ChannelTables;
using display::ColourEntries;
using display::Thresholds;

// --- matrices --------------------------------------------------------------------------------

// The rows of a matrix, repeated where they have four columns.
template <int side>
constexpr std::array<Thresholds, side> rows_of(const int (&matrix)[side][side]) {
    std::array<Thresholds, side> rows{};
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < 8; ++x)
            rows[y][x] = std::uint8_t(matrix[y][x % side]);
    return rows;
}
inline constexpr auto sixteen_colour_rows = rows_of(sixteen_colour_matrix);
inline constexpr auto palette_rows = rows_of(palette_matrix);
inline constexpr auto high_colour_rows = rows_of(high_colour_matrix);

// A row of a matrix for a run that begins at this column of it.
constexpr Thresholds turned(const Thresholds &row, std::size_t column) {
    Thresholds thresholds{};
    for (std::size_t i = 0; i < 8; ++i)
        thresholds[i] = row[(column + i) % 8];
    return thresholds;
}

// --- tables ----------------------------------------------------------------------------------

// Of displays of 5 bits a channel without gamma: 0 to 255 become 0 to 248.
inline ChannelTables plain_high_colour_tables() {
    ChannelTables tables{};
    for (int sample = 0; sample < 256; ++sample)
        tables.red[sample] = tables.green[sample] = tables.blue[sample] =
            std::uint8_t((sample * 248 + 127) / 255);
    return tables;
}

inline ChannelTables identity_tables() {
    ChannelTables tables{};
    for (int sample = 0; sample < 256; ++sample)
        tables.red[sample] = tables.green[sample] = tables.blue[sample] = std::uint8_t(sample);
    return tables;
}

// --- kernels ---------------------------------------------------------------------------------

inline Bytes colours_of_indices(const Bytes &indices, const ColourEntries &entries) {
    Bytes rgb;
    for (const std::uint8_t index : indices)
        for (std::size_t channel = 0; channel < 3; ++channel)
            rgb.push_back(entries[std::size_t{4} * index + channel]);
    return rgb;
}

inline Bytes grey_levels(const Bytes &greys, int shift) {
    Bytes levels;
    for (const std::uint8_t grey : greys)
        levels.push_back(std::uint8_t(grey >> shift));
    return levels;
}

inline void set_bit(Bytes &bits, std::size_t first_byte, std::size_t pixel) {
    bits[first_byte + pixel / 8] |= std::uint8_t(1 << (7 - pixel % 8));
}

inline Bytes bits_of_greys(const Bytes &greys, const Thresholds &thresholds) {
    Bytes bits((greys.size() + 7) / 8);
    for (std::size_t i = 0; i < greys.size(); ++i)
        if (thresholds[i % 8] <= greys[i])
            set_bit(bits, 0, i);
    return bits;
}

inline Bytes planes(const Bytes &rgb, const Thresholds &thresholds, std::size_t plane_bytes) {
    Bytes planes(4 * plane_bytes);
    for (std::size_t i = 0; i < rgb.size() / 3; ++i)
        for (std::size_t channel = 0; channel < 3; ++channel)
            if (rgb[3 * i + channel] >= thresholds[i % 8]) {
                set_bit(planes, channel * plane_bytes, i);
                set_bit(planes, 3 * plane_bytes, i);
            }
    return planes;
}

// The level of a cube of 6 x 6 x 6.
inline int cube_level(int sample, int threshold) {
    return sample / 51 + (sample % 51 >= threshold ? 1 : 0);
}

inline Bytes cube_indices(const Bytes &rgb, const Thresholds &thresholds) {
    Bytes indices;
    for (std::size_t i = 0; i < rgb.size() / 3; ++i) {
        const int threshold = thresholds[i % 8];
        indices.push_back(std::uint8_t(36 * cube_level(rgb[3 * i], threshold) +
                                       6 * cube_level(rgb[3 * i + 1], threshold) +
                                       cube_level(rgb[3 * i + 2], threshold)));
    }
    return indices;
}

inline Bytes correct(const Bytes &rgb, const ChannelTables &tables) {
    Bytes bgr;
    for (std::size_t i = 0; i < rgb.size() / 3; ++i) {
        bgr.push_back(tables.blue[rgb[3 * i + 2]]);
        bgr.push_back(tables.green[rgb[3 * i + 1]]);
        bgr.push_back(tables.red[rgb[3 * i]]);
    }
    return bgr;
}

inline Bytes high_colour(const Bytes &rgb, const ChannelTables &tables,
                         const Thresholds &thresholds) {
    Bytes bgr = correct(rgb, tables);
    for (std::size_t i = 0; i < bgr.size(); ++i) {
        const int value = bgr[i];
        const bool steps_up = (value & 7) >= thresholds[i / 3 % 8];
        bgr[i] = std::uint8_t(steps_up ? ((value & 0xF8) + 8) & 0xFF : value & 0xF8);
    }
    return bgr;
}

} // namespace q32::test::model

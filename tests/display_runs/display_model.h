// What becomes of pixels on their way to a display, worked out pixel by pixel from the rules: which
// path a run takes, and what each path makes of a pixel. Strips and flushes are run_model.h's.
#pragma once

#include "tests/models/dither_matrices.h"
#include "tests/models/gamma.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace q32::test::model {

// --- what a run is opened with ---------------------------------------------------------------

struct Rgb {
    int red, green, blue;
    bool operator==(const Rgb &) const = default;
};

struct Percents {
    int red = 100, green = 100, blue = 100;
};

struct RunSetup {
    int type = 4, depth = 24;
    int left = 0, top = 0, right = 0, bottom = 0;
    std::optional<std::vector<Rgb>> palette;
    int option = 0, force_background = 0;
    std::optional<std::array<int, 2>> origin; // of disp32ShowInitEx
    bool dither = true;                       // the switch of high-colour displays
    Percents gamma;
    int device_bits = 4, device_planes = 1; // of type 2

    std::int64_t width() const { return std::int64_t{right} - left; }
    std::int64_t height() const { return std::int64_t{bottom} - top; }
    bool empty() const { return width() <= 0 || height() <= 0; }
};

// --- paths -----------------------------------------------------------------------------------

enum class Path {
    none,
    planes,         // 24 and 16 bits to four planes
    palette_planes, // a palette's colours to four planes
    grey_bits,      // greys to bits
    bits,
    palette_cube, // a palette's colours to places of the display palette
    palette_places,
    greys_16,
    greys_128,
    direct_greys,
    cube,
    direct
};

inline Path path_of(const RunSetup &setup) {
    const bool full = setup.type == 4 || setup.type == 5;
    switch (setup.depth) {
    case 24:
    case 16:
        return setup.type == 2 ? Path::planes : full ? Path::direct : Path::cube;
    case 8:
        if (setup.type == 2)
            return setup.palette ? Path::palette_planes : Path::grey_bits;
        if (full)
            return setup.palette ? Path::palette_places : Path::direct_greys;
        if (setup.palette)
            return setup.option != 0 ? Path::palette_cube : Path::palette_places;
        return setup.option != 0 ? Path::greys_16 : Path::greys_128;
    case 1:
        return Path::bits;
    default:
        return Path::none;
    }
}

// What the strip holds, and how it is drawn.
enum class Strip { bits, planes, places, colours };
inline Strip strip_of(Path path) {
    switch (path) {
    case Path::planes:
    case Path::palette_planes:
        return Strip::planes;
    case Path::grey_bits:
    case Path::bits:
        return Strip::bits;
    case Path::direct:
    case Path::direct_greys:
        return Strip::colours;
    default:
        return Strip::places;
    }
}

enum class Shown { nothing, callers, cube, greys_16, greys_128 };
inline Shown palette_of(Path path) {
    switch (path) {
    case Path::palette_places:
        return Shown::callers;
    case Path::cube:
    case Path::palette_cube:
        return Shown::cube;
    case Path::greys_16:
        return Shown::greys_16;
    case Path::greys_128:
        return Shown::greys_128;
    default:
        return Shown::nothing;
    }
}

// --- one pixel -------------------------------------------------------------------------------

constexpr int widened(int field) {
    return field << 3 | 7;
}

// A pixel of a row: a colour, an index or grey in `red`, or a bit in `red`.
inline Rgb source_pixel(const std::uint8_t *row, int depth, std::int64_t column) {
    if (depth == 24)
        return {row[3 * column], row[3 * column + 1], row[3 * column + 2]};
    if (depth == 16) {
        const int word = row[2 * column] + 256 * row[2 * column + 1];
        return {widened(word / 1024 % 32), widened(word / 32 % 32), widened(word % 32)};
    }
    if (depth == 8)
        return {row[column], 0, 0};
    const std::int64_t byte = column >= 0 ? column / 8 : -((7 - column) / 8);
    return {row[byte] >> (7 - (column - 8 * byte)) & 1, 0, 0};
}

// Threshold of a place of the matrix, which may lie anywhere.
template <int side>
int threshold(const int (&matrix)[side][side], std::int64_t column, std::int64_t row) {
    return matrix[(row % side + side) % side][(column % side + side) % side];
}

// Bit 0: red plane, 1: green, 2: blue, 3: any.
inline std::uint32_t plane_bits(const Rgb &colour, int limit) {
    const int bits = (colour.red >= limit ? 1 : 0) | (colour.green >= limit ? 2 : 0) |
                     (colour.blue >= limit ? 4 : 0);
    return std::uint32_t(bits != 0 ? bits | 8 : 0);
}

inline int cube_level(int value, int limit) {
    return value / 51 + (value % 51 >= limit ? 1 : 0);
}
inline std::uint32_t cube_place(const Rgb &colour, int limit) {
    return std::uint32_t(cube_level(colour.red, limit) * 36 + cube_level(colour.green, limit) * 6 +
                         cube_level(colour.blue, limit));
}

constexpr int high_colour_level(int corrected) {
    return (corrected * 248 + 127) / 255;
}
constexpr int reduced(int value, int limit) {
    return (value & 7) >= limit ? ((value & 0xF8) + 8) & 0xFF : value & 0xF8;
}

// Makes pixels of one run.
class Painter {
public:
    explicit Painter(const RunSetup &setup)
        : setup_(setup), path_(path_of(setup)), gamma_{gamma_levels(setup.gamma.red),
                                                       gamma_levels(setup.gamma.green),
                                                       gamma_levels(setup.gamma.blue)} {}

    // What the strip holds for a pixel whose threshold is at this place of the matrix: a bit, four
    // plane bits, a place of the palette, or 0xRRGGBB.
    std::uint32_t paint(const Rgb &source, std::int64_t column, std::int64_t row) const {
        switch (path_) {
        case Path::planes:
            return plane_bits(source, threshold(sixteen_colour_matrix, column, row));
        case Path::palette_planes:
            return plane_bits(entry(source.red), threshold(sixteen_colour_matrix, column, row));
        case Path::grey_bits:
            return threshold(sixteen_colour_matrix, column, row) <= source.red ? 1 : 0;
        case Path::palette_cube:
            return cube_place(entry(source.red), threshold(palette_matrix, column, row));
        case Path::cube:
            return cube_place(source, threshold(palette_matrix, column, row));
        case Path::greys_16:
            return std::uint32_t(source.red / 16);
        case Path::greys_128:
            return std::uint32_t(source.red / 2);
        case Path::direct:
            return full_colour(source, threshold(high_colour_matrix, column, row));
        case Path::direct_greys:
            return full_colour({source.red, source.red, source.red},
                               threshold(high_colour_matrix, column, row));
        default:
            return std::uint32_t(source.red); // bits, and the caller's palette
        }
    }

private:
    // Beyond those the palette has all are black.
    Rgb entry(int index) const {
        const std::vector<Rgb> &entries = *setup_.palette;
        return index < int(entries.size()) ? entries[std::size_t(index)] : Rgb{0, 0, 0};
    }
    std::uint32_t full_colour(const Rgb &colour, int limit) const {
        const int given[3] = {colour.red, colour.green, colour.blue};
        std::uint32_t result = 0;
        for (int channel = 0; channel < 3; ++channel) {
            int value = gamma_[channel][given[channel]];
            if (setup_.type == 5)
                value = high_colour_level(value);
            if (setup_.type == 5 && setup_.dither)
                value = reduced(value, limit);
            result = result * 256 + std::uint32_t(value);
        }
        return result;
    }

    RunSetup setup_;
    Path path_;
    std::array<Levels, 3> gamma_;
};

} // namespace q32::test::model

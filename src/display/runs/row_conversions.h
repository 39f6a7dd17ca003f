// What becomes of a row in the strip: one conversion for each way of showing pixels, with the
// matrix and the tables that it goes by.
#pragma once

#include "display/runs/dither_cursor.h"

#include <cstddef>
#include <cstdint>

namespace q32::display {

// A row on its way. Each conversion reads what it needs of this and leaves the rest.
struct RowToShow {
    const std::uint8_t *source;
    std::size_t pixels;
    int first_bit; // of a row of bits, within its first byte
    const Thresholds &thresholds;
    const ScreenTables &tables;
};

using ConvertRow = void(std::uint8_t *strip_row, const RowToShow &row);

struct Conversion {
    ConvertRow *convert;
    ConvertRow *without_gamma; // the same bytes while there is no gamma to correct
    MatrixView matrix;
    const ScreenTables &(*tables)();

    // Which of the two it is until the gamma changes.
    ConvertRow *current() const;
};

// Bytes of one of the four rows that `sixteen_colours` writes.
constexpr std::uint64_t plane_row_bytes(std::uint64_t width) {
    return (width + 15) / 16 * 2;
}

namespace conversion {

// Of colours.
extern const Conversion sixteen_colours; // to four planes of bits
extern const Conversion colour_cube;     // to indices of the display palette
extern const Conversion true_colour;     // to samples in the order BGR
extern const Conversion high_colour;     // the same, dithered
extern const Conversion plain_high_colour;

// Of greys.
extern const Conversion black_and_white; // to bits
extern const Conversion greys_16;        // to indices of the grey palettes
extern const Conversion greys_128;

// Of what is shown as it is.
extern const Conversion copied; // indices
extern const Conversion copied_bits;

} // namespace conversion
} // namespace q32::display

// Resampling as the rules say it, one sample after another and with no thought of speed: where
// destination pixels lie in the source, and what each method makes of the samples there. Shares no
// code with the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32::test::model {

// --- positions -------------------------------------------------------------------------------

// Where destination pixels lie along one axis, one entry for each.
struct Axis {
    std::vector<std::int32_t> index;
    std::vector<std::int32_t> fraction; // nearest neighbour has none

    int count() const { return int(index.size()); }
    bool operator==(const Axis &) const = default;
};

enum class Units { of_256, of_65536 };

// Position tables: in single precision; when reducing, the ends meet.
Axis table_axis(int destination, int source, Units units);
// Cells that interpolate: in double precision, reducing or not.
Axis cell_axis(int destination, int source);
// Cells that take the nearest pixel: rounded.
Axis nearest_cell_axis(int destination, int source);

// --- single samples --------------------------------------------------------------------------

// 16-bit fractions; p00 is the sample at the index, p10 its right neighbour, p01 the one below.
std::uint8_t bilinear(int p00, int p10, int p01, int p11, std::uint32_t fx, std::uint32_t fy);

int cubic_phase(int fraction);
std::array<int, 4> cubic_weights(int phase);

// rows[j][i] is the sample at i - 1 columns and j - 1 rows from the index.
using Block = std::array<std::array<std::uint8_t, 4>, 4>;
std::uint8_t bicubic(const Block &rows, int column_phase, int row_phase);

// --- images ----------------------------------------------------------------------------------

// Packed rows. Source pixels outside are those of the nearest edge.
struct Image {
    int width;
    int height;
    std::size_t pixel_bytes;
    std::vector<std::uint8_t> bytes;
    // The number of its first pixel, where this is a part of a larger image.
    int left = 0;
    int top = 0;

    Image(int columns, int rows, std::size_t bytes_of_a_pixel)
        : width{columns}, height{rows}, pixel_bytes{bytes_of_a_pixel},
          bytes(std::size_t(columns) * std::size_t(rows) * bytes_of_a_pixel) {}

    std::size_t row_bytes() const { return std::size_t(width) * pixel_bytes; }
    const std::uint8_t *row(int y) const { return bytes.data() + std::size_t(y) * row_bytes(); }
    // Numbers are those of the larger image.
    int nearest_column(int column) const;
    int nearest_row(int row) const;
    const std::uint8_t *pixel(int column, int row) const;
};

// Words of 5 bits a channel, as 2 bytes, to colours and back.
Image widened(const Image &words);
Image narrowed(const Image &colours);

enum class Method { nearest, bilinear, bicubic };

// Bilinear takes the low 16 bits of a fraction, bicubic the low 8 bits. An index outside the source
// counts as the nearest edge's, with its fraction.
Image resampled(Method method, const Image &source, const Axis &columns, const Axis &rows);

} // namespace q32::test::model

// The conversions: kernels, and what they are given.
#include "display/runs/row_conversions.h"

#include "display/display.h"
#include "display/gamma.h"
#include "rows/rows.h"

#include <cstring>

namespace q32::display {
namespace {

constexpr Matrix<1> no_thresholds{};

constexpr MatrixView undithered = view<1>(no_thresholds);
constexpr MatrixView by_planes = view<8>(sixteen_colour_thresholds);
constexpr MatrixView by_cube = view<8>(palette_thresholds);
constexpr MatrixView by_high_colour = view<4>(high_colour_thresholds);

constexpr auto screen = corrected_samples;
constexpr auto five_bits = corrected_high_colour_samples;

void to_planes(std::uint8_t *planes, const RowToShow &row) {
    kernels().planes(planes, plane_row_bytes(row.pixels), row.source, row.thresholds, row.pixels);
}

void to_bits(std::uint8_t *bits, const RowToShow &row) {
    kernels().bits_of_greys(bits, row.source, row.thresholds, row.pixels);
}

// Whole bytes are copied as they are, pixels beyond the last one included.
void copy_bits(std::uint8_t *bits, const RowToShow &row) {
    if (row.first_bit == 0)
        std::memcpy(bits, row.source, (row.pixels + 7) / 8);
    else
        rows::kernels().copy_bit_rows(bits, 0, 0, row.source, 0, std::size_t(row.first_bit),
                                      row.pixels, 1);
}

void copy(std::uint8_t *indices, const RowToShow &row) {
    std::memcpy(indices, row.source, row.pixels);
}

template <int shift>
void shift_greys(std::uint8_t *levels, const RowToShow &row) {
    kernels().grey_levels(levels, row.source, shift, row.pixels);
}

void to_cube(std::uint8_t *indices, const RowToShow &row) {
    kernels().cube_indices(indices, row.source, row.thresholds, row.pixels);
}

void swap(std::uint8_t *bgr, const RowToShow &row) {
    rows::kernels().swap_red_blue(bgr, row.source, row.pixels);
}

void correct(std::uint8_t *bgr, const RowToShow &row) {
    kernels().correct(bgr, row.source, row.tables, row.pixels);
}

void dither(std::uint8_t *bgr, const RowToShow &row) {
    kernels().high_colour(bgr, row.source, row.tables, row.thresholds, row.pixels);
}

void dither_without_gamma(std::uint8_t *bgr, const RowToShow &row) {
    kernels().plain_high_colour(bgr, row.source, row.thresholds, row.pixels);
}

} // namespace

ConvertRow *Conversion::current() const {
    return gamma_corrects_nothing() ? without_gamma : convert;
}

namespace conversion {

// clang-format off
constinit const Conversion
    sixteen_colours  {to_planes,      to_planes,            by_planes,      screen},
    black_and_white  {to_bits,        to_bits,              by_planes,      screen},
    copied_bits      {copy_bits,      copy_bits,            undithered,     screen},
    copied           {copy,           copy,                 undithered,     screen},
    greys_16         {shift_greys<4>, shift_greys<4>,       undithered,     screen},
    greys_128        {shift_greys<1>, shift_greys<1>,       undithered,     screen},
    colour_cube      {to_cube,        to_cube,              by_cube,        screen},
    true_colour      {correct,        swap,                 undithered,     screen},
    high_colour      {dither,         dither_without_gamma, by_high_colour, five_bits},
    plain_high_colour{correct,        correct,              undithered,     five_bits};
// clang-format on

} // namespace conversion
} // namespace q32::display

// The table of resampling methods. A further method is one more row.
#include "resample/methods.h"

#include <q32base/resample.h>

namespace q32::resample {
namespace {

constexpr int any_number = 0;

// The last row takes all numbers that have none. Quirk: they are bicubic but do not make the
// coefficient table; their frames have 16-bit fractions; and until a bicubic call has made the
// table their cells are bilinear: programs see the same call give other pixels later.
constexpr Method methods[] = {
    {.number = RESAMPLE_NEAREST,
     .kernels = &ResampleKernels::nearest,
     .fractions = FractionBits::none,
     .frame_fractions = FractionBits::sixteen,
     .cell_positions = CellPositions::rounded,
     .cell_sites = &site::nearest_cells},
    {.number = RESAMPLE_BILINEAR,
     .kernels = &ResampleKernels::bilinear,
     .fractions = FractionBits::sixteen,
     .frame_fractions = FractionBits::sixteen,
     .cell_positions = CellPositions::between,
     .cell_sites = &site::bilinear_cells,
     .through_24_bits = true},
    {.number = RESAMPLE_BICUBIC,
     .kernels = &ResampleKernels::bicubic,
     .fractions = FractionBits::eight,
     .frame_fractions = FractionBits::eight,
     .cell_positions = CellPositions::between,
     .cell_sites = &site::bicubic_cells,
     .through_24_bits = true,
     .makes_coefficients = true},
    {.number = any_number,
     .kernels = &ResampleKernels::bicubic,
     .fractions = FractionBits::eight,
     .frame_fractions = FractionBits::sixteen,
     .cell_positions = CellPositions::between,
     .cell_sites = &site::bicubic_cells,
     .through_24_bits = true,
     .cells_without_coefficients = RESAMPLE_BILINEAR},
};

} // namespace

const Method &method_of(int number) {
    const Method *method = methods;
    while (method->number != number && method->number != any_number)
        ++method;
    return *method;
}

const Method &method_of_cells(const Method &method) {
    const bool goes_by_another =
        method.cells_without_coefficients != 0 && !coefficient_table_was_made();
    return goes_by_another ? method_of(method.cells_without_coefficients) : method;
}

bool make_coefficients(const Method &method) {
    return !method.makes_coefficients || make_coefficient_table() || fail(site::no_coefficients);
}

} // namespace q32::resample

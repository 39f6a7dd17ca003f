// The chooser: which kernels an instruction set runs.
#include "display/kernels/show_wide.h"
#include "library/process/kernel_choice.h"

namespace q32::display {
namespace {

constexpr ShowKernels sse2_table = {
    .colours_of_indices = colours_of_indices_sse2,
    .grey_levels = grey_levels_sse2,
    .bits_of_greys = bits_of_greys_sse2,
    .cube_indices = cube_indices_sse2,
    .planes = planes_sse2,
    .correct = correct_sse2,
    .high_colour = high_colour_sse2,
    .plain_high_colour = plain_high_colour_sse2,
};

constexpr ShowKernels sse41_table = [] {
    ShowKernels table = sse2_table;
    table.colours_of_indices = colours_of_indices_sse41;
    table.bits_of_greys = bits_of_greys_sse41;
    table.cube_indices = cube_indices_sse41;
    table.planes = planes_sse41;
    table.plain_high_colour = plain_high_colour_sse41;
    return table;
}();

constexpr ShowKernels avx2_table = [] {
    ShowKernels table = sse41_table;
    table.colours_of_indices = colours_of_indices_avx2;
    table.grey_levels = grey_levels_avx2;
    table.bits_of_greys = bits_of_greys_avx2;
    table.cube_indices = cube_indices_avx2;
    table.planes = planes_avx2;
    table.correct = correct_avx2;
    table.high_colour = high_colour_avx2;
    table.plain_high_colour = plain_high_colour_avx2;
    return table;
}();

constexpr ShowKernels avx512_table = [] {
    ShowKernels table = avx2_table;
    table.colours_of_indices = colours_of_indices_avx512;
    table.bits_of_greys = bits_of_greys_avx512;
    table.cube_indices = cube_indices_avx512;
    table.planes = planes_avx512;
    table.correct = correct_avx512;
    table.high_colour = high_colour_avx512;
    table.plain_high_colour = plain_high_colour_avx512;
    return table;
}();

} // namespace

const ShowKernels &show_kernels(InstructionSet level) {
    return choose(level, sse2_table, sse41_table, avx2_table, avx512_table);
}

} // namespace q32::display

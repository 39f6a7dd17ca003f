// The chooser: which form of each conversion an instruction set runs. Each table begins as the one
// below it and replaces what it has a faster form of.
#include "rows/kernels/scalar.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::rows {

constexpr RowKernels scalar_row_kernels = {
    .fill = {fill_1, fill_2, fill_3, fill_4},
    .exchange = exchange,
    .invert = invert,
    .bit_to_byte = bit_to_byte,
    .byte_to_bit = byte_to_bit,
    .rgb888_to_555 = rgb888_to_555,
    .rgb888_to_565 = rgb888_to_565,
    .rgb555_to_888 = rgb555_to_888,
    .rgb565_to_888 = rgb565_to_888,
    .swap_red_blue = swap_red_blue,
    .map_8 = map_8,
    .map_24 = map_24,
    .map_16 = map_16,
    .map_48 = map_48,
};

constexpr RowKernels sse2_row_kernels = scalar_row_kernels;

const RowKernels &row_kernels(InstructionSet) {
    return sse2_row_kernels;
}

} // namespace q32::rows

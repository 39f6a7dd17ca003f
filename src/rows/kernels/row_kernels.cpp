// The chooser: which form of each conversion an instruction set runs. Each table begins as the one
// below it and replaces what it has a faster form of.
#include "library/process/kernel_choice.h"
#include "rows/kernels/scalar.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

constexpr RowKernels scalar_row_kernels = {
    .fill = {fill_1, fill_2, fill_3, fill_4},
    .exchange = exchange,
    .invert = invert,
    .copy_rows = copy_rows,
    .copy_bit_rows = copy_bit_rows,
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

constexpr RowKernels sse2_row_kernels = [] {
    RowKernels table = scalar_row_kernels;
    table.fill[0] = fill_1_sse2;
    table.fill[1] = fill_2_sse2;
    table.fill[2] = fill_3_sse2;
    table.fill[3] = fill_4_sse2;
    table.exchange = exchange_sse2;
    table.invert = invert_sse2;
    table.copy_rows = copy_rows_sse2;
    table.copy_bit_rows = copy_bit_rows_sse2;
    table.bit_to_byte = bit_to_byte_sse2;
    table.byte_to_bit = byte_to_bit_sse2;
    table.rgb888_to_555 = rgb888_to_555_sse2;
    table.rgb888_to_565 = rgb888_to_565_sse2;
    table.rgb555_to_888 = rgb555_to_888_sse2;
    table.rgb565_to_888 = rgb565_to_888_sse2;
    table.swap_red_blue = swap_red_blue_sse2;
    return table;
}();

namespace {

constexpr RowKernels sse41_table = [] {
    RowKernels table = sse2_row_kernels;
    table.bit_to_byte = bit_to_byte_sse41;
    table.rgb888_to_555 = rgb888_to_555_sse41;
    table.rgb888_to_565 = rgb888_to_565_sse41;
    table.rgb555_to_888 = rgb555_to_888_sse41;
    table.rgb565_to_888 = rgb565_to_888_sse41;
    table.swap_red_blue = swap_red_blue_sse41;
    return table;
}();

constexpr RowKernels avx2_table = [] {
    RowKernels table = sse41_table;
    table.fill[0] = fill_1_avx2;
    table.fill[1] = fill_2_avx2;
    table.fill[2] = fill_3_avx2;
    table.fill[3] = fill_4_avx2;
    table.exchange = exchange_avx2;
    table.invert = invert_avx2;
    table.copy_rows = copy_rows_avx2;
    table.copy_bit_rows = copy_bit_rows_avx2;
    table.bit_to_byte = bit_to_byte_avx2;
    table.byte_to_bit = byte_to_bit_avx2;
    table.rgb888_to_555 = rgb888_to_555_avx2;
    table.rgb888_to_565 = rgb888_to_565_avx2;
    table.rgb555_to_888 = rgb555_to_888_avx2;
    table.rgb565_to_888 = rgb565_to_888_avx2;
    table.swap_red_blue = swap_red_blue_avx2;
    table.map_8 = map_8_avx2;
    table.map_24 = map_24_avx2;
    table.map_16 = map_16_avx2;
    table.map_48 = map_48_avx2;
    return table;
}();

constexpr RowKernels avx512_table = [] {
    RowKernels table = avx2_table;
    table.bit_to_byte = bit_to_byte_avx512;
    table.byte_to_bit = byte_to_bit_avx512;
    table.rgb888_to_555 = rgb888_to_555_avx512;
    table.rgb888_to_565 = rgb888_to_565_avx512;
    table.rgb555_to_888 = rgb555_to_888_avx512;
    table.rgb565_to_888 = rgb565_to_888_avx512;
    table.swap_red_blue = swap_red_blue_avx512;
    table.map_8 = map_8_avx512;
    table.map_24 = map_24_avx512;
    table.map_16 = map_16_avx512;
    table.map_48 = map_48_avx512;
    return table;
}();

} // namespace

const RowKernels &row_kernels(InstructionSet level) {
    return choose(level, sse2_row_kernels, sse41_table, avx2_table, avx512_table);
}

} // namespace q32::rows

// The wide forms, by instruction set. A name says conversion and set; the chooser puts them in
// tables, and a form hands runs that are too short for it to the next narrower one.
#pragma once

#include "rows/kernels/row_kernels.h"

namespace q32::rows {

Filling fill_1_sse2, fill_2_sse2, fill_3_sse2, fill_4_sse2;
Exchange exchange_sse2;
Conversion invert_sse2;
RowsCopy copy_rows_sse2;
BitRowsCopy copy_bit_rows_sse2;
BitConversion bit_to_byte_sse2, byte_to_bit_sse2;
Conversion rgb888_to_555_sse2, rgb888_to_565_sse2, rgb555_to_888_sse2, rgb565_to_888_sse2;
Conversion swap_red_blue_sse2;

BitConversion bit_to_byte_sse41;
Conversion rgb888_to_555_sse41, rgb888_to_565_sse41, rgb555_to_888_sse41, rgb565_to_888_sse41;
Conversion swap_red_blue_sse41;

Filling fill_1_avx2, fill_2_avx2, fill_3_avx2, fill_4_avx2;
Exchange exchange_avx2;
Conversion invert_avx2;
RowsCopy copy_rows_avx2;
BitRowsCopy copy_bit_rows_avx2;
BitConversion bit_to_byte_avx2, byte_to_bit_avx2;
Conversion rgb888_to_555_avx2, rgb888_to_565_avx2, rgb555_to_888_avx2, rgb565_to_888_avx2;
Conversion swap_red_blue_avx2;
Mapping map_8_avx2, map_24_avx2, map_16_avx2, map_48_avx2;

BitConversion bit_to_byte_avx512, byte_to_bit_avx512;
Conversion rgb888_to_555_avx512, rgb888_to_565_avx512, rgb555_to_888_avx512, rgb565_to_888_avx512;
Conversion swap_red_blue_avx512;
Mapping map_8_avx512, map_24_avx512, map_16_avx512, map_48_avx512;

} // namespace q32::rows

// The scalar forms: the meaning of each row conversion. Wide forms are compared with them and hand
// runs that are too short for one step down to them.
#pragma once

#include "rows/kernels/row_kernels.h"

namespace q32::rows {

Filling fill_1, fill_2, fill_3, fill_4;
Exchange exchange;
Conversion invert;
RowsCopy copy_rows;
BitRowsCopy copy_bit_rows;
BitConversion bit_to_byte, byte_to_bit;
Conversion rgb888_to_555, rgb888_to_565, rgb555_to_888, rgb565_to_888, swap_red_blue;
Mapping map_8, map_24, map_16, map_48;

// What the interpolated lookup makes of one 16-bit sample.
std::uint16_t interpolate(const std::uint8_t *table, std::uint16_t sample);

} // namespace q32::rows

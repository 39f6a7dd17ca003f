// The two layouts of a bitmap's pixels and the way from one to the other, in place.
//
// Bitmap layout: bottom row first, rows padded to 4 bytes, 24-bit pixels blue first.
// Buffer layout: top row first, rows packed to the byte, 24-bit pixels red first.
//
// Padding bytes keep whatever they hold, and no byte outside the rows is touched: the last row may
// lack its padding.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Points the row table at packed rows.
void build_row_addresses(Record &record);

void to_buffer_layout(Record &record);

// The row table then holds the padded rows.
void to_bitmap_layout(Record &record);

} // namespace q32::buffer

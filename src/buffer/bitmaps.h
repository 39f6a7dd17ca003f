// Bitmap buffers: pixels that lie in a caller's device-independent bitmap. Their allocation and
// release, the private copies of their duplicates, and the two layouts. The exports are
// bitmap_exports.cpp's.
#pragma once

#include "buffer/records.h"

namespace q32::buffer {

// A buffer over a packed bitmap, which stays locked.
int allocate_bitmap(HBUF32 *handle, HGLOBAL bitmap);

// A buffer over a caller's rows in bitmap layout.
int allocate_bare_bitmap(HBUF32 *handle, const Geometry &geometry, void *pixels);

// Gives a bitmap record without storage a block of its own with the source's pixels. Reports and
// returns false when there is no memory, with nothing changed.
bool copy_bitmap(Record &record, const Record &source);

// Frees the block behind a bitmap record, whatever its locks. A caller's bare block stays.
void release_bitmap(Record &record);

// --- layouts: bitmap_layout.cpp -----------------------------------------------------------------
//
// The two layouts of a bitmap's pixels and the way from one to the other, in place.
//
// Bitmap layout: bottom row first, rows padded to 4 bytes, 24-bit pixels blue first.
// Buffer layout: top row first, rows packed to the byte, 24-bit pixels red first.
//
// Padding bytes keep whatever they hold, and no byte outside the rows is touched: the last row may
// lack its padding.

// Points the row table at packed rows.
void build_row_addresses(Record &record);

void to_buffer_layout(Record &record);

// The row table then holds the padded rows.
void to_bitmap_layout(Record &record);

} // namespace q32::buffer

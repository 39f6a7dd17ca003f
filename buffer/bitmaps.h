// Bitmap buffers: pixels that lie in a caller's device-independent bitmap. Packed bitmaps and their
// headers, the two layouts, and private copies. Their entries are bitmap_entries.h's.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// buf32Alloc of a bitmap.
int allocate_bitmap(HBUF32 *handle, HGLOBAL bitmap);

// Points the row table at packed rows.
void build_row_addresses(Record &record);

// Gives a bitmap record without storage a block of its own with the source's pixels. Reports and
// returns false when there is no memory, with nothing changed.
bool copy_bitmap(Record &record, const Record &source);

// Frees the block behind a bitmap record, whatever its locks. A caller's block of pixels stays.
void release_bitmap(Record &record);

} // namespace q32::buffer

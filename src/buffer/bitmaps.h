// Bitmap buffers: pixels that lie in a caller's device-independent bitmap. Their allocation and
// release, and the private copies of their duplicates. The two layouts are bitmap_layout.h's, the
// entries bitmap_entries.h's, the exports bitmap_exports.cpp's.
#pragma once

#include "buffer/bitmap_layout.h"
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

} // namespace q32::buffer

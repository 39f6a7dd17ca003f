// Entries that make duplicates. Bitmaps have theirs in bitmap_entries.h.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

int duplicate(Record &source, HBUF32 *destination);
int one_colour_duplicate(Record &source, HBUF32 *destination);
int pattern_duplicate(Record &source, HBUF32 *destination);

} // namespace q32::buffer

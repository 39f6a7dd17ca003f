// Pattern buffers: the record's copy of the pattern, and its pixels. Pixel (x, y) is pattern pixel
// (x mod pattern width, y mod pattern height).
#pragma once

#include "buffer/pixels.h"
#include "buffer/record.h"
#include "library/process/owners.h"

namespace q32::buffer {

// --- the copy -----------------------------------------------------------------------------------

bool is_usable(const BUF32PATTERN *pattern);

// A copy of the pattern's pixels for a buffer of this depth; none when there is no memory.
RuntimeBlock copy_pattern_pixels(const BUF32PATTERN &pattern, int bits_per_pixel);

// Puts pattern and copy into the record, which owns the copy from now on. Frees no older one.
void set_pattern(Record &record, const BUF32PATTERN &pattern, RuntimeBlock copy);

// The record's pattern; its pixels are null after free_pattern_copy, and then read as zero.
BUF32PATTERN pattern_of(const Record &record);
void free_pattern_copy(Record &record);

// --- pixels -------------------------------------------------------------------------------------

// Bytes of a pattern buffer's block: the larger of a cell and the pattern's rows at full width.
size_t pattern_block_bytes(const Record &record);
size_t pattern_block_bytes(const Record &record, int pattern_height);

// Writes an area of the repeated pattern into rows of plain memory; bits of the rows around the
// area stay as they are. The area may lie anywhere right of and below (0, 0). The pattern's pixels
// are those of a buffer of this depth and lie outside the rows; null pixels read as zero.
void render_pattern(const BUF32PATTERN &pattern, int bits_per_pixel, const Area &area,
                    const PlainRows &rows);

// The pattern's rows at full width, into the block.
void render_block(Record &record);

// A cell's pixels in cell layout.
void render_cell(const Record &record, int index, std::byte *memory);

} // namespace q32::buffer

// Lock entries of one-colour buffers. They have no cells, only one block filled with the colour,
// made when first needed and shared by every cell; the first write lock makes an ordinary buffer of
// them.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Bytes of a one-colour buffer's block.
uint32_t one_colour_block_bytes(const Record &record);

// Writes the record's colour over the block.
void fill_block(Record &record);

int one_colour_lock(Record &record, int mode, void **base);
int one_colour_unlock(Record &record);
int one_colour_cell_lock(Record &record, int index, void **address, BUF32CELL *cell);
int one_colour_cell_unlock(Record &record, int index);
void *one_colour_point_address(Record &record, int x, int y);

} // namespace q32::buffer

// One-colour buffers. They have no cells, only one block filled with the colour, made when first
// needed and shared by every cell; the first write lock makes an ordinary buffer of them.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Bytes of a one-colour buffer's block.
uint32_t one_colour_block_bytes(const Record &record);

// Writes the record's colour over the block.
void fill_block(Record &record);

} // namespace q32::buffer

// The block: what a one-colour or pattern buffer has in place of storage for all its pixels. The
// one place where storage gives way to a block and a block to storage; what fills them is the
// callers' part.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Makes the block of a buffer whose type has one, where it is missing. False when there is no
// memory.
bool provide_block(Record &record);

// Releases what the record has for its pixels, block or not, and takes it off the counters. The
// record stays what it is, without pixels.
void give_up_pixels(Record &record);

// Makes a one-colour or pattern buffer of a record that has given up its pixels. Colour or pattern
// are still those of the old type.
void put_block_in_place(Record &record, std::byte *block, uint32_t new_type);

// Makes an ordinary tiled buffer of a one-colour or pattern one: full storage in place of the
// block. The fill gives the storage its pixels; null leaves them as the system provides them. False
// when there is no storage: it has reported, and nothing has changed.
bool put_storage_in_place(Record &record, void (*fill)(Record &));

// --- one-colour buffers: one_colour.cpp ---------------------------------------------------------

// Bytes of the block that all cells share.
size_t one_colour_block_bytes(const Record &record);

// Writes the record's colour over the block.
void fill_block(Record &record);

} // namespace q32::buffer

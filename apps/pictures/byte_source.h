// Bytes of a file or a block, read here and there: what files say may be anything.
#pragma once

#include "bytes.h"
#include "row_file.h"

namespace apps {

// The same file through a block of its own: many small reads one after the other are cheap.
ReadAt in_blocks(ReadAt file);

// A block of memory, which has to live as long.
ReadAt in_memory(std::span<const uint8_t> block);

// As many of the bytes as there are. No more memory is taken than twice what the file has.
Bytes read_bytes(const ReadAt &file, uint64_t at, uint64_t count);

} // namespace apps

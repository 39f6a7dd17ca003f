// Storage of a buffer's pixels: reserved virtual memory or a swap file, by the memory policy; the
// settings and counters that the policy looks at.
#pragma once

#include "buffer/layout.h"
#include "buffer/record.h"

namespace q32::buffer {

// As a memory limit: the physical memory size. As a file limit: none.
inline constexpr size_t no_limit = SIZE_MAX;

// The settings that callers and the settings file change, and the counters.
struct MemoryState {
    uint32_t memory_switch, file_switch;
    size_t memory_limit, file_limit;
    size_t physical_memory;
    BUF32DIRECTORIES directories;
    size_t memory_in_use; // bytes reserved in virtual memory
    size_t mapped_bytes;  // bytes of mapped swap files
};
extern MemoryState memory_state;

// Buffers of at most one cell's size always go to memory and are never refused a swap file.
constexpr bool is_small(const BUF32INFO &info) {
    return info.width <= largest_cell_side && info.height <= largest_cell_side;
}

// Gives an ordinary buffer its storage: memory where the policy allows it, else a swap file.
// Reports and returns false on failure; the record is unchanged then.
bool allocate_storage(Record &record);

// Releases a buffer's memory or swap file, whichever it has, and takes it off the counters. Memory
// counts as memory_bytes, or what the row of its type says: the reserved bytes, or a block's.
void release_storage(Record &record, size_t memory_bytes);
void release_storage(Record &record);

// Storage and what describes it (rows and bytes reserved) go to a buffer of the same size that has
// none. The counters stay: the storage does.
void hand_over_storage(Record &from, Record &to);

// Makes the record one without storage and releases nothing: the storage is another's, or gone.
void forget_storage(Record &record);

// A block of memory for a one-colour or pattern buffer, reserved and committed at once and added
// to the memory in use. Null when there is none.
std::byte *allocate_block(size_t bytes);
void release_block(std::byte *block, size_t bytes);

// --- swap files, one per file-backed buffer: swap_file.cpp ---------------------------------------

// Gives the record a mapped swap file of its reserved bytes, registered in the record file and
// added to the mapped bytes. Reports and returns false on failure, with no file left behind.
bool create_swap_file(Record &record);

// Unmaps, closes, deregisters and deletes the record's swap file.
void delete_swap_file(Record &record);

} // namespace q32::buffer

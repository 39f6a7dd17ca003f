// The bookkeeping by which a later process finds the swap files of one that died: one record file
// per process, held open as long as the process lives, and the master record file that lists them.
#pragma once

#include <cstdint>

namespace q32::buffer {

// Enters a swap file's path in the process's record file, which is made on first use. Reports and
// returns false on failure.
bool register_swap_file(const char *path, uint32_t *entry);

// Clears an entry.
void deregister_swap_file(uint32_t entry);

} // namespace q32::buffer

// The master record file: one for all processes, in the family's temporary directory. It lists the
// record files of the processes that have swap files. The start's examination of it
// (examine_master_file) is declared in buffer_manager.h.
#pragma once

#include "buffer/record.h"

#include <cstdint>

namespace q32::buffer {

// The directory that holds the master record file and the record files; ends with a separator.
// Where the common library has none, no file may be made: an empty path would mean the caller's
// current directory.
struct BookkeepingDirectory {
    char path[max_path] = {};

    BookkeepingDirectory();
    explicit operator bool() const { return path[0] != '\0'; }
};

// Enters a record file's path in the first free slot. Reports and returns false on failure.
bool enter_in_master_file(const char *record_path, uint32_t *slot);

// Frees a slot.
void leave_master_file(uint32_t slot);

} // namespace q32::buffer

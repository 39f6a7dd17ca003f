// One swap file per file-backed buffer: admission, directory choice, creation, mapping, release.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// Gives the record a mapped swap file of its reserved bytes, registered in the record file and
// added to the mapped bytes. Reports and returns false on failure, with no file left behind.
bool create_swap_file(Record &record);

// Unmaps, closes, deregisters and deletes the record's swap file.
void delete_swap_file(Record &record);

} // namespace q32::buffer

// The list of live buffers, in order of allocation. Callers serialise allocation and freeing.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

void append_to_list(Record &record);
void remove_from_list(Record &record);

// The record behind a handle, or null when it is not a live buffer. Walks the list: a freed
// record's memory may already be another's.
Record *find_live(HBUF32 handle);

} // namespace q32::buffer

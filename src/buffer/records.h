// Buffer records as such: what every allocation of a buffer begins with and every release ends
// with. Layout, storage and what is special about a type come in between.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

struct Geometry {
    int bits_per_pixel;
    int width;  // pixels
    int height; // rows
};

// Reports and returns false when a side is over the limit.
bool are_sides_within_limit(const Geometry &geometry);

// At least one pixel of 1 to 64 bits.
bool is_valid(const Geometry &geometry);

// A record without layout, storage and room for cell addresses, not in the list. Null when there is
// no memory.
Record *make_record(uint32_t type, const Geometry &geometry);

// Appends a finished record to the list of live buffers and stores its handle. Returns 1.
int link(Record &record, HBUF32 *handle);

// Takes a record that has lost its storage out of the list and frees it. Reports and returns 0 when
// that has happened already.
int free_record(Record &record);

// The record behind a handle, or null when it is not a live buffer. Walks the list: a freed
// record's memory may already be another's.
Record *find_live(HBUF32 handle);

} // namespace q32::buffer

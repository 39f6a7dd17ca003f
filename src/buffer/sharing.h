// Sharing of pixels: chains of duplicates, and copy on write. The one place that knows how sharers
// are linked. A chain's source is never a duplicate itself.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

// To be called before pixels of a buffer change in any way: a duplicate gets a private copy of its
// source's pixels and leaves the chain; a buffer with sharers hands its pixels to the first of
// them, which becomes the source of the others. False when there is no storage for the copy: the
// storage has reported, and nothing has changed (but what a failed commit leaves of the memory in
// use).
bool prepare_for_writing(Record &record);

// The same for a buffer that is about to be freed: its first sharer takes its storage over when it
// has none, and gets a copy otherwise; a duplicate just leaves its chain.
bool leave_sharers_provided(Record &record);

// What a type's row has for a sharer without storage: storage of the library's with the source's
// pixels. Reports and returns false when there is none.
bool copy_to_own_storage(Record &sharer, const Record &source);

// Makes a record that shares with nobody a sharer of source (or of source's source): last in its
// chain.
void share(Record &sharer, Record &source);

// Makes a new record, whatever its fields hold, one that shares with nobody.
void share_nothing(Record &record);

} // namespace q32::buffer

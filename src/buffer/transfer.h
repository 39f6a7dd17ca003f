// Entries that move rectangles between a buffer and plain memory.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

int get_memory(Record &record, int x, int y, int width, int height, void *memory);
int get_memory_with_background(Record &record, int x, int y, int width, int height, void *memory,
                               const void *background);
int merge_memory(Record &record, int x, int y, int width, int height, const void *memory);

int one_colour_get_memory(Record &record, int x, int y, int width, int height, void *memory);
int one_colour_get_memory_with_background(Record &record, int x, int y, int width, int height,
                                          void *memory, const void *background);

// For buffers that a write lock turns into ordinary ones: of one colour or of a pattern.
int merge_memory_by_lock(Record &record, int x, int y, int width, int height, const void *memory);

} // namespace q32::buffer

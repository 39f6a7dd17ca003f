// Buffers over caller memory.
#include "buffer/caller_memory.h"

#include "buffer/failures.h"

namespace q32::buffer {

std::byte *caller_pixels(const Record &) {
    return nullptr;
}
int caller_memory_lock(Record &, int, void **) {
    return 0;
}
int caller_memory_cell_lock(Record &, int, void **, BUF32CELL *) {
    return 0;
}
int caller_memory_line(Record &, int, int, void *) {
    return 0;
}
void *caller_memory_point_address(Record &, int, int) {
    fail(site::caller_memory_no_point);
    return nullptr;
}
int caller_memory_fill_one_colour(Record &, const void *) {
    return 0;
}
int caller_memory_duplicate(Record &, HBUF32 *) {
    return 0;
}
int caller_memory_merge_memory(Record &, int, int, int, int, const void *) {
    return 0;
}

} // namespace q32::buffer

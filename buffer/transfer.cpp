// Rectangles between buffers and plain memory.
#include "buffer/transfer.h"

namespace q32::buffer {

int get_memory(Record &, int, int, int, int, void *) {
    return 0;
}
int get_memory_with_background(Record &, int, int, int, int, void *, const void *) {
    return 0;
}
int merge_memory(Record &, int, int, int, int, const void *) {
    return 0;
}
int one_colour_get_memory(Record &, int, int, int, int, void *) {
    return 0;
}
int one_colour_get_memory_with_background(Record &, int, int, int, int, void *, const void *) {
    return 0;
}
int merge_memory_by_lock(Record &, int, int, int, int, const void *) {
    return 0;
}

} // namespace q32::buffer

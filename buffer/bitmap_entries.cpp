// Entries of bitmap buffers.
#include "buffer/bitmap_entries.h"

namespace q32::buffer {

int bitmap_fill_one_colour(Record &, const void *) {
    return 0;
}
int bitmap_fill_pattern(Record &, const BUF32PATTERN *) {
    return 0;
}
int bitmap_duplicate(Record &, HBUF32 *) {
    return 0;
}
int bitmap_get_buffer(Record &, int, int, int, int, HBUF32 *) {
    return 0;
}

} // namespace q32::buffer

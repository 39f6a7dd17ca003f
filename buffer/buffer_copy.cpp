// Copies from buffer to buffer.
#include "buffer/buffer_copy.h"

namespace q32::buffer {

int copy_area(Record &, const Area &, Record &, int, int) {
    return 0;
}
int get_buffer(Record &, int, int, int, int, HBUF32 *) {
    return 0;
}
int merge_buffer(Record &, int, int, int, int, Record &, int, int) {
    return 0;
}
int one_colour_get_buffer(Record &, int, int, int, int, HBUF32 *) {
    return 0;
}
int one_colour_merge_buffer(Record &, int, int, int, int, Record &, int, int) {
    return 0;
}

} // namespace q32::buffer

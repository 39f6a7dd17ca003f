// Fills of whole buffers.
#include "buffer/fills.h"

namespace q32::buffer {

int fill_one_colour(Record &, const void *) {
    return 0;
}
int fill_pattern(Record &, const BUF32PATTERN *) {
    return 0;
}

} // namespace q32::buffer

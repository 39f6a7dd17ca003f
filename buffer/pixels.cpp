// Walks the cells that an area meets.
#include "buffer/pixels.h"

namespace q32::buffer {

bool read_pixels(Record &, const Area &, const PlainRows &) {
    return false;
}
bool write_pixels(Record &, const Area &, const PlainRows &) {
    return false;
}

} // namespace q32::buffer

// Pattern buffers.
#include "buffer/pattern.h"

namespace q32::buffer {

bool is_usable(const BUF32PATTERN *) {
    return false;
}
std::byte *copy_pattern_pixels(const BUF32PATTERN &, int) {
    return nullptr;
}
void set_pattern(Record &, const BUF32PATTERN &, std::byte *) {}
BUF32PATTERN pattern_of(const Record &) {
    return {};
}
void free_pattern_copy(Record &) {}
uint32_t pattern_block_bytes(const Record &) {
    return 0;
}
void render_pattern(const BUF32PATTERN &, int, const Area &, const PlainRows &) {}
void render_pattern(const Record &, const Area &, const PlainRows &) {}
void render_block(Record &) {}
int pattern_lock(Record &, int, void **) {
    return 0;
}
int pattern_cell_lock(Record &, int, void **, BUF32CELL *) {
    return 0;
}
int pattern_line(Record &, int, int, void *) {
    return 0;
}
int pattern_line_span(Record &, void *, int, int, int, int) {
    return 0;
}
void *pattern_point_address(Record &, int, int) {
    return nullptr;
}

} // namespace q32::buffer

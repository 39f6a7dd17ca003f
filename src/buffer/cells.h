// Locks, cells and pixel addresses of ordinary buffers, tiled and linear alike: everything goes by
// the record's cell width and height.
#pragma once

#include "buffer/record.h"

namespace q32::buffer {

constexpr bool is_write_mode(int mode) {
    return mode == BUF32_WRITE || mode == BUF32_WRITE_3 || mode == BUF32_OVERWRITE;
}

BUF32CELL describe_cell(const Record &record, int index);

// Where pixel (x, y) of the image lies.
struct PixelPlace {
    int cell;        // index
    int x_in_cell;   // pixels
    int y_in_cell;   // rows
    uint32_t offset; // bytes from the cell's address; under 8 bits to the byte that holds it
};
PixelPlace place_of(const Record &record, int x, int y);

int lock(Record &record, int mode, void **base);
int unlock(Record &record);
int cell_lock(Record &record, int index, void **address, BUF32CELL *cell);
int cell_unlock(Record &record, int index);

// Address of pixel (x, y), clamped into the image, without a lock. Null without storage.
void *point_address(Record &record, int x, int y);

} // namespace q32::buffer

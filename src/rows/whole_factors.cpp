// The exports that enlarge and reduce rows and blocks by whole factors: what counts and factors
// mean, and the walk from row to row. Nothing is checked and nothing reported, as callers expect;
// the bytes of a row are the kernels' part.
#include "library/process/bytes.h"
#include "rows/rows.h"

#include <q32base/rows.h>

#include <algorithm>
#include <cstring>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

std::size_t at_least(int least, int value) {
    return std::size_t(std::max(least, value));
}

// Enlarged rows of bits can have more pixels than 32 bits count.
std::size_t bytes_of_bits(std::uint64_t bits) {
    return std::size_t((bits + 7) / 8);
}

// What callers are told of a row: of a negative width just what the formula gives.
int bytes_of_bit_row(int width) {
    return int((std::int64_t(width) + 7) / 8);
}

std::size_t groups_of(std::size_t pixels, std::size_t factor) {
    return (pixels + factor - 1) / factor;
}

struct PixelType {
    PixelKind kind;
    std::size_t bytes;
};

// Every size that is none counts as 2.
PixelType type_of(int bytes_per_pixel, int swap) {
    switch (bytes_per_pixel) {
    case 1:
        return {PixelKind::one_byte, 1};
    case 3:
        return {swap != 0 ? PixelKind::three_bytes_swapped : PixelKind::three_bytes, 3};
    case 4:
        return {PixelKind::four_bytes, 4};
    }
    return {PixelKind::two_bytes, 2};
}

// --- rows of bits -------------------------------------------------------------------------------

// The byte behind a row that ends with a whole byte is cleared, also behind one of no pixels. Only
// where factor is 0 or 1 it is not touched.
void enlarge_bit_row(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                     std::size_t factor) {
    if (factor <= 1) {
        std::memcpy(destination, source, bytes_of_bits(pixels));
        return;
    }
    scaling().enlarge_bits(destination, source, pixels, factor);
    const std::uint64_t bits = std::uint64_t(pixels) * factor;
    if (bits % 8 == 0)
        destination[bits / 8] = 0;
}

// As it is: with its bits behind the last pixel.
void reduce_bit_row(std::uint8_t *destination, const std::uint8_t *source, std::size_t pixels,
                    std::size_t factor) {
    if (factor == 1)
        std::memcpy(destination, source, bytes_of_bits(pixels));
    else
        scaling().reduce_bits(destination, source, pixels, factor);
}

// --- rows of pixels -----------------------------------------------------------------------------

// What a factor of 1 makes of a row, whether it is to be enlarged or reduced.
void copy_row(std::uint8_t *destination, const std::uint8_t *source, std::size_t count,
              PixelType type) {
    if (type.kind == PixelKind::three_bytes_swapped)
        kernels().swap_red_blue(destination, source, count);
    else
        std::memcpy(destination, source, type.bytes * count);
}

void enlarge_row(std::uint8_t *destination, const std::uint8_t *source, std::size_t count,
                 std::size_t factor, PixelType type) {
    if (factor == 1)
        copy_row(destination, source, count, type);
    else
        scaling().enlarge[std::size_t(type.kind)](destination, source, count, factor);
}

void reduce_row(std::uint8_t *destination, const std::uint8_t *source, std::size_t count,
                std::size_t factor, PixelType type) {
    if (factor == 1)
        copy_row(destination, source, count, type);
    else
        scaling().reduce[std::size_t(type.kind)](destination, source, count, factor);
}

// --- blocks -------------------------------------------------------------------------------------

// Bytes of a row here and there.
struct RowBytes {
    std::size_t destination, source;
};

// Every row once by `enlarge`, then copies of it; none of a row without bytes, for there may be
// 2^32 of them.
template <class Enlarge>
void enlarge_rows(std::uint8_t *destination, const std::uint8_t *source, RowBytes row, int rows,
                  std::size_t vertical, Enlarge enlarge) {
    const std::size_t copies = row.destination != 0 ? vertical - 1 : 0;
    for (; rows > 0; --rows, source += row.source) {
        enlarge(destination, source);
        kernels().copy_rows(destination + row.destination, row.destination, destination, 0,
                            row.destination, copies);
        destination += row.destination * vertical;
    }
}

// Rows 0, step, 2 step and so on by `reduce`, if they have any pixel. Returns the number of the
// first row not taken.
template <class Reduce>
int reduce_rows(std::uint8_t *destination, const std::uint8_t *source, RowBytes row, int rows,
                std::size_t step, Reduce reduce) {
    const std::size_t taken = groups_of(std::size_t(rows), step);
    const std::size_t written = row.source != 0 ? taken : 0;
    for (std::size_t i = 0; i < written; ++i)
        reduce(destination + i * row.destination, source + i * step * row.source);
    return int(taken * step);
}

// --- drivers ------------------------------------------------------------------------------------

// With a horizontal factor of 0 rows are copied but have no length: each lies over the one before.
// Rows without pixels come down to the byte beyond the first of them, however many there are.
int enlarge_bit_block(std::uint8_t *destination, const std::uint8_t *source, int width, int rows,
                      std::size_t horizontal, std::size_t vertical) {
    if (rows <= 0)
        return 0;
    const std::size_t pixels = at_least(0, width);
    const RowBytes row{bytes_of_bits(std::uint64_t(pixels) * horizontal), bytes_of_bits(pixels)};
    enlarge_rows(destination, source, row, pixels != 0 ? rows : 1,
                 std::max<std::size_t>(1, vertical),
                 [=](std::uint8_t *to, const std::uint8_t *from) {
                     enlarge_bit_row(to, from, pixels, horizontal);
                 });
    return bytes_of_bit_row(width);
}

int enlarge_block(std::uint8_t *destination, const std::uint8_t *source, std::size_t width,
                  int rows, std::size_t horizontal, std::size_t vertical, PixelType type) {
    if (rows <= 0)
        return 0;
    const RowBytes row{type.bytes * width * horizontal, type.bytes * width};
    enlarge_rows(destination, source, row, rows, vertical,
                 [=](std::uint8_t *to, const std::uint8_t *from) {
                     enlarge_row(to, from, width, horizontal, type);
                 });
    return int(row.source);
}

// The result without rows is what a caller would have to add to the source for one step, with the
// step as it was given.
int distance_of_step(int step, std::size_t row_bytes) {
    return int(std::uint32_t(step) * std::uint32_t(row_bytes));
}

int reduce_bit_block(std::uint8_t *destination, const std::uint8_t *source, int width, int rows,
                     std::size_t factor, int step) {
    if (rows <= 0)
        return distance_of_step(step, std::size_t(bytes_of_bit_row(width)));
    const std::size_t pixels = at_least(0, width);
    const RowBytes row{bytes_of_bits(groups_of(pixels, factor)), bytes_of_bits(pixels)};
    return reduce_rows(destination, source, row, rows, at_least(1, step),
                       [=](std::uint8_t *to, const std::uint8_t *from) {
                           reduce_bit_row(to, from, pixels, factor);
                       });
}

int reduce_block(std::uint8_t *destination, const std::uint8_t *source, int width, int rows,
                 std::size_t factor, int step, PixelType type) {
    if (rows <= 0)
        return distance_of_step(step, type.bytes * std::size_t(width));
    const std::size_t count = at_least(0, width);
    const RowBytes row{type.bytes * groups_of(count, factor), type.bytes * count};
    return reduce_rows(destination, source, row, rows, at_least(1, step),
                       [=](std::uint8_t *to, const std::uint8_t *from) {
                           reduce_row(to, from, count, factor, type);
                       });
}

} // namespace
} // namespace q32::rows

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::rows;

void Q32_CALL mem32BitEnlarge(void *destination, const void *source, int count, unsigned factor) {
    enlarge_bit_row(bytes(destination), bytes(source), at_least(0, count), factor);
}

int Q32_CALL mem32BitEnlargeExt(void *destination, const void *source, int width, int rows,
                                unsigned horizontal, unsigned vertical) {
    return enlarge_bit_block(bytes(destination), bytes(source), width, rows, horizontal, vertical);
}

void Q32_CALL mem32Enlarge(void *destination, const void *source, int count, int factor,
                           int bytes_per_pixel, int swap) {
    enlarge_row(bytes(destination), bytes(source), at_least(1, count), at_least(1, factor),
                type_of(bytes_per_pixel, swap));
}

int Q32_CALL mem32EnlargeExt(void *destination, const void *source, int width, int rows,
                             int horizontal, int vertical, int bytes_per_pixel, int swap) {
    return enlarge_block(bytes(destination), bytes(source), at_least(1, width), rows,
                         at_least(1, horizontal), at_least(1, vertical),
                         type_of(bytes_per_pixel, swap));
}

void Q32_CALL mem32BitReduce(void *destination, const void *source, int count, int factor) {
    reduce_bit_row(bytes(destination), bytes(source), at_least(0, count), at_least(1, factor));
}

int Q32_CALL mem32BitReduceExt(void *destination, const void *source, int width, int rows,
                               int factor, int step) {
    return reduce_bit_block(bytes(destination), bytes(source), width, rows, at_least(1, factor),
                            step);
}

void Q32_CALL mem32Reduce(void *destination, const void *source, int count, int factor,
                          int bytes_per_pixel, int swap) {
    reduce_row(bytes(destination), bytes(source), at_least(0, count), at_least(1, factor),
               type_of(bytes_per_pixel, swap));
}

int Q32_CALL mem32ReduceExt(void *destination, const void *source, int width, int rows, int factor,
                            int step, int bytes_per_pixel, int swap) {
    return reduce_block(bytes(destination), bytes(source), width, rows, at_least(1, factor), step,
                        type_of(bytes_per_pixel, swap));
}

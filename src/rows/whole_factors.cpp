// The exports that enlarge and reduce rows and blocks by whole factors: what counts and factors
// mean, and the walk from row to row. Nothing is checked and nothing reported, as callers expect;
// the bytes of a row are the kernels' part.
#include "library/process/bytes.h"
#include "rows/rows.h"

#include <q32base/rows.h>

#include <algorithm>

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

void copy_rows(const ScaledRows &all, std::size_t row_bytes) {
    kernels().copy_rows(all.destination, all.destination_stride, all.source, all.source_stride,
                        row_bytes, all.rows);
}

void enlarge_bit_rows(const ScaledRows &all) {
    if (all.factor <= 1)
        copy_rows(all, bytes_of_bits(all.pixels));
    else
        scaling().enlarge_bits(all);
}

// The byte behind a row that ends with a whole byte is cleared, also behind one of no pixels. Only
// where factor is 0 or 1 it is not touched.
void clear_byte_behind(std::uint8_t *row, std::size_t pixels, std::size_t factor) {
    const std::uint64_t bits = std::uint64_t(pixels) * factor;
    if (factor > 1 && bits % 8 == 0)
        row[bits / 8] = 0;
}

// By a factor of 1 as they are: with their bits behind the last pixel.
void reduce_bit_rows(const ScaledRows &all) {
    if (all.factor == 1)
        copy_rows(all, bytes_of_bits(all.pixels));
    else
        scaling().reduce_bits(all);
}

// --- rows of pixels -----------------------------------------------------------------------------

// What a factor of 1 makes of rows, whether they are to be enlarged or reduced.
void copy_pixel_rows(const ScaledRows &all, PixelType type) {
    if (type.kind != PixelKind::three_bytes_swapped)
        return copy_rows(all, type.bytes * all.pixels);
    for (std::size_t i = 0; i < all.rows; ++i)
        kernels().swap_red_blue(all.destination + i * all.destination_stride,
                                all.source + i * all.source_stride, all.pixels);
}

void enlarge_rows(const ScaledRows &all, PixelType type) {
    if (all.factor == 1)
        copy_pixel_rows(all, type);
    else
        scaling().enlarge[std::size_t(type.kind)](all);
}

void reduce_rows(const ScaledRows &all, PixelType type) {
    if (all.factor == 1)
        copy_pixel_rows(all, type);
    else
        scaling().reduce[std::size_t(type.kind)](all);
}

// --- blocks -------------------------------------------------------------------------------------

// One row from one row.
ScaledRows one_row(void *destination, const void *source, std::size_t pixels, std::size_t factor) {
    return {bytes(destination), 0, bytes(source), 0, 1, pixels, factor};
}

// Copies of rows that lie `vertical` rows apart, behind each of them.
void copy_down(std::uint8_t *rows, std::size_t count, std::size_t row_bytes, std::size_t vertical) {
    const std::size_t stride = row_bytes * vertical;
    if (count == 1)
        return kernels().copy_rows(rows + row_bytes, row_bytes, rows, 0, row_bytes, vertical - 1);
    for (std::size_t i = 1; i < vertical; ++i)
        kernels().copy_rows(rows + i * row_bytes, stride, rows, stride, row_bytes, count);
}

// Every row once by `enlarge`, then copies of it: several rows at a time where they are short, as a
// processor waits for a row that it reads in another way than it has just stored it. There are no
// copies of a row without bytes, for there may be 2^32 of them.
template <class Enlarge>
void enlarge_in_turns(ScaledRows all, std::size_t row_bytes, std::size_t vertical,
                      Enlarge enlarge) {
    constexpr std::size_t short_row = 512, turn_bytes = 8192; // of the destination
    all.destination_stride = row_bytes != 0 ? row_bytes * vertical : 0;
    const std::size_t fitting = turn_bytes / std::max<std::size_t>(1, all.destination_stride);
    const std::size_t in_turn = row_bytes <= short_row && fitting > vertical ? fitting : 1;
    for (std::size_t left = all.rows; left != 0; left -= all.rows) {
        all.rows = std::min(left, in_turn);
        enlarge(all);
        if (row_bytes != 0 && vertical > 1)
            copy_down(all.destination, all.rows, row_bytes, vertical);
        all.destination += all.rows * all.destination_stride;
        all.source += all.rows * all.source_stride;
    }
}

// Rows 0, step, 2 step and so on, if they have any pixel.
template <class Reduce>
int reduce_taken_rows(ScaledRows all, int rows, std::size_t step, Reduce reduce) {
    // The result is the number of the first row not taken.
    all.rows = groups_of(std::size_t(rows), step);
    all.source_stride *= step;
    if (all.pixels != 0)
        reduce(all);
    return int(all.rows * step);
}

// --- drivers ------------------------------------------------------------------------------------

// With a horizontal factor of 0 rows are copied but have no length: each lies over the one before.
// Rows without pixels come down to the byte beyond the first of them, however many there are.
int enlarge_bit_block(std::uint8_t *destination, const std::uint8_t *source, int width, int rows,
                      std::size_t horizontal, std::size_t vertical) {
    if (rows <= 0)
        return 0;
    const std::size_t pixels = at_least(0, width);
    const std::size_t row_bytes = bytes_of_bits(std::uint64_t(pixels) * horizontal);
    const std::size_t count = pixels != 0 ? std::size_t(rows) : 1;
    vertical = std::max<std::size_t>(1, vertical);
    enlarge_in_turns({destination, 0, source, bytes_of_bits(pixels), count, pixels, horizontal},
                     row_bytes, vertical, enlarge_bit_rows);
    // Behind all other rows is the next one.
    if (vertical == 1 || row_bytes == 0)
        clear_byte_behind(destination + (count - 1) * row_bytes, pixels, horizontal);
    return bytes_of_bit_row(width);
}

int enlarge_block(std::uint8_t *destination, const std::uint8_t *source, std::size_t width,
                  int rows, std::size_t horizontal, std::size_t vertical, PixelType type) {
    if (rows <= 0)
        return 0;
    const std::size_t row_bytes = type.bytes * width;
    enlarge_in_turns({destination, 0, source, row_bytes, std::size_t(rows), width, horizontal},
                     row_bytes * horizontal, vertical,
                     [=](const ScaledRows &all) { enlarge_rows(all, type); });
    return int(row_bytes);
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
    return reduce_taken_rows({destination, bytes_of_bits(groups_of(pixels, factor)), source,
                              bytes_of_bits(pixels), 0, pixels, factor},
                             rows, at_least(1, step), reduce_bit_rows);
}

int reduce_block(std::uint8_t *destination, const std::uint8_t *source, int width, int rows,
                 std::size_t factor, int step, PixelType type) {
    if (rows <= 0)
        return distance_of_step(step, type.bytes * std::size_t(width));
    const std::size_t count = at_least(0, width);
    return reduce_taken_rows({destination, type.bytes * groups_of(count, factor), source,
                              type.bytes * count, 0, count, factor},
                             rows, at_least(1, step),
                             [=](const ScaledRows &all) { reduce_rows(all, type); });
}

} // namespace
} // namespace q32::rows

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::rows;

void Q32_CALL mem32BitEnlarge(void *destination, const void *source, int count, unsigned factor) {
    const std::size_t pixels = at_least(0, count);
    enlarge_bit_rows(one_row(destination, source, pixels, factor));
    clear_byte_behind(bytes(destination), pixels, factor);
}

int Q32_CALL mem32BitEnlargeExt(void *destination, const void *source, int width, int rows,
                                unsigned horizontal, unsigned vertical) {
    return enlarge_bit_block(bytes(destination), bytes(source), width, rows, horizontal, vertical);
}

void Q32_CALL mem32Enlarge(void *destination, const void *source, int count, int factor,
                           int bytes_per_pixel, int swap) {
    enlarge_rows(one_row(destination, source, at_least(1, count), at_least(1, factor)),
                 type_of(bytes_per_pixel, swap));
}

int Q32_CALL mem32EnlargeExt(void *destination, const void *source, int width, int rows,
                             int horizontal, int vertical, int bytes_per_pixel, int swap) {
    return enlarge_block(bytes(destination), bytes(source), at_least(1, width), rows,
                         at_least(1, horizontal), at_least(1, vertical),
                         type_of(bytes_per_pixel, swap));
}

void Q32_CALL mem32BitReduce(void *destination, const void *source, int count, int factor) {
    reduce_bit_rows(one_row(destination, source, at_least(0, count), at_least(1, factor)));
}

int Q32_CALL mem32BitReduceExt(void *destination, const void *source, int width, int rows,
                               int factor, int step) {
    return reduce_bit_block(bytes(destination), bytes(source), width, rows, at_least(1, factor),
                            step);
}

void Q32_CALL mem32Reduce(void *destination, const void *source, int count, int factor,
                          int bytes_per_pixel, int swap) {
    reduce_rows(one_row(destination, source, at_least(0, count), at_least(1, factor)),
                type_of(bytes_per_pixel, swap));
}

int Q32_CALL mem32ReduceExt(void *destination, const void *source, int width, int rows, int factor,
                            int step, int bytes_per_pixel, int swap) {
    return reduce_block(bytes(destination), bytes(source), width, rows, at_least(1, factor), step,
                        type_of(bytes_per_pixel, swap));
}

// The exports that copy rectangles between plain images and blocks of packed rows. Nothing is
// checked and nothing reported, as callers expect.
#include "library/process/bytes.h"
#include "rows/rows.h"

#include <q32base/rows.h>

#include <algorithm>

namespace q32::rows {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// A rectangle of an image. It may begin before the image's first pixel, and strides may be
// negative: distances wrap around as addresses do.
struct StridedArea {
    std::ptrdiff_t x;
    std::size_t y, width, height;
    std::size_t stride;

    std::size_t first_row() const { return y * stride; }
    std::size_t first_byte(std::size_t pixel) const { return first_row() + pixel * std::size_t(x); }

    // Of bits: bit -1 of a row is the last of the byte before it.
    std::size_t first_byte_of_bits() const { return first_row() + std::size_t(x >> 3); }
    std::size_t first_bit() const { return std::size_t(x & 7); }
    std::size_t bytes_of_bits() const { return (width + 7) / 8; }
};

// Below 1 there are no rows and no columns; rows without columns are none, however many there are.
StridedArea area_of(int x, int y, int width, int height, int stride) {
    return {x, std::size_t(y), std::size_t(std::max(0, width)),
            width < 1 ? 0 : std::size_t(std::max(0, height)), std::size_t(stride)};
}

// In the last byte of each row of a block. What it held there is of no interest.
void clear_behind_last_bit(std::uint8_t *block, const StridedArea &area) {
    const std::size_t row_bytes = area.bytes_of_bits();
    const auto pixels = std::uint8_t(0xFF00 >> area.width % 8);
    std::uint8_t *last = block + row_bytes - 1;
    for (std::size_t left = area.height; left != 0; --left, last += row_bytes)
        *last &= pixels;
}

// --- drivers ------------------------------------------------------------------------------------

void get_bits(std::uint8_t *block, const std::uint8_t *image, const StridedArea &area) {
    kernels().copy_bit_rows(block, area.bytes_of_bits(), 0, image + area.first_byte_of_bits(),
                            area.stride, area.first_bit(), area.width, area.height);
    if (area.width % 8 != 0)
        clear_behind_last_bit(block, area);
}

void merge_bits(std::uint8_t *image, const std::uint8_t *block, const StridedArea &area) {
    kernels().copy_bit_rows(image + area.first_byte_of_bits(), area.stride, area.first_bit(), block,
                            area.bytes_of_bits(), 0, area.width, area.height);
}

void get_bytes(std::uint8_t *block, const std::uint8_t *image, const StridedArea &area,
               std::size_t pixel) {
    const std::size_t row_bytes = pixel * area.width;
    kernels().copy_rows(block, row_bytes, image + area.first_byte(pixel), area.stride, row_bytes,
                        area.height);
}

void merge_bytes(std::uint8_t *image, const std::uint8_t *block, const StridedArea &area,
                 std::size_t pixel) {
    const std::size_t row_bytes = pixel * area.width;
    kernels().copy_rows(image + area.first_byte(pixel), area.stride, block, row_bytes, row_bytes,
                        area.height);
}

} // namespace
} // namespace q32::rows

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::rows;

int Q32_CALL mem32GetMem(const void *image, int x, int y, int width, int height,
                         int bytes_per_pixel, int stride, void *block) {
    const StridedArea area = area_of(x, y, width, height, stride);
    if (bytes_per_pixel == 0)
        get_bits(bytes(block), bytes(image), area);
    else if (bytes_per_pixel > 0)
        get_bytes(bytes(block), bytes(image), area, std::size_t(bytes_per_pixel));
    return 1;
}

int Q32_CALL mem32MergeMem(void *image, int x, int y, const void *block, int width, int height,
                           int bytes_per_pixel, int stride) {
    const StridedArea area = area_of(x, y, width, height, stride);
    if (bytes_per_pixel == 0)
        merge_bits(bytes(image), bytes(block), area);
    else if (bytes_per_pixel > 0)
        merge_bytes(bytes(image), bytes(block), area, std::size_t(bytes_per_pixel));
    return 1;
}

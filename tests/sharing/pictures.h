// A buffer with the plain image that it must show, rectangles of such an image, and the comparison
// of the two through every entry that reads pixels. Knows nothing of sharing.
#pragma once

#include "tests/buffer/buffer_fixture.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<uint8_t>;

struct Picture {
    HBUF32 buffer;
    Geometry geometry; // linear or not goes by the buffer's origin: fills keep the layout
    PlainImage image;

    Picture(HBUF32 buffer_in, const Geometry &geometry_in)
        : buffer(buffer_in), geometry(geometry_in), image(geometry_in) {}
    explicit Picture(HBUF32 buffer_in) : Picture(buffer_in, geometry_of(buffer_in)) {}
};

// --- images ----------------------------------------------------------------------------------

// Rectangles move whole bytes per pixel from 8 bits on: one byte at 12 bits.
inline int64_t unit_bits(const Geometry &geometry) {
    return geometry.bits < 8 ? geometry.bits : geometry.bytes_per_pixel() * 8;
}
inline size_t unit_bytes(const Geometry &geometry) {
    return size_t(std::max<int64_t>(geometry.bytes_per_pixel(), 1));
}
// Whether units lie side by side: every depth but those between whole bytes.
inline bool is_dense(const Geometry &geometry) {
    return unit_bits(geometry) == geometry.bits;
}

void copy_bits(uint8_t *to, int64_t to_bit, const uint8_t *from, int64_t from_bit, int64_t count);

struct Rectangle {
    int x, y, width, height;
};
std::ostream &operator<<(std::ostream &out, const Rectangle &rectangle);

size_t rectangle_row_bytes(const Geometry &geometry, int width);
size_t rectangle_bytes(const Geometry &geometry, const Rectangle &rectangle);

// Copies the rectangle's pixels that lie inside the image into memory; and memory's into the image.
// All other bits stay.
void read_rectangle(const Picture &from, const Rectangle &rectangle, uint8_t *memory);
void write_rectangle(Picture &to, const Rectangle &rectangle, const uint8_t *memory);

// Every byte the colour's: what rows of a one-colour buffer must be.
void paint(Picture &picture, const uint8_t *colour);

// A pattern with random pixels.
struct Pattern {
    int width, height, bits;
    Bytes pixels;

    Pattern(int width_in, int height_in, int bits_in, Random &random);
    size_t row_bytes() const { return size_t((width * bits + 7) / 8); }
    BUF32PATTERN descriptor() const { return {uint16_t(width), uint16_t(height), pixels.data()}; }
};
// The pattern, repeated from the top left corner.
void paint(Picture &picture, const Pattern &pattern);

// --- comparison ------------------------------------------------------------------------------

testing::AssertionResult same_bytes(std::span<const uint8_t> expected, const uint8_t *got);
// The first bits of each row only: what lies behind a row's last pixel is nobody's.
testing::AssertionResult same_rows(std::span<const uint8_t> expected, const uint8_t *got,
                                   size_t row_bytes, int64_t row_bits);

// All pixels, by one rectangle.
void expect_image(const Picture &picture);
// There are none: nothing is read, and that is not reported.
void expect_no_image(const Picture &picture);

// All pixels through every entry that reads: rectangles inside and across the border, with and
// without background, rows, spans, locks, cells, and as a source. Leaves access mode 1 and all
// locks as they were. Cells and whole locks give special buffers a block: `without_locks` asks for
// neither.
enum class Through { everything, without_locks };
void expect_read_everywhere(const Picture &picture, Through through = Through::everything);

} // namespace q32::test

// Images in plain arrays: what rectangle calls and fills must do, as plainly as the rules read.
// Knows no library; all arithmetic is 64 bits wide.
#pragma once

#include "tests/frame/random.h"
#include "tests/models/geometry.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<uint8_t>;

// A rectangle as the calls take it: it may lie anywhere.
struct Area {
    int x, y, width, height;

    bool operator==(const Area &) const = default;
};

inline std::string text_of(const Area &area) {
    return "(" + std::to_string(area.x) + ", " + std::to_string(area.y) + ") " +
           std::to_string(area.width) + " x " + std::to_string(area.height);
}

// Bytes of one row of a memory block of this width: pixels move whole from 8 bits on, whatever of
// their bits is left over, and are packed below.
inline int64_t block_row_bytes(int64_t bits, int64_t width) {
    return bits < 8 ? (width * bits + 7) / 8 : width * (bits / 8);
}

inline size_t block_bytes(int64_t bits, const Area &area) {
    if (area.width < 1 || area.height < 1)
        return 0;
    return size_t(block_row_bytes(bits, area.width) * area.height);
}

// Places are counted in bits, the highest bit of a byte first.
inline void move_bits(uint8_t *to, int64_t to_bit, const uint8_t *from, int64_t from_bit,
                      int64_t count) {
    if (to_bit % 8 == 0 && from_bit % 8 == 0) {
        std::memcpy(to + to_bit / 8, from + from_bit / 8, size_t(count / 8));
        to_bit += count / 8 * 8;
        from_bit += count / 8 * 8;
        count %= 8;
    }
    for (; count > 0; --count, ++to_bit, ++from_bit) {
        const auto mask = uint8_t(0x80 >> to_bit % 8);
        const bool set = (from[from_bit / 8] << from_bit % 8 & 0x80) != 0;
        to[to_bit / 8] = uint8_t(set ? to[to_bit / 8] | mask : to[to_bit / 8] & ~mask);
    }
}

// Moves one pixel between two rows.
inline void move_pixel(int bits, uint8_t *to, int64_t to_bit, const uint8_t *from,
                       int64_t from_bit) {
    move_bits(to, to_bit, from, from_bit, bits < 8 ? bits : bits / 8 * 8);
}

// The bytes of a colour over and over; under 8 bits its one byte.
inline void repeat_colour(int64_t bits, const uint8_t *colour, std::span<uint8_t> bytes) {
    const size_t unit = size_t(std::max<int64_t>(bits / 8, 1));
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = colour[i % unit];
}

// What a fill repeats from the top left corner.
struct Pattern {
    int width, height, bits;
    Bytes pixels; // random

    Pattern(int width_in, int height_in, int bits_in, Random &random)
        : width(width_in), height(height_in), bits(bits_in),
          pixels(row_bytes() * size_t(height_in)) {
        random.fill(pixels);
    }
    size_t row_bytes() const { return size_t((width * bits + 7) / 8); }
    BUF32PATTERN descriptor() const { return {uint16_t(width), uint16_t(height), pixels.data()}; }
};

// An image and the geometry by which its pixels lie in its rows.
struct Picture {
    HBUF32 buffer = 0; // that must show it, where there is one
    Geometry geometry; // linear or not goes by the buffer's origin: fills keep the layout
    PlainImage image;

    explicit Picture(const Geometry &geometry_in) : geometry(geometry_in), image(geometry_in) {}
    Picture(HBUF32 buffer_in, const Geometry &geometry_in) : Picture(geometry_in) {
        buffer = buffer_in;
    }

    int bits() const { return int(geometry.bits); }
    int width() const { return int(geometry.width); }
    int height() const { return int(geometry.height); }
    Area whole() const { return {0, 0, width(), height()}; }
    bool holds(int64_t x, int64_t y) const {
        return x >= 0 && y >= 0 && x < geometry.width && y < geometry.height;
    }

    // The first bit of a pixel in its row. From 8 bits on a pixel takes whole bytes from the start
    // of its cell, even where a cell's row has more bits for it.
    int64_t bit_of(int64_t x) const {
        if (geometry.bits < 8)
            return x * geometry.bits;
        const int64_t cell_x = x / geometry.cell_width() * geometry.cell_width();
        return (cell_x * geometry.bits / 8 + (x - cell_x) * geometry.bytes_per_pixel()) * 8;
    }

    bool meets(const Area &area) const {
        return area.width > 0 && area.height > 0 && area.x < geometry.width &&
               area.y < geometry.height && int64_t(area.x) + area.width > 0 &&
               int64_t(area.y) + area.height > 0;
    }

    // Calls body(x, y) for the pixels of the rectangle that lie in the image, relative to its
    // corner.
    template <class Body>
    void for_each_inside(const Area &area, Body body) const {
        const int64_t right = std::min<int64_t>(int64_t(area.x) + area.width, geometry.width);
        const int64_t bottom = std::min<int64_t>(int64_t(area.y) + area.height, geometry.height);
        for (int64_t y = std::max<int64_t>(area.y, 0); y < bottom; ++y)
            for (int64_t x = std::max<int64_t>(area.x, 0); x < right; ++x)
                body(x - area.x, y - area.y);
    }

    // The same for stretches of pixels that lie side by side in one cell.
    template <class Body>
    void for_each_run(const Area &area, Body body) const {
        const int64_t cell = geometry.cell_width();
        for_each_inside(area, [&](int64_t x, int64_t y) {
            const int64_t at = area.x + x; // in the image
            if (at != 0 && x != 0 && at % cell != 0)
                return;
            const int64_t right = std::min<int64_t>(int64_t(area.x) + area.width, geometry.width);
            body(x, y, std::min((at / cell + 1) * cell, right) - at);
        });
    }

    void get(const Area &area, uint8_t *block) const {
        const int64_t stride = block_row_bytes(bits(), area.width);
        for_each_run(area, [&](int64_t x, int64_t y, int64_t pixels) {
            move_bits(block + y * stride, x * geometry.unit_bits(), image.row(size_t(area.y + y)),
                      bit_of(area.x + x), pixels * geometry.unit_bits());
        });
    }

    void get_with_background(const Area &area, uint8_t *block, const uint8_t *background) const {
        repeat_colour(bits(), background, {block, block_bytes(bits(), area)});
        get(area, block);
    }

    void merge(const Area &area, const uint8_t *block) {
        const int64_t stride = block_row_bytes(bits(), area.width);
        for_each_run(area, [&](int64_t x, int64_t y, int64_t pixels) {
            move_bits(image.row(size_t(area.y + y)), bit_of(area.x + x), block + y * stride,
                      x * geometry.unit_bits(), pixels * geometry.unit_bits());
        });
    }

    // Pixels of a rectangle of another image; its corner comes to (x, y). All are read before the
    // first is written. How many pixels that was.
    int merge(const Picture &source, const Area &area, int64_t x, int64_t y) {
        const Picture before = source;
        int merged = 0;
        before.for_each_inside(area, [&](int64_t dx, int64_t dy) {
            if (!holds(x + dx, y + dy))
                return;
            move_pixel(bits(), image.row(size_t(y + dy)), bit_of(x + dx),
                       before.image.row(size_t(area.y + dy)), before.bit_of(area.x + dx));
            ++merged;
        });
        return merged;
    }

    // Every byte the colour's: what rows of a one-colour buffer must be.
    void paint(const uint8_t *colour) {
        for (size_t y = 0; y < image.rows(); ++y)
            repeat_colour(bits(), colour, {image.row(y), image.row_bytes()});
    }

    void paint(const Pattern &pattern) {
        for (int y = 0; y < height(); ++y) {
            const uint8_t *const from =
                pattern.pixels.data() + pattern.row_bytes() * size_t(y % pattern.height);
            for (int x = 0; x < width(); ++x)
                move_pixel(bits(), image.row(size_t(y)), bit_of(x), from,
                           x % pattern.width * geometry.unit_bits());
        }
    }

    void set_rows(int rows) {
        geometry.height = rows;
        image.set_rows(size_t(rows));
    }
};

} // namespace q32::test

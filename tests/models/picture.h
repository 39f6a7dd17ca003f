// Rectangles of pixels over plain arrays: what the rectangle calls must do, one pixel at a time and
// as plainly as the rules read. Knows no cell and no library; all arithmetic is 64 bits wide.
#pragma once

#include "tests/models/geometry.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::test {

using Bytes = std::vector<uint8_t>;

// A rectangle as the calls take it: it may lie anywhere.
struct Area {
    int x, y, width, height;

    bool operator==(const Area &) const = default;
};

// Bytes of one row of a memory block of this width: pixels move whole from 8 bits on, whatever of
// their bits is left over, and are packed below.
inline int64_t block_row_bytes(int bits, int64_t width) {
    return bits < 8 ? (width * bits + 7) / 8 : width * (bits / 8);
}

inline size_t block_bytes(int bits, const Area &area) {
    if (area.width < 1 || area.height < 1)
        return 0;
    return size_t(block_row_bytes(bits, area.width) * area.height);
}

// Moves one pixel between two rows. Places are counted in bits, the highest bit of a byte first.
inline void move_pixel(int bits, uint8_t *to, int64_t to_bit, const uint8_t *from,
                       int64_t from_bit) {
    if (bits >= 8) {
        std::memcpy(to + to_bit / 8, from + from_bit / 8, size_t(bits / 8));
        return;
    }
    for (int64_t i = 0; i < bits; ++i) {
        const int bit = from[(from_bit + i) / 8] >> (7 - (from_bit + i) % 8) & 1;
        const auto mask = uint8_t(0x80 >> (to_bit + i) % 8);
        uint8_t &byte = to[(to_bit + i) / 8];
        byte = uint8_t(bit ? byte | mask : byte & ~mask);
    }
}

// An image and the geometry by which its pixels lie in its rows.
struct Picture {
    Geometry geometry;
    PlainImage image;

    explicit Picture(const Geometry &geometry_in) : geometry(geometry_in), image(geometry_in) {}

    int bits() const { return int(geometry.bits); }
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

    void get(const Area &area, uint8_t *block) const {
        const int64_t stride = block_row_bytes(bits(), area.width);
        const int64_t unit = bits() < 8 ? bits() : bits() / 8 * 8;
        for_each_inside(area, [&](int64_t x, int64_t y) {
            move_pixel(bits(), block + y * stride, x * unit, image.row(size_t(area.y + y)),
                       bit_of(area.x + x));
        });
    }

    void get_with_background(const Area &area, uint8_t *block, const uint8_t *background) const {
        const size_t bytes = block_bytes(bits(), area), unit = size_t(std::max(bits() / 8, 1));
        for (size_t i = 0; i < bytes; ++i)
            block[i] = background[i % unit];
        get(area, block);
    }

    void merge(const Area &area, const uint8_t *block) {
        const int64_t stride = block_row_bytes(bits(), area.width);
        const int64_t unit = bits() < 8 ? bits() : bits() / 8 * 8;
        for_each_inside(area, [&](int64_t x, int64_t y) {
            move_pixel(bits(), image.row(size_t(area.y + y)), bit_of(area.x + x),
                       block + y * stride, x * unit);
        });
    }

    // Pixels of a rectangle of another image; its corner comes to (x, y). All are read before the
    // first is written.
    void merge(const Picture &source, const Area &area, int64_t x, int64_t y) {
        const Picture before = source;
        before.for_each_inside(area, [&](int64_t dx, int64_t dy) {
            if (holds(x + dx, y + dy))
                move_pixel(bits(), image.row(size_t(y + dy)), bit_of(x + dx),
                           before.image.row(size_t(area.y + dy)), before.bit_of(area.x + dx));
        });
    }
};

} // namespace q32::test

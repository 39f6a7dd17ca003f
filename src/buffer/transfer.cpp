// Rectangles between buffers and plain memory: clips, reports, and surrounds with a background. The
// pixels themselves are pixels.h's part.
#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pixels.h"
#include "buffer/sharing.h"

#include <cstring>

namespace q32::buffer {
namespace {

// --- blocks of plain memory ----------------------------------------------------------------------

// The caller's block. It stands for the whole rectangle, of which the image may hold a part only.
class MemoryRectangle {
public:
    MemoryRectangle(const BUF32INFO &info, int x, int y, int width, int height, const void *memory)
        : x_(x), y_(y), width_(width), height_(height), pixel_bits_(unit_bits(info)),
          row_bytes_(bytes_of(width)),
          memory_(static_cast<std::byte *>(const_cast<void *>(memory))) {}

    // Whether the address space has room for the block as far as an area's last pixel. Where it has
    // not, the block cannot be the caller's, and nothing is touched.
    bool reaches(const Area &area) const {
        return has_room_for(int64_t(area.right) - x_, int64_t(area.bottom) - y_);
    }
    bool has_room() const { return has_room_for(width_, height_); }

    bool stands_for(const Area &area) const {
        return area.left == x_ && area.top == y_ && area.width() == width_ &&
               area.height() == height_;
    }
    bool has_padding() const { return uint64_t(width_) * pixel_bits_ % 8 != 0; }

    // Where the pixels of an area inside the rectangle lie.
    PlainRows rows(const Area &area) const {
        const uint64_t first_bit = uint64_t(int64_t(area.left) - x_) * pixel_bits_;
        const uint64_t offset = uint64_t(int64_t(area.top) - y_) * row_bytes_ + first_bit / 8;
        return {memory_ + size_t(offset), size_t(row_bytes_), size_t(first_bit % 8), pixel_bits_};
    }

    // The following need has_room. A colour's bytes are one pixel; under 8 bits one byte of pixels.
    void fill(const void *colour) const {
        if (pixel_bits_ < 8)
            fill_pixels(memory_, colour, 1, size_t(row_bytes_) * size_t(height_));
        else
            fill_pixels(memory_, colour, pixel_bytes(), size_t(width_) * size_t(height_));
    }

    void fill_area(const Area &area, const void *colour) const {
        const PlainRows rows = this->rows(area);
        for (int y = 0; y < area.height(); ++y)
            fill_pixels(rows.memory + size_t(y) * rows.stride, colour, pixel_bytes(),
                        size_t(area.width()));
    }

    // What surrounds the area lies, in the order of the memory, before it, between the end of each
    // of its rows and the start of the next one, and behind it. From 8 bits on.
    void fill_around(const Area &area, const void *colour) const {
        const size_t width = size_t(width_);
        const size_t before = size_t(area.top - y_) * width + size_t(area.left - x_);
        const size_t between = width - size_t(area.width());
        const size_t rows_below = size_t(int64_t(y_) + height_ - area.bottom);
        const size_t behind = (rows_below + 1) * width - size_t(area.right - x_);

        std::byte *gap = memory_;
        const auto fill_gap = [&](size_t pixels) {
            fill_pixels(gap, colour, pixel_bytes(), pixels);
            gap += (pixels + size_t(area.width())) * size_t(pixel_bytes());
        };
        fill_gap(before);
        if (between > 0)
            for (int y = area.top + 1; y < area.bottom; ++y)
                fill_gap(between);
        else
            gap += size_t(area.height() - 1) * width * size_t(pixel_bytes());
        fill_gap(behind);
    }

private:
    int pixel_bytes() const { return int(pixel_bits_ / 8); }
    uint64_t bytes_of(int64_t pixels) const { return (uint64_t(pixels) * pixel_bits_ + 7) / 8; }

    // For so many rows, the last of them as far as so many pixels; at least one of each.
    bool has_room_for(int64_t pixels, int64_t rows) const {
        if (rows > 1 && row_bytes_ > UINTPTR_MAX)
            return false;
        const uint64_t bytes = uint64_t(rows - 1) * row_bytes_ + bytes_of(pixels);
        return bytes <= UINTPTR_MAX - reinterpret_cast<uintptr_t>(memory_);
    }

    int x_, y_;
    int width_, height_;
    uint32_t pixel_bits_;
    uint64_t row_bytes_;
    std::byte *memory_;
};

// --- reading ------------------------------------------------------------------------------------

// Under 8 bits neighbours share bytes: the background goes first, the pixels over it.
bool read_bits_over_background(const Record &record, const Area &inside,
                               const MemoryRectangle &block, const void *background) {
    if (!block.stands_for(inside) || block.has_padding())
        block.fill(background);
    return read_pixels(record, inside, block.rows(inside));
}

} // namespace

int get_memory(Record &record, int x, int y, int width, int height, void *memory) {
    const Area inside = intersect(area_of(x, y, width, height), area_of(record));
    if (inside.is_empty())
        return fail(site::nothing_to_get);
    const MemoryRectangle block(record.info, x, y, width, height, memory);
    return block.reaches(inside) && read_pixels(record, inside, block.rows(inside));
}

int get_memory_with_background(Record &record, int x, int y, int width, int height, void *memory,
                               const void *background) {
    if (width < 1 || height < 1)
        return 1; // a block without bytes
    const Colour colour(record.info, background);
    const MemoryRectangle block(record.info, x, y, width, height, memory);
    if (!block.has_room())
        return 0;
    const Area inside = intersect(area_of(x, y, width, height), area_of(record));
    if (inside.is_empty()) {
        block.fill(colour.words);
        return 1;
    }
    if (record.info.bits_per_pixel < 8)
        return under_own_lock(record, BUF32_READ, [&] {
            return read_bits_over_background(record, inside, block, colour.words);
        });
    block.fill_around(inside, colour.words);
    return read_pixels(record, inside, block.rows(inside));
}

int merge_memory(Record &record, int x, int y, int width, int height, const void *memory) {
    const Area inside = intersect(area_of(x, y, width, height), area_of(record));
    if (inside.is_empty())
        return fail(site::nothing_to_merge);
    const MemoryRectangle block(record.info, x, y, width, height, memory);
    return block.reaches(inside) && prepare_for_writing(record) &&
           write_pixels(record, inside, block.rows(inside));
}

// The whole block gets the colour, not only the part inside the image: programs rely on a clipped
// rectangle of one colour coming back full.
int one_colour_get_memory(Record &record, int x, int y, int width, int height, void *memory) {
    if (intersect(area_of(x, y, width, height), area_of(record)).is_empty())
        return fail(site::nothing_to_get_of_one_colour);
    const MemoryRectangle block(record.info, x, y, width, height, memory);
    if (!block.has_room())
        return 0;
    block.fill(record.info.colour);
    return 1;
}

int one_colour_get_memory_with_background(Record &record, int x, int y, int width, int height,
                                          void *memory, const void *background) {
    const Area inside = intersect(area_of(x, y, width, height), area_of(record));
    if (record.info.bits_per_pixel < 8 || inside.is_empty())
        return get_memory_with_background(record, x, y, width, height, memory, background);
    const MemoryRectangle block(record.info, x, y, width, height, memory);
    if (!block.has_room())
        return 0;
    if (block.stands_for(inside)) {
        block.fill(record.info.colour);
    } else {
        block.fill_around(inside, Colour(record.info, background).words);
        block.fill_area(inside, record.info.colour);
    }
    return 1;
}

int merge_memory_by_lock(Record &record, int x, int y, int width, int height, const void *memory) {
    return under_own_lock(record, BUF32_WRITE,
                          [&] { return merge_memory(record, x, y, width, height, memory); });
}

} // namespace q32::buffer

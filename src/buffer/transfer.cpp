// Rectangles between buffers and plain memory: clips, reports, and surrounds with a background. The
// pixels themselves are pixels.h's part.
#include "buffer/cells.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pixels.h"
#include "buffer/sharing.h"
#include "buffer/types.h"
#include "library/process/address_space.h"

#include <cstring>

namespace q32::buffer {
namespace {

// --- blocks of plain memory ----------------------------------------------------------------------

// The caller's block. It stands for the whole rectangle, of which the image may hold a part only.
class MemoryRectangle {
public:
    MemoryRectangle(const Record &record, int x, int y, int width, int height, const void *memory)
        : x_(x), y_(y), width_(width), height_(height),
          inside_(intersect(area_of(x, y, width, height), area_of(record))),
          pixel_bits_(unit_bits(record.info)), row_bytes_(bytes_of(width)),
          memory_(static_cast<std::byte *>(const_cast<void *>(memory))) {}

    // The part that the image holds.
    const Area &inside() const { return inside_; }
    bool is_outside() const { return inside_.is_empty(); }
    bool is_wholly_inside() const {
        return inside_.left == x_ && inside_.top == y_ && inside_.width() == width_ &&
               inside_.height() == height_;
    }

    // Whether the address space has room for the block, or for as much of it as reaches to the last
    // pixel inside. Where it has not, the block cannot be the caller's, and nothing is touched.
    bool has_room() const { return has_room_for(width_, height_); }
    bool has_room_inside() const {
        return has_room_for(int64_t(inside_.right) - x_, int64_t(inside_.bottom) - y_);
    }

    bool has_padding() const { return uint64_t(width_) * pixel_bits_ % 8 != 0; }

    // Where the pixels inside lie.
    PlainRows rows() const {
        const uint64_t first_bit = uint64_t(int64_t(inside_.left) - x_) * pixel_bits_;
        const uint64_t offset = uint64_t(int64_t(inside_.top) - y_) * row_bytes_ + first_bit / 8;
        return {memory_ + size_t(offset), size_t(row_bytes_), size_t(first_bit % 8), pixel_bits_};
    }

    // The following need has_room. A colour's bytes are one pixel; under 8 bits one byte of pixels.
    void fill(const void *colour) const {
        if (pixel_bits_ < 8)
            fill_pixels(memory_, colour, 1, size_t(row_bytes_) * size_t(height_));
        else
            fill_pixels(memory_, colour, pixel_bytes(), size_t(width_) * size_t(height_));
    }

    void fill_inside(const void *colour) const {
        const PlainRows first = rows();
        for (int y = 0; y < inside_.height(); ++y)
            fill_pixels(first.memory + size_t(y) * first.stride, colour, pixel_bytes(),
                        size_t(inside_.width()));
    }

    // What surrounds the pixels inside lies, in the order of the memory, before it, between the end
    // of each of its rows and the start of the next one, and behind it. From 8 bits on.
    void fill_outside(const void *colour) const {
        const Area &area = inside_;
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
        uint64_t rows_before, bytes;
        return !__builtin_mul_overflow(uint64_t(rows - 1), row_bytes_, &rows_before) &&
               !__builtin_add_overflow(rows_before, bytes_of(pixels), &bytes) &&
               bytes <= room_behind(memory_);
    }

    int x_, y_;
    int width_, height_;
    Area inside_;
    uint32_t pixel_bits_;
    uint64_t row_bytes_;
    std::byte *memory_;
};

// --- reading ------------------------------------------------------------------------------------

bool read_inside(const Record &record, const MemoryRectangle &block) {
    return read_pixels(record, block.inside(), block.rows());
}

// Under 8 bits neighbours share bytes: the background goes first, the pixels over it.
bool read_bits_over_background(const Record &record, const MemoryRectangle &block,
                               const void *background) {
    if (!block.is_wholly_inside() || block.has_padding())
        block.fill(background);
    return read_inside(record, block);
}

} // namespace

int get_memory(Record &record, int x, int y, int width, int height, void *memory) {
    if (const SmallRectangle small(record.info, x, y, width, height);
        small && type_of(record).read == read_cells)
        return small.bytes() <= room_behind(memory) &&
               small.read_from(record, static_cast<std::byte *>(memory));
    const MemoryRectangle block(record, x, y, width, height, memory);
    if (block.is_outside())
        return fail(site::nothing_to_get);
    return block.has_room_inside() && read_inside(record, block);
}

int get_memory_with_background(Record &record, int x, int y, int width, int height, void *memory,
                               const void *background) {
    if (width < 1 || height < 1)
        return 1; // a block without bytes
    const Colour colour(record.info, background);
    const MemoryRectangle block(record, x, y, width, height, memory);
    if (!block.has_room())
        return 0;
    if (block.is_outside()) {
        block.fill(colour.words);
        return 1;
    }
    if (record.info.bits_per_pixel < 8)
        return under_own_lock(record, BUF32_READ, [&] {
            return read_bits_over_background(record, block, colour.words);
        });
    block.fill_outside(colour.words);
    return read_inside(record, block);
}

int merge_memory(Record &record, int x, int y, int width, int height, const void *memory) {
    if (const SmallRectangle small(record.info, x, y, width, height);
        small && type_of(record).has_cells)
        return small.bytes() <= room_behind(memory) && prepare_for_writing(record) &&
               small.write_to(record, static_cast<const std::byte *>(memory));
    const MemoryRectangle block(record, x, y, width, height, memory);
    if (block.is_outside())
        return fail(site::nothing_to_merge);
    return block.has_room_inside() && prepare_for_writing(record) &&
           write_pixels(record, block.inside(), block.rows());
}

// The whole block gets the colour, not only the part inside the image: programs rely on a clipped
// rectangle of one colour coming back full.
int one_colour_get_memory(Record &record, int x, int y, int width, int height, void *memory) {
    const MemoryRectangle block(record, x, y, width, height, memory);
    if (block.is_outside())
        return fail(site::nothing_to_get_of_one_colour);
    if (!block.has_room())
        return 0;
    block.fill(record.info.colour);
    return 1;
}

int one_colour_get_memory_with_background(Record &record, int x, int y, int width, int height,
                                          void *memory, const void *background) {
    const MemoryRectangle block(record, x, y, width, height, memory);
    if (record.info.bits_per_pixel < 8 || block.is_outside())
        return get_memory_with_background(record, x, y, width, height, memory, background);
    if (!block.has_room())
        return 0;
    if (block.is_wholly_inside()) {
        block.fill(record.info.colour);
    } else {
        block.fill_outside(Colour(record.info, background).words);
        block.fill_inside(record.info.colour);
    }
    return 1;
}

int merge_memory_by_lock(Record &record, int x, int y, int width, int height, const void *memory) {
    return under_own_lock(record, BUF32_WRITE,
                          [&] { return merge_memory(record, x, y, width, height, memory); });
}

} // namespace q32::buffer

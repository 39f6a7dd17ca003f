// Entries of bitmap buffers: fills that keep the bitmap, duplicates and copies.
#include "buffer/allocation.h"
#include "buffer/buffer_copy.h"
#include "buffer/colour_fill.h"
#include "buffer/duplicates.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pattern.h"
#include "buffer/sharing.h"

#include <cstring>

namespace q32::buffer {
namespace {

constexpr DuplicateSites duplicate_sites = {
    .types_differ = site::bitmap_types_differ,
    .sizes_differ = site::bitmap_sizes_differ,
    .no_record = site::no_bitmap_duplicate,
    .no_layout = site::no_bitmap_duplicate_layout,
};

bool prepare_for_fill(Record &record) {
    return prepare_for_writing(record) && record.storage != nullptr;
}

// Under 8 bits a byte for every 8 pixels is filled, whatever their depth. Required: at 2 and 4 bits
// a caller sees the upper half or quarter of the image change and the rest stay.
size_t fill_count(const BUF32INFO &info) {
    const int units = info.bits_per_pixel < 8 ? (info.width + 7) / 8 : info.width;
    return size_t(units) * size_t(info.height);
}

// The rows of the whole image as plain memory.
PlainRows all_rows(Record &record) {
    return {.memory = record.storage,
            .stride = record.row_bytes,
            .first_bit = 0,
            .pixel_bits = unit_bits(record.info)};
}

// Copies what the rectangle, the source and the destination have in common. Nothing is a success.
int copy_common_area(Record &source, int x, int y, int width, int height, Record &destination) {
    const Area wanted = intersect(area_of(x, y, width, height), area_of(source));
    const Area room = area_of(x, y, destination.info.width, destination.info.height);
    const Area common = intersect(wanted, room);
    if (common.is_empty())
        return 1;
    return copy_area(source, common, destination, common.left - x, common.top - y);
}

} // namespace

int bitmap_fill_one_colour(Record &record, const void *colour) {
    if (colour == nullptr)
        return fail(site::bitmap_null_fill);
    if (!prepare_for_fill(record))
        return 0;
    // Only the first byte is taken over, and the fill goes by the record. Required: a caller who
    // fills a fresh 24-bit bitmap with (r, g, b) sees pixels of (r, 0, 0).
    BUF32INFO &info = record.info;
    std::memcpy(info.colour, colour, 1);
    fill_pixels(record.storage, info.colour, colour_bytes(info), fill_count(info));
    return 1;
}

int bitmap_fill_pattern(Record &record, const BUF32PATTERN *pattern) {
    if (!is_usable(pattern))
        return fail(site::bitmap_null_fill);
    // From a copy: the pattern may lie in the very pixels that are filled.
    const int bits_per_pixel = record.info.bits_per_pixel;
    const PatternCopy copy(copy_pattern_pixels(*pattern, bits_per_pixel));
    if (!copy)
        return fail(site::no_pattern_copy);
    if (!prepare_for_fill(record))
        return 0;
    const BUF32PATTERN copied = {pattern->width, pattern->height, copy.get()};
    render_pattern(copied, bits_per_pixel, area_of(record), all_rows(record));
    return 1;
}

int bitmap_duplicate(Record &source, HBUF32 *destination) {
    return duplicate_by_sharing(source, destination, duplicate_sites);
}

int bitmap_get_buffer(Record &source, int x, int y, int width, int height, HBUF32 *destination) {
    if (*destination != 0)
        return copy_common_area(source, x, y, width, height, *record_of(*destination));
    const HBUF32 made = make_tiled(source, width, height);
    if (made == 0)
        return fail(site::bitmap_destination_not_made);
    if (!copy_common_area(source, x, y, width, height, *record_of(made))) {
        free_buffer(*record_of(made));
        return 0;
    }
    *destination = made;
    return 1;
}

} // namespace q32::buffer

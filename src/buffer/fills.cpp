// Fills of whole buffers. The old pixels go before the block comes that takes their place: a buffer
// that the address space has room for only once can still be filled. A caller sees the price when
// there is no block: the buffer has no pixels then. Bitmaps stay what they are, and are filled
// where they lie.
#include "buffer/block_storage.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pattern.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "buffer/types.h"

#include <cstring>

namespace q32::buffer {
namespace {

// --- blocks -------------------------------------------------------------------------------------

void refill(Record &record, const void *colour) {
    std::memmove(record.info.colour, colour, size_t(colour_bytes(record.info)));
    if (record.storage != nullptr)
        fill_block(record);
}

int make_one_colour(Record &record, const Colour &colour) {
    type_of(record).release_extra(record);
    give_up_pixels(record);
    std::byte *const block = allocate_block(one_colour_block_bytes(record));
    if (block == nullptr)
        return fail(site::no_fill_block);
    put_block_in_place(record, block, BUF32_ONE_COLOUR);
    std::memcpy(record.info.colour, colour.words, sizeof(colour.words));
    fill_block(record);
    return 1;
}

// Whether memory is among the pixels that the record is about to give up.
bool is_in_pixels(const Record &record, const void *memory) {
    const auto distance = static_cast<const std::byte *>(memory) - record.storage;
    return record.storage != nullptr && size_t(distance) < type_of(record).memory_bytes(record);
}

int make_pattern(Record &record, const BUF32PATTERN &pattern) {
    const int bits_per_pixel = record.info.bits_per_pixel;
    const size_t block_bytes = pattern_block_bytes(record, pattern.height);
    const bool is_own = is_in_pixels(record, pattern.pixels);
    RuntimeBlock copy;
    if (is_own)
        copy = copy_pattern_pixels(pattern, bits_per_pixel);

    give_up_pixels(record);
    std::byte *const block = allocate_block(block_bytes);
    if (block == nullptr)
        return fail(site::no_fill_block);
    if (!is_own)
        copy = copy_pattern_pixels(pattern, bits_per_pixel);
    if (!copy) {
        release_block(block, block_bytes);
        return fail(site::no_pattern_copy);
    }
    type_of(record).release_extra(record);
    put_block_in_place(record, block, BUF32_PATTERN);
    set_pattern(record, pattern, std::move(copy));
    render_block(record);
    return 1;
}

// --- bitmaps ------------------------------------------------------------------------------------

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

} // namespace

int fill_one_colour(Record &record, const void *colour) {
    if (colour == nullptr)
        return fail(site::null_colour);
    if (has_callers_pixels(record))
        return fail(site::bitmap_not_converted);
    if (record.info.type == BUF32_ONE_COLOUR) {
        refill(record, colour);
        return 1;
    }
    if (!prepare_for_writing(record))
        return 0;
    return make_one_colour(record, Colour(record.info, colour));
}

int fill_pattern(Record &record, const BUF32PATTERN *pattern) {
    if (!is_usable(pattern))
        return fail(site::null_pattern);
    if (has_callers_pixels(record))
        return fail(site::bitmap_not_converted);
    if (!prepare_for_writing(record))
        return 0;
    // By value: the descriptor may lie in the storage that is given up.
    return make_pattern(record, BUF32PATTERN(*pattern));
}

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
    const RuntimeBlock copy = copy_pattern_pixels(*pattern, bits_per_pixel);
    if (!copy)
        return fail(site::no_pattern_copy);
    if (!prepare_for_fill(record))
        return 0;
    const BUF32PATTERN copied = {pattern->width, pattern->height, copy.get()};
    render_pattern(copied, bits_per_pixel, area_of(record), all_rows(record));
    return 1;
}

} // namespace q32::buffer

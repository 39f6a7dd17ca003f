// Fills of whole buffers. The old pixels go before the block comes that takes their place: a buffer
// that the address space has room for only once can still be filled. A caller sees the price when
// there is no block: the buffer has no pixels then.
#include "buffer/block_storage.h"
#include "buffer/colour_fill.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/one_colour.h"
#include "buffer/pattern.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"
#include "buffer/types.h"

#include <cstring>

namespace q32::buffer {
namespace {

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
    const uint32_t block_bytes = pattern_block_bytes(record, pattern.height);
    const bool is_own = is_in_pixels(record, pattern.pixels);
    PatternCopy copy(is_own ? copy_pattern_pixels(pattern, bits_per_pixel) : nullptr);

    give_up_pixels(record);
    std::byte *const block = allocate_block(block_bytes);
    if (block == nullptr)
        return fail(site::no_fill_block);
    if (!is_own)
        copy.reset(copy_pattern_pixels(pattern, bits_per_pixel));
    if (!copy) {
        release_block(block, block_bytes);
        return fail(site::no_pattern_copy);
    }
    type_of(record).release_extra(record);
    put_block_in_place(record, block, BUF32_PATTERN);
    set_pattern(record, pattern, copy.release());
    render_block(record);
    return 1;
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

} // namespace q32::buffer

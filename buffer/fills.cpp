// Fills of whole buffers. All memory is had before anything is given up, so that a failed fill
// leaves every pixel as it was.
#include "buffer/fills.h"

#include "buffer/blocks.h"
#include "buffer/colour_fill.h"
#include "buffer/failures.h"
#include "buffer/one_colour.h"
#include "buffer/pattern.h"
#include "buffer/sharing.h"
#include "buffer/storage.h"

#include <cstring>

namespace q32::buffer {
namespace {

void refill(Record &record, const void *colour) {
    std::memmove(record.info.colour, colour, size_t(colour_bytes(record.info)));
    if (record.storage != nullptr)
        fill_block(record);
}

// The pattern of a pattern buffer goes with its storage.
void replace_storage(Record &record, std::byte *block, uint32_t new_type) {
    if (record.info.type == BUF32_PATTERN)
        free_pattern_copy(record);
    put_block_in_place(record, block, new_type);
}

int make_one_colour(Record &record, const Colour &colour) {
    std::byte *const block = allocate_block(one_colour_block_bytes(record));
    if (block == nullptr)
        return fail(site::no_fill_block);
    replace_storage(record, block, BUF32_ONE_COLOUR);
    std::memcpy(record.info.colour, colour.words, sizeof(colour.words));
    fill_block(record);
    return 1;
}

int make_pattern(Record &record, const BUF32PATTERN &pattern) {
    PatternCopy copy(copy_pattern_pixels(pattern, record.info.bits_per_pixel));
    if (!copy)
        return fail(site::no_pattern_copy);
    std::byte *const block = allocate_block(pattern_block_bytes(record, pattern.height));
    if (block == nullptr)
        return fail(site::no_fill_block);
    replace_storage(record, block, BUF32_PATTERN);
    set_pattern(record, pattern, copy.release());
    render_block(record);
    return 1;
}

} // namespace

int fill_one_colour(Record &record, const void *colour) {
    if (colour == nullptr)
        return fail(site::null_colour);
    if (record.info.type == BUF32_DIB)
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
    if (record.info.type == BUF32_DIB)
        return fail(site::bitmap_not_converted);
    if (!prepare_for_writing(record))
        return 0;
    // By value: the descriptor may lie in the storage that is given up.
    return make_pattern(record, BUF32PATTERN(*pattern));
}

} // namespace q32::buffer

// The operation set of each buffer type. Entries that are empty here are operations that the type
// does not offer; the exports refuse them.
#include "buffer/operations.h"

#include "buffer/bitmap_entries.h"
#include "buffer/buffer_copy.h"
#include "buffer/caller_memory.h"
#include "buffer/cells.h"
#include "buffer/duplicates.h"
#include "buffer/fills.h"
#include "buffer/lines.h"
#include "buffer/one_colour.h"
#include "buffer/pattern.h"
#include "buffer/transfer.h"

namespace q32::buffer {
namespace {

// Tiled buffers, and linear ones: their single cell follows the same rules.
constexpr Operations ordinary_set = {
    .lock = lock,
    .cell_lock = cell_lock,
    .cell_unlock = cell_unlock,
    .line = line,
    .point_address = point_address,
    .unlock = unlock,
    .fill_one_colour = fill_one_colour,
    .duplicate = duplicate,
    .get_buffer = get_buffer,
    .merge_buffer = merge_buffer,
    .get_memory = get_memory,
    .get_memory_with_background = get_memory_with_background,
    .merge_memory = merge_memory,
    .line_span = line_span,
    .fill_pattern = fill_pattern,
};

constexpr Operations bitmap_set = [] {
    Operations set = ordinary_set;
    set.fill_one_colour = bitmap_fill_one_colour;
    set.duplicate = bitmap_duplicate;
    set.get_buffer = bitmap_get_buffer;
    set.fill_pattern = bitmap_fill_pattern;
    return set;
}();

constexpr Operations one_colour_set = {
    .lock = one_colour_lock,
    .cell_lock = one_colour_cell_lock,
    .cell_unlock = one_colour_cell_unlock,
    .line = line,
    .point_address = one_colour_point_address,
    .unlock = one_colour_unlock,
    .fill_one_colour = fill_one_colour,
    .duplicate = one_colour_duplicate,
    .get_buffer = one_colour_get_buffer,
    .merge_buffer = one_colour_merge_buffer,
    .get_memory = one_colour_get_memory,
    .get_memory_with_background = one_colour_get_memory_with_background,
    .merge_memory = merge_memory_by_lock,
    .line_span = line_span,
    .fill_pattern = fill_pattern,
};

constexpr Operations pattern_set = {
    .lock = pattern_lock,
    .cell_lock = pattern_cell_lock,
    .cell_unlock = cell_unlock,
    .line = pattern_line,
    .point_address = pattern_point_address,
    .unlock = unlock,
    .fill_one_colour = fill_one_colour,
    .duplicate = pattern_duplicate,
    .get_buffer = get_buffer,
    .merge_buffer = merge_buffer,
    .get_memory = get_memory,
    .get_memory_with_background = get_memory_with_background,
    .merge_memory = merge_memory_by_lock,
    .line_span = pattern_line_span,
    .fill_pattern = fill_pattern,
};

constexpr Operations caller_memory_set = {
    .lock = caller_memory_lock,
    .cell_lock = caller_memory_cell_lock,
    .cell_unlock = cell_unlock,
    .line = caller_memory_line,
    .point_address = caller_memory_point_address,
    .unlock = unlock,
    .fill_one_colour = caller_memory_fill_one_colour,
    .duplicate = caller_memory_duplicate,
    .get_buffer = get_buffer,
    .merge_buffer = caller_memory_merge_buffer,
    .get_memory = get_memory,
    .get_memory_with_background = get_memory_with_background,
    .merge_memory = caller_memory_merge_memory,
};

} // namespace

const Operations &operations_for(uint32_t type) {
    switch (type) {
    case BUF32_ONE_COLOUR:
        return one_colour_set;
    case BUF32_DIB:
        return bitmap_set;
    case BUF32_CALLER_MEMORY:
        return caller_memory_set;
    case BUF32_PATTERN:
        return pattern_set;
    default:
        return ordinary_set;
    }
}

} // namespace q32::buffer

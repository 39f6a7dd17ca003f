// The table of buffer types: the operation set of each, and its row. Entries that are empty here
// are operations that the type does not offer; the exports refuse them.
#include "buffer/types.h"

#include "buffer/bitmaps.h"
#include "buffer/block_storage.h"
#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/pattern.h"

namespace q32::buffer {
namespace {

// --- operations ---------------------------------------------------------------------------------

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

constexpr Operations one_colour_set = [] {
    Operations set = ordinary_set;
    set.lock = one_colour_lock;
    set.cell_lock = one_colour_cell_lock;
    set.cell_unlock = one_colour_cell_unlock;
    set.point_address = one_colour_point_address;
    set.unlock = one_colour_unlock;
    set.duplicate = one_colour_duplicate;
    set.get_buffer = one_colour_get_buffer;
    set.merge_buffer = one_colour_merge_buffer;
    set.get_memory = one_colour_get_memory;
    set.get_memory_with_background = one_colour_get_memory_with_background;
    set.merge_memory = merge_memory_by_lock;
    return set;
}();

constexpr Operations pattern_set = [] {
    Operations set = ordinary_set;
    set.lock = pattern_lock;
    set.cell_lock = pattern_cell_lock;
    set.point_address = pattern_point_address;
    set.duplicate = pattern_duplicate;
    set.merge_memory = merge_memory_by_lock;
    return set;
}();

// Whatever reads works, whatever writes is refused. buf32MergeBuf is refused from such a buffer as
// well, though it would only read: programs know its number 63 so. Another buffer merged onto
// caller memory ends at merge_memory, number 64.
constexpr Operations caller_memory_set = [] {
    Operations set = ordinary_set;
    set.lock = caller_memory_lock;
    set.cell_lock = refuse_silently; // the rows are not in cells
    set.point_address = refuse<site::caller_memory_no_point>;
    set.fill_one_colour = refuse<site::caller_memory_no_fill>;
    set.duplicate = refuse_silently;
    set.merge_buffer = refuse<site::caller_memory_no_merge_buffer>;
    set.merge_memory = refuse<site::caller_memory_no_merge_memory>;
    set.line_span = nullptr;
    set.fill_pattern = nullptr;
    return set;
}();

// --- rows ---------------------------------------------------------------------------------------

constexpr BufferType linear(uint32_t type, Storage storage) {
    return {.type = type,
            .operations = &ordinary_set,
            .make_alike = make_of_same_type,
            .storage_kind = storage,
            .address = clamped_address,
            .no_address = &site::linear_without_storage};
}

// Quirk: all values that are not in the table are ordinary buffers, whose bits say what they mean
// elsewhere too: one cell or many, a changeable height (record.h), and a colour. One with a colour
// among other bits has no storage, but no block either.
constexpr BufferType other = {.operations = &ordinary_set};
constexpr BufferType colour_among_other_bits = {
    .operations = &ordinary_set, .has_extra = has_colour, .allocate = allocate_one_colour};

constexpr BufferType types[] = {
    {.type = BUF32_TILED, .operations = &ordinary_set, .address = clamped_address},
    {.type = BUF32_TILED_FILE,
     .operations = &ordinary_set,
     .make_alike = make_of_same_type,
     .storage_kind = Storage::file},
    linear(BUF32_LINEAR, Storage::by_policy),
    linear(BUF32_LINEAR_MEMORY, Storage::memory_only),
    linear(BUF32_LINEAR_SHRINK, Storage::by_policy),
    {.type = BUF32_DIB,
     .operations = &bitmap_set,
     .allocate_over = allocate_bitmap,
     .make_alike = make_for_bitmap_copy,
     .storage_kind = Storage::callers,
     .has_address_per_row = true,
     .copy_from_source = copy_bitmap,
     .release_pixels = release_bitmap,
     .address = clamped_address,
     .no_address = &site::linear_without_storage},
    {.type = BUF32_ONE_COLOUR,
     .operations = &one_colour_set,
     .has_extra = has_colour,
     .allocate = allocate_one_colour,
     .make_alike = make_of_same_colour,
     .read = read_block,
     .has_cells = false,
     .memory_bytes = one_colour_block_bytes,
     .address = one_colour_point_address,
     .no_address = &site::one_colour_without_block},
    {.type = BUF32_PATTERN,
     .operations = &pattern_set,
     .has_extra = has_pattern,
     .allocate = allocate_pattern,
     .make_alike = make_of_same_pattern,
     .read = read_pattern,
     .has_cells = false,
     .is_read_without_lock = true,
     .memory_bytes = pattern_block_bytes,
     .release_extra = free_pattern_copy},
    {.type = BUF32_CALLER_MEMORY,
     .operations = &caller_memory_set,
     .has_extra = has_caller_pixels,
     .allocate = allocate_over_caller_memory,
     .storage_kind = Storage::callers,
     .read = read_caller_memory,
     .has_cells = false,
     .is_freed_under_lock = true,
     .is_told_as_tiled = true},
};

} // namespace

constexpr std::array<const BufferType *, 33> types_by_bit = [] {
    std::array<const BufferType *, 33> by_bit;
    by_bit.fill(&other);
    for (const BufferType &type : types)
        by_bit[std::bit_width(type.type)] = &type;
    return by_bit;
}();

const BufferType &type_of_bits(uint32_t type) {
    return (type & BUF32_ONE_COLOUR) != 0 ? colour_among_other_bits : other;
}

} // namespace q32::buffer

// What types.cpp makes its tables of: the entries of the operation sets, slot by slot, and what
// rows have of their own. A file that defines them includes this one, and so does who compares an
// entry. To call one means to know the buffer's type: all others go through the record's table.
#pragma once

#include "buffer/types.h"

namespace q32::buffer {

// --- entries ------------------------------------------------------------------------------------

entry::Lock lock, one_colour_lock, pattern_lock, caller_memory_lock;
entry::CellLock cell_lock, one_colour_cell_lock, pattern_cell_lock;
entry::CellUnlock cell_unlock, one_colour_cell_unlock;
entry::Unlock unlock, one_colour_unlock;

// The whole row y (clamped), in the modes BUF32_LINE_READ to BUF32_LINE_WRITE_555.
entry::Line line;

// The pixels x_start to x_end - 1 of row y (all clamped), in the modes up to BUF32_LINE_WRITE_565.
// Memory holds them from its first bit on.
entry::LineSpan line_span;

// Address of pixel (x, y), clamped into the image, without a lock. Null without storage.
entry::PointAddress point_address, one_colour_point_address, pattern_point_address;

// Fills of the whole buffer, which gives up its storage for them; not so a bitmap.
entry::FillOneColour fill_one_colour, bitmap_fill_one_colour;
entry::FillPattern fill_pattern, bitmap_fill_pattern;

entry::Duplicate duplicate, one_colour_duplicate, pattern_duplicate, bitmap_duplicate;

// Rectangles from buffer to buffer.
entry::GetBuffer get_buffer, one_colour_get_buffer, bitmap_get_buffer;
entry::MergeBuffer merge_buffer, one_colour_merge_buffer;

// Rectangles between a buffer and plain memory. By lock: for buffers that a write lock turns into
// ordinary ones.
entry::GetMemory get_memory, one_colour_get_memory;
entry::GetMemoryWithBackground get_memory_with_background, one_colour_get_memory_with_background;
entry::MergeMemory merge_memory, merge_memory_by_lock;

// Entries of any slot that refuse: with a report, or silently.
template <const FailureSite &site, typename Result, typename... Arguments>
Result refuse(Arguments...) {
    fail(site);
    return {};
}
template <typename Result, typename... Arguments>
Result refuse_silently(Arguments...) {
    return {};
}

// --- rows ---------------------------------------------------------------------------------------

trait::HasExtra has_colour, has_pattern, has_caller_pixels;
trait::Allocate allocate_one_colour, allocate_pattern, allocate_over_caller_memory;
trait::MakeAlike make_of_same_colour, make_of_same_pattern, make_for_bitmap_copy;
trait::Read read_pattern, read_caller_memory;

} // namespace q32::buffer

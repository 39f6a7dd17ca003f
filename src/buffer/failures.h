// Failure sites of buffers and of their storage, in the order of the tables that support staff
// read: message, severity, module, point.
#pragma once

#include "library/process/failure.h"

namespace q32::buffer::site {

// Allocation and release.
inline constexpr FailureSite no_record{1001, 0, 4, 9};
inline constexpr FailureSite too_wide{5402, 0, 4, 71};
inline constexpr FailureSite too_high{5403, 0, 4, 72};
inline constexpr FailureSite bad_geometry{3200, 0, 4, 7};
inline constexpr FailureSite no_extra{3200, 0, 4, 8};
inline constexpr FailureSite no_layout{1001, 0, 4, 10};
inline constexpr FailureSite bitmap_refused{5800, 0, 4, 1};
inline constexpr FailureSite one_colour_has_no_cells{5800, 0, 4, 5};
inline constexpr FailureSite freeing_locked{5804, 1, 4, 12};
inline constexpr FailureSite already_freed{3200, 0, 4, 6};
inline constexpr FailureSite cannot_change_height{3200, 0, 4, 11};

// Cells and addresses.
inline constexpr FailureSite no_such_cell{5804, 0, 3, 1};
inline constexpr FailureSite cell_not_locked{5804, 0, 3, 2};
inline constexpr FailureSite line_not_locked{5804, 1, 3, 3};
inline constexpr FailureSite not_locked{5804, 1, 3, 4};
inline constexpr FailureSite null_memory{3200, 0, 4, 6};
inline constexpr FailureSite point_of_nothing{3200, 1, 4, 181};
inline constexpr FailureSite no_point_for_type{3200, 1, 4, 182};
inline constexpr FailureSite one_colour_without_block{3200, 1, 4, 183};
inline constexpr FailureSite linear_without_storage{3200, 1, 4, 184};

// Locks of one-colour buffers.
inline constexpr FailureSite one_colour_no_such_cell{5805, 0, 2, 1};
inline constexpr FailureSite one_colour_no_block_for_cell{1001, 0, 2, 2};
inline constexpr FailureSite one_colour_cell_not_locked{5804, 0, 2, 3};
inline constexpr FailureSite one_colour_no_storage{1001, 0, 2, 4};
inline constexpr FailureSite one_colour_no_block{1001, 0, 2, 5};
inline constexpr FailureSite one_colour_not_locked{5804, 0, 2, 6};

// Rectangles.
inline constexpr FailureSite null_argument{3200, 0, 4, 6};
inline constexpr FailureSite nothing_to_get{3200, 1, 3, 13};
inline constexpr FailureSite nothing_to_merge{3200, 1, 3, 14};
inline constexpr FailureSite depths_differ{3200, 1, 4, 18};
inline constexpr FailureSite no_strip{1001, 1, 4, 19};

// Fills.
inline constexpr FailureSite null_colour{3200, 0, 3, 5};
inline constexpr FailureSite bitmap_not_converted{5800, 0, 4, 20};
inline constexpr FailureSite no_fill_block{1001, 1, 4, 21};
inline constexpr FailureSite null_pattern{3200, 0, 70, 22};
inline constexpr FailureSite no_pattern_copy{1001, 1, 70, 23};

// Bitmaps.
inline constexpr FailureSite no_bitmap_record{1001, 1, 4, 14};
inline constexpr FailureSite not_a_bitmap{1001, 1, 4, 15};
inline constexpr FailureSite not_a_bitmap_buffer{3200, 0, 4, 16};
inline constexpr FailureSite bitmap_null_fill{3200, 0, 1, 1};
inline constexpr FailureSite no_private_bitmap{1001, 0, 1, 5};
inline constexpr FailureSite no_private_row_table{1001, 0, 1, 7};
inline constexpr FailureSite bitmap_destination_not_made{1001, 0, 1, 9};

// What can fail in duplicates, the same for each kind of buffer at points of its own.
struct DuplicateSites {
    FailureSite types_differ;
    FailureSite sizes_differ; // or bits per pixel
    FailureSite no_record;
    FailureSite no_layout;
};

inline constexpr DuplicateSites bitmap_duplicate{
    {3200, 0, 1, 3}, {3200, 0, 1, 4}, {1001, 1, 1, 8}, {1001, 1, 1, 9}};
inline constexpr DuplicateSites one_colour_duplicate{
    {3200, 0, 2, 7}, {3200, 0, 2, 8}, {1001, 0, 2, 9}, {1001, 0, 2, 9}};
inline constexpr DuplicateSites duplicate{
    {4026, 1, 3, 6}, {4026, 1, 3, 7}, {1001, 1, 3, 8}, {1001, 1, 3, 9}};

// One-colour buffers as rectangles.
inline constexpr FailureSite nothing_to_get_of_one_colour{3200, 0, 2, 10};

// Buffers over caller memory.
inline constexpr FailureSite caller_memory_no_point{5800, 0, 50, 61};
inline constexpr FailureSite caller_memory_no_fill{5800, 0, 50, 62};
inline constexpr FailureSite caller_memory_no_merge_buffer{5800, 0, 50, 63};
inline constexpr FailureSite caller_memory_no_merge_memory{5800, 0, 50, 64};

// Start: the master record file.
inline constexpr FailureSite master_file_not_created{4010, 0, 9, 1};
inline constexpr FailureSite no_empty_slots{1004, 0, 9, 2};
inline constexpr FailureSite master_file_not_reopened{4010, 0, 9, 9};
inline constexpr FailureSite no_clean_up_blocks{1004, 0, 9, 8};

// First swap file of a process: its record file.
inline constexpr FailureSite record_file_not_created{4010, 0, 9, 5};
inline constexpr FailureSite master_file_not_opened{4010, 0, 9, 6};
inline constexpr FailureSite master_file_full{4010, 0, 9, 7};
inline constexpr FailureSite no_slot_map{1004, 0, 9, 10};

// Registration of a swap file.
inline constexpr FailureSite slot_map_cannot_grow{1004, 0, 9, 11};

// Storage of a buffer.
inline constexpr FailureSite swap_file_refused{1001, 0, 4, 3};
inline constexpr FailureSite swap_file_not_made{1001, 0, 4, 2};
inline constexpr FailureSite no_virtual_memory{1001, 0, 4, 4};

// Staging blocks.
inline constexpr FailureSite no_staging_block{1001, 1, 4, 17};

} // namespace q32::buffer::site

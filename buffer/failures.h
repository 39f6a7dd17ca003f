// Failure sites of buffer records, cells and one-colour locks, in the order of the tables that
// support staff read: message, severity, module, point. Storage has its own table.
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

// Buffers over caller memory.
inline constexpr FailureSite caller_memory_no_point{5800, 0, 50, 61};

} // namespace q32::buffer::site

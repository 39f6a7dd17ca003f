// Failure sites of storage, swap files and their bookkeeping, in the order of the table that
// support staff read: message, severity, module, point.
#pragma once

#include "library/process/failure.h"

namespace q32::buffer::site {

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

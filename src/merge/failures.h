// Failure sites of merging, in the order of their points: message, severity, module, point. Filters
// and colour spaces report nothing.
#pragma once

#include "library/process/failure.h"

namespace q32::merge::site {

// Work rows of the HSV modes: of a run, of a rectangle.
inline constexpr FailureSite no_run_work_rows{1001, 2, 61, 1};
inline constexpr FailureSite no_rectangle_work_rows{1001, 2, 61, 2};

// Rectangles that do not meet.
inline constexpr FailureSite misses_image{4026, 2, 61, 3};
inline constexpr FailureSite misses_overlay{4026, 2, 61, 4};

// No copy of an overlay that is the result as well, by mode. Relief and multiply share a number.
inline constexpr FailureSite no_copy_normal{1001, 2, 61, 50};
inline constexpr FailureSite no_copy_lighten{1001, 2, 61, 51};
inline constexpr FailureSite no_copy_darken{1001, 2, 61, 52};
inline constexpr FailureSite no_copy_difference{1001, 2, 61, 53};
inline constexpr FailureSite no_copy_premultiplied_black{1001, 2, 61, 54};
inline constexpr FailureSite no_copy_premultiplied_white{1001, 2, 61, 55};
inline constexpr FailureSite no_copy_add{1001, 2, 61, 56};
inline constexpr FailureSite no_copy_subtract{1001, 2, 61, 57};
inline constexpr FailureSite no_copy_mask_subtract{1001, 2, 61, 58};
inline constexpr FailureSite no_copy_multiply{1001, 2, 61, 59};
inline constexpr FailureSite no_copy_relief{1001, 2, 61, 59};
inline constexpr FailureSite no_copy_screen{1001, 2, 61, 61};

} // namespace q32::merge::site

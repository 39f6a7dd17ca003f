// Failure sites of the display, in the order of their points: message, severity, module, point. All
// other failures of the display are silent.
#pragma once

#include "library/process/failure.h"

namespace q32::display::site {

inline constexpr FailureSite no_palette_to_copy{3200, 0, 5, 1};
inline constexpr FailureSite copy_not_created{3200, 1, 5, 2};
inline constexpr FailureSite no_palette_to_measure{3200, 1, 5, 3};

} // namespace q32::display::site

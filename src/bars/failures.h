// Failure sites of colour bars, in the order of their points: message, severity, module, point.
#pragma once

#include "library/process/failure.h"

namespace q32::bars::site {

// What can fail in a buffer, the same for each bar at points of its own.
struct BufferSites {
    FailureSite no_buffer;
    FailureSite wrong_pixels;
    FailureSite no_work_row;
};

inline constexpr BufferSites grey_bar{{1001, 1, 8, 1}, {3200, 1, 8, 2}, {1001, 1, 8, 3}};
inline constexpr BufferSites hue_field{{1001, 1, 8, 4}, {3200, 1, 8, 5}, {1001, 1, 8, 6}};
inline constexpr BufferSites colour_bar{{1001, 1, 8, 7}, {3200, 1, 8, 8}, {1001, 1, 8, 9}};

// On a device context.
inline constexpr FailureSite no_grey_row{1001, 1, 8, 10};
inline constexpr FailureSite no_hue_row{1001, 1, 8, 11};
inline constexpr FailureSite no_colour_row{1001, 1, 8, 12};

} // namespace q32::bars::site

// Failure sites of the row conversions, in the order of their points: message, severity, module,
// point.
#pragma once

#include "library/process/failure.h"

namespace q32::rows::site {

// Duplicating a memory handle.
inline constexpr FailureSite handle_discarded{1005, 0, 7, 1};
inline constexpr FailureSite handle_empty{3200, 0, 7, 2};
inline constexpr FailureSite no_duplicate{1001, 0, 7, 3};

// Arguments of the conversions.
inline constexpr FailureSite fill_arguments{3200, 0, 7, 4};
inline constexpr FailureSite exchange_arguments{3200, 0, 7, 5};
inline constexpr FailureSite invert_arguments{3200, 0, 7, 6};
inline constexpr FailureSite bit_to_byte_arguments{3200, 0, 7, 7};
inline constexpr FailureSite bit_to_flag_arguments{3200, 0, 7, 8};
inline constexpr FailureSite byte_to_bit_arguments{3200, 0, 7, 9};
inline constexpr FailureSite rgb888_to_555_arguments{3200, 0, 7, 10};
inline constexpr FailureSite rgb555_to_888_arguments{3200, 0, 7, 11};
inline constexpr FailureSite rgb888_to_565_arguments{3200, 0, 7, 12};
inline constexpr FailureSite rgb565_to_888_arguments{3200, 0, 7, 13};

} // namespace q32::rows::site

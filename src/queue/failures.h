// Failure sites of the queues: message, severity, module, point. All other failures are silent.
#pragma once

#include "library/process/failure.h"

namespace q32::queue::site {

inline constexpr FailureSite no_memory_for_job{1001, 0, 6, 9};

} // namespace q32::queue::site

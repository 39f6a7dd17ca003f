// Which row kernels this process runs.
#pragma once

#include "library/process/kernel_choice.h"
#include "rows/kernels/row_kernels.h"
#include "rows/kernels/scaling_kernels.h"

namespace q32::rows {

inline const RowKernels &kernels() {
    return *chosen_kernels<RowKernels>;
}
inline const ScalingKernels &scaling() {
    return *chosen_kernels<ScalingKernels>;
}

} // namespace q32::rows

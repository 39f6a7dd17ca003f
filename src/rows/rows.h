// Which row kernels this process runs. The choice is made once, at attach; before that the baseline
// forms serve.
#pragma once

#include "rows/kernels/row_kernels.h"
#include "rows/kernels/scaling_kernels.h"

namespace q32::rows {

void choose_kernels(InstructionSet level);
const RowKernels &kernels();
const ScalingKernels &scaling();

} // namespace q32::rows

// Which row kernels this process runs. The choice is made once, at attach; before that the baseline
// forms serve.
#pragma once

#include "rows/kernels/row_kernels.h"

namespace q32::rows {

void choose_kernels(InstructionSet level);
const RowKernels &kernels();

} // namespace q32::rows

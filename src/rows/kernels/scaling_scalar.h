// The scalar forms of scaling by whole factors: the meaning of each. Wide forms are compared with
// them and hand them what is too short for a step.
#pragma once

#include "rows/kernels/scaling_kernels.h"

namespace q32::rows {

RowScaling enlarge_bits, reduce_bits;
RowScaling enlarge_1, enlarge_2, enlarge_3, enlarge_4, enlarge_3_swapped;
RowScaling reduce_1, reduce_2, reduce_3, reduce_4, reduce_3_swapped;

} // namespace q32::rows

// Colour rows under the normal rule. They are compiled apart from the other blends: which of so
// many small functions the compiler makes part of another changes with each that there is.
#pragma once

#include "merge/kernels/blend_kernels.h"

namespace q32::merge {

MaskedRowsBlend avx2_divided_normal_rows, avx2_shifted_normal_rows, avx512_divided_normal_rows,
    avx512_shifted_normal_rows;

} // namespace q32::merge

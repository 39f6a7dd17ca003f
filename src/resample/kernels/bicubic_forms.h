// The wide forms of bicubic interpolation as a table, for vectors V.
//
// Private to the file that includes it, as bicubic_plan.h.
#pragma once

#include "resample/kernels/bicubic_across.h"
#include "resample/kernels/bicubic_down.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {
namespace {

template <class V>
constexpr MethodKernels wide_bicubic = {
    .lines = lines_down,
    .first_line = -1,
    .plan_bytes = plan_bytes,
    .line_bytes = line_bytes,
    .make_plan = make_plan,
    .across = across<V>,
    .down = down<V>,
    .down_rows = nullptr, // two at once need more registers than there are
};

} // namespace
} // namespace q32::resample

// The wide bilinear kernels, written once for vectors of 16 and of 32 bytes.
//
// Private to the file that includes it, as vectors.h.
#pragma once

// There are eight registers: sums that the compiler reorders, and constants that it keeps, would be
// spilled at every step, which costs twice the time.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("live-range-shrinkage", "no-tree-reassoc")
#endif

#include "resample/kernels/bilinear_across.h"
#include "resample/kernels/bilinear_down.h"

namespace q32::resample {
namespace {

template <class V>
constexpr MethodKernels bilinear_wide{2,         0,         plan_bytes, line_bytes,
                                      make_plan, across<V>, down<V>,    down_rows<V>};

} // namespace
} // namespace q32::resample

// The kernels of each method and instruction set, for the list of them in resample_kernels.cpp.
#pragma once

#include "resample/kernels/resample_kernels.h"

namespace q32::resample {

extern const NearestKernels nearest_scalar;
extern const NearestKernels nearest_sse2;
extern const NearestKernels nearest_sse41;
extern const NearestKernels nearest_avx2;
extern const NearestKernels nearest_avx512;

extern const InterpolationKernels bilinear_scalar;
extern const InterpolationKernels bilinear_sse2;
extern const InterpolationKernels bilinear_sse41;
extern const InterpolationKernels bilinear_avx2;

extern const InterpolationKernels bicubic_scalar;
extern const InterpolationKernels bicubic_sse2;
extern const InterpolationKernels bicubic_sse41;
extern const InterpolationKernels bicubic_avx2;

} // namespace q32::resample

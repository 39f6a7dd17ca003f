// The chooser: which kernels an instruction set runs.
#include "resample/kernels/resample_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::resample {
namespace {

constexpr ResampleKernels sse2_kernels{&sse2_nearest_kernels, &sse2_bilinear_kernels,
                                       &sse2_bicubic_kernels};
constexpr ResampleKernels sse41_kernels{&sse41_nearest_kernels, &sse41_bilinear_kernels,
                                        &sse41_bicubic_kernels};
constexpr ResampleKernels avx2_kernels{&avx2_nearest_kernels, &avx2_bilinear_kernels,
                                       &avx2_bicubic_kernels};
constexpr ResampleKernels avx512_kernels{&avx512_nearest_kernels, &avx512_bilinear_kernels,
                                         &avx2_bicubic_kernels};

} // namespace

constexpr ResampleKernels scalar_resample_kernels{&scalar_nearest_kernels, &scalar_bilinear_kernels,
                                                  &scalar_bicubic_kernels};

const ResampleKernels &resample_kernels(InstructionSet level) {
    return choose(level, sse2_kernels, sse41_kernels, avx2_kernels, avx512_kernels);
}

} // namespace q32::resample

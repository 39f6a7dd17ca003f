// The chooser: which kernels an instruction set runs.
#include "library/process/kernel_choice.h"
#include "resample/kernels/resample_tables.h"

namespace q32::resample {
namespace {

const ResampleKernels sse2_kernels{&nearest_sse2, &bilinear_sse2, &bicubic_sse2};
const ResampleKernels sse41_kernels{&nearest_sse41, &bilinear_sse41, &bicubic_sse41};
const ResampleKernels avx2_kernels{&nearest_avx2, &bilinear_avx2, &bicubic_avx2};
const ResampleKernels avx512_kernels{&nearest_avx512, &bilinear_avx2, &bicubic_avx2};

} // namespace

const ResampleKernels scalar_resample_kernels{&nearest_scalar, &bilinear_scalar, &bicubic_scalar};

const ResampleKernels &resample_kernels(InstructionSet level) {
    return choose(level, sse2_kernels, sse41_kernels, avx2_kernels, avx512_kernels);
}

} // namespace q32::resample

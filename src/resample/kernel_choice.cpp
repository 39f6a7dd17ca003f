// The kernels that were chosen at attach.
#include "resample/resample.h"

namespace q32::resample {
namespace {

const ResampleKernels *chosen;

} // namespace

void choose_kernels(InstructionSet level) {
    chosen = &resample_kernels(level);
}

const ResampleKernels &kernels() {
    return *chosen;
}

} // namespace q32::resample

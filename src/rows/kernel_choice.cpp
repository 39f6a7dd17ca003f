// The choice of row kernels that all exports of this folder share.
#include "rows/rows.h"

namespace q32::rows {
namespace {

constinit const RowKernels *chosen = &sse2_row_kernels;
constinit const ScalingKernels *chosen_scaling = &sse2_scaling_kernels;

} // namespace

void choose_kernels(InstructionSet level) {
    chosen = &row_kernels(level);
    chosen_scaling = &scaling_kernels(level);
}

const RowKernels &kernels() {
    return *chosen;
}

const ScalingKernels &scaling() {
    return *chosen_scaling;
}

} // namespace q32::rows

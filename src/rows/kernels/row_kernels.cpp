// The chooser: which table of row conversions an instruction set runs.
#include "rows/kernels/row_kernels.h"
#include "library/process/kernel_choice.h"

namespace q32::rows {

const RowKernels &row_kernels(InstructionSet level) {
    return choose(level, sse2_row_kernels, sse41_row_kernels, avx2_row_kernels, avx512_row_kernels);
}

} // namespace q32::rows

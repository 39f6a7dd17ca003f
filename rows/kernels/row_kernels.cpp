// The chooser: which form of each conversion an instruction set runs. Each table begins as the one
// below it and replaces what it has a faster form of.
#include "rows/kernels/scalar.h"

#if defined(__SSE3__) || defined(__AVX__)
#error "Compile this file for the baseline: it runs before the processor has been looked at."
#endif

namespace q32::rows {
namespace {

constexpr RowKernels sse2_table = scalar_row_kernels;

} // namespace

const RowKernels &row_kernels(InstructionSet) {
    return sse2_table;
}

} // namespace q32::rows

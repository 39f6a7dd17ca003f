// Runs of bits for the baseline, 16 bytes at a time.
#include "rows/kernels/bit_run_steps.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

void copy_bit_rows_sse2(uint8_t *destination, size_t destination_stride, size_t destination_bit,
                        const uint8_t *source, size_t source_stride, size_t source_bit, size_t bits,
                        size_t rows) {
    copy_bit_runs<V16>(destination, destination_stride, destination_bit, source, source_stride,
                       source_bit, bits, rows);
}

} // namespace q32::rows

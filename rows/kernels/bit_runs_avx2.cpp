// Runs of bits for AVX2, 32 bytes at a time.
#include "rows/kernels/bit_run_steps.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

void copy_bits_avx2(uint8_t *destination, size_t destination_bit, const uint8_t *source,
                    size_t source_bit, size_t bits) {
    copy_bit_run<V32>(destination, destination_bit, source, source_bit, bits);
}

} // namespace q32::rows

// Rows of bytes between two strides for AVX2, 32 bytes at a time.
#include "rows/kernels/copy_row_steps.h"
#include "rows/kernels/wide.h"

namespace q32::rows {

void copy_rows_avx2(uint8_t *destination, size_t destination_stride, const uint8_t *source,
                    size_t source_stride, size_t row_bytes, size_t rows) {
    copy_strided_rows<V32>(
        {destination, destination_stride, source, source_stride, row_bytes, rows});
}

} // namespace q32::rows

// Rows of bytes between two strides, in their scalar form.
#include "rows/kernels/scalar.h"

#include <cstring>

namespace q32::rows {

void copy_rows(std::uint8_t *destination, std::size_t destination_stride,
               const std::uint8_t *source, std::size_t source_stride, std::size_t row_bytes,
               std::size_t rows) {
    for (; rows != 0; --rows, destination += destination_stride, source += source_stride)
        std::memcpy(destination, source, row_bytes);
}

} // namespace q32::rows

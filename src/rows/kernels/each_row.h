// The walk from row to row.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/scaling_kernels.h"

namespace q32::rows {
namespace {

template <class Work>
inline void each_row(const ScaledRows &all, const Work &work) {
    std::uint8_t *destination = all.destination;
    const std::uint8_t *source = all.source;
    const std::size_t destination_stride = all.destination_stride,
                      source_stride = all.source_stride;
    for (std::size_t left = all.rows; left != 0; --left) {
        work(destination, source);
        destination += destination_stride;
        source += source_stride;
    }
}

} // namespace
} // namespace q32::rows

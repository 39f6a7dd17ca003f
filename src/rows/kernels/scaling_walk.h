// How the steps of enlarging and reducing pixels are walked.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/each_row.h"
#include "simd/walk.h"

namespace q32::rows {
namespace {

// Rows of at least one step.
template <class Step>
inline void convert_each_row(const ScaledRows &all, size_t units, const Step &step) {
    each_row(all, [&](uint8_t *destination, const uint8_t *source) {
        walk(units, ConversionStep<Step>{destination, source, step});
    });
}

} // namespace
} // namespace q32::rows

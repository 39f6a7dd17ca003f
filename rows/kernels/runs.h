// How a run is walked in steps of several vectors: the one place that knows about ends. Which step,
// and what it does with its pixels, is the kernels' part.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/row_kernels.h"
#include "simd/operations.h"

namespace q32::rows {
namespace {

// Walks a run in whole steps. The last step is moved back so that it ends with the run; what it
// covers twice comes out the same, because it is loaded before anything is stored: that also keeps
// runs in place right. A run shorter than one step goes to the shorter form.
//
// A step has
//   units                           how many units (pixels; groups of eight for bits) it converts
//   source_bytes, destination_bytes of one unit
//   Loaded load(source), store(destination, Loaded)
template <class Step, class Shorter>
inline void run(uint8_t *destination, const uint8_t *source, size_t units, const Step &step,
                Shorter shorter) {
    if (units < Step::units) {
        shorter(destination, source, units);
        return;
    }
    const size_t last = units - Step::units;
    const auto last_loaded = step.load(source + last * Step::source_bytes);
    uint8_t *const last_destination = destination + last * Step::destination_bytes;

    for (size_t done = 0; done < last; done += Step::units) {
        step.store(destination, step.load(source));
        destination += Step::units * Step::destination_bytes;
        source += Step::units * Step::source_bytes;
    }
    step.store(last_destination, last_loaded);
}

// The same for rows of bits: the bytes of eight pixels are the units, and the pixels of a last,
// incomplete byte go to the scalar form.
template <class Step>
inline void run_bits(uint8_t *destination, const uint8_t *source, size_t pixels, uint8_t value,
                     BitConversion *shorter, BitConversion *scalar) {
    const size_t groups = pixels / 8;
    run(destination, source, groups, Step(value),
        [=](uint8_t *to, const uint8_t *from, size_t count) {
            shorter(to, from, 8 * count, value);
        });
    if (pixels % 8 != 0)
        scalar(destination + groups * Step::destination_bytes, source + groups * Step::source_bytes,
               pixels % 8, value);
}

} // namespace
} // namespace q32::rows

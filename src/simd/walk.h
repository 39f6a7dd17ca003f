// How a run is walked in steps of several vectors: the one place that knows about ends. Which step,
// and what it makes of its pixels, is the kernels' part.
//
// The rule for all tables of AVX2: runs that are too short for 32 bytes are made 16 bytes at a time
// by forms of the same file, never by those for SSE2 or SSE4.1. 32-bit programs on some processors
// run instructions of that encoding at a quarter of their speed once the upper halves of registers
// have been used, whatever has cleared them since.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "simd/vectors.h"

namespace q32 {
inline namespace simd {
namespace {

// Walks a run of at least one step. The last step is moved back so that it ends with the run; what
// it covers twice comes out the same, because it is taken out of memory before anything is stored:
// that also keeps runs in place right. The step is a copy, so that stores of bytes cannot be taken
// to change it.
//
// A step has
//   units            how many units (pixels, samples, groups of eight for bits) it makes
//   make(at)         makes those from unit `at` on
//   held(at)         what they are made of, or their results
//   make(at, held)   the same out of that
template <class Step>
inline void walk(size_t units, const Step step) {
    const size_t last = units - Step::units;
    const auto last_held = step.held(last);
    for (size_t at = 0; at < last; at += Step::units)
        step.make(at);
    step.make(last, last_held);
}

// Walks a run of at least one step where a step that is moved back is not like the others: they are
// made by make(at), and it, if there is one, by make_last(at). The runs do not overlap.
template <size_t step_units, class Make, class MakeLast>
inline void walk_apart(size_t units, Make make, MakeLast make_last) {
    const size_t last = units - step_units;
    size_t at = 0;
    for (; at <= last; at += step_units)
        make(at);
    if (at < units)
        make_last(last);
}

// A step of a conversion from one run to another, which has
//   units
//   source_bytes, destination_bytes of one unit
//   Loaded load(source), store(destination, Loaded)
//   bytes_ahead, if the source is to be asked for: one that computes much for a step keeps the
//   processor from seeing far enough ahead by itself
template <class Conversion>
struct ConversionStep {
    static constexpr size_t units = Conversion::units;

    uint8_t *destination;
    const uint8_t *source;
    const Conversion &conversion;

    typename Conversion::Loaded held(size_t at) const {
        return conversion.load(source + at * Conversion::source_bytes);
    }
    void make(size_t at, const typename Conversion::Loaded &loaded) const {
        conversion.store(destination + at * Conversion::destination_bytes, loaded);
    }
    void make(size_t at) const {
        if constexpr (requires { Conversion::bytes_ahead; })
            prefetch<units * Conversion::source_bytes>(source + at * Conversion::source_bytes +
                                                       Conversion::bytes_ahead);
        make(at, held(at));
    }
};

// A run that is shorter than a step goes to the shorter form.
template <class Conversion, class Shorter>
inline void convert_run(uint8_t *destination, const uint8_t *source, size_t units,
                        const Conversion &conversion, Shorter shorter) {
    if (units < Conversion::units)
        shorter(destination, source, units);
    else
        walk(units, ConversionStep<Conversion>{destination, source, conversion});
}

} // namespace
} // namespace simd
} // namespace q32

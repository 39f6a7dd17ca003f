// Rows of bytes made darker, as plain functions over pointers and counts, one table of them for
// each instruction set. Checks no argument, reports nothing; that is the part of whoever calls.
//
// Every form gives the bytes of its scalar form, for all inputs, lengths and alignments. It reads
// no byte outside the source run and writes none outside the destination run, which may begin at
// the same address; otherwise the runs must not overlap. A count of 0 does nothing.
#pragma once

#include "library/process/cpu.h"

#include <cstddef>
#include <cstdint>

namespace q32::sample {

// max(s - amount, 0)
using Dimming = void(std::uint8_t *destination, const std::uint8_t *source, std::size_t samples,
                     std::uint8_t amount);

struct DimKernels {
    Dimming *dim;
};

// One table for each instruction set. The scalar one is the reference and reads like the rule; the
// forms of the others hand runs that are too short for them to the next narrower one.
extern const DimKernels scalar_dim_kernels, sse2_dim_kernels, avx2_dim_kernels, avx512_dim_kernels;

// The fastest forms that need no more than this instruction set.
const DimKernels &dim_kernels(InstructionSet level);

// The table of forms that have the names of its entries.
template <class Forms>
constexpr DimKernels dim_table() {
    return {.dim = Forms::dim};
}

} // namespace q32::sample

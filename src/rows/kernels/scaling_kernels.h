// Rows enlarged and reduced by whole factors, as plain functions over pointers and counts, one
// table of them for each instruction set. Rows that are repeated, checks and odd factors of callers
// are the exports' part.
//
// Every form gives the bytes of its scalar form, for all inputs, counts, factors and alignments. It
// reads no byte outside the source rows and writes none outside the destination rows.
#pragma once

#include "library/process/cpu.h"

#include <cstddef>
#include <cstdint>

namespace q32::rows {

// Rows of equal length: how they are made is decided once for all of them. Source and destination
// never overlap. Counts of 0 are allowed and do nothing; factors are 1 or more.
struct ScaledRows {
    std::uint8_t *destination;
    std::size_t destination_stride;
    const std::uint8_t *source;
    std::size_t source_stride;
    std::size_t rows;
    std::size_t pixels; // of a source row
    std::size_t factor;
};
using RowScaling = void(const ScaledRows &rows);

// Pixels move as a whole; those of the last kind have their first and third byte exchanged.
enum class PixelKind { one_byte, two_bytes, three_bytes, four_bytes, three_bytes_swapped };
inline constexpr std::size_t pixel_kinds = 5;

struct ScalingKernels {
    // Each pixel `factor` times. A destination row of bits ends with its last byte, whose bits
    // behind the last pixel are cleared.
    RowScaling *enlarge_bits;
    RowScaling *enlarge[pixel_kinds];

    // The first pixel of each group of `factor`; the last group may be incomplete. Of swapped
    // pixels bytes 2 and 1 are the last pixel's of the group, which is read whole even there.
    RowScaling *reduce_bits;
    RowScaling *reduce[pixel_kinds];
};

// One table for each instruction set. The scalar one is the reference, where every function reads
// like its rule; the forms of the others hand rows that are too short for them to narrower ones.
extern const ScalingKernels scalar_scaling_kernels, sse2_scaling_kernels, sse41_scaling_kernels,
    avx2_scaling_kernels, avx512_scaling_kernels;

// The fastest forms that need no more than this instruction set.
const ScalingKernels &scaling_kernels(InstructionSet level);

} // namespace q32::rows

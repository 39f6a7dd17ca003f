// Resampling as plain functions over pointers and counts, in two stages: a source row is brought to
// the destination's columns once (across), and a destination row is made of one such line or of
// several (down). One table for each instruction set. Checks no argument, reports nothing,
// allocates nothing; that is the drivers' part. row_window.h keeps lines from one destination row
// to the next.
//
// Every form gives the bytes of its scalar form, for all inputs, lengths and alignments. It reads
// no byte outside the source row that it is given and writes none outside its destination row.
#pragma once

#include "library/process/cpu.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace q32::resample {

// Where destination pixels lie in the source, along one axis: `count` of them, one after another.
// An index beyond the source at hand reads its nearest edge. Fractions are 16-bit (0 to 65535) for
// bilinear and 8-bit (0 to 255) for bicubic interpolation; bits above are ignored. Nearest
// neighbour has none.
struct Positions {
    const std::int32_t *index;
    const std::int32_t *fraction;
    std::size_t count;
};

// The part of the source that is at hand along one axis: `count` pixels (at least 1) from pixel
// `first` of the image on. It ends where the image ends, or beyond what is read.
struct Extent {
    int first;
    int count;

    int last() const { return first + count - 1; }
    int cut(int pixel) const { return std::clamp(pixel, first, last()); }
};

// Plans and lines begin at addresses that this divides.
inline constexpr std::size_t work_alignment = 64;

constexpr std::size_t round_up_to_work_alignment(std::size_t bytes) {
    return (bytes + work_alignment - 1) / work_alignment * work_alignment;
}
inline void *first_aligned(void *work) {
    const auto address = reinterpret_cast<std::uintptr_t>(work);
    return static_cast<std::byte *>(work) + (round_up_to_work_alignment(address) - address);
}

// A plan is what the columns of a destination row look like to the kernels, made once and used for
// all rows; the kernels keep scratch in it, so it serves one thread at a time. Plan, line and the
// functions belong together: those of one instruction set do not understand another's.

// Nearest neighbour: pixels of 1 to 8 bytes. Lines are destination rows.
struct NearestKernels {
    std::size_t (*plan_bytes)(std::size_t columns, int pixel_bytes);
    void (*make_plan)(void *plan, const Positions &columns, Extent source, int pixel_bytes);
    // source_row points at pixel source.first.
    void (*across)(std::uint8_t *destination, void *plan, const std::uint8_t *source_row);
};

// Interpolation between pixels of 1, 3 or 4 samples.
inline constexpr int most_lines = 4;
struct InterpolationKernels {
    int lines;      // source rows of which a destination row is made: 2 or 4, a power of two
    int first_line; // the first of them, from the row's index on
    std::size_t (*plan_bytes)(std::size_t columns, int samples);
    std::size_t (*line_bytes)(std::size_t columns, int samples);
    void (*make_plan)(void *plan, const Positions &columns, Extent source, int samples);
    void (*across)(void *line, void *plan, const std::uint8_t *source_row);
    // The lines from top to bottom; some may be the same.
    void (*down)(std::uint8_t *destination, void *plan, const void *const *lines, int row_fraction);
    // Several destination rows of the same lines, `stride` bytes apart, faster than one by one; or
    // null.
    void (*down_rows)(std::uint8_t *destination, std::size_t stride, void *plan,
                      const void *const *lines, const std::int32_t *row_fractions,
                      std::size_t rows);
};

struct ResampleKernels {
    const NearestKernels &nearest;
    const InterpolationKernels &bilinear;
    const InterpolationKernels &bicubic;
};

// The reference: reads like the rules. No instruction set chooses this table.
extern const ResampleKernels scalar_resample_kernels;

// The fastest forms that need no more than this instruction set.
const ResampleKernels &resample_kernels(InstructionSet level);

} // namespace q32::resample

// Resampling as plain functions over pointers and counts, in two stages: a source row is brought to
// the destination's columns once (across), and a destination row is made of one such line or of
// several (down). One table for each instruction set. Checks no argument, reports nothing,
// allocates nothing; that is the drivers' part. row_resampler.h keeps lines from one destination
// row to the next.
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
    const std::int32_t *fraction; // null: none
    std::size_t count;

    Positions part(std::size_t begin, std::size_t end) const {
        return {index + begin, fraction != nullptr ? fraction + begin : nullptr, end - begin};
    }
};

// The part of the source that is at hand along one axis: `count` pixels (at least 1) from pixel
// `first` of the image on. It ends where the image ends, or beyond what is read.
struct Span {
    int first;
    int count;

    int last() const { return first + count - 1; }
    int cut(int pixel) const { return std::clamp(pixel, first, last()); }
    int distance(int pixel) const { return cut(pixel) - first; } // from the first pixel at hand
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

// Rows of a source one below the other, from the first of the span on.
struct SourceBand {
    const std::uint8_t *pixels;
    std::size_t stride; // bytes from row to row
    Span rows;

    const std::uint8_t *row(int y) const { return pixels + std::size_t(rows.distance(y)) * stride; }
};

// Rows of a source wherever each lies: row[0] is row `first`.
struct SourceRowList {
    const std::uint8_t *const *row;
    int first;
    Span all; // to which rows are cut

    const std::uint8_t *operator[](int y) const { return row[y - first]; }
};

// Rows of a destination one below the other that are made of the same source row, and where that
// begins.
struct AlikeRows {
    const std::uint8_t *source;
    std::size_t count;
};

// Kernels for source rows that lie in cells beside each other: pixel i is pixel i % cell_pixels of
// cell i / cell_pixels, and the rows of neighbouring cells begin cell_stride bytes apart. Only
// those cells' rows are read of which there are pixels in the plan.
struct CellKernels {
    std::size_t (*plan_bytes)(std::size_t columns, int pixel_bytes);
    // Of the pixels with these indices.
    void (*make_plan)(void *plan, const std::int32_t *indices, std::size_t columns,
                      std::size_t cell_pixels, int pixel_bytes);
    // Rows `stride` bytes apart, `count` times some that are alike. The source is where the row
    // begins in cell 0.
    void (*make_rows)(std::uint8_t *destination, std::size_t stride, void *plan,
                      std::size_t cell_stride, const AlikeRows *rows, std::size_t count);
    // Pixels of more bytes are made faster one row after another: of more than these when they are
    // reduced, of more than one otherwise.
    int widest_reduced;
};

// The kernels of a method. Interpolation is of pixels of 1, 3 or 4 samples; nearest neighbour takes
// pixels of 1 to 8 bytes, each of which counts as a sample.
inline constexpr int most_lines = 4;

// The lines that were made last, and of which rows of the source. Rows that are read together are
// neighbours and have slots of their own.
struct KeptLines {
    static constexpr int no_row = -1;

    void *line[most_lines];
    int row[most_lines] = {no_row, no_row, no_row, no_row};

    static int slot_of(int row, int lines) { return row & (lines - 1); }
};

struct MethodKernels {
    int lines = 1;      // source rows of which a destination row is made: 1, 2 or 4
    int first_line = 0; // the first of them, from the row's index on
    std::size_t (*plan_bytes)(std::size_t columns, int samples);
    std::size_t (*line_bytes)(std::size_t columns, int samples) = nullptr;
    void (*make_plan)(void *plan, const Positions &columns, Span source, int samples);
    // source_row points at pixel source.first.
    void (*across)(void *line, void *plan, const std::uint8_t *source_row);
    // Where the one line is the destination row: several of them, `stride` bytes apart, each of the
    // source row that its index says. Faster than one by one where rows are short.
    void (*across_rows)(std::uint8_t *destination, std::size_t stride, void *plan,
                        const SourceBand &source, const std::int32_t *row_indices,
                        std::size_t rows) = nullptr;
    // The lines from top to bottom; some may be the same. Null where the one line is the
    // destination row: then it has no bytes of its own.
    void (*down)(std::uint8_t *destination, void *plan, const void *const *lines,
                 int row_fraction) = nullptr;
    // Several destination rows of the same lines, `stride` bytes apart, faster than one by one; or
    // null.
    void (*down_rows)(std::uint8_t *destination, std::size_t stride, void *plan,
                      const void *const *lines, const std::int32_t *row_fractions,
                      std::size_t rows) = nullptr;
    // The same and the lines, for rows all of whose source rows are in the list: what a call costs
    // beside a row of a hundred bytes is paid once for all; or null.
    void (*make_rows)(std::uint8_t *destination, std::size_t stride, void *plan, KeptLines &lines,
                      const SourceRowList &source, const Positions &rows) = nullptr;
    // One destination row out of the source rows themselves, faster than by lines that no other
    // row needs; or null. False, and nothing done: this plan has no such way.
    bool (*straight)(std::uint8_t *destination, void *plan, const std::uint8_t *const *source_rows,
                     int row_fraction) = nullptr;
    // Where lines are destination rows: out of cells; or null.
    const CellKernels *in_cells = nullptr;
};

// One table for each method and instruction set. The scalar ones are the reference and read like
// the rules.
extern const MethodKernels scalar_nearest_kernels, sse2_nearest_kernels, sse41_nearest_kernels,
    avx2_nearest_kernels, avx512_nearest_kernels;
extern const MethodKernels scalar_bilinear_kernels, sse2_bilinear_kernels, sse41_bilinear_kernels,
    avx2_bilinear_kernels, avx512_bilinear_kernels;
extern const MethodKernels scalar_bicubic_kernels, sse2_bicubic_kernels, sse41_bicubic_kernels,
    avx2_bicubic_kernels;

// What an instruction set runs: a column for each method.
struct ResampleKernels {
    const MethodKernels *nearest;
    const MethodKernels *bilinear;
    const MethodKernels *bicubic;
};

extern const ResampleKernels scalar_resample_kernels; // no instruction set chooses this one

// The fastest forms that need no more than this instruction set.
const ResampleKernels &resample_kernels(InstructionSet level);

} // namespace q32::resample

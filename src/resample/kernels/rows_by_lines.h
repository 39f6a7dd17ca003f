// Destination rows by lines in one call: how interpolation goes from row to row, with the steps of
// a plan put in. What depends on the plan alone is chosen before.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/resample_kernels.h"

namespace q32::resample {
namespace {

// The steps are a struct with
//   lines, first_line
//   across(line, source_row)
//   down(destination, stride, lines, row_fractions, rows)
//   straight(destination, stride, above, below, row_fractions, rows)
// which last, if it is there, may make rows straight out of two source rows; false if it does not.
template <class Steps>
void make_rows_by_lines(std::uint8_t *destination, std::size_t stride, KeptLines &kept,
                        const SourceRowList &source, const Positions &rows, const Steps &steps) {
    const Span all = source.all;
    for (std::size_t y = 0, next; y < rows.count; y = next) {
        const int row = all.cut(rows.index[y]);
        for (next = y + 1; next < rows.count && all.cut(rows.index[next]) == row;)
            ++next;
        std::uint8_t *const first = destination + y * stride;
        if constexpr (requires { &Steps::straight; })
            if (steps.straight(first, stride, source[row], source[all.cut(row + 1)],
                               rows.fraction + y, next - y))
                continue;
        const void *lines[Steps::lines];
        for (int i = 0; i < Steps::lines; ++i) {
            const int read = all.cut(row + Steps::first_line + i);
            const int slot = KeptLines::slot_of(read, Steps::lines);
            if (kept.row[slot] != read) {
                steps.across(kept.line[slot], source[read]);
                kept.row[slot] = read;
            }
            lines[i] = kept.line[slot];
        }
        steps.down(first, stride, lines, rows.fraction + y, next - y);
    }
}

} // namespace
} // namespace q32::resample

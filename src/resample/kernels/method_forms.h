// What the forms of all methods are made with: the table of an instruction set, the scalar forms'
// plan, and the samples of a pixel as a constant.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <new>
#include <type_traits>

namespace q32::resample {

// The forms are a struct with
//   plan_bytes, make_plan, across
//   lines, first_line, line_bytes, down   unless the one line is the destination row; then
//   across_rows
//   down_rows, make_rows, straight, in_cells   if there are such
template <class Forms>
constexpr MethodKernels method_kernels() {
    MethodKernels kernels{};
    kernels.plan_bytes = Forms::plan_bytes;
    kernels.make_plan = Forms::make_plan;
    kernels.across = Forms::across;
    if constexpr (requires { Forms::down; }) {
        kernels.lines = Forms::lines;
        kernels.first_line = Forms::first_line;
        kernels.line_bytes = Forms::line_bytes;
        kernels.down = Forms::down;
    } else {
        kernels.across_rows = Forms::across_rows;
    }
    if constexpr (requires { Forms::down_rows; })
        kernels.down_rows = Forms::down_rows;
    if constexpr (requires { Forms::make_rows; })
        kernels.make_rows = Forms::make_rows;
    if constexpr (requires { Forms::straight; })
        kernels.straight = Forms::straight;
    if constexpr (requires { Forms::in_cells; })
        kernels.in_cells = &Forms::in_cells;
    return kernels;
}

// Followed by what the scalar forms know of each column of a destination row.
template <class Column>
struct ScalarPlan {
    std::size_t columns;
    int samples; // of a pixel

    Column *column() { return reinterpret_cast<Column *>(this + 1); }

    static std::size_t bytes(std::size_t columns, int) {
        return sizeof(ScalarPlan) + columns * sizeof(Column);
    }
};

// Calls use with the samples of a pixel, 1, 3 or 4, as an integral constant.
template <class Use>
void with_samples(int samples, const Use &use) {
    switch (samples) {
    case 1:
        return use(std::integral_constant<int, 1>());
    case 3:
        return use(std::integral_constant<int, 3>());
    default:
        return use(std::integral_constant<int, 4>());
    }
}

} // namespace q32::resample

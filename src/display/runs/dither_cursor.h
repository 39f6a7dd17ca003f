// Where a run is in the matrix that it dithers with.
#pragma once

#include "display/kernels/dither_matrices.h"
#include "display/kernels/show_kernels.h"

namespace q32::display {

// A matrix of any side up to 8 that divides 8.
struct MatrixView {
    const std::uint8_t *thresholds;
    int side;
};

template <int side>
constexpr MatrixView view(const Matrix<side> &matrix) {
    return {matrix.data(), side};
}

// The matrix turned so that its first column is that of the run's first pixel, and the row of the
// run's next row. Smaller matrices are repeated.
class DitherCursor {
public:
    // The place of the run's first pixel; its lower bits decide.
    DitherCursor(const MatrixView &matrix, int x, int y) : row_(y & last) {
        for (int row = 0; row <= last; ++row)
            for (int column = 0; column <= last; ++column) {
                const int turned = (column + (x & last)) % matrix.side;
                rows_[row][column] = matrix.thresholds[row % matrix.side * matrix.side + turned];
            }
    }

    const Thresholds &row() const { return rows_[row_]; }
    void advance() { row_ = (row_ + 1) & last; }

private:
    static constexpr int last = 7;

    std::array<Thresholds, last + 1> rows_;
    int row_;
};

} // namespace q32::display

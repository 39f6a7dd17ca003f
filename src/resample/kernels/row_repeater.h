// The walk of nearest neighbour, the counterpart of RowWindow and used alike: each source row
// becomes a destination row once, which is copied where it comes again.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <cstring>

namespace q32::resample {

class RowRepeater {
public:
    // Bytes of work memory, wherever it begins.
    static std::size_t work_bytes(const NearestKernels &kernels, std::size_t columns,
                                  int pixel_bytes) {
        return work_alignment + kernels.plan_bytes(columns, pixel_bytes);
    }

    RowRepeater(const NearestKernels &kernels, void *work, const Positions &columns,
                Extent source_columns, int pixel_bytes)
        : kernels_(kernels), plan_(first_aligned(work)),
          row_bytes_(columns.count * std::size_t(pixel_bytes)) {
        kernels.make_plan(plan_, columns, source_columns, pixel_bytes);
    }

    // The row made last must still be there, unless it is to be made again in the same place.
    template <typename Fetch>
    bool make_row(std::uint8_t *destination, int row_index, int, Extent source_rows,
                  const Fetch &fetch) {
        const int source_row = source_rows.cut(row_index);
        if (last_ == nullptr || source_row != source_row_of_last_) {
            const std::uint8_t *pixels = fetch(source_row);
            if (pixels == nullptr)
                return false;
            kernels_.across(destination, plan_, pixels);
        } else if (last_ != destination) {
            std::memcpy(destination, last_, row_bytes_);
        }
        last_ = destination;
        source_row_of_last_ = source_row;
        return true;
    }

    // The same for rows one after another, `stride` bytes apart.
    template <typename Fetch>
    bool make_rows(std::uint8_t *destination, std::size_t stride, const Positions &rows,
                   Extent source_rows, const Fetch &fetch) {
        for (std::size_t y = 0; y < rows.count; ++y)
            if (!make_row(destination + y * stride, rows.index[y], 0, source_rows, fetch))
                return false;
        return true;
    }

private:
    const NearestKernels &kernels_;
    void *plan_;
    std::size_t row_bytes_;
    const std::uint8_t *last_ = nullptr;
    int source_row_of_last_ = 0;
};

} // namespace q32::resample

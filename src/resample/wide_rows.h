// How 5-5-5 pixels are resampled as 24-bit ones: source rows are widened when they are read, and
// destination rows narrowed when they are made.
#pragma once

#include "resample/kernels/row_resampler.h"
#include "rows/rows.h"

namespace q32::resample {

inline constexpr int wide_pixel_bytes = 3;

// A 24-bit row of the source and one of the destination.
struct WideRows {
    std::uint8_t *source;
    std::uint8_t *destination;
    std::size_t source_columns;
    std::size_t columns;

    // RowResampler::make_row by way of these.
    template <typename Fetch>
    bool make_row(RowResampler &resampler, std::uint8_t *row, std::int32_t row_index,
                  std::int32_t row_fraction, Span source_rows, const Fetch &fetch) const {
        const auto widened = [&](int y) -> const std::uint8_t * {
            const std::uint8_t *const stored = fetch(y);
            if (stored == nullptr)
                return nullptr;
            rows::kernels().rgb555_to_888(source, stored, source_columns);
            return source;
        };
        if (!resampler.make_row(destination, row_index, row_fraction, source_rows, widened))
            return false;
        rows::kernels().rgb888_to_555(row, destination, columns);
        return true;
    }
};

} // namespace q32::resample

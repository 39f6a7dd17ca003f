// In which order pixels are merged where result, overlay and mask lie in one memory: rows from top
// to bottom, pixels from left to right, and what a pixel reads is what the pixels before it have
// written. Knows nothing of what a mode makes of a pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace q32::test::model {

// What is read before anything of it is written.
enum class Unit {
    sample, // each sample reads what the one before it has written
    pixel,  // whole pixels, where the processor has MMX
    row,    // the modes by colour go through rows of memory of their own
};

inline Unit unit_of_rectangle(int mode, int bytes, bool mmx) {
    if (mode >= 2 && mode <= 5)
        return Unit::row;
    return mode == 1 && bytes == 3 && mmx ? Unit::pixel : Unit::sample;
}

// Rows of pixels or of mask bytes anywhere in memory; at null there are none.
struct Rows {
    std::uint8_t *at = nullptr;
    std::ptrdiff_t stride = 0;

    std::uint8_t *row(std::size_t y) const {
        return at == nullptr ? nullptr : at + std::ptrdiff_t(y) * stride;
    }
};

// merge(pixel, mask, overlay) merges one pixel onto the base, which the pixel holds; a null mask is
// none. What mask and overlay point to may be a copy.
template <class Merge>
void merge_pixel_in_order(std::uint8_t *pixel, const std::uint8_t *mask,
                          const std::uint8_t *overlay, std::size_t bytes, Unit unit, Merge merge) {
    const std::uint8_t weight = mask ? *mask : 0;
    std::uint8_t whole[8];
    if (unit == Unit::pixel)
        std::memcpy(whole, overlay, bytes);
    merge(pixel, mask ? &weight : nullptr, unit == Unit::pixel ? whole : overlay);
}

template <class Merge>
void merge_row_in_order(std::uint8_t *row, const std::uint8_t *mask, const std::uint8_t *overlay,
                        std::size_t pixels, std::size_t bytes, Unit unit, Merge merge) {
    if (unit == Unit::row) {
        std::vector<std::uint8_t> made(row, row + pixels * bytes);
        for (std::size_t x = 0; x < pixels; ++x)
            merge(&made[x * bytes], mask ? mask + x : nullptr, overlay + x * bytes);
        std::memcpy(row, made.data(), made.size());
        return;
    }
    for (std::size_t x = 0; x < pixels; ++x)
        merge_pixel_in_order(row + x * bytes, mask ? mask + x : nullptr, overlay + x * bytes, bytes,
                             unit, merge);
}

template <class Merge>
void merge_rows_in_order(const Rows &result, const Rows &mask, const Rows &overlay,
                         std::size_t width, std::size_t height, std::size_t bytes, Unit unit,
                         Merge merge) {
    for (std::size_t y = 0; y < height; ++y)
        merge_row_in_order(result.row(y), mask.row(y), overlay.row(y), width, bytes, unit, merge);
}

} // namespace q32::test::model

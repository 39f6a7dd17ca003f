// Narrow rows are copied behind each other, merged as one run, and copied back.
#include "merge/narrow_rows.h"

#include "rows/rows.h"

#include <algorithm>

namespace q32::merge {
namespace {

// What is copied at once stays in the first-level cache.
constexpr std::size_t block_bytes = 4096;

// A few rows without the gaps between them.
struct Packed {
    std::uint8_t result[block_bytes], overlay[block_bytes], mask[block_bytes];
};

void merge_packed(const Recipe &recipe, const RunRows &rows) {
    Packed packed;
    const rows::RowKernels &kernels = rows::kernels();
    const Run &first = rows.first;
    const std::size_t bytes = first.pixels * recipe.pixel_bytes;
    kernels.copy_rows(packed.result, bytes, first.result, rows.result_stride, bytes, rows.count);
    kernels.copy_rows(packed.overlay, bytes, first.overlay, rows.overlay_stride, bytes, rows.count);
    if (recipe.reads_mask)
        kernels.copy_rows(packed.mask, first.pixels, first.mask, rows.mask_stride, first.pixels,
                          rows.count);
    merge_run(recipe, {packed.result, packed.result, packed.mask, packed.overlay,
                       first.pixels * rows.count});
    kernels.copy_rows(first.result, rows.result_stride, packed.result, bytes, bytes, rows.count);
}

} // namespace

bool are_narrow(const Recipe &recipe, const RunRows &rows) {
    // The narrowest vectors have 16 bytes; a single sample is merged as fast as copied twice.
    constexpr std::size_t fewest_bytes = 3, most_pixels = 15, fewest_rows = 4;
    return !recipe.takes_narrow_rows && rows.first.pixels <= most_pixels &&
           rows.first.pixels * recipe.pixel_bytes >= fewest_bytes && rows.count >= fewest_rows;
}

void merge_narrow_rows(const Recipe &recipe, const RunRows &rows) {
    const std::size_t at_once = block_bytes / (rows.first.pixels * recipe.pixel_bytes);
    RunRows part = rows;
    for (std::size_t left = rows.count; left != 0; left -= part.count) {
        part.count = std::min(left, at_once);
        merge_packed(recipe, part);
        part.advance(part.count);
    }
}

} // namespace q32::merge

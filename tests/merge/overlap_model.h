// The merge calls within one block of memory, in which everything may lie over everything else.
// Written from the order in which the rules read and write; the arithmetic is the model's.
#pragma once

#include "tests/merge/in_order.h"
#include "tests/merge/merge_model.h"

#include <optional>

namespace q32::test::model {

// i32Merge: where its runs begin.
struct RunPlaces {
    std::size_t result, base;
    std::optional<std::size_t> mask;
    std::size_t overlay;
};
// The mode has to exist for such pixels, and relief to have a mask.
void merge_run_within(Bytes &memory, const Call &call, const RunPlaces &at, std::size_t pixels);

// The rectangle functions: where their images begin.
struct ImagePlaces {
    std::size_t image;
    std::optional<std::size_t> mask;
    std::size_t overlay;
};
// i32MergeEx; what does not meet the image merges nothing.
void merge_rectangles_within(Bytes &memory, const Call &call, const ImagePlaces &at, int width,
                             int height, const RECT &mask_rectangle, const RECT &overlay_rectangle);
// i32MergeRamToRam, likewise.
void merge_images_within(Bytes &memory, const Call &call, const ImagePlaces &at, int width,
                         int height, int x, int y, int overlay_width, int overlay_height,
                         const RECT &rectangle);

} // namespace q32::test::model

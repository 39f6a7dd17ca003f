// What merging makes of memory, by the rules and nothing else: the calls in the order in which they
// read and write, so that everything may lie over everything else. Knows no sizes and addresses
// that are refused: those are for the tests to say.
#pragma once

#include "tests/models/merge_rules.h"

#include <cstring>
#include <vector>

namespace q32::test::model {

struct Call {
    int mode;
    int bytes;        // of a pixel
    int transparency; // as given
    bool mmx;         // the processor has it
};

// Whether i32Merge, and the rectangle functions, have the mode for such pixels.
bool runs_have(const Call &call, bool masked);
bool rectangles_have(const Call &call);

// --- one pixel -------------------------------------------------------------------------------

// In a mode that exists for it: it holds the base and receives the result. A null mask is none;
// first_mask is that of the run's first pixel. Samples go in order, so that an overlay in the same
// memory is read as they leave it.
void merge_pixel_of_run(std::uint8_t *pixel, const Call &call, const std::uint8_t *mask,
                        const std::uint8_t *first_mask, const std::uint8_t *overlay);
void merge_pixel_of_rectangle(std::uint8_t *pixel, const Call &call, const std::uint8_t *mask,
                              const std::uint8_t *overlay);

// --- rows of pixels --------------------------------------------------------------------------

// Rows of pixels or of mask bytes anywhere in memory; at null there are none.
template <class Byte>
struct RowsOf {
    Byte *at = nullptr;
    std::ptrdiff_t stride = 0;

    Byte *row(std::size_t y) const {
        return at == nullptr ? nullptr : at + std::ptrdiff_t(y) * stride;
    }
};
using Rows = RowsOf<std::uint8_t>;
using RowsToRead = RowsOf<const std::uint8_t>;

// A rectangle of an image by the rectangle functions, in a mode that they have: rows from top to
// bottom, pixels from left to right, and what a pixel reads is what those before it have written.
void merge_rows(const Rows &result, const RowsToRead &mask, const RowsToRead &overlay,
                std::size_t width, std::size_t height, const Call &call);

// --- the calls -------------------------------------------------------------------------------

// i32Merge; false where it is refused, with the result as it was.
bool merge_run(std::uint8_t *result, const Call &call, const std::uint8_t *base,
               const std::uint8_t *mask, const std::uint8_t *overlay, std::size_t pixels);

struct Box {
    std::int64_t left, top, right, bottom;
};

// i32MergeEx: gives back the point that is reported, 0 when all three meet. In a mode that there is
// not nothing changes.
int merge_rectangles(std::uint8_t *image, int width, int height, const std::uint8_t *mask,
                     const Box &mask_box, const std::uint8_t *overlay, const Box &overlay_box,
                     const Call &call);

// i32MergeRamToRam, likewise.
int merge_images(std::uint8_t *image, int width, int height, int x, int y,
                 const std::uint8_t *overlay, const std::uint8_t *mask, int overlay_width,
                 int overlay_height, const Box &box, const Call &call);

} // namespace q32::test::model

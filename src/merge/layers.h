// Merging a rectangle of plain memory that needs no clipping any more: what all rectangle forms
// come down to, whether their memory is the caller's or a cell's, and whether it overlaps or not.
#pragma once

#include <cstddef>
#include <cstdint>

namespace q32::merge {

struct Rectangle {
    std::uint8_t *destination; // holds the base
    const std::uint8_t *mask;  // one byte per pixel, or null
    const std::uint8_t *overlay;
    int width;                      // pixels
    int height;                     // rows
    std::size_t destination_stride; // bytes from row to row, no less than the rows have
    std::size_t overlay_stride;
    std::size_t mask_stride; // 0: one row serves all
    int bytes_per_pixel;
};

// Merges with full strength in every mode where there is no mask. 0 and no report for a mode
// outside 1 to 15, a pixel size that cannot be merged, or no memory for a mask; reports what the
// mode itself reports. Leaves the thread's priority alone.
int merge_rectangle(const Rectangle &rectangle, int mode, int transparency);

// The same once a mask has been found, if the mode needs one: a null one stays null here. A full
// mask is one whose bytes are all 255.
enum class GivenMask : bool { as_it_is, full };
int merge_masked_rectangle(const Rectangle &rectangle, GivenMask mask, int mode, int transparency);

} // namespace q32::merge

// Merging an area of plain memory that needs no clipping any more: what all rectangle forms come
// down to, whether their memory is the caller's or a cell's, and whether it overlaps or not.
#pragma once

#include "geometry/area.h"
#include "merge/run.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace q32::merge {

// Rows of pixels in memory, as part of an image. They may be wider than memory can be; differences
// and products wrap around then, and come out right for every pixel that does lie in memory.
template <typename Byte>
struct PixelRows {
    Byte *memory;       // pixel (left, top); null where there are none
    int left, top;      // in coordinates of the image
    std::size_t stride; // bytes from row to row, no less than the rows have; 0: one row serves all
    int bytes_per_pixel;

    Byte *pixel(int x, int y) const {
        const std::size_t rows = std::size_t(y) - std::size_t(top);
        const std::size_t pixels = std::size_t(x) - std::size_t(left);
        return memory + (rows * stride + pixels * unsigned(bytes_per_pixel));
    }
    operator PixelRows<const Byte>() const requires(!std::is_const_v<Byte>) {
        return {memory, left, top, stride, bytes_per_pixel};
    }
};

// What is merged, in the coordinates of one image. Pixels of base and overlay have the same size,
// those of the mask one byte.
struct Layers {
    PixelRows<std::uint8_t> base; // and the result
    PixelRows<const std::uint8_t> mask;
    PixelRows<const std::uint8_t> overlay;

    bool has_mask() const { return mask.memory != nullptr; }
    int bytes_per_pixel() const { return base.bytes_per_pixel; }
};

// Whether the area has pixels, and of a size that can be merged.
bool can_be_merged(const Layers &layers, const Area &area);

// A full mask is one whose bytes are all 255.
enum class GivenMask : bool { as_it_is, full };

// Merges areas in one mode. What comes of mode, transparency and mask is settled once: all layers
// have pixels of one size and, all or none of them, a mask. Each call returns 0 and reports nothing
// for a mode outside 1 to 15, a pixel size that cannot be merged, or no memory for a mask; it
// reports what the mode itself reports. Leaves the thread's priority alone.
class LayersMerge {
public:
    LayersMerge(int mode, int transparency)
        : mode_(find_mode(Form::rectangle, unsigned(mode))), transparency_(transparency) {}

    // With full strength in every mode where there is no mask.
    int merge(const Layers &layers, const Area &area);

    // Once a mask has been found, if the mode needs one: without one it is merged without.
    int merge_masked(const Layers &layers, const Area &area, GivenMask mask);

private:
    const Recipe &recipe_for(const Layers &layers, GivenMask mask);

    const Mode *mode_;
    int transparency_;
    std::optional<Recipe> recipe_;
};

} // namespace q32::merge

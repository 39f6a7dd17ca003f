// The exports that merge rectangles of plain memory: clip, find a mask, raise the thread's
// priority. Merging what is left is layers.h's part.
#include "geometry/system_rect.h"
#include "library/process/bytes.h"
#include "library/process/thread_priority.h"
#include "merge/failures.h"
#include "merge/full_mask.h"
#include "merge/layers.h"

#include <q32base/merge.h>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// Packed rows that fill an area.
template <typename Byte>
PixelRows<Byte> packed_rows(Byte *memory, const Area &area, int bytes_per_pixel) {
    const std::size_t width = std::size_t(area.right) - std::size_t(area.left);
    return {memory, area.left, area.top, width * unsigned(bytes_per_pixel), bytes_per_pixel};
}

// Quirk: these two do without a full mask, so that they weigh by the transparency alone as i32Merge
// does; the MMX way rounds that to other weights than a full mask's.
bool does_without_mask(int mode) {
    return mode == MERGE_COLOR || mode == MERGE_HUE;
}

// --- drivers ------------------------------------------------------------------------------------

// What a call holds while it works. The priority goes back first, then the mask.
struct Holdings {
    FullMask full_mask;
    ThreadPriority priority;
};

// Merges what the areas have in common, all in coordinates of the image: the layers cover it.
int merge_common(Layers layers, const Area &image, const Area &part, const Area &overlay, int mode,
                 int transparency) {
    Holdings held;
    const Area met = intersect(image, part);
    if (met.is_empty())
        return fail(site::misses_image);
    const Area area = intersect(met, overlay);
    if (area.is_empty())
        return fail(site::misses_overlay);
    if (!can_be_merged(layers, area) || layers.base.memory == nullptr ||
        layers.overlay.memory == nullptr)
        return 0;
    GivenMask given = GivenMask::as_it_is;
    if (!layers.has_mask() && !does_without_mask(mode)) {
        const std::size_t width = std::size_t(area.width());
        if (!held.full_mask.make(std::uint64_t(width) * unsigned(area.height()), width))
            return 0;
        layers.mask = {held.full_mask.row(), area.left, area.top, 0, 1};
        given = GivenMask::full;
    }
    held.priority.raise();
    return LayersMerge(mode, transparency).merge_masked(layers, area, given);
}

// A rectangle that is not there meets nothing.
Area area_or_none(const RECT *rectangle) {
    return rectangle != nullptr ? as_area(*rectangle) : Area{};
}

} // namespace
} // namespace q32::merge

// --- exports ------------------------------------------------------------------------------------

using q32::bytes;
using namespace q32::merge;
using q32::Area;
using q32::area_of;
using q32::as_area;

int Q32_CALL i32MergeEx(void *image, int width, int height, const void *mask,
                        const RECT *mask_rectangle, const void *overlay,
                        const RECT *overlay_rectangle, int bytes_per_pixel, int mode,
                        int transparency) {
    const Area bounds = area_of(0, 0, width, height);
    const Area mask_area = area_or_none(mask_rectangle);
    const Area overlay_area = area_or_none(overlay_rectangle);
    return merge_common({.base = packed_rows(bytes(image), bounds, bytes_per_pixel),
                         .mask = packed_rows(bytes(mask), mask_area, 1),
                         .overlay = packed_rows(bytes(overlay), overlay_area, bytes_per_pixel)},
                        bounds, mask_area, overlay_area, mode, transparency);
}

int Q32_CALL i32MergeRamToRam(void *image, int width, int height, int bytes_per_pixel, int x, int y,
                              const void *overlay, const void *mask, int overlay_width,
                              int overlay_height, RECT rectangle, int mode, int transparency) {
    const Area bounds = area_of(0, 0, width, height);
    const Area source = as_area(rectangle);
    const std::int64_t dx = std::int64_t(x) - source.left;
    const std::int64_t dy = std::int64_t(y) - source.top;
    const Area overlay_area = moved(area_of(0, 0, overlay_width, overlay_height), dx, dy);
    // The area may have been cut, the rows have not.
    const std::size_t row = std::size_t(overlay_width);
    const int left = overlay_area.left, top = overlay_area.top;
    return merge_common(
        {.base = packed_rows(bytes(image), bounds, bytes_per_pixel),
         .mask = {bytes(mask), left, top, row, 1},
         .overlay = {bytes(overlay), left, top, row * unsigned(bytes_per_pixel), bytes_per_pixel}},
        bounds, moved(source, dx, dy), overlay_area, mode, transparency);
}

// Areas of plain memory, row by row or, where the rows follow on each other, as one run.
#include "merge/layers.h"

#include "library/process/bytes.h"
#include "library/process/owners.h"
#include "merge/failures.h"
#include "merge/overlap.h"
#include "merge/run.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// The blocks of a transfer's rows. Mostly the rows pass through the kernels in pieces and need none
// of them; they are made because callers know the report of there being no memory for them.
struct WorkRows {
    GlobalBlock base_records, merged_records, merged;

    bool make(std::uint64_t pixels) {
        return make(base_records, 12 * pixels) && make(merged_records, 12 * pixels) &&
               make(merged, 3 * pixels);
    }

private:
    static bool make(GlobalBlock &block, std::uint64_t bytes) {
        block = make_global_block(GMEM_ZEROINIT, bytes);
        return bool(block);
    }
};

template <typename Byte>
Rows rows_of(const PixelRows<Byte> &layer, const Area &area) {
    return {layer.pixel(area.left, area.top),
            std::size_t(area.width()) * unsigned(layer.bytes_per_pixel), layer.stride,
            std::size_t(area.height())};
}

// work_row: for a transfer, as run.h says.
void merge_area(const Recipe &recipe, const Layers &layers, const Area &area,
                std::uint8_t *work_row) {
    const Rows result = rows_of(layers.base, area), overlay = rows_of(layers.overlay, area);
    const Rows mask = recipe.reads_mask ? rows_of(layers.mask, area) : Rows{};
    const bool in_order =
        overlaps(result, overlay) || (recipe.reads_mask && overlaps(result, mask));
    std::uint8_t *const first = layers.base.pixel(area.left, area.top);
    RunRows rows = {.first = {.result = first,
                              .base = first,
                              .mask = mask.first,
                              .overlay = overlay.first,
                              .pixels = std::size_t(area.width())},
                    .result_stride = result.stride,
                    .mask_stride = mask.stride,
                    .overlay_stride = overlay.stride,
                    .count = result.count};
    const bool is_one_run = result.follow_on_each_other() && overlay.follow_on_each_other() &&
                            mask.follow_on_each_other();
    // A transfer in order reads a row at once, not all of them.
    if (is_one_run && !(in_order && recipe.transfer != nullptr)) {
        rows.first.pixels *= rows.count;
        rows.count = 1;
    }
    if (!in_order)
        return merge_rows(recipe, rows);
    for (; rows.count != 0; --rows.count) {
        merge_run_in_order(recipe, rows.first, work_row);
        rows.advance(1);
    }
}

} // namespace

// --- drivers ------------------------------------------------------------------------------------

bool can_be_merged(const Layers &layers, const Area &area) {
    return !area.is_empty() && layers.bytes_per_pixel() > 0 &&
           layers.bytes_per_pixel() <= max_bytes_per_pixel;
}

const Recipe &LayersMerge::recipe_for(const Layers &layers, GivenMask mask) {
    if (!recipe_)
        recipe_ = settle({.mode = *mode_,
                          .form = Form::rectangle,
                          .bytes_per_pixel = layers.bytes_per_pixel(),
                          .transparency = transparency_,
                          .mask = layers.mask.memory,
                          .mask_is_full = mask == GivenMask::full});
    return *recipe_;
}

int LayersMerge::merge_masked(const Layers &layers, const Area &area, GivenMask mask) {
    if (mode_ == nullptr || !can_be_merged(layers, area))
        return 0;
    WorkRows work_rows;
    if (mode_->action == Action::transfer) {
        if (layers.bytes_per_pixel() != 3)
            return 0;
        if (!work_rows.make(std::uint64_t(area.width())))
            return fail(site::no_rectangle_work_rows);
    }
    merge_area(recipe_for(layers, mask), layers, area, bytes(work_rows.base_records.get()));
    return 1;
}

// Quirk: the mask that stands in is made for every mode, hue and colour too, so that these weigh a
// little differently here than in i32MergeEx.
int LayersMerge::merge(const Layers &layers, const Area &area) {
    if (layers.has_mask())
        return merge_masked(layers, area, GivenMask::as_it_is);
    if (!can_be_merged(layers, area))
        return 0;
    const std::uint64_t size = std::uint64_t(layers.overlay.stride) * unsigned(area.height()) /
                                   unsigned(layers.bytes_per_pixel()) +
                               2;
    if (size > SIZE_MAX)
        return 0;
    const RuntimeBlock full_mask(std::malloc(std::size_t(size)));
    if (!full_mask)
        return 0;
    // One row serves all.
    std::memset(full_mask.get(), 255, std::size_t(area.width()));
    Layers masked = layers;
    masked.mask = {bytes(full_mask.get()), area.left, area.top, 0, 1};
    return merge_masked(masked, area, GivenMask::full);
}

} // namespace q32::merge

// Rectangles of plain memory, row by row or, where the rows follow on each other, as one run.
#include "merge/layers.h"

#include "library/process/bytes.h"
#include "library/process/owners.h"
#include "merge/failures.h"
#include "merge/overlap.h"
#include "merge/run.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

struct RuntimeBlockTraits {
    using Value = void *;
    static Value none() { return nullptr; }
    static void release(Value block) { std::free(block); }
};
using RuntimeBlock = Owner<RuntimeBlockTraits>;

bool can_be_merged(const Rectangle &rectangle) {
    return rectangle.width > 0 && rectangle.height > 0 && rectangle.bytes_per_pixel > 0 &&
           rectangle.bytes_per_pixel <= max_bytes_per_pixel;
}

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
        if (bytes <= std::numeric_limits<std::size_t>::max())
            block.reset(GlobalAlloc(GMEM_ZEROINIT, std::size_t(bytes)));
        return bool(block);
    }
};

// The processor does not look ahead past the end of a row by itself. In long rows it soon catches
// up, and is only hindered by being told. Addresses beyond the memory are harmless.
class RowsAhead {
public:
    explicit RowsAhead(std::size_t row_bytes) : bytes_(row_bytes <= short_row ? row_bytes : 0) {}

    // By force: the compiler holds a function that does nothing else for one without an effect.
    [[gnu::always_inline]] void fetch(const std::uint8_t *row, std::size_t stride) const {
        for (std::size_t at = 0; at < bytes_; at += line)
            __builtin_prefetch(row + rows * stride + at);
    }

private:
    static constexpr std::size_t short_row = 1024, line = 64;
    static constexpr std::size_t rows = 4;
    std::size_t bytes_;
};

// Whether the rows lie one behind the other in everything that is read or written.
bool is_one_run(const Recipe &recipe, const Rectangle &rectangle) {
    const std::size_t width = std::size_t(rectangle.width);
    const std::size_t row_bytes = width * recipe.pixel_bytes;
    return rectangle.destination_stride == row_bytes && rectangle.overlay_stride == row_bytes &&
           (!recipe.reads_mask || rectangle.mask_stride == width);
}

bool order_shows(const Recipe &recipe, const Rectangle &rectangle) {
    const std::size_t width = std::size_t(rectangle.width);
    const std::size_t height = std::size_t(rectangle.height);
    const std::size_t row_bytes = width * recipe.pixel_bytes;
    const Rows result{rectangle.destination, row_bytes, rectangle.destination_stride, height};
    return overlaps(result, {rectangle.overlay, row_bytes, rectangle.overlay_stride, height}) ||
           (recipe.reads_mask &&
            overlaps(result, {rectangle.mask, width, rectangle.mask_stride, height}));
}

// work_row: for a transfer, as run.h says.
void merge_rows(const Recipe &recipe, const Rectangle &rectangle, std::uint8_t *work_row) {
    const std::size_t width = std::size_t(rectangle.width);
    const std::size_t row_bytes = width * recipe.pixel_bytes;
    const bool has_mask = recipe.reads_mask;
    const bool in_order = order_shows(recipe, rectangle);
    const auto merge = [&](const Run &run) {
        in_order ? merge_run_in_order(recipe, run, work_row) : merge_run(recipe, run);
    };
    Run row{.result = rectangle.destination,
            .base = rectangle.destination,
            .mask = has_mask ? rectangle.mask : nullptr,
            .overlay = rectangle.overlay,
            .pixels = width};
    // A transfer in order reads a row at once, not all of them.
    if (is_one_run(recipe, rectangle) && !(in_order && recipe.transfer != nullptr)) {
        row.pixels *= std::size_t(rectangle.height);
        merge(row);
        return;
    }
    const RowsAhead pixels_ahead(row_bytes), weights_ahead(width);
    for (int y = 0; y != rectangle.height; ++y) {
        pixels_ahead.fetch(row.result, rectangle.destination_stride);
        pixels_ahead.fetch(row.overlay, rectangle.overlay_stride);
        if (has_mask)
            weights_ahead.fetch(row.mask, rectangle.mask_stride);
        merge(row);
        row.result += rectangle.destination_stride;
        row.base = row.result;
        row.overlay += rectangle.overlay_stride;
        if (has_mask)
            row.mask += rectangle.mask_stride;
    }
}

} // namespace

// --- drivers ------------------------------------------------------------------------------------

int merge_masked_rectangle(const Rectangle &rectangle, GivenMask mask, int mode_number,
                           int transparency) {
    const Mode *const mode = find_mode(Form::rectangle, unsigned(mode_number));
    if (mode == nullptr || !can_be_merged(rectangle))
        return 0;
    WorkRows work_rows;
    if (mode->action == Action::transfer) {
        if (rectangle.bytes_per_pixel != 3)
            return 0;
        if (!work_rows.make(std::uint64_t(rectangle.width)))
            return fail(site::no_rectangle_work_rows);
    }
    const Recipe recipe = settle({.mode = *mode,
                                  .form = Form::rectangle,
                                  .bytes_per_pixel = rectangle.bytes_per_pixel,
                                  .transparency = transparency,
                                  .mask = rectangle.mask,
                                  .mask_is_full = mask == GivenMask::full});
    merge_rows(recipe, rectangle, bytes(work_rows.base_records.get()));
    return 1;
}

// Quirk: the mask that stands in is made for every mode, hue and colour too, so that these weigh a
// little differently here than in i32MergeEx.
int merge_rectangle(const Rectangle &rectangle, int mode, int transparency) {
    if (rectangle.mask != nullptr)
        return merge_masked_rectangle(rectangle, GivenMask::as_it_is, mode, transparency);
    if (!can_be_merged(rectangle))
        return 0;
    const std::uint64_t bytes = std::uint64_t(rectangle.overlay_stride) *
                                    unsigned(rectangle.height) /
                                    unsigned(rectangle.bytes_per_pixel) +
                                2;
    if (bytes > std::numeric_limits<std::size_t>::max())
        return 0;
    const RuntimeBlock full_mask(std::malloc(std::size_t(bytes)));
    if (!full_mask)
        return 0;
    // One row serves all.
    std::memset(full_mask.get(), 255, std::size_t(rectangle.width));
    Rectangle masked = rectangle;
    masked.mask = static_cast<const std::uint8_t *>(full_mask.get());
    masked.mask_stride = 0;
    return merge_masked_rectangle(masked, GivenMask::full, mode, transparency);
}

} // namespace q32::merge

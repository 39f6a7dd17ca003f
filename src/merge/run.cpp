// Settling recipes: what the mode, mask, transparency and pixel size of a call come to. How a run
// is walked by one is run_walk.cpp's part.
#include "merge/run.h"

#include "library/process/cpu.h"
#include "merge/rows_ahead.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace q32::merge {
namespace {

using Weights = Recipe::Weights;

// Scratch rows of this many bytes or pixels stay in the first-level cache beside the pixels.
constexpr std::size_t scratch_pixels = 2048;
constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

// --- pieces -------------------------------------------------------------------------------------

// The weights of a piece: its mask as it is, or what becomes of it in the scratch row.
const std::uint8_t *weights_of(const Recipe &recipe, const Run &piece, std::uint8_t *scratch) {
    if (recipe.weights == Weights::mask)
        return piece.mask;
    if (recipe.weights == Weights::percent_of_mask)
        blends().percent_weights(scratch, piece.mask, recipe.percent, piece.pixels);
    else
        blends().scaled_weights(scratch, piece.mask, recipe.scale, piece.pixels);
    return scratch;
}

// A pixel may begin inside its own overlay: its samples then go one after the other.
void copy_overlay(const Recipe &recipe, const Run &piece) {
    const std::size_t samples = piece.pixels * recipe.samples;
    if (piece.overlay == piece.result)
        return;
    if (samples > max_bytes_per_pixel)
        std::memmove(piece.result, piece.overlay, samples); // the overlay may lie ahead
    else
        for (std::size_t i = 0; i != samples; ++i)
            piece.result[i] = piece.overlay[i];
}

void blend_uniformly(const Recipe &recipe, const Run &piece) {
    recipe.uniform_blend(piece.result, piece.overlay, recipe.constant,
                         piece.pixels * recipe.samples);
}

void blend_by_mask(const Recipe &recipe, const Run &piece) {
    recipe.masked_blend(piece.result, piece.overlay, piece.mask, piece.mask, piece.pixels);
}

void blend_by_weights(const Recipe &recipe, const Run &piece) {
    std::uint8_t scratch[scratch_pixels];
    recipe.masked_blend(piece.result, piece.overlay, weights_of(recipe, piece, scratch), piece.mask,
                        piece.pixels);
}

void blend_selected(const Recipe &recipe, const Run &piece) {
    std::uint8_t selected[scratch_pixels];
    recipe.select(selected, weights_of(recipe, piece, selected), piece.result, piece.overlay,
                  piece.pixels);
    recipe.masked_blend(piece.result, piece.overlay, selected, piece.mask, piece.pixels);
}

void apply_relief(const Recipe &recipe, const Run &piece) {
    recipe.relief(piece.result, piece.overlay, piece.mask, recipe.strength, piece.pixels);
}

void subtract_masked(const Recipe &recipe, const Run &piece) {
    recipe.subtract_masked(piece.result, piece.overlay, piece.mask, piece.pixels);
}

// Quirk: the first byte of the mask stands for all of it.
void subtract_portion(const Recipe &recipe, const Run &piece) {
    const std::uint8_t weight = piece.mask != nullptr ? piece.mask[0] : 255;
    effects().subtract_portion(piece.result, piece.overlay, std::uint32_t(recipe.percent) * weight,
                               piece.pixels * recipe.samples);
}

// The normal blend goes to a row of its own, whose fields then go into the base's pixels.
void transfer_fields(const Recipe &recipe, const Run &piece) {
    std::uint8_t merged[3 * scratch_pixels];
    std::memcpy(merged, piece.base, 3 * piece.pixels);
    recipe.inner(recipe, {merged, merged, piece.mask, piece.overlay, piece.pixels});
    recipe.transfer(piece.result, piece.base, merged, piece.pixels);
}

void transfer_overlay_fields(const Recipe &recipe, const Run &piece) {
    recipe.transfer(piece.result, piece.base, piece.overlay, piece.pixels);
}

// --- rows ---------------------------------------------------------------------------------------

template <typename MergeRow>
void merge_each_row(const Recipe &recipe, const RunRows &rows, const MergeRow &merge_row) {
    const RowsAhead pixels_ahead(rows.first.pixels * recipe.pixel_bytes);
    const RowsAhead weights_ahead(recipe.reads_mask ? rows.first.pixels : 0);
    RunRows row = rows;
    for (std::size_t left = rows.count; left != 0; --left) {
        pixels_ahead.fetch(row.first.result, row.result_stride);
        pixels_ahead.fetch(row.first.overlay, row.overlay_stride);
        weights_ahead.fetch(row.first.mask, row.mask_stride);
        merge_row(row.first);
        row.advance(1);
    }
}

void merge_rows_by_run(const Recipe &recipe, const RunRows &rows) {
    merge_each_row(recipe, rows, [&recipe](const Run &row) { merge_run(recipe, row); });
}

// Of the most usual ways the kernel is called at once: it takes no longer for a row of a cell than
// a few calls do.

void blend_rows_uniformly(const Recipe &recipe, const RunRows &rows) {
    merge_each_row(recipe, rows, [&recipe](const Run &row) { blend_uniformly(recipe, row); });
}

void blend_rows_by_mask(const Recipe &recipe, const RunRows &rows) {
    merge_each_row(recipe, rows, [&recipe](const Run &row) { blend_by_mask(recipe, row); });
}

void blend_rows_at_once(const Recipe &recipe, const RunRows &rows) {
    const Run &first = rows.first;
    recipe.blend_rows({first.result, first.overlay, first.mask, rows.result_stride,
                       rows.overlay_stride, rows.mask_stride, first.pixels, rows.count});
}

// --- pixels of other sizes ----------------------------------------------------------------------

// Red, green and blue where there are three samples, else the first.
int luminance(const std::uint8_t *pixel, std::size_t samples) {
    return samples < 3 ? pixel[0] : (30 * pixel[0] + 59 * pixel[1] + 11 * pixel[2]) / 100;
}

bool acts(Comparison comparison, const std::uint8_t *base, const std::uint8_t *overlay,
          std::size_t samples) {
    const int below = luminance(base, samples);
    const int above = luminance(overlay, samples);
    return comparison == Comparison::darker ? above < below : above > below;
}

// Each sample becomes a grey pixel of its own.
Run samples_of(const Recipe &recipe, const Run &piece, const std::uint8_t *mask) {
    return {piece.result, piece.base, mask, piece.overlay, piece.pixels * recipe.pixel_bytes};
}

void merge_as_grey(const Recipe &recipe, const Run &piece) {
    recipe.inner(recipe, samples_of(recipe, piece, piece.mask));
}

// The grey pixels share their pixel's mask byte, which counts as 0 where acts(pixel) is false.
template <typename Acts>
void spread_mask(const Recipe &recipe, const Run &piece, Acts acts_at) {
    std::uint8_t mask[scratch_pixels];
    const std::size_t samples = recipe.pixel_bytes;
    for (std::size_t i = 0; i != piece.pixels; ++i)
        std::memset(mask + i * samples, acts_at(i * samples) ? piece.mask[i] : 0, samples);
    recipe.inner(recipe, samples_of(recipe, piece, mask));
}

void merge_masked_as_grey(const Recipe &recipe, const Run &piece) {
    spread_mask(recipe, piece, [](std::size_t) { return true; });
}

void merge_selected_as_grey(const Recipe &recipe, const Run &piece) {
    spread_mask(recipe, piece, [&](std::size_t at) {
        return acts(recipe.comparison, piece.result + at, piece.overlay + at, recipe.pixel_bytes);
    });
}

// --- recipes ------------------------------------------------------------------------------------

int percent_of(const Request &request) {
    return 100 - std::clamp(request.transparency, 0, 100);
}

// Whether the call goes the MMX way, if its mode has one.
bool goes_mmx_way(const Request &request) {
    return mmx_available() && request.bytes_per_pixel == 3;
}

Rounding rounding_of(const Request &request) {
    const ShiftedIn shifted_in = request.mode.shifted_in;
    const bool may_shift = request.form == Form::run ? shifted_in != ShiftedIn::none
                                                     : shifted_in == ShiftedIn::runs_and_rectangles;
    return may_shift && goes_mmx_way(request) ? Rounding::shifted : Rounding::divided;
}

// Quirk: the MMX way scales opacity to 255 in runs, and to the low byte of 256 in rectangles. A
// transfer's normal blend is that of a run in both.
std::uint8_t mask_scale(const Request &request, int percent) {
    const bool as_run = request.form == Form::run || request.mode.action == Action::transfer;
    return std::uint8_t(percent * (as_run ? 255 : 256) / 100);
}

void settle_weights(Recipe &recipe, const Request &request, Rounding rounding) {
    recipe.percent = percent_of(request);
    if (request.mask == nullptr) {
        recipe.weights = Weights::constant;
        recipe.constant = std::uint8_t(recipe.percent * 255 / 100);
    } else if (recipe.percent == 100) {
        recipe.weights = Weights::mask;
    } else if (rounding == Rounding::shifted) {
        recipe.weights = Weights::scaled_mask;
        recipe.scale = mask_scale(request, recipe.percent);
    } else {
        recipe.weights = Weights::percent_of_mask;
    }
}

// Under a full mask all weights are the same, and what premultiplied pixels are divided by is 255:
// there is no need to read it.
void do_without_full_mask(Recipe &recipe) {
    constexpr int full = 255;
    if (recipe.weights == Weights::mask)
        recipe.constant = full;
    else if (recipe.weights == Weights::percent_of_mask)
        recipe.constant = std::uint8_t(full * recipe.percent / 100);
    else if (recipe.weights == Weights::scaled_mask)
        recipe.constant = std::uint8_t((full * recipe.scale) >> 8);
    recipe.weights = Weights::constant;
}

bool is_premultiplied(Rule rule) {
    return rule == Rule::premultiplied_black || rule == Rule::premultiplied_white;
}

// Quirk: without a mask and at full strength the standard way copies the overlay under every rule,
// and as a whole. Callers see a difference without a mask act as a normal merge at transparency 0,
// and as a difference from transparency 1 on. The MMX way merges, which copies under the normal
// rule only, and pixel after pixel.
bool is_one_copy(const Recipe &recipe, const Request &request) {
    return recipe.constant == 255 && request.mask == nullptr &&
           recipe.rounding == Rounding::divided;
}

bool copies_overlay(const Recipe &recipe, Rule rule) {
    return recipe.is_one_copy || (recipe.constant == 255 && rule == Rule::normal);
}

void settle_masked_blend(Recipe &recipe, Rounding rounding, Rule rule) {
    const Blend &blend = blends()(rounding, rule);
    recipe.masked_blend = recipe.samples == 3 ? blend.colour : blend.grey;
    recipe.blend_rows = recipe.samples == 3 ? blend.colour_rows : nullptr;
    recipe.reads_mask = true;
}

void settle_blend(Recipe &recipe, const Request &request) {
    const Rounding rounding = recipe.rounding = rounding_of(request);
    settle_weights(recipe, request, rounding);
    if (request.mask_is_full)
        do_without_full_mask(recipe);

    Rule rule = request.mode.rule;
    if (recipe.weights == Weights::constant) {
        if (is_premultiplied(rule))
            rule = Rule::normal;
        recipe.uniform_blend = blends()(rounding, rule).uniform;
        recipe.is_one_copy = is_one_copy(recipe, request);
        recipe.begins_with_base = !copies_overlay(recipe, rule);
        recipe.merge_piece = recipe.begins_with_base ? blend_uniformly : copy_overlay;
        recipe.merge_rows = recipe.begins_with_base ? blend_rows_uniformly : merge_rows_by_run;
        return;
    }
    settle_masked_blend(recipe, rounding, rule);
    recipe.left_to_right = !is_premultiplied(rule);
    if (recipe.weights == Weights::mask) {
        recipe.merge_piece = blend_by_mask;
        recipe.takes_narrow_rows = recipe.blend_rows != nullptr;
        recipe.merge_rows = recipe.takes_narrow_rows ? blend_rows_at_once : blend_rows_by_mask;
    } else {
        recipe.merge_piece = blend_by_weights;
        recipe.piece_pixels = scratch_pixels;
    }
}

void settle_transfer(Recipe &recipe, const Request &request) {
    settle_blend(recipe, request);
    recipe.transfer = colours().transfer[std::size_t(request.mode.fields)];
    const bool copies = recipe.merge_piece == copy_overlay;
    recipe.inner = recipe.merge_piece;
    recipe.merge_piece = copies ? transfer_overlay_fields : transfer_fields;
    recipe.merge_rows = merge_rows_by_run;
    recipe.piece_pixels = scratch_pixels;
    recipe.begins_with_base = false;
}

template <typename Kernel>
Kernel *of_size(const BySize<Kernel> &kernels, std::size_t samples) {
    return samples == 3 ? kernels.colour : kernels.grey;
}

void settle_selection(Recipe &recipe, const Request &request) {
    const bool by_sums = request.form == Form::rectangle && goes_mmx_way(request);
    const Comparison comparison =
        by_sums ? request.mode.mmx_rectangle_comparison : request.mode.comparison;
    settle_weights(recipe, request, Rounding::divided);
    recipe.select = of_size(effects().select[std::size_t(comparison)], recipe.samples);
    settle_masked_blend(recipe, Rounding::divided, Rule::normal);
    recipe.merge_piece = blend_selected;
    recipe.piece_pixels = scratch_pixels;
}

void settle_relief(Recipe &recipe, const Request &request) {
    const int transparency = 100 - percent_of(request);
    recipe.strength = transparency == 100 ? 0 : std::uint8_t(127 - 127 * transparency / 99);
    recipe.relief = of_size(effects().relief, recipe.samples);
    recipe.merge_piece = apply_relief;
    recipe.reads_mask = true;
}

void settle_mask_subtraction(Recipe &recipe, const Request &request) {
    recipe.percent = percent_of(request);
    if (request.mask != nullptr && recipe.percent == 100) {
        recipe.subtract_masked = of_size(effects().subtract_masked, recipe.samples);
        recipe.merge_piece = subtract_masked;
        recipe.reads_mask = true;
        return;
    }
    recipe.merge_piece = subtract_portion;
}

void settle_action(Recipe &recipe, const Request &request) {
    switch (request.mode.action) {
    case Action::blend:
        return settle_blend(recipe, request);
    case Action::transfer:
        return settle_transfer(recipe, request);
    case Action::selection:
        return settle_selection(recipe, request);
    case Action::relief:
        return settle_relief(recipe, request);
    case Action::mask_subtraction:
        return settle_mask_subtraction(recipe, request);
    }
}

// Pixels of 2 and of 4 to 8 bytes.
void settle_as_grey(Recipe &recipe, const Request &request) {
    settle_action(recipe, request);
    recipe.inner = recipe.merge_piece;
    recipe.merge_piece = recipe.reads_mask ? merge_masked_as_grey : merge_as_grey;
    recipe.merge_rows = merge_rows_by_run;
}

// The samples do not know which pixels were selected: what was left out has weight 0, and the rest
// is a normal blend. Its weights differ even under a full mask.
void settle_selection_as_grey(Recipe &recipe, Request request) {
    request.mask_is_full = false;
    settle_blend(recipe, request);
    recipe.comparison = request.mode.comparison;
    recipe.inner = recipe.merge_piece;
    recipe.merge_piece = merge_selected_as_grey;
    recipe.merge_rows = merge_rows_by_run;
}

} // namespace

// --- drivers ------------------------------------------------------------------------------------

Recipe settle(const Request &request) {
    const std::size_t size = std::size_t(request.bytes_per_pixel);
    Recipe recipe{.merge_rows = merge_rows_by_run,
                  .piece_pixels = unlimited,
                  .pixel_bytes = size,
                  .begins_with_base = true,
                  .left_to_right = true};
    if (size == 1 || size == 3) {
        recipe.samples = size;
        settle_action(recipe, request);
        return recipe;
    }
    recipe.samples = 1;
    if (request.mode.action == Action::selection)
        settle_selection_as_grey(recipe, request);
    else
        settle_as_grey(recipe, request);
    recipe.piece_pixels = scratch_pixels / size;
    return recipe;
}

} // namespace q32::merge

// Walking runs by recipes: in pieces that stay in the cache or, where the order of pixels shows, in
// pieces so short that it does not within them.
#include "merge/narrow_rows.h"
#include "merge/overlap.h"
#include "merge/run.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace q32::merge {
namespace {

// --- helpers ------------------------------------------------------------------------------------

// A base that is brought into the result is still in the first-level cache when it is merged.
constexpr std::size_t cached_pixels = 2048;

// To the pixels behind a piece.
void advance(const Recipe &recipe, Run &piece) {
    const std::size_t bytes = piece.pixels * recipe.pixel_bytes;
    piece.result += bytes;
    piece.base += bytes;
    piece.overlay += bytes;
    if (recipe.reads_mask)
        piece.mask += piece.pixels;
}

// How many pixels the kernels can take, as far as a row that is read for them is concerned.
std::size_t pixels_at_once(const Recipe &recipe, const Run &run, const std::uint8_t *read,
                           std::size_t step) {
    if ((recipe.left_to_right || read == run.result) &&
        stays_ahead(run.result, recipe.pixel_bytes, read, step))
        return any_number;
    return pixels_apart(run.result, recipe.pixel_bytes, read, step);
}

std::size_t pixels_at_once(const Recipe &recipe, const Run &run) {
    const std::size_t by_overlay = pixels_at_once(recipe, run, run.overlay, recipe.pixel_bytes);
    if (run.mask == nullptr)
        return by_overlay;
    return std::min(by_overlay, pixels_at_once(recipe, run, run.mask, recipe.reads_mask ? 1 : 0));
}

// One that may share bytes with its overlay. The MMX way has read all samples before it writes one;
// the standard way takes one after the other.
void merge_pixel(const Recipe &recipe, Run pixel) {
    std::uint8_t overlay[max_bytes_per_pixel];
    if (recipe.rounding == Rounding::shifted) {
        std::memcpy(overlay, pixel.overlay, recipe.pixel_bytes);
        pixel.overlay = overlay;
    }
    recipe.merge_piece(recipe, pixel);
}

// The same run of colours, with what is read of it copied to memory that holds a record for each
// pixel.
Run set_aside(Run run, std::uint8_t *memory) {
    static_assert(record_bytes >= 3 + 3 + 1);
    const auto copy = [&memory](const std::uint8_t *from, std::size_t bytes) {
        return std::exchange(memory, std::copy_n(from, bytes, memory));
    };
    run.base = copy(run.base, 3 * run.pixels);
    run.overlay = copy(run.overlay, 3 * run.pixels);
    if (run.mask != nullptr)
        run.mask = copy(run.mask, run.pixels);
    return run;
}

} // namespace

// --- drivers ------------------------------------------------------------------------------------

bool order_shows(const Recipe &recipe, const Run &run) {
    const std::size_t bytes = run.pixels * recipe.pixel_bytes;
    const Rows result{run.result, bytes};
    return overlaps(result, {run.base, bytes}) || overlaps(result, {run.overlay, bytes}) ||
           (run.mask != nullptr &&
            overlaps(result, {run.mask, recipe.reads_mask ? run.pixels : 1}));
}

void merge_run(const Recipe &recipe, const Run &run) {
    const bool brings_base = recipe.begins_with_base && run.base != run.result;
    const std::size_t most =
        brings_base ? std::min(recipe.piece_pixels, cached_pixels) : recipe.piece_pixels;
    if (run.pixels <= most && !brings_base)
        return recipe.merge_piece(recipe, run);
    Run piece = run;
    for (std::size_t left = run.pixels; left != 0; left -= piece.pixels) {
        piece.pixels = std::min(left, most);
        if (brings_base)
            std::memcpy(piece.result, piece.base, piece.pixels * recipe.pixel_bytes);
        recipe.merge_piece(recipe, piece);
        advance(recipe, piece);
    }
}

void merge_rows(const Recipe &recipe, const RunRows &rows) {
    if (are_narrow(recipe, rows))
        return merge_narrow_rows(recipe, rows);
    if (rows.count == 1)
        return merge_run(recipe, rows.first);
    recipe.merge_rows(recipe, rows);
}

void merge_run_in_order(const Recipe &recipe, const Run &run, std::uint8_t *work_row) {
    if (recipe.transfer != nullptr)
        return merge_run(recipe, order_shows(recipe, run) ? set_aside(run, work_row) : run);
    const std::size_t bytes = run.pixels * recipe.pixel_bytes;
    if (run.base != run.result)
        std::memmove(run.result, run.base, bytes);
    if (recipe.is_one_copy) {
        std::memmove(run.result, run.overlay, bytes);
        return;
    }
    Run piece = run;
    piece.base = piece.result;
    for (std::size_t left = run.pixels; left != 0; left -= piece.pixels) {
        const std::size_t at_once = pixels_at_once(recipe, piece);
        piece.pixels = std::min({left, recipe.piece_pixels, std::max(at_once, std::size_t(1))});
        if (at_once == 0)
            merge_pixel(recipe, piece);
        else
            recipe.merge_piece(recipe, piece);
        advance(recipe, piece);
    }
}

} // namespace q32::merge

// How runs of pixels are merged. A call settles once what its mode, mask, transparency and pixel
// size come to, in a recipe; merging a run by it is then kernel after kernel over pieces that stay
// in the cache. Knows no rectangles, makes no memory, reports nothing.
#pragma once

#include "merge/modes.h"

namespace q32::merge {

inline constexpr int max_bytes_per_pixel = 8;

struct Run {
    std::uint8_t *result;
    const std::uint8_t *base;    // may be the result
    const std::uint8_t *mask;    // one byte per pixel; null where none is read
    const std::uint8_t *overlay; // may be the result only where that is the base too
    std::size_t pixels;
};

// Such runs below each other, each so many bytes behind the one before. The base is the result.
struct RunRows {
    Run first;
    std::size_t result_stride, mask_stride, overlay_stride;
    std::size_t count;

    // Moves on by so many rows.
    void advance(std::size_t rows) {
        first.result += rows * result_stride;
        first.base = first.result;
        first.overlay += rows * overlay_stride;
        first.mask += rows * mask_stride;
    }
};

struct Request {
    const Mode &mode;
    Form form;
    int bytes_per_pixel;      // 1 to 8; 3 for transfers
    int transparency;         // percent; what is out of range is cut to it
    const std::uint8_t *mask; // null where there is none; relief and selections need one
    bool mask_is_full;        // every byte is 255: stands in for one that was not given
};

struct Recipe;
using MergePiece = void(const Recipe &recipe, const Run &piece);
using MergeRows = void(const Recipe &recipe, const RunRows &rows);

// Each way of merging a piece reads what it needs of this and leaves the rest.
struct Recipe {
    MergePiece *merge_piece;
    MergeRows *merge_rows;    // runs below each other
    bool takes_narrow_rows;   // without being slower there
    std::size_t piece_pixels; // most that a piece has
    std::size_t pixel_bytes;
    std::size_t samples;   // of the kernels' pixels: 1 or 3
    bool begins_with_base; // the result must hold the base first
    bool is_one_copy;      // of the overlay: all of the run at once
    bool reads_mask;       // a byte for each pixel
    bool left_to_right;    // kernels load and store in the order of memory
    Rounding rounding;     // of blends

    // Weights: one for all pixels, or what the mask bytes become.
    enum class Weights : std::uint8_t { constant, mask, percent_of_mask, scaled_mask };
    Weights weights;
    std::uint8_t constant;
    std::uint8_t scale;
    int percent;

    MaskedBlend *masked_blend;
    MaskedRowsBlend *blend_rows; // or null
    UniformBlend *uniform_blend;
    Selection *select;
    FieldTransfer *transfer;
    Relief *relief;
    std::uint8_t strength; // of relief
    MaskedSubtraction *subtract_masked;

    // What the piece's merging goes through: the normal blend of a transfer, or, for pixels that
    // the kernels do not know, the merging of their samples as grey pixels.
    MergePiece *inner;
    Comparison comparison; // of such pixels, in a selection
};

Recipe settle(const Request &request);

// Whether the run's result lies in what is still to be read, so that the order of pixels shows.
bool order_shows(const Recipe &recipe, const Run &run);

// A run of which it does not.
void merge_run(const Recipe &recipe, const Run &run);

// Rows of such runs: no order shows, neither within a row nor from row to row.
void merge_rows(const Recipe &recipe, const RunRows &rows);

// Any run: the base is copied as a whole, then pixel follows on pixel. Transfers read the run as a
// whole before anything is written, into a work row of record_bytes for each pixel; the others need
// none.
void merge_run_in_order(const Recipe &recipe, const Run &run, std::uint8_t *work_row);

} // namespace q32::merge

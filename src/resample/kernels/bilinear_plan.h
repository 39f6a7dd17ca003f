// What the wide bilinear kernels know of a destination row's columns: the fractions, sample by
// sample, and where in a source row each sample's pair is found (the sample and its right
// neighbour). bilinear_columns.h makes plans.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <type_traits>

namespace q32::resample {
namespace {

using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint8_t;

constexpr size_t lane = 8;    // samples whose pairs fill 16 bytes
constexpr size_t window = 16; // bytes of a source row out of which one shuffle takes pairs

// Lines and the plan's tables are filled up to whole blocks of samples.
constexpr size_t block = 32;
constexpr size_t blocks_of(size_t samples) {
    return (samples + block - 1) / block;
}

// Columns are looked at in groups, which fill as many lanes as a pixel has samples.
constexpr size_t group = 8;
constexpr size_t groups_of(size_t pixels, size_t pixel_bytes) {
    const size_t lanes = blocks_of(pixels * pixel_bytes) * (block / lane);
    return (lanes + pixel_bytes - 1) / pixel_bytes;
}

// How pairs are found in a source row. The first way that can find them all is taken.
enum class Search : int {
    lanes,      // a window holds the pairs of a lane
    half_lanes, // a window holds the pairs of half a lane
    pixels,     // each pixel by itself
};

struct Plan {
    size_t pixels;
    size_t samples; // of the destination row
    size_t pixel_bytes;
    size_t row_bytes; // of a source row
    Search search;

    uint16_t *fraction;  // of each sample
    int32_t *left;       // of each pixel: where it begins in the source row
    int32_t *start;      // of each window: where it begins in the source row
    uint8_t *index;      // of each lane: where its pairs lie in its windows
    int32_t *edge_pixel; // pixels that a wide load would not find
    size_t edge_pixels;
    uint8_t short_row[window]; // a copy of a source row that is shorter than a window

    // Where the last pixel of a source row begins. It is its own right neighbour.
    int32_t last_left() const { return int32_t(row_bytes - pixel_bytes); }
    size_t line_bytes() const { return blocks_of(samples) * block * 2; }
};

// The tables behind a plan, one after another.
class PlanTables {
public:
    PlanTables(size_t pixels, size_t pixel_bytes) {
        const size_t groups = groups_of(pixels, pixel_bytes), lanes = groups * pixel_bytes;
        fraction = take<uint16_t>(lanes * lane);
        left = take<int32_t>(groups * group);
        start = take<int32_t>(2 * lanes);
        index = take<uint8_t>(2 * lane * lanes);
        edge_pixel = take<int32_t>(pixels);
    }

    size_t fraction, left, start, index, edge_pixel; // bytes from the plan on
    size_t end = round_up_to_work_alignment(sizeof(Plan));

private:
    template <typename Entry>
    size_t take(size_t count) {
        const size_t begin = end;
        end += round_up_to_work_alignment(count * sizeof(Entry));
        return begin;
    }
};

inline size_t plan_bytes(size_t pixels, int pixel_bytes) {
    return PlanTables(pixels, size_t(pixel_bytes)).end;
}

inline Plan &lay_out_plan(void *work, size_t pixels, Extent source, size_t pixel_bytes) {
    auto *bytes = static_cast<uint8_t *>(work);
    const PlanTables tables(pixels, pixel_bytes);
    Plan &plan = *static_cast<Plan *>(work);
    plan.pixels = pixels;
    plan.samples = pixels * pixel_bytes;
    plan.pixel_bytes = pixel_bytes;
    plan.row_bytes = size_t(source.count) * pixel_bytes;
    plan.fraction = reinterpret_cast<uint16_t *>(bytes + tables.fraction);
    plan.left = reinterpret_cast<int32_t *>(bytes + tables.left);
    plan.start = reinterpret_cast<int32_t *>(bytes + tables.start);
    plan.index = bytes + tables.index;
    plan.edge_pixel = reinterpret_cast<int32_t *>(bytes + tables.edge_pixel);
    plan.edge_pixels = 0;
    return plan;
}

// A line holds two bytes for each sample. A pixel by itself is stored as 8 bytes.
inline size_t line_bytes(size_t pixels, int pixel_bytes) {
    return blocks_of(pixels * size_t(pixel_bytes)) * block * 2 + 8;
}

} // namespace
} // namespace q32::resample

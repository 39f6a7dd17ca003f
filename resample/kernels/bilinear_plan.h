// What the wide bilinear kernels know of a destination row's columns: the fractions, sample by
// sample, and where in a source row each sample's pair is found (the sample and its right
// neighbour). bilinear_wide.h reads it.
//
// Included by files that are compiled for different processors: everything here is private to the
// file that includes it.
#pragma once

#include "resample/kernels/resample_kernels.h"

#include <cstring>

namespace q32::resample {
namespace {

using std::int32_t;
using std::size_t;
using std::uint8_t;

constexpr size_t lane = 8;    // samples whose pairs fill 16 bytes
constexpr size_t window = 16; // bytes of a source row out of which one shuffle takes pairs

// Lines and the plan's tables are filled up to whole blocks of samples.
constexpr size_t block = 32;
constexpr size_t blocks_of(size_t samples) {
    return (samples + block - 1) / block;
}

// How pairs are found in a source row. The first way that can find them all is taken.
enum class Search : int {
    lanes,      // a window holds the pairs of a lane
    half_lanes, // a window holds the pairs of half a lane
    pixels,     // each pixel by itself
};

struct Plan {
    size_t pixels;
    size_t samples;   // of the destination row
    size_t row_bytes; // of a source row
    int pixel_bytes;
    Search search;

    std::uint16_t *fraction; // of each sample
    int32_t *left;           // of each pixel: where it begins in the source row
    int32_t *start;          // of each window: where it begins in the source row
    uint8_t *index;          // of each lane: where its pairs lie in its windows
    int32_t *edge_pixel;     // pixels that a wide load would not find
    size_t edge_pixels;
    uint8_t short_row[window]; // a copy of a source row that is shorter than a window

    size_t blocks() const { return blocks_of(samples); }
};

// Pixels are looked at in groups that fill lanes.
constexpr size_t group = 8;
constexpr size_t padded_pixels(size_t pixels) {
    return (pixels + block + group - 1) / group * group;
}

constexpr size_t lanes_of(size_t pixels, size_t samples) {
    return padded_pixels(pixels) * samples / lane;
}

Plan &lay_out_plan(void *work, size_t pixels, int pixel_bytes) {
    Plan &plan = *static_cast<Plan *>(work);
    const size_t samples = pixels * size_t(pixel_bytes);
    const size_t lanes = lanes_of(pixels, size_t(pixel_bytes));
    auto *at = static_cast<uint8_t *>(work) + round_up_to_work_alignment(sizeof(Plan));
    const auto take = [&](auto *&table, size_t count) {
        table = reinterpret_cast<std::remove_reference_t<decltype(table)>>(at);
        at += round_up_to_work_alignment(count * sizeof *table);
    };
    plan.pixels = pixels;
    plan.samples = samples;
    plan.pixel_bytes = pixel_bytes;
    take(plan.fraction, lanes * lane);
    take(plan.left, padded_pixels(pixels));
    take(plan.start, 2 * lanes);
    take(plan.index, 2 * lane * lanes);
    take(plan.edge_pixel, pixels);
    return plan;
}

size_t plan_bytes(size_t pixels, int pixel_bytes) {
    const size_t lanes = lanes_of(pixels, size_t(pixel_bytes));
    return round_up_to_work_alignment(sizeof(Plan)) +
           round_up_to_work_alignment(lanes * lane * sizeof *Plan::fraction) +
           round_up_to_work_alignment(padded_pixels(pixels) * sizeof *Plan::left) +
           round_up_to_work_alignment(2 * lanes * sizeof *Plan::start) +
           round_up_to_work_alignment(2 * lane * lanes) +
           round_up_to_work_alignment(pixels * sizeof *Plan::edge_pixel);
}

// A line holds two bytes for each sample. A pixel by itself is stored as 8 bytes.
size_t line_bytes(size_t pixels, int pixel_bytes) {
    return blocks_of(pixels * size_t(pixel_bytes)) * block * 2 + 8;
}

// Where pixels begin, and the fractions.
template <int pixel_bytes>
void find_pixels(Plan &plan, const Positions &columns, Extent source) {
    for (size_t x = 0; x < columns.count; ++x) {
        plan.left[x] = (source.cut(columns.index[x]) - source.first) * pixel_bytes;
        for (int sample = 0; sample < pixel_bytes; ++sample)
            plan.fraction[x * pixel_bytes + sample] = std::uint16_t(columns.fraction[x]);
    }
    for (size_t x = columns.count; x < padded_pixels(columns.count); ++x)
        plan.left[x] = plan.left[columns.count - 1];
}

// Windows of so many samples, each; false where one does not hold the pairs of its samples.
template <int pixel_bytes, size_t samples>
bool find_windows(Plan &plan) {
    const int32_t last_byte = int32_t(plan.row_bytes) - 1;
    const int32_t last_left = int32_t(plan.row_bytes) - pixel_bytes;
    const int32_t last_start = std::max<int32_t>(0, int32_t(plan.row_bytes - window));
    int32_t *start = plan.start;
    uint8_t *index = plan.index;
    for (size_t x = 0; x < padded_pixels(plan.pixels); x += group) {
        const int32_t *left = plan.left + x;
        for (size_t first = 0; first < group * pixel_bytes; first += samples) {
            int32_t low = left[first / pixel_bytes], high = low;
            for (size_t pixel = first / pixel_bytes; pixel <= (first + samples - 1) / pixel_bytes;
                 ++pixel) {
                low = std::min(low, left[pixel]);
                high = std::max(high, left[pixel]);
            }
            high = std::min(high + 2 * pixel_bytes - 1, last_byte);
            low = std::min(low, last_start);
            if (high - low >= int32_t(window))
                return false;
            *start++ = low;
            for (size_t sample = first; sample < first + samples; ++sample) {
                const int32_t pixel = left[sample / pixel_bytes];
                const int32_t at = pixel - low + int32_t(sample % pixel_bytes);
                *index++ = uint8_t(at);
                *index++ = uint8_t(pixel == last_left ? at : at + pixel_bytes);
            }
        }
    }
    return true;
}

// Pixels that end the row, or that a load of 8 bytes would read beyond its end.
void find_edge_pixels(Plan &plan) {
    const auto last_wide = int32_t(plan.row_bytes) - (plan.pixel_bytes == 1 ? 2 : 8);
    plan.edge_pixels = 0;
    for (size_t x = 0; x < plan.pixels; ++x)
        if (plan.left[x] > last_wide)
            plan.edge_pixel[plan.edge_pixels++] = int32_t(x);
}

template <int pixel_bytes>
void make_plan_of(Plan &plan, const Positions &columns, Extent source) {
    find_pixels<pixel_bytes>(plan, columns, source);
#ifdef __SSSE3__
    if (find_windows<pixel_bytes, lane>(plan)) {
        plan.search = Search::lanes;
        return;
    }
    if (find_windows<pixel_bytes, lane / 2>(plan)) {
        plan.search = Search::half_lanes;
        return;
    }
#endif
    plan.search = Search::pixels;
    find_edge_pixels(plan);
}

void make_plan(void *work, const Positions &columns, Extent source, int pixel_bytes) {
    Plan &plan = lay_out_plan(work, columns.count, pixel_bytes);
    plan.row_bytes = size_t(source.count) * size_t(pixel_bytes);
    switch (pixel_bytes) {
    case 1:
        return make_plan_of<1>(plan, columns, source);
    case 3:
        return make_plan_of<3>(plan, columns, source);
    default:
        return make_plan_of<4>(plan, columns, source);
    }
}

} // namespace
} // namespace q32::resample

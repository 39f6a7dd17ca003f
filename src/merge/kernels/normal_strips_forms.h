// Colour rows of up to 31 pixels below each other, under the normal rule: what cells at odd places
// to each other have beside their long rows. A row is taken out of memory in two or three pieces,
// the last of which is moved back so that it ends with the row. Pieces of several rows go into one
// vector where they are short; all of them are read before any is written.
//
// Private to the file that includes it, as rules.h.
#pragma once

#include "merge/kernels/blend_kernels.h"
#include "merge/kernels/weighing.h"
#include "merge/kernels/weight_pairs.h"

#include <array>
#include <cstring>

namespace q32::merge {
namespace {

constexpr size_t most_strip_pixels = 31;

// --- rows ---------------------------------------------------------------------------------------

// The rows that a step takes, as far as their first bytes.
struct StripRows {
    uint8_t *destination;
    const uint8_t *overlay, *weights;
    size_t destination_stride, overlay_stride, weights_stride;

    StripRows row(size_t number) const { return moved(number, 0); }
    StripRows from(size_t sample) const { return moved(0, sample); }

    // Has the processor look for a row that is soon to be merged.
    [[gnu::always_inline]] void fetch(size_t number) const {
        constexpr size_t ahead = 8;
        __builtin_prefetch(destination + (ahead + number) * destination_stride);
        __builtin_prefetch(overlay + (ahead + number) * overlay_stride);
        __builtin_prefetch(weights + (ahead + number) * weights_stride);
    }

private:
    StripRows moved(size_t rows, size_t samples) const {
        return {destination + rows * destination_stride + samples,
                overlay + rows * overlay_stride + samples,
                weights + rows * weights_stride,
                destination_stride,
                overlay_stride,
                weights_stride};
    }
};

template <class Number>
Number loaded(const uint8_t *at) {
    Number number;
    std::memcpy(&number, at, sizeof number);
    return number;
}
template <class Number>
void stored(uint8_t *at, int value) {
    const Number number = Number(value);
    std::memcpy(at, &number, sizeof number);
}

inline V16 load_8_and_8(const uint8_t *low, const uint8_t *high) {
    const auto begin = _mm_castsi128_ps(load_8(low));
    return _mm_castps_si128(_mm_loadh_pi(begin, reinterpret_cast<const __m64 *>(high)));
}
inline void store_8_and_8(uint8_t *low, uint8_t *high, V16 v) {
    store_8(low, v);
    _mm_storeh_pi(reinterpret_cast<__m64 *>(high), _mm_castsi128_ps(v));
}

// --- weights ------------------------------------------------------------------------------------

// The weights of a row in the first bytes of a lane: two pieces of so many bytes, of which the last
// one ends with the row.
template <size_t piece>
V16 row_weights(const uint8_t *weights, size_t pixels) {
    const uint8_t *const last = weights + (pixels - piece);
    if constexpr (piece == 2)
        return _mm_insert_epi16(_mm_insert_epi16(zero<V16>(), loaded<std::uint16_t>(weights), 0),
                                loaded<std::uint16_t>(last), 1);
    else if constexpr (piece == 4)
        return _mm_insert_epi32(load_4(weights), loaded<int>(last), 1);
    else
        return load_8_and_8(weights, last);
}

// Where a pixel's weight is then.
constexpr size_t place_in_weights(size_t pixel, size_t piece, size_t pixels) {
    return pixel < piece ? pixel : pixel + 2 * piece - pixels;
}

// Which byte of a lane of weights each word of samples needs.
struct WeightIndices {
    ByteTable<32> low, high;
};

template <class ByteOf>
constexpr WeightIndices weight_indices(ByteOf byte_of) {
    const auto half = [=](size_t number) {
        return bytes_by<32>([=](size_t i) { return byte_of(i / 16, number, i % 16 / 2); });
    };
    return {half(0), half(1)};
}

// The indices of strips of each width: sample_of(pixels, lane, half, word) is the sample whose
// weight a word needs.
template <size_t fewest, size_t most, size_t weights_piece, class SampleOf>
constexpr auto indices_by_width(SampleOf sample_of) {
    std::array<WeightIndices, most - fewest + 1> all{};
    for (size_t pixels = fewest; pixels <= most; ++pixels)
        all[pixels - fewest] = weight_indices([=](size_t lane, size_t half, size_t word) {
            return place_in_weights(sample_of(pixels, lane, half, word) / 3, weights_piece, pixels);
        });
    return all;
}

// --- arithmetic ---------------------------------------------------------------------------------

// Overlay and base side by side, in words of two samples.
template <Rounding rounding, class V>
V merged(Pairs<V> samples, V weights, const WeightIndices &indices) {
    const V flips = repeat_u8<V>(sample_flips);
    const Pairs<V> pairs = with_complements(shuffle_u8(weights, load<V>(indices.low.at)),
                                            shuffle_u8(weights, load<V>(indices.high.at)));
    return rounded<rounding, V>({weighed_sums(samples.low ^ flips, pairs.low),
                                 weighed_sums(samples.high ^ flips, pairs.high)});
}

// --- strips -------------------------------------------------------------------------------------

// A strip has
//   rows           how many it takes at once
//   merge(rows)    merges them

// One pixel: four rows in the double words of a lane, of which the last bytes are nothing's.
template <Rounding rounding>
struct PixelStrip {
    static constexpr size_t rows = 4;

    explicit PixelStrip(size_t) {}

    void merge(const StripRows &all) const {
        static constexpr WeightIndices indices =
            weight_indices([](size_t, size_t half, size_t word) { return 2 * half + word / 4; });
        V16 base = zero<V16>(), overlay = base, weights = base;
        each_row([&](auto number) {
            constexpr size_t k = number;
            const StripRows row = all.row(k);
            base = with_pixel<k>(base, row.destination);
            overlay = with_pixel<k>(overlay, row.overlay);
            weights = _mm_insert_epi8(weights, *row.weights, k);
        });
        const V16 result = merged<rounding>(pairs_u8(overlay, base), weights, indices);
        each_row([&](auto number) {
            constexpr size_t k = number;
            uint8_t *const to = all.row(k).destination;
            stored<std::uint16_t>(to, _mm_extract_epi16(result, 2 * k));
            to[2] = uint8_t(_mm_extract_epi8(result, 4 * k + 2));
        });
    }

private:
    template <class Action>
    static void each_row(Action action) {
        for_each(std::make_index_sequence<rows>(), action);
    }
    template <size_t k>
    static V16 with_pixel(V16 v, const uint8_t *at) {
        return _mm_insert_epi8(_mm_insert_epi16(v, loaded<std::uint16_t>(at), 2 * k), at[2],
                               4 * k + 2);
    }
};

// Two pixels: two pieces of four samples, four rows.
template <Rounding rounding>
struct TwoPixelStrip {
    static constexpr size_t rows = 4;

    explicit TwoPixelStrip(size_t) {}

    void merge(const StripRows &all) const {
        static constexpr WeightIndices indices =
            weight_indices([](size_t, size_t half, size_t word) {
                return 2 * half + (word < 4 ? word : word - 2) / 3;
            });
        const V32 weights =
            join_lanes<V32>(weights_of(all.row(0), all.row(2)), weights_of(all.row(1), all.row(3)));
        const V32 result =
            merged<rounding, V32>({join_lanes<V32>(pieces_of(all.row(0)), pieces_of(all.row(1))),
                                   join_lanes<V32>(pieces_of(all.row(2)), pieces_of(all.row(3)))},
                                  weights, indices);
        put<0>(all.row(0), lane_of<0>(result));
        put<0>(all.row(1), lane_of<1>(result));
        put<2>(all.row(2), lane_of<0>(result));
        put<2>(all.row(3), lane_of<1>(result));
    }

private:
    static constexpr size_t last = 2;

    static V16 weights_of(const StripRows &row, const StripRows &other) {
        return _mm_insert_epi16(
            _mm_insert_epi16(zero<V16>(), loaded<std::uint16_t>(row.weights), 0),
            loaded<std::uint16_t>(other.weights), 1);
    }
    static V16 pieces_of(const StripRows &row) {
        return interleave_low_u64(
            interleave_low_u8(load_4(row.overlay), load_4(row.destination)),
            interleave_low_u8(load_4(row.overlay + last), load_4(row.destination + last)));
    }
    template <int first>
    static void put(const StripRows &row, V16 v) {
        stored<int>(row.destination, _mm_extract_epi32(v, first));
        stored<int>(row.destination + last, _mm_extract_epi32(v, first + 1));
    }
};

// Three to five: two pieces of eight samples, a row in each lane.
template <Rounding rounding, size_t weights_piece>
class HalfLaneStrip {
public:
    static constexpr size_t rows = 2, fewest = 3, most = 5;

    explicit HalfLaneStrip(size_t pixels)
        : pixels_(pixels), last_(3 * pixels - 8), indices_(all_indices[pixels - fewest]) {}

    void merge(const StripRows &all) const {
        const StripRows first = all.row(0), second = all.row(1);
        const V32 weights = join_lanes<V32>(row_weights<weights_piece>(first.weights, pixels_),
                                            row_weights<weights_piece>(second.weights, pixels_));
        const V32 result = merged<rounding, V32>(
            {join_lanes<V32>(eight(first), eight(second)),
             join_lanes<V32>(eight(first.from(last_)), eight(second.from(last_)))},
            weights, indices_);
        store_8_and_8(first.destination, first.destination + last_, lane_of<0>(result));
        store_8_and_8(second.destination, second.destination + last_, lane_of<1>(result));
    }

private:
    static constexpr auto all_indices = indices_by_width<fewest, most, weights_piece>(
        [](size_t pixels, size_t, size_t half, size_t word) {
            return (half == 0 ? 0 : 3 * pixels - 8) + word;
        });

    static V16 eight(const StripRows &row) {
        return interleave_low_u8(load_8(row.overlay), load_8(row.destination));
    }

    size_t pixels_, last_;
    const WeightIndices &indices_;
};

// Six to ten: two pieces of sixteen, one in each lane.
template <Rounding rounding, size_t weights_piece>
class LaneStrip {
public:
    static constexpr size_t rows = 1, fewest = 6, most = 10;

    explicit LaneStrip(size_t pixels)
        : pixels_(pixels), last_(3 * pixels - 16), indices_(all_indices[pixels - fewest]) {}

    void merge(const StripRows &row) const {
        const V32 weights = repeat_lane<V32>(row_weights<weights_piece>(row.weights, pixels_));
        const V32 overlay = load_lanes<V32>(row.overlay, last_),
                  base = load_lanes<V32>(row.destination, last_);
        store_lanes(row.destination, last_,
                    merged<rounding>(pairs_u8(overlay, base), weights, indices_));
    }

private:
    static constexpr auto all_indices = indices_by_width<fewest, most, weights_piece>(
        [](size_t pixels, size_t lane, size_t half, size_t word) {
            return (lane == 0 ? 0 : 3 * pixels - 16) + 8 * half + word;
        });

    size_t pixels_, last_;
    const WeightIndices &indices_;
};

// More: two or three whole vectors. A piece of sixteen weights serves both lanes of one; of fewer
// than sixteen pixels it is the same for all.
template <Rounding rounding, size_t vectors, size_t fewest, size_t most>
class VectorStrip {
public:
    static constexpr size_t rows = 1;

    explicit VectorStrip(size_t pixels)
        : pixels_(pixels), last_(3 * pixels - 32), indices_(all_indices[pixels - fewest]) {}

    void merge(const StripRows &row) const {
        V32 result[vectors];
        for_each(std::make_index_sequence<vectors>(), [&](auto k) {
            const StripRows piece = row.from(first_sample(k, last_));
            result[k] =
                merged<rounding>(pairs_u8(load<V32>(piece.overlay), load<V32>(piece.destination)),
                                 weights_of(row.weights, k), indices_[k]);
        });
        for_each(std::make_index_sequence<vectors>(),
                 [&](auto k) { store(row.destination + first_sample(k, last_), result[k]); });
    }

private:
    static constexpr bool has_whole_lanes = fewest >= 16;

    static constexpr size_t first_sample(size_t k, size_t last) {
        return k == vectors - 1 ? last : k * sizeof(V32);
    }
    static constexpr size_t first_weight(size_t k, size_t pixels) {
        const size_t at = first_sample(k, 3 * pixels - 32) / 3;
        return at < pixels - 16 ? at : pixels - 16;
    }
    V32 weights_of(const uint8_t *weights, size_t k) const {
        if constexpr (has_whole_lanes)
            return repeat_lane<V32>(load_16(weights + first_weight(k, pixels_)));
        else
            return repeat_lane<V32>(row_weights<8>(weights, pixels_));
    }

    static constexpr auto all_indices = [] {
        std::array<std::array<WeightIndices, vectors>, most - fewest + 1> all{};
        for (size_t pixels = fewest; pixels <= most; ++pixels)
            for (size_t k = 0; k < vectors; ++k)
                all[pixels - fewest][k] =
                    weight_indices([=](size_t lane, size_t half, size_t word) {
                        const size_t pixel =
                            (first_sample(k, 3 * pixels - 32) + 16 * lane + 8 * half + word) / 3;
                        return has_whole_lanes ? pixel - first_weight(k, pixels)
                                               : place_in_weights(pixel, 8, pixels);
                    });
        return all;
    }();

    size_t pixels_, last_;
    const std::array<WeightIndices, vectors> &indices_;
};

template <Rounding rounding>
class NormalStrips {
public:
    static void merge(const MaskedRows &all) {
        if (all.pixels == 0)
            return;
        if (all.pixels == 1)
            return merge_rows<PixelStrip<rounding>>(all);
        if (all.pixels == 2)
            return merge_rows<TwoPixelStrip<rounding>>(all);
        if (all.pixels == 3)
            return merge_rows<HalfLaneStrip<rounding, 2>>(all);
        if (all.pixels <= 5)
            return merge_rows<HalfLaneStrip<rounding, 4>>(all);
        if (all.pixels <= 7)
            return merge_rows<LaneStrip<rounding, 4>>(all);
        if (all.pixels <= 10)
            return merge_rows<LaneStrip<rounding, 8>>(all);
        if (all.pixels <= 15)
            return merge_rows<VectorStrip<rounding, 2, 11, 15>>(all);
        if (all.pixels <= 21)
            return merge_rows<VectorStrip<rounding, 2, 16, 21>>(all);
        merge_rows<VectorStrip<rounding, 3, 22, most_strip_pixels>>(all);
    }

private:
    // Rows that are left over are each taken for all rows of a step.
    template <class Strip>
    [[gnu::noinline, gnu::flatten]] static void merge_rows(const MaskedRows &all) {
        const Strip strip(all.pixels);
        StripRows rows = {all.destination,        all.overlay,        all.weights,
                          all.destination_stride, all.overlay_stride, all.weights_stride};
        size_t left = all.rows;
        for (; left >= Strip::rows; left -= Strip::rows) {
            for (size_t k = 0; k < Strip::rows; ++k)
                rows.fetch(k);
            strip.merge(rows);
            rows = rows.row(Strip::rows);
        }
        for (; left != 0; --left) {
            strip.merge({rows.destination, rows.overlay, rows.weights, 0, 0, 0});
            rows = rows.row(1);
        }
    }
};

} // namespace
} // namespace q32::merge

// Reducing rows of bits without a byte shuffle, eight pixels at a time: they lie at different bits
// of their bytes, or do once some are shifted, so that the sum of all these bytes has every one of
// them, and a table brings them into order.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_plans.h"
#include "simd/operations.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace q32::rows {
namespace {

// The pixels of each group begin within `pieces` times 16 bytes, or within 8.
template <size_t groups, size_t pieces>
class ReduceByFolding {
public:
    static constexpr size_t width = pieces == 0 ? 8 : 16, loads = pieces == 0 ? 1 : pieces;

    explicit ReduceByFolding(size_t factor)
        : plan_(bit_fold_plans[factor]), order_(ordered_bits.of[factor % 8]),
          distance_(factor / groups) {
        for (size_t piece = 0; piece < loads; ++piece)
            masks_[piece] = load_width(plan_.pieces[piece].mask());
    }

    // Of how many bytes eight pixels are taken.
    size_t reads() const { return (groups - 1) * distance_ + loads * width; }

    uint8_t make(const uint8_t *source) const {
        return folded(
            [=, this](size_t at, size_t piece) { return load_width(source + at) & masks_[piece]; });
    }
    // The same where the row has this end: what would lie behind it is loaded from further back, of
    // the mask too.
    uint8_t make_up_to(const uint8_t *end, const uint8_t *source) const {
        return folded([=, this](size_t at, size_t piece) {
            const std::ptrdiff_t left = end - source - std::ptrdiff_t(at), all = width;
            const std::ptrdiff_t back = std::max<std::ptrdiff_t>(all - left, 0);
            return load_width(source + (std::ptrdiff_t(at) - back)) &
                   load_width(plan_.pieces[piece].mask() - std::min(back, all));
        });
    }

private:
    static V16 load_width(const uint8_t *at) {
        if constexpr (width == 8)
            return load_8(at);
        else
            return load_16(at);
    }
    template <class Load>
    uint8_t folded(Load load) const {
        V16 sums = _mm_sad_epu8(all_groups(load, std::make_index_sequence<groups>()), zero<V16>());
        if constexpr (width == 16)
            sums = sums | _mm_unpackhi_epi64(sums, sums);
        return order_[uint8_t(_mm_cvtsi128_si32(sums))];
    }
    template <class Load, size_t... group>
    V16 all_groups(Load load, std::index_sequence<group...>) const {
        return (shift_right_u16<int(group)>(one_group(load, group * distance_)) | ...);
    }
    template <class Load>
    static V16 one_group(Load load, size_t at) {
        V16 bits = load(at, 0);
        for (size_t piece = 1; piece < loads; ++piece)
            bits = bits | load(at + 16 * piece, piece);
        return bits;
    }

    const BitFoldPlan &plan_;
    const uint8_t *order_;
    size_t distance_; // of groups
    V16 masks_[loads];
};

template <size_t groups, size_t pieces>
void reduce_by_folding(uint8_t *destination, const uint8_t *source, size_t pixels, size_t factor) {
    const ReduceByFolding<groups, pieces> step(factor);
    const uint8_t *const end = source + (pixels + 7) / 8;
    const uint8_t *const begin = destination;
    const size_t reads = std::max(step.reads(), factor);
    for (size_t bytes = pixels / 8; bytes >= reads; bytes -= factor, source += factor)
        *destination++ = step.make(source);

    size_t left = (pixels + factor - 1) / factor - 8 * size_t(destination - begin);
    for (; left >= 8; left -= 8, source += factor)
        *destination++ = step.make_up_to(end, source);
    if (left != 0)
        *destination = uint8_t(step.make_up_to(end, source) & 0xFF00u >> left);
}

// By a factor that is no multiple of 8 and has a plan. Returns whether the row is long enough.
inline bool reduce_in_groups(uint8_t *destination, const uint8_t *source, size_t pixels,
                             size_t factor) {
    if (pixels <= 8 * 15)
        return false;
    const size_t groups = groups_of(factor), bytes_of_group = (8 / groups - 1) * factor / 8 + 1;
    const auto reduce = [&] {
        if (groups == 4)
            return reduce_by_folding<4, 0>;
        if (groups == 2)
            return bytes_of_group <= 8 ? reduce_by_folding<2, 0> : reduce_by_folding<2, 1>;
        return bytes_of_group <= 8    ? reduce_by_folding<1, 0>
               : bytes_of_group <= 16 ? reduce_by_folding<1, 1>
               : bytes_of_group <= 32 ? reduce_by_folding<1, 2>
                                      : reduce_by_folding<1, 3>;
    }();
    reduce(destination, source, pixels, factor);
    return true;
}

// --- multiples of 8 -----------------------------------------------------------------------------

// Every pixel begins a byte: the first bits of eight. A mask begins with its lowest bit.
inline uint8_t first_bits(const uint8_t *source, size_t distance) {
    const auto two = [=](size_t pixel) {
        return interleave_low_u8(load_4(source + (pixel + 1) * distance),
                                 load_4(source + pixel * distance));
    };
    const V16 later = interleave_low_u16(two(6), two(4)),
              first = interleave_low_u16(two(2), two(0));
    return uint8_t(top_bits(interleave_low_u32(later, first)));
}

// Returns how many bytes are made of those of the source.
inline size_t reduce_to_first_bits(uint8_t *destination, const uint8_t *source, size_t bytes,
                                   size_t factor) {
    const size_t distance = factor / 8, reads = std::max(factor, 7 * distance + 4);
    size_t made = 0;
    for (; bytes >= reads; bytes -= factor, source += factor)
        destination[made++] = first_bits(source, distance);
    return made;
}

} // namespace
} // namespace q32::rows

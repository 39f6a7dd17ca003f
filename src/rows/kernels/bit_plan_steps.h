// Enlarging and reducing rows of bits by factors that have a plan: pixels are bytes for a moment,
// and a byte shuffle puts each where the plan says. Needs the byte shuffle.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "rows/kernels/bit_scaling_plans.h"
#include "rows/kernels/few_bytes.h"
#include "rows/kernels/with_factor.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace q32::rows {
namespace {

template <class V>
inline V plan_bytes(const uint8_t (&bytes)[16]) {
    return repeat_lane<V>(load_16(bytes));
}

#ifdef __AVX2__

// --- enlarging ----------------------------------------------------------------------------------

// 16 pixels as bytes that are all set or all clear, in both lanes.
inline V32 pixels_as_bytes(const uint8_t *source) {
    static constexpr LaneBytes places = lane_by([](int i) { return i / 8; });
    static constexpr LaneBytes bits = lane_by([](int i) { return 0x80 >> i % 8; });
    std::uint16_t two_bytes;
    std::memcpy(&two_bytes, source, sizeof two_bytes);
    const V32 spread = shuffle_u8(repeat_u16<V32>(two_bytes), as_vector<V32>(places));
    return equal_u8(spread & as_vector<V32>(bits), as_vector<V32>(bits));
}

// Pieces of 16 bytes are stored by two, the last one of an odd number by itself: of stores that
// begin anywhere long ones more often touch two cache lines.
template <size_t pieces>
class EnlargeByPlan {
public:
    explicit EnlargeByPlan(size_t factor)
        : plan_(bit_enlarge_plans[factor]), last_(last_piece(factor, sizeof(Last))) {}

    // Two bytes of the source.
    [[gnu::always_inline]] void make(uint8_t *destination, const uint8_t *source) const {
        const V32 pixels = pixels_as_bytes(source);
        const V32 meeting =
            select_bits(plan_bytes<V32>(plan_.meets), pixels, _mm256_srli_si256(pixels, 1));
        size_t at = 0;
        for (size_t left = pieces; left > 2; left -= 2, at += 32)
            make_piece(destination + at, at, pixels, meeting);
        if constexpr (pieces % 2 == 0)
            make_piece(destination + last_, last_, pixels, meeting);
        else
            make_piece(destination + last_, last_, lane_of<0>(pixels), lane_of<0>(meeting));
    }

private:
    using Last = std::conditional_t<pieces % 2 == 0, V32, V16>;

    template <class V>
    void make_piece(uint8_t *destination, size_t at, V pixels, V meeting) const {
        store(destination, shuffle_u8(pixels, load<V>(plan_.whole + at)) |
                               shuffle_u8(meeting, load<V>(plan_.shared + at)));
    }

    const BitEnlargePlan &plan_;
    size_t last_;
};

// Whole bytes, two or more. The last step is moved back to end with the row.
template <size_t pieces>
void enlarge_bytes_in_pieces(uint8_t *destination, const uint8_t *source, size_t bytes,
                             size_t factor) {
    const EnlargeByPlan<pieces> step(factor);
    for (size_t left = bytes;; left -= 2, source += 2, destination += 2 * factor) {
        if (left < 2) {
            --source;
            destination -= factor;
        }
        step.make(destination, source);
        if (left <= 2)
            return;
    }
}

template <size_t pieces>
inline void enlarge_bits_in_pieces(uint8_t *destination, const uint8_t *source, size_t pixels,
                                   size_t factor) {
    const size_t bytes = pixels / 8 >= 2 ? pixels / 8 : 0;
    if (bytes != 0)
        enlarge_bytes_in_pieces<pieces>(destination, source, bytes, factor);
    if (const size_t left = pixels - 8 * bytes; left != 0) {
        uint8_t last[2] = {source[bytes]};
        if (left > 8)
            last[1] = source[bytes + 1];
        last[left / 8] &= uint8_t(0xFF00u >> left % 8);
        uint8_t row_end[16 * pieces];
        enlarge_bytes_in_pieces<pieces>(row_end, last, 2, factor);
        std::memcpy(destination + factor * bytes, row_end, (left * factor + 7) / 8);
    }
}

#endif

// --- reducing -----------------------------------------------------------------------------------

// Of every lane two bytes of the destination, from a source of its own.
template <class V>
inline constexpr size_t reduced_bytes = 2 * lanes<V>;

template <class V, size_t pieces>
class ReduceByPlan {
public:
    explicit ReduceByPlan(size_t factor)
        : plan_(bit_reduce_plans[factor]), distance_(2 * factor), last_(last_piece(factor, 16)),
          first_places_(plan_bytes<V>(plan_.places[0])), bits_(plan_bytes<V>(plan_.bits)) {}

    // Pixels, those of the first byte lowest.
    [[gnu::always_inline]] auto make(const uint8_t *source) const {
        V bytes = shuffle_u8(load_lanes<V>(source, distance_), first_places_);
        for (size_t k = 1; k < pieces; ++k) {
            const size_t at = k + 1 < pieces ? 16 * k : last_;
            const V piece = load_lanes<V>(source + at, distance_);
            bytes = bytes | shuffle_u8(piece, plan_bytes<V>(plan_.places[k]));
        }
        return pixels_of(bytes);
    }
    // The same where there is one piece, which begins at this byte of a vector.
    [[gnu::always_inline]] auto make_from(V bytes, size_t begin) const {
        return pixels_of(shuffle_u8(bytes, add_u8(first_places_, repeat_u8<V>(int(begin)))));
    }

private:
    auto pixels_of(V bytes) const { return top_bits(equal_u8(bytes & bits_, bits_)); }

    const BitReducePlan &plan_;
    size_t distance_; // of lanes
    size_t last_;
    V first_places_, bits_; // what every step needs
};

// Returns how many bytes are made of those of the source. With one piece a step reads 16 bytes of
// each lane, of which it may not need all.
template <class V, size_t pieces>
inline size_t reduce_in_pieces(uint8_t *destination, const uint8_t *source, size_t bytes,
                               size_t factor) {
    const size_t distance = reduced_bytes<V> * factor;
    const size_t reads = pieces == 1 ? distance - 2 * factor + 16 : distance;
    if (bytes < reads)
        return 0;
    const ReduceByPlan<V, pieces> step(factor);
    const uint8_t *const end = source + bytes - reads;
    uint8_t *to = destination;
    for (; source <= end; source += distance, to += reduced_bytes<V>) {
        const auto pixels = step.make(source);
        std::memcpy(to, &pixels, sizeof pixels);
    }
    return size_t(to - destination);
}

// Up to the end of a row. make(at): the pixels of the 16 bytes from byte `at` on.
template <class Make>
inline void reduce_row_end(uint8_t *destination, size_t pixels, size_t factor, Make make) {
    size_t at = 0;
    for (; pixels > 15 * factor; destination += 2, at += 2 * factor) {
        const auto made = make(at);
        std::memcpy(destination, &made, sizeof made);
        if (pixels <= 16 * factor)
            return;
        pixels -= 16 * factor;
    }
    if (pixels == 0)
        return;
    const size_t left = (pixels + factor - 1) / factor;
    const unsigned made = make(at);
    if (left <= 8) {
        *destination = uint8_t(made & 0xFF00u >> left);
    } else {
        destination[0] = uint8_t(made);
        destination[1] = uint8_t(made >> 8 & 0xFF00u >> (left - 8));
    }
}

// By a factor of 8 at most.
template <class V>
inline void reduce_bits_in_one_piece(uint8_t *destination, const uint8_t *source, size_t pixels,
                                     size_t factor) {
    if (pixels == 0)
        return;
    const ReduceByPlan<V16, 1> step(factor);
    const size_t bytes = (pixels + 7) / 8;
    if (bytes <= 16) {
        const V16 row = load_few(source, bytes);
        return reduce_row_end(destination, pixels, factor,
                              [&](size_t at) { return step.make_from(row, at); });
    }
    const size_t made = reduce_in_pieces<V, 1>(destination, source, pixels / 8, factor);
    source += factor * made;
    const auto last =
        std::ptrdiff_t(bytes - factor * made) - 16; // behind these 16 bytes is nothing
    reduce_row_end(destination + made, pixels - 8 * factor * made, factor, [&](size_t at) {
        const std::ptrdiff_t too_far = std::max<std::ptrdiff_t>(std::ptrdiff_t(at) - last, 0);
        return step.make_from(load_16(source + (std::ptrdiff_t(at) - too_far)), size_t(too_far));
    });
}

// Returns the bytes that are made.
template <class V, size_t pieces>
inline size_t reduce_bits_in_pieces(uint8_t *destination, const uint8_t *source, size_t bytes,
                                    size_t factor) {
    size_t made = reduce_in_pieces<V, pieces>(destination, source, bytes, factor);
    if constexpr (sizeof(V) > sizeof(V16))
        made += reduce_in_pieces<V16, pieces>(destination + made, source + factor * made,
                                              bytes - factor * made, factor);
    return made;
}

// --- factors ------------------------------------------------------------------------------------

// Calls work<pieces>() with the number of pieces of 16 bytes.
template <class Work>
inline void with_pieces(size_t factor, const Work &work) {
    with_factor<2, pieces_of(largest_planned_factor, 16)>(pieces_of(factor, 16), work);
}

#ifdef __AVX2__
inline void enlarge_bits_by_plan(uint8_t *destination, const uint8_t *source, size_t pixels,
                                 size_t factor) {
    with_pieces(factor, [=]<size_t pieces>() {
        if constexpr (pieces > 2)
            enlarge_bits_in_pieces<pieces>(destination, source, pixels, factor);
    });
}
#endif

// By a factor above 8.
template <class V>
size_t reduce_bits_by_plan(uint8_t *destination, const uint8_t *source, size_t bytes,
                           size_t factor) {
    size_t made = 0;
    with_pieces(factor, [&]<size_t pieces>() {
        made = reduce_bits_in_pieces<V, pieces>(destination, source, bytes, factor);
    });
    return made;
}

} // namespace
} // namespace q32::rows

// What relief and the subtractions make of a vector of samples, written once for all instruction
// sets. Masks come as the pairs of words that blending weighs with: their low bytes are the mask's.
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "merge/kernels/effect_kernels.h"
#include "merge/kernels/weighing.h"
#include "merge/kernels/weight_pairs.h"

#include <algorithm>

namespace q32::merge {
namespace {

// The high words of products, 0 where the mask byte is.
constexpr int pair_of_0 = 0xFF00;

template <class V>
V products_where_set(V a, V b, V mask) {
    return multiply_high_u16(a, b) & ~equal_u16(mask, repeat_u16<V>(pair_of_0));
}

// d x strength / 127 for a distance d from the middle is (2 x d x factor) / 65536: the factor is
// rounded up, which adds less than the 1 / 127 that a quotient can lack to the next.
template <class V>
class ReliefOf {
public:
    explicit ReliefOf(uint8_t strength) : factor_(repeat_u16<V>((strength * 32768 + 126) / 127)) {}

    V operator()(V base, V overlay, Pairs<V> mask) const {
        const V above = subtract_saturating_u8(overlay, repeat_u8<V>(128));
        const V below = subtract_saturating_u8(repeat_u8<V>(127), overlay);
        const V distance = above | below; // one of them is 0
        const Pairs<V> doubled = pairs_u8(add_saturating_u8(distance, distance), zero<V>());
        const V step =
            pack_i16_to_u8_in_lanes(products_where_set(doubled.low, factor_, mask.low),
                                    products_where_set(doubled.high, factor_, mask.high));
        // No step is longer than its distance.
        return subtract_saturating_u8(add_saturating_u8(base, min_u8(step, above)),
                                      min_u8(step, below));
    }

private:
    V factor_;
};

// What blending the overlay into black gives, taken off.
template <class V>
struct MaskedSubtractionOf {
    V operator()(V base, V overlay, Pairs<V> mask) const {
        const V weighed = blended<Normal, Rounding::divided>(overlay, zero<V>(), mask);
        return subtract_saturating_u8(base, weighed);
    }
};

// The product of a word with the portion does not fit, but the quotient by 25500 is soon estimated:
// by the right value or by one less. What is left over tells which; it is below 2 x 25500.
template <class V>
class PortionSubtractionOf {
public:
    explicit PortionSubtractionOf(std::uint32_t portion)
        : portion_(repeat_u16<V>(int(portion))),
          estimate_(repeat_u16<V>(int(std::min(portion * 65536 / whole_portion, 65535u)))) {}

    V operator()(V base, V overlay) const {
        const Pairs<V> s = pairs_u8(overlay, zero<V>());
        return subtract_saturating_u8(base,
                                      pack_i16_to_u8_in_lanes(quotient(s.low), quotient(s.high)));
    }

private:
    V quotient(V s) const {
        constexpr int whole = int(whole_portion);
        const V estimate = multiply_high_u16(s, estimate_);
        const V left = subtract_u16(multiply_low_u16(s, portion_),
                                    multiply_low_u16(estimate, repeat_u16<V>(whole)));
        return add_u16(estimate, shift_right_u16<15>(add_u16(left, repeat_u16<V>(32768 - whole))));
    }

    V portion_, estimate_;
};

} // namespace
} // namespace q32::merge

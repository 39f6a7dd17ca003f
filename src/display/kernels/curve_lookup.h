// A table that is a curve (channel_tables.h), looked up for a vector of 32 bytes: 28 operations, 23
// where it does not turn. Any table takes 41 (rows/kernels/table_lookup.h).
//
// Private to the file that includes it, as vectors.h.
#pragma once

#include "display/kernels/channel_tables.h"
#include "simd/byte_table.h"
#include "simd/operations.h"

namespace q32::display {
namespace {

// How many of the first seven steps lie up to an entry of a pair of groups, and how many bits four
// of them have.
constexpr LaneBytes steps_up_to = lane_by([](int i) { return (1 << i % 8) - 1; });
constexpr LaneBytes bits_of =
    lane_by([](int i) { return (i & 1) + (i >> 1 & 1) + (i >> 2 & 1) + (i >> 3); });

template <bool turning>
class CurveLookup {
public:
    explicit CurveLookup(const ChannelCurve &curve) : curve_(curve) {}

    V32 operator()(V32 v) const {
        const V32 group = shift_right_u16<3>(v) & repeat_u8<V32>(0x1F);
        const V32 group_less_16 = subtract_u8(group, repeat_u8<V32>(16));
        const V32 place = v & repeat_u8<V32>(0x0F);
        const V32 steps = of_group(curve_.steps, group, group_less_16);
        V32 moved = count(steps & shuffle_u8(as_vector<V32>(steps_up_to), place));
        if constexpr (turning)
            moved = add_u8(moved,
                           _mm256_cmpgt_epi8(place, of_group(curve_.turn, group, group_less_16)));
        const V32 unmoved = add_u8(v, of_group(curve_.start, group, group_less_16));
        // The shuffle gives nothing from 16 on, which then has bit 7.
        const V32 first = shuffle_u8(repeat_lane<V32>(load_16(curve_.first.data())),
                                     add_saturating_u8(v, repeat_u8<V32>(0x70)));
        return add_u8(add_u8(unmoved, first), _mm256_sign_epi8(moved, steps));
    }

private:
    // Groups of the first row are below 0 when they are 16 less.
    static V32 of_group(const ChannelCurve::Groups &groups, V32 group, V32 group_less_16) {
        return shuffle_u8(repeat_lane<V32>(load_16(groups.data())), group) ^
               shuffle_u8(repeat_lane<V32>(load_16(groups.data() + 16)), group_less_16);
    }

    // Of bits 0 to 6.
    static V32 count(V32 bits) {
        const V32 counts = as_vector<V32>(bits_of);
        return add_u8(shuffle_u8(counts, bits),
                      shuffle_u8(counts, shift_right_u16<4>(bits) & repeat_u8<V32>(0x0F)));
    }

    const ChannelCurve &curve_;
};

} // namespace
} // namespace q32::display

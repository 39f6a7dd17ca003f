// The plans of all factors, from what they mean.
#include "rows/kernels/bit_scaling_plans.h"

namespace q32::rows {
namespace {

using std::size_t;
using std::uint8_t;

// --- tables -------------------------------------------------------------------------------------

template <size_t size>
constexpr EnlargedBytes<size> enlarged_bytes(size_t factor) {
    EnlargedBytes<size> table{};
    for (size_t byte = 0; byte < 256; ++byte)
        for (size_t bit = 0; bit < 8 * factor; ++bit)
            table.of[byte][bit / 8] |= uint8_t((byte << bit / factor & 0x80) >> bit % 8);
    return table;
}

// --- plans --------------------------------------------------------------------------------------

constexpr uint8_t none = 0x80;

constexpr BitEnlargePlan enlarge_plan(size_t factor) {
    BitEnlargePlan plan{};
    for (size_t i = 0; i < 16; ++i)
        plan.meets[i] = uint8_t(0xFF00 >> (i + 1) * factor % 8);
    for (size_t i = 0; i < 2 * factor; ++i) {
        const size_t first = 8 * i / factor;
        const bool is_whole = (8 * i + 7) / factor == first;
        plan.whole[i] = is_whole ? uint8_t(first) : none;
        plan.shared[i] = is_whole ? none : uint8_t(first);
    }
    return plan;
}

constexpr BitReducePlan reduce_plan(size_t factor) {
    BitReducePlan plan{};
    for (size_t i = 0; i < 16; ++i) {
        const size_t bit = (i / 8 * 8 + 7 - i % 8) * factor, byte = bit / 8;
        const size_t pieces = pieces_of(factor, 16);
        for (size_t k = 0; k < pieces; ++k) {
            const size_t begin = k + 1 < pieces ? 16 * k : last_piece(factor, 16);
            plan.places[k][i] = byte / 16 == k ? uint8_t(byte - begin) : none;
        }
        plan.bits[i] = uint8_t(0x80 >> bit % 8);
    }
    return plan;
}

// --- by factor ----------------------------------------------------------------------------------

template <class Constant, size_t least, size_t largest>
constexpr auto by_factor(Constant (*constant_of)(size_t)) {
    ByFactor<Constant, least, largest> constants{};
    for (size_t factor = least; factor <= largest; ++factor)
        constants[factor] = constant_of(factor);
    return constants;
}

} // namespace

constinit const ByFactor<EnlargedBytes<8>, 2, 7> bytes_enlarged_to_8 =
    by_factor<EnlargedBytes<8>, 2, 7>(enlarged_bytes<8>);
constinit const ByFactor<EnlargedBytes<16>, 9, 16> bytes_enlarged_to_16 =
    by_factor<EnlargedBytes<16>, 9, 16>(enlarged_bytes<16>);

constinit const ByFactor<BitEnlargePlan, 17, largest_planned_factor> bit_enlarge_plans =
    by_factor<BitEnlargePlan, 17, largest_planned_factor>(enlarge_plan);
constinit const ByFactor<BitReducePlan, 2, largest_planned_factor> bit_reduce_plans =
    by_factor<BitReducePlan, 2, largest_planned_factor>(reduce_plan);

} // namespace q32::rows

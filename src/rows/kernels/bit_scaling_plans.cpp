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

template <size_t size>
constexpr EnlargedHalves<size> enlarged_halves(size_t factor) {
    EnlargedHalves<size> table{};
    // Pixels are the bits of a number; `first` is the bit of the row that byte 0 begins with.
    const auto enlarge = [=](uint8_t *bytes, size_t pixels, size_t count, size_t first) {
        for (size_t bit = 0; bit < count * factor; ++bit) {
            const bool is_set = (pixels >> (count - 1 - bit / factor) & 1) != 0;
            if (is_set && bit >= first)
                bytes[(bit - first) / 8] |= uint8_t(0x80 >> (bit - first) % 8);
        }
    };
    for (size_t pixels = 0; pixels < 16; ++pixels)
        enlarge(table.first[pixels], pixels, 4, 0);
    for (size_t pixels = 0; pixels < 32; ++pixels)
        enlarge(table.second[pixels], pixels, 5, factor - 4 * factor % 8);
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

constexpr BitFoldPlan fold_plan(size_t factor) {
    BitFoldPlan plan{};
    for (size_t pixel = 0; pixel < 8 / groups_of(factor); ++pixel) {
        const size_t bit = pixel * factor, byte = bit / 8;
        plan.pieces[byte / 16].mask()[byte % 16] |= uint8_t(0x80 >> bit % 8);
    }
    return plan;
}

constexpr OrderedBits order_bits() {
    OrderedBits ordered{};
    for (size_t factor = 0; factor < 8; ++factor)
        for (size_t folded = 0; folded < 256; ++folded)
            for (size_t pixel = 0; pixel < 8; ++pixel) {
                const size_t group = pixel * groups_of(factor) / 8;
                const size_t bit = pixel * factor % 8 + group;
                ordered.of[factor][folded] |= uint8_t((folded << bit & 0x80) >> pixel);
            }
    return ordered;
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

constinit const ByFactor<EnlargedHalves<16>, 17, 32> halves_enlarged_to_16 =
    by_factor<EnlargedHalves<16>, 17, 32>(enlarged_halves<16>);
constinit const ByFactor<EnlargedHalves<24>, 33, 40> halves_enlarged_to_24 =
    by_factor<EnlargedHalves<24>, 33, 40>(enlarged_halves<24>);

constinit const ByFactor<BitEnlargePlan, 17, largest_planned_factor> bit_enlarge_plans =
    by_factor<BitEnlargePlan, 17, largest_planned_factor>(enlarge_plan);
constinit const ByFactor<BitReducePlan, 2, largest_planned_factor> bit_reduce_plans =
    by_factor<BitReducePlan, 2, largest_planned_factor>(reduce_plan);
constinit const ByFactor<BitFoldPlan, 3, largest_planned_factor> bit_fold_plans =
    by_factor<BitFoldPlan, 3, largest_planned_factor>(fold_plan);
constinit const OrderedBits ordered_bits = order_bits();

} // namespace q32::rows

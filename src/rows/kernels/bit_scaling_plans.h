// What rows of bits are made of, by factor: constants for the wide forms, worked out once for all
// instruction sets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace q32::rows {

template <class Constant, std::size_t least, std::size_t largest>
struct ByFactor {
    std::array<Constant, largest - least + 1> all;

    constexpr Constant &operator[](std::size_t factor) { return all[factor - least]; }
    constexpr const Constant &operator[](std::size_t factor) const { return all[factor - least]; }
};

// --- tables -------------------------------------------------------------------------------------

// What every byte of a row becomes in one that is enlarged. Behind those bytes are others.
template <std::size_t size>
struct alignas(size) EnlargedBytes {
    std::uint8_t of[256][size];
};

extern const ByFactor<EnlargedBytes<8>, 2, 7> bytes_enlarged_to_8;
extern const ByFactor<EnlargedBytes<16>, 9, 16> bytes_enlarged_to_16;

// From a factor of 17 on a byte's two halves have tables of their own: what its first four pixels
// become, and what the others do, from byte factor / 2 on. They may meet in that byte: the second
// half knows the pixel before it.
template <std::size_t size>
struct alignas(8) EnlargedHalves {
    std::uint8_t first[16][size], second[32][size];
};

extern const ByFactor<EnlargedHalves<16>, 17, 32> halves_enlarged_to_16;
extern const ByFactor<EnlargedHalves<24>, 33, 40> halves_enlarged_to_24;

// --- plans --------------------------------------------------------------------------------------

// Where pixels lie, for forms that have a byte shuffle. A plan is for 16 pixels, which begin with a
// byte on both sides: of the smaller row they are 2 bytes, of the larger one 2 x factor. That many
// are made or taken in pieces as long as a vector, of which the last one ends with them.

inline constexpr std::size_t largest_planned_factor = 40;

constexpr std::size_t pieces_of(std::size_t factor, std::size_t piece) {
    return (2 * factor + piece - 1) / piece;
}
constexpr std::size_t last_piece(std::size_t factor, std::size_t piece) {
    return 2 * factor < piece ? 0 : 2 * factor - piece;
}

// From a factor of 8 on a byte of the larger row has one pixel, or parts of two neighbours. Byte i
// is pixel whole[i] or, where pixel shared[i] and the next one meet in it, made of both; the other
// of the two numbers is 0x80. Where pixels i and i + 1 meet those bits are pixel i's that meets[i]
// has.
struct alignas(16) BitEnlargePlan {
    std::uint8_t whole[2 * largest_planned_factor], shared[2 * largest_planned_factor], meets[16];
};

// Which bytes of each piece have the pixels (0x80: it is in another one), and the bits in them.
// They are in the order that a mask of 16 bits wants: of the first eight the last one first.
struct alignas(16) BitReducePlan {
    std::uint8_t places[2 * largest_planned_factor / 16][16];
    std::uint8_t bits[16];
};

// Without a byte shuffle: eight pixels are `groups` of neighbours, each of which begins with a byte
// and has its pixels at different bits. The masks leave the pixels of a group, of 16 bytes each;
// when group k is shifted right by k, all eight are at different bits. Before each mask is nothing,
// for bytes that are loaded from further back.
constexpr std::size_t groups_of(std::size_t factor) {
    return factor % 2 != 0 ? 1 : factor % 4 != 0 ? 2 : factor % 8 != 0 ? 4 : 8;
}
struct alignas(16) BitFoldPlan {
    struct Piece {
        std::uint8_t nothing_and_mask[32];

        constexpr std::uint8_t *mask() { return nothing_and_mask + 16; }
        constexpr const std::uint8_t *mask() const { return nothing_and_mask + 16; }
    };
    Piece pieces[3];
};
// Of a byte that has eight pixels in that order, those in theirs. By factor % 8.
struct OrderedBits {
    std::uint8_t of[8][256];
};

extern const ByFactor<BitEnlargePlan, 17, largest_planned_factor> bit_enlarge_plans;
extern const ByFactor<BitReducePlan, 2, largest_planned_factor> bit_reduce_plans;
extern const ByFactor<BitFoldPlan, 3, largest_planned_factor> bit_fold_plans;
extern const OrderedBits ordered_bits;

} // namespace q32::rows

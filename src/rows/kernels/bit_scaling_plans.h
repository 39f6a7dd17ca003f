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

extern const ByFactor<BitEnlargePlan, 17, largest_planned_factor> bit_enlarge_plans;
extern const ByFactor<BitReducePlan, 2, largest_planned_factor> bit_reduce_plans;

} // namespace q32::rows

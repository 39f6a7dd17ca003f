// What colour separation looks up: how much black a grey makes, what of it comes out of the other
// inks, and the way back. A pure function of the settings.
#pragma once

#include <array>
#include <cstdint>

namespace q32::separation {

struct SeparationSettings {
    int black_start;         // percent of 255: greys below make no black
    int black_amount;        // 0: no black. Below 100 the curve is bent towards less
    int undercolour_removal; // percent of the black
    int ink_limit;           // percent, of the four inks together; 400 is none
};

// The library's own; no program can change them.
inline constexpr SeparationSettings library_settings{
    .black_start = 0, .black_amount = 30, .undercolour_removal = 10, .ink_limit = 350};

// Sums of inks are in units of a 255th: four full inks are 1020.
inline constexpr int all_inks = 4 * 255;

struct SeparationTables {
    using Table = std::array<std::uint8_t, 256>;
    Table black;         // of the grey that the three inks have in common, 255 being no light
    Table removal;       // of each of the three, for a black
    Table inverse_black; // the smallest grey that makes this much black
    int ink_limit;
};

SeparationTables separation_tables(const SeparationSettings &settings);

} // namespace q32::separation

// What samples become on the screen, a table for each channel: corrected for the screen's gamma,
// and cut to what displays of 5 bits a channel can show.
#pragma once

#include <array>
#include <cstdint>

namespace q32::display {

using ChannelTable = std::array<std::uint8_t, 256>;

struct ChannelTables {
    ChannelTable red, green, blue;
    bool operator==(const ChannelTables &) const = default;
};
static_assert(sizeof(ChannelTables) == 768);

// Percentages of gamma. 100 corrects nothing; below 1 a percentage counts as 1.
struct GammaPercent {
    int red = 100, green = 100, blue = 100;
};

ChannelTables gamma_tables(const GammaPercent &percent);

// Samples for high-colour displays: at most 248, so that dithering never passes 5 bits.
ChannelTables high_colour_tables(const ChannelTables &corrected);

// A table that rises evenly enough to be kept as steps, which can be looked up for many samples at
// a time in few operations. Entries are in groups of eight, and entry v is that of the first
// sixteen, which may be whatever they like, plus
//
//     v + start + (the steps up to v, less 1 beyond the turn; times -1 if they go down)
//
// in bytes, of group v / 8: a group rises by 1 from entry to entry, but at some steps by 2, or, if
// they go down, by 0; and once it may be the other way, which is its turn.
struct ChannelCurve {
    // Two rows of sixteen; the second as what differs from the first (exclusive or).
    using Groups = std::array<std::uint8_t, 32>;

    std::array<std::uint8_t, 16> first;
    Groups start;
    Groups steps; // bit i: between entries i and i + 1 of the group; bit 7: they go down
    Groups turn;  // the last entry before it, v % 16, or 15
};

enum class CurveShape : std::uint8_t {
    none,     // a table is no such curve
    straight, // no curve turns
    turning,
};

struct ChannelCurves {
    ChannelCurve red, green, blue;
    CurveShape shape;
};

// The tables, and the same as curves where they are. Red, green and blue lie end to end.
struct ScreenTables : ChannelTables {
    ChannelCurves curves;
};

ScreenTables screen_tables(const ChannelTables &tables);

} // namespace q32::display

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

} // namespace q32::display

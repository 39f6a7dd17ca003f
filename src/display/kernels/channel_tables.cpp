// The curves behind the channel tables.
#include "display/kernels/channel_tables.h"

#include <algorithm>
#include <cmath>

namespace q32::display {
namespace {

// The end points stay where they are, whatever the percentage.
ChannelTable gamma_table(int percent) {
    const double exponent = 100.0 / std::max(percent, 1);
    ChannelTable table{};
    for (int sample = 0; sample < 256; ++sample)
        table[sample] =
            std::uint8_t(percent == 100 ? sample : 255 * std::pow(sample / 255.0, exponent));
    return table;
}

ChannelTable high_colour_table(const ChannelTable &corrected) {
    ChannelTable table{};
    std::transform(corrected.begin(), corrected.end(), table.begin(),
                   [](int sample) { return std::uint8_t((sample * 248 + 127) / 255); });
    return table;
}

} // namespace

ChannelTables gamma_tables(const GammaPercent &percent) {
    return {gamma_table(percent.red), gamma_table(percent.green), gamma_table(percent.blue)};
}

ChannelTables high_colour_tables(const ChannelTables &corrected) {
    return {high_colour_table(corrected.red), high_colour_table(corrected.green),
            high_colour_table(corrected.blue)};
}

} // namespace q32::display

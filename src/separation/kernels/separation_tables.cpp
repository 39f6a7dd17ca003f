// The tables of colour separation.
#include "separation/kernels/separation_tables.h"

#include <cmath>

namespace q32::separation {
namespace {

using Table = SeparationTables::Table;

int rounded_percent(int value, int percent) {
    return (value * percent + 50) / 100;
}

std::uint8_t bent(std::uint8_t level, int amount) {
    return std::uint8_t(std::pow(level / 255.0, 100.0 / amount) * 255.0);
}

// Nothing below the start, then a line up to 255, bent where the amount is below 100.
Table black_table(int start, int amount) {
    Table black{};
    black[255] = 255;
    const int steps = 255 - start;
    for (int i = start; i < 255; ++i) {
        const auto linear = std::uint8_t(((i - start) * 255 + steps / 2) / steps);
        black[i] = amount < 100 ? bent(linear, amount) : linear;
    }
    return black;
}

// Levels that no grey makes belong to the next grey that makes more.
Table inverse_of(const Table &black) {
    Table inverse{};
    int filled = -1;
    for (int grey = 0; grey < 256; ++grey)
        while (filled < black[grey])
            inverse[++filled] = std::uint8_t(grey);
    return inverse;
}

} // namespace

SeparationTables separation_tables(const SeparationSettings &settings) {
    SeparationTables tables{};
    for (int black = 0; black < 256; ++black)
        tables.removal[black] = std::uint8_t(rounded_percent(black, settings.undercolour_removal));
    if (settings.black_amount != 0) {
        tables.black =
            black_table(rounded_percent(255, settings.black_start), settings.black_amount);
        tables.inverse_black = inverse_of(tables.black);
    }
    tables.ink_limit = (settings.ink_limit * all_inks + 200) / 400;
    return tables;
}

} // namespace q32::separation

// Tables of channels as curves, where they are.
#include "display/kernels/channel_tables.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <optional>

namespace q32::display {
namespace {

constexpr int group_size = 8, groups = 256 / group_size, row = 16;
constexpr std::uint8_t downwards = 0x80, no_turn = row - 1;

// Where a group rises by more than 1, and where by less. Bit i is the step to entry i + 1.
struct Steps {
    unsigned up = 0, down = 0;

    bool go_down() const { return std::popcount(down) >= std::popcount(up); }
    unsigned most() const { return go_down() ? down : up; }
    unsigned others() const { return go_down() ? up : down; }
};

std::optional<Steps> steps_from(const ChannelTable &table, std::size_t first) {
    Steps steps;
    for (unsigned i = 0; i < group_size - 1; ++i) {
        const int rise = table[first + i + 1] - table[first + i];
        if (rise < 0 || rise > 2)
            return std::nullopt;
        steps.up |= unsigned(rise == 2) << i;
        steps.down |= unsigned(rise == 0) << i;
    }
    return steps;
}

// The second row as what differs from the first.
void keep_differences(ChannelCurve::Groups &of_groups) {
    for (std::size_t i = 0; i < row; ++i)
        of_groups[row + i] ^= of_groups[i];
}

std::optional<ChannelCurve> curve_of(const ChannelTable &table) {
    ChannelCurve curve{};
    curve.turn.fill(no_turn);
    for (std::size_t entry = 0; entry < row; ++entry)
        curve.first[entry] = std::uint8_t(table[entry] - entry);
    for (std::size_t group = row / group_size; group < groups; ++group) {
        const std::size_t first = group_size * group;
        const auto steps = steps_from(table, first);
        if (!steps || std::popcount(steps->others()) > 1)
            return std::nullopt;
        curve.start[group] = std::uint8_t(table[first] - first);
        curve.steps[group] = std::uint8_t(steps->most() | (steps->go_down() ? downwards : 0));
        if (steps->others() != 0)
            curve.turn[group] = std::uint8_t(first % row + std::countr_zero(steps->others()));
    }
    for (auto *const of_groups : {&curve.start, &curve.steps, &curve.turn})
        keep_differences(*of_groups);
    return curve;
}

bool turns(const ChannelCurve &curve) {
    ChannelCurve::Groups straight{};
    std::fill_n(straight.begin(), row, no_turn);
    return curve.turn != straight;
}

ChannelCurves curves_of(const ChannelTables &tables) {
    const auto red = curve_of(tables.red), green = curve_of(tables.green),
               blue = curve_of(tables.blue);
    if (!red || !green || !blue)
        return {};
    const bool any_turns = turns(*red) || turns(*green) || turns(*blue);
    return {*red, *green, *blue, any_turns ? CurveShape::turning : CurveShape::straight};
}

} // namespace

ScreenTables screen_tables(const ChannelTables &tables) {
    return {tables, curves_of(tables)};
}

} // namespace q32::display

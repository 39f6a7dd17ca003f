// The three bars, row by row from the top down onto whatever takes rows: a target has a width and a
// height of at least 1, memory for one row, and put_row(), which is false when the row is lost.
#pragma once

#include "bars/ramps.h"

#include <q32base/bars.h>
#include <q32base/rows.h>

#include <cstring>
#include <optional>

namespace q32::bars {

struct GreyBar {
    static constexpr int bits_per_pixel = 8;
    std::uint8_t from, to;
    bool horizontal;
};

struct ColourBar {
    static constexpr int bits_per_pixel = 24;
    Colour from, to;
    bool horizontal;
    bool rainbow;
};

struct HueField {
    static constexpr int bits_per_pixel = 24;
    int style;
};

// --- rows ----------------------------------------------------------------------------------------

template <typename Target, typename NextPixel>
void make_row(Target &target, const NextPixel &next_pixel) {
    std::uint8_t *at = target.row();
    for (std::int64_t x = 0; x < target.width(); ++x) {
        const auto pixel = next_pixel();
        std::memcpy(at, &pixel, sizeof pixel);
        at += sizeof pixel;
    }
}

template <typename Target, typename MakeRow>
bool put_rows(Target &target, const MakeRow &make_next_row) {
    for (std::int64_t y = 0; y < target.height(); ++y) {
        make_next_row();
        if (!target.put_row())
            return false;
    }
    return true;
}

// --- ramps along one side ------------------------------------------------------------------------

template <typename Target>
std::int64_t steps_of(const Target &target, bool horizontal) {
    return horizontal ? target.width() : target.height();
}

template <typename Target, typename NextPixel>
bool draw_ramp(Target &target, bool horizontal, const NextPixel &next_pixel) {
    if (horizontal) {
        make_row(target, next_pixel);
        return put_rows(target, [] {});
    }
    return put_rows(target, [&] {
        const auto pixel = next_pixel();
        mem32Fill(target.row(), &pixel, sizeof pixel, int(target.width()));
    });
}

template <typename Target>
bool draw(const GreyBar &bar, Target &target) {
    Ramp grey(bar.from, bar.to, steps_of(target, bar.horizontal));
    return draw_ramp(target, bar.horizontal, [&] { return std::uint8_t(grey.next()); });
}

template <typename Target>
bool draw(const ColourBar &bar, Target &target) {
    const std::int64_t steps = steps_of(target, bar.horizontal);
    if (bar.rainbow) {
        Ramp hue(0, last_hue, steps);
        return draw_ramp(target, bar.horizontal, [&] { return colour_of(hue.next(), {255, 255}); });
    }
    Ramp red(bar.from.red, bar.to.red, steps), green(bar.from.green, bar.to.green, steps),
        blue(bar.from.blue, bar.to.blue, steps);
    return draw_ramp(target, bar.horizontal, [&]() -> Colour {
        return {std::uint8_t(red.next()), std::uint8_t(green.next()), std::uint8_t(blue.next())};
    });
}

// --- fields of hues ------------------------------------------------------------------------------

// Rows like the one before, of which large fields have many, are not made again.
template <typename Target>
bool draw_hues_across(Target &target, int first, int last) {
    ShadeRamp shades(Rising::brightness, target.height());
    std::optional<Shade> made;
    return put_rows(target, [&] {
        const Shade shade = shades.next();
        if (made == shade)
            return;
        Ramp hues(first, last, target.width());
        make_row(target, [&] { return colour_of(hues.next(), shade); });
        made = shade;
    });
}

template <typename Target>
bool draw_hues_down(Target &target, int first, int last, Rising rising) {
    Ramp hues(first, last, target.height());
    std::optional<int> made;
    return put_rows(target, [&] {
        const int hue = hues.next();
        if (made == hue)
            return;
        ShadeRamp shades(rising, target.width());
        make_row(target, [&] { return colour_of(hue, shades.next()); });
        made = hue;
    });
}

template <typename Target>
bool draw(const HueField &field, Target &target) {
    switch (field.style) {
    case BAR_HUE_ACROSS:
        return draw_hues_across(target, 0, last_hue);
    case BAR_HUE_ACROSS_BACK:
        return draw_hues_across(target, last_hue, 0);
    case BAR_HUE_DOWN:
        return draw_hues_down(target, 0, last_hue, Rising::brightness);
    case BAR_HUE_DOWN_BACK:
        return draw_hues_down(target, last_hue, 0, Rising::saturation);
    default:
        return true; // nothing is drawn, and that is no failure
    }
}

} // namespace q32::bars

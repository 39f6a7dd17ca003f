// The table of paths.
#include "display/runs/path_table.h"

#include "display/high_colour_dither.h"
#include "display/library_palettes.h"

#include <algorithm>
#include <array>

namespace q32::display {
namespace {

// --- what a path depends on ------------------------------------------------------------------

// Numbers below 32, a bit each.
using Set = std::uint32_t;

template <typename... Numbers>
constexpr Set set(Numbers... numbers) {
    return ((Set{1} << int(numbers)) | ...);
}

bool contains(Set set, int number) {
    return number >= 0 && number < 32 && (set >> number & 1) != 0;
}

constexpr Set bits = set(1), bytes = set(8), colours = set(16, 24);

constexpr Set sixteen = set(DeviceType::sixteen_colours);
constexpr Set few = set(DeviceType::monochrome, DeviceType::eight_colours, DeviceType::palette);
constexpr Set true_colour = set(DeviceType::true_colour);
constexpr Set high_colour = set(DeviceType::high_colour);
constexpr Set many = true_colour | high_colour;
constexpr Set any = few | sixteen | many;

using Condition = bool(const Opening &opening);

bool always(const Opening &) {
    return true;
}

bool palette(const Opening &opening) {
    return opening.palette != nullptr;
}

bool option(const Opening &opening) {
    return opening.palette_option != 0;
}

bool palette_and_option(const Opening &opening) {
    return palette(opening) && option(opening);
}

bool dithering(const Opening &) {
    return high_colour_dither() != 0;
}

// --- palettes --------------------------------------------------------------------------------

HPALETTE none(const Opening &) {
    return nullptr;
}

HPALETTE given(const Opening &opening) {
    return opening.palette;
}

template <HPALETTE LibraryPalettes::*palette>
HPALETTE own(const Opening &) {
    return library_palettes().*palette;
}

constexpr auto cube = own<&LibraryPalettes::display>;
constexpr auto grey_16 = own<&LibraryPalettes::grey_16>;
constexpr auto grey_128 = own<&LibraryPalettes::grey_128>;

// --- the table -------------------------------------------------------------------------------

struct Rule {
    Set depths, devices;
    Condition *condition;
    Path path;
};

constexpr Pixels rgb = Pixels::colours, as_are = Pixels::as_they_are;

// The first that fits.
// clang-format off
constexpr Rule rules[] = {
    {colours, sixteen,     always,             {rgb,    conversion::sixteen_colours,   target::plane_bitmap,      none}},
    {bytes,   sixteen,     palette,            {rgb,    conversion::sixteen_colours,   target::plane_bitmap,      none}},
    {bytes,   sixteen,     always,             {as_are, conversion::black_and_white,   target::monochrome_bitmap, none}},
    {bits,    any,         always,             {as_are, conversion::copied_bits,       target::monochrome_bitmap, none}},
    {bytes,   few,         palette_and_option, {rgb,    conversion::colour_cube,       target::indices,           cube}},
    {bytes,   few | many,  palette,            {as_are, conversion::copied,            target::indices,           given}},
    {bytes,   few,         option,             {as_are, conversion::greys_16,          target::indices,           grey_16}},
    {bytes,   few,         always,             {as_are, conversion::greys_128,         target::indices,           grey_128}},
    {colours, few,         always,             {rgb,    conversion::colour_cube,       target::indices,           cube}},
    {colours | bytes, true_colour, always,     {rgb,    conversion::true_colour,       target::colours,           none}},
    {colours | bytes, high_colour, dithering,  {rgb,    conversion::high_colour,       target::colours,           none}},
    {colours | bytes, high_colour, always,     {rgb,    conversion::plain_high_colour, target::colours,           none}},
};
// clang-format on

} // namespace

const Path *path_of(const Opening &opening, DeviceType device) {
    const auto fits = [&](const Rule &rule) {
        return contains(rule.depths, opening.depth) && contains(rule.devices, int(device)) &&
               rule.condition(opening);
    };
    const Rule *const rule = std::find_if(std::begin(rules), std::end(rules), fits);
    return rule != std::end(rules) ? &rule->path : nullptr;
}

} // namespace q32::display

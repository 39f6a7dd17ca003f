// The table of paths.
#include "display/runs/path_table.h"

#include "display/library_palettes.h"
#include "display/screen_settings.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace q32::display {
namespace {

// --- what a path depends on ------------------------------------------------------------------

// Numbers below 64, a bit each.
using Set = std::uint64_t;

template <typename... Numbers>
constexpr Set set(Numbers... numbers) {
    return ((Set{1} << int(numbers)) | ...);
}

bool contains(Set set, int number) {
    return number >= 0 && number < 64 && (set >> number & 1) != 0;
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

constexpr SourceForm rgb = SourceForm::colours, raw = SourceForm::as_they_are;
constexpr Set both = colours | bytes;

namespace to = conversion;
namespace on = target;

// The first that fits.
// clang-format off
constexpr Rule rules[] = {
    {colours, sixteen,     always,             {rgb, to::sixteen_colours,   on::planes,  none}},
    {bytes,   sixteen,     palette,            {rgb, to::sixteen_colours,   on::planes,  none}},
    {bytes,   sixteen,     always,             {raw, to::black_and_white,   on::bits,    none}},
    {bits,    any,         always,             {raw, to::copied_bits,       on::bits,    none}},
    {bytes,   few,         palette_and_option, {rgb, to::colour_cube,       on::indices, cube}},
    {bytes,   few,         palette,            {raw, to::copied,            on::indices, given}},
    {bytes,   few,         option,             {raw, to::greys_16,          on::indices, grey_16}},
    {bytes,   few,         always,             {raw, to::greys_128,         on::indices, grey_128}},
    {bytes,   many,        palette,            {raw, to::copied,            on::indices, given}},
    {colours, few,         always,             {rgb, to::colour_cube,       on::indices, cube}},
    {both,    true_colour, always,             {rgb, to::true_colour,       on::colours, none}},
    {both,    high_colour, dithering,          {rgb, to::high_colour,       on::colours, none}},
    {both,    high_colour, always,             {rgb, to::plain_high_colour, on::colours, none}},
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

// Palettes of the graphics interface: greys, cubes and fixed sets of colours.
#include "display/palettes.h"

#include "display/gamma.h"

#include <q32base/display.h>

#include <algorithm>
#include <cstddef>

namespace q32::display {
namespace {

constexpr WORD palette_version = 0x300;
constexpr int most_entries = 65535; // the system counts them in a WORD

// Every palette is this: the colour of each entry, corrected where that is wanted.
template <class ColourOf>
HPALETTE make_palette(HPALETTE existing, int entries, ScreenCorrection correction,
                      ColourOf colour_of) {
    const LogicalPalette palette(entries);
    if (!palette)
        return nullptr;
    int index = 0;
    for (PALETTEENTRY &entry : palette.entries()) {
        const Colour plain = colour_of(index++);
        const Colour colour = correction == ScreenCorrection::gamma ? corrected(plain) : plain;
        entry = {colour.red, colour.green, colour.blue, 0};
    }
    return palette.write_to(existing);
}

const Cube &cube_of(int mode) {
    switch (mode) {
    case DISP32_CUBE_676:
        return cube_676;
    case DISP32_CUBE_666:
        return cube_666;
    default:
        return cube_884;
    }
}

} // namespace

LogicalPalette::LogicalPalette(int entries)
    : block_(GlobalAlloc(GPTR, offsetof(LOGPALETTE, palPalEntry) +
                                   std::size_t(entries) * sizeof(PALETTEENTRY))) {
    if (block_) {
        palette()->palVersion = palette_version;
        palette()->palNumEntries = WORD(entries);
    }
}

std::span<PALETTEENTRY> LogicalPalette::entries() const {
    return {palette()->palPalEntry, palette()->palNumEntries};
}

HPALETTE LogicalPalette::create() const {
    return CreatePalette(palette());
}

HPALETTE LogicalPalette::write_to(HPALETTE existing) const {
    if (existing == nullptr)
        return create();
    SetPaletteEntries(existing, 0, palette()->palNumEntries, palette()->palPalEntry);
    return existing;
}

Colour corrected(const Colour &colour) {
    const ChannelTables &tables = corrected_samples();
    return {tables.red[colour.red], tables.green[colour.green], tables.blue[colour.blue]};
}

HPALETTE make_grey_palette(HPALETTE existing, int levels, ScreenCorrection correction) {
    levels = std::clamp(levels, 2, 256);
    return make_palette(existing, levels, correction,
                        [levels](int index) { return grey(index, levels); });
}

HPALETTE make_colour_palette(HPALETTE existing, int cube_mode, int entries,
                             ScreenCorrection correction) {
    // Nothing is written, and new palettes have at least an entry.
    if (entries < 1)
        return existing;
    if (entries > most_entries)
        return nullptr;
    if (entries >= cube_entries)
        return make_palette(existing, entries, correction, [&cube = cube_of(cube_mode)](int index) {
            return cube_colour(index, cube);
        });
    // Black and white are what they are on every screen.
    return make_palette(existing, entries, entries == 2 ? ScreenCorrection::none : correction,
                        [entries](int index) { return fixed_colour(index, entries); });
}

std::optional<int> entry_count(HPALETTE palette) {
    // Other objects have a size, too.
    WORD count = 0;
    if (GetObjectType(palette) != OBJ_PAL || GetObjectA(palette, sizeof count, &count) == 0)
        return std::nullopt;
    return count;
}

bool read_entries(HPALETTE palette, std::span<PALETTEENTRY> entries) {
    return GetPaletteEntries(palette, 0, UINT(entries.size()), entries.data()) != 0;
}

} // namespace q32::display

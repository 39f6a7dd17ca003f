// The exports that make, copy and measure palettes of programs.
#include "display/device.h"
#include "display/failures.h"
#include "display/palettes.h"

namespace q32::display {
namespace {

ScreenCorrection correction_of(int with_gamma) {
    return with_gamma != 0 ? ScreenCorrection::gamma : ScreenCorrection::none;
}

} // namespace
} // namespace q32::display

using namespace q32;
using namespace q32::display;

HPALETTE Q32_CALL disp32CreateGrayPalette(HPALETTE palette, int levels, int with_gamma) {
    return make_grey_palette(palette, levels, correction_of(with_gamma));
}

HPALETTE Q32_CALL disp32CreateColorPalette(HPALETTE palette, int mode, int entries,
                                           int with_gamma) {
    return make_colour_palette(palette, mode, entries, correction_of(with_gamma));
}

HPALETTE Q32_CALL disp32GammaColorPalette(HPALETTE palette, DispDevInfo *info) {
    const std::optional<int> entries = entry_count(palette);
    if (!entries)
        return nullptr;
    const LogicalPalette copy(*entries);
    if (!copy || !read_entries(palette, copy.entries()))
        return nullptr;
    for (PALETTEENTRY &entry : copy.entries()) {
        const Colour colour = corrected({entry.peRed, entry.peGreen, entry.peBlue});
        entry = {colour.red, colour.green, colour.blue, 0};
    }
    const HPALETTE created = copy.create();
    if (created != nullptr && info != nullptr)
        *info = device_information();
    return created;
}

HPALETTE Q32_CALL disp32PalDuplicate(HPALETTE palette) {
    const std::optional<int> entries = entry_count(palette);
    if (!entries) {
        fail(site::no_palette_to_copy);
        return nullptr;
    }
    const LogicalPalette copy(*entries);
    if (!copy)
        return nullptr;
    if (!read_entries(palette, copy.entries())) {
        fail(site::no_palette_to_copy);
        return nullptr;
    }
    const HPALETTE created = copy.create();
    if (created == nullptr)
        fail(site::copy_not_created);
    return created;
}

int Q32_CALL disp32PalSize(HPALETTE palette) {
    const std::optional<int> entries = entry_count(palette);
    if (!entries)
        fail(site::no_palette_to_measure);
    return entries.value_or(-1);
}

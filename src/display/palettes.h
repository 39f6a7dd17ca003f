// Palettes of the graphics interface, made from colours and read back.
#pragma once

#include "display/kernels/palette_colours.h"
#include "library/process/owners.h"

#include <windows.h>

#include <optional>
#include <span>

namespace q32::display {

enum class ScreenCorrection { none, gamma };

// A palette as the system takes it: a block with its description and its entries, all black first.
class LogicalPalette {
public:
    explicit LogicalPalette(int entries);

    explicit operator bool() const { return bool(block_); }
    std::span<PALETTEENTRY> entries() const;

    // A new palette of the system's; null when there is none to be had.
    HPALETTE create() const;
    // The palette with its entries rewritten from 0 on, as far as it has them; a new one for null.
    HPALETTE write_to(HPALETTE palette) const;

private:
    LOGPALETTE *palette() const { return static_cast<LOGPALETTE *>(block_.get()); }

    GlobalBlock block_;
};

Colour corrected(const Colour &colour);

// A ramp of greys: 2 to 256 levels, others count as the nearest of these. Null when it cannot be
// had; an existing palette is then as it was.
HPALETTE make_grey_palette(HPALETTE existing, int levels, ScreenCorrection correction);

// A colour cube or a fixed set. Null in the same cases, and for more than 65535 entries. Below 1
// entry an existing palette is given back as it is, and there is no new one.
HPALETTE make_colour_palette(HPALETTE existing, int cube_mode, int entries,
                             ScreenCorrection correction);

// Nothing when there is no such palette.
std::optional<int> entry_count(HPALETTE palette);

bool read_entries(HPALETTE palette, std::span<PALETTEENTRY> entries);

} // namespace q32::display

// Strips of indices, through a palette, and strips of colours, and the one description of bitmaps
// that the process has for both.
#include "display/runs/dib_drawing.h"

#include "display/palettes.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace q32::display {
namespace {

// --- the description -------------------------------------------------------------------------

struct BitmapInfo {
    // Places in the selected palette, or colours. Whoever writes colours puts the places back.
    union Table {
        std::array<WORD, 256> places;
        std::array<RGBQUAD, 256> colours;
    };

    BITMAPINFOHEADER header;
    Table table;
};
static_assert(sizeof(BitmapInfo) == 40 + 256 * 4);

constexpr std::array<WORD, 256> all_places = [] {
    std::array<WORD, 256> places{};
    std::iota(places.begin(), places.end(), WORD{0});
    return places;
}();

constinit BitmapInfo description{.header = {.biSize = sizeof(BITMAPINFOHEADER), .biPlanes = 1},
                                 .table = {.places = all_places}};

// --- drawing ---------------------------------------------------------------------------------

// A palette in a device context, which gets its own back.
class SelectedPalette {
public:
    SelectedPalette(HDC dc, HPALETTE palette, int force_background)
        : dc_(dc), force_background_(force_background),
          previous_(SelectPalette(dc, palette, force_background)) {
        RealizePalette(dc);
    }
    SelectedPalette(const SelectedPalette &) = delete;
    SelectedPalette &operator=(const SelectedPalette &) = delete;
    ~SelectedPalette() {
        if (previous_ != nullptr)
            SelectPalette(dc_, previous_, force_background_);
    }

private:
    HDC dc_;
    int force_background_;
    HPALETTE previous_;
};

bool set_bits(const Band &band, const Strip &strip, int bits_per_pixel, int colours, UINT usage) {
    description.header.biWidth = band.width;
    description.header.biHeight = band.rows;
    description.header.biBitCount = WORD(bits_per_pixel);
    description.header.biClrUsed = DWORD(colours);
    const auto *const info = reinterpret_cast<const BITMAPINFO *>(&description);
    return SetDIBitsToDevice(band.dc, band.left, band.top, DWORD(band.width), DWORD(band.rows), 0,
                             0, 0, UINT(band.rows), strip.held_bytes(), info, usage) != 0;
}

// Where colours are managed, the system wants colours and not their places in a palette.
bool set_bits_in_colours_of(HPALETTE palette, int entries, const Band &band, const Strip &strip) {
    std::array<PALETTEENTRY, 256> colours{};
    const int count = std::min(entries, int(colours.size()));
    read_entries(palette, std::span(colours).first(std::size_t(count)));

    std::transform(colours.begin(), colours.end(), description.table.colours.begin(),
                   [](const PALETTEENTRY &colour) {
                       return RGBQUAD{colour.peBlue, colour.peGreen, colour.peRed, 0};
                   });
    const ScopeGuard places_again([] { description.table.places = all_places; });
    return set_bits(band, strip, 8, entries, DIB_RGB_COLORS);
}

} // namespace

// The description is filled in last: realizing a palette makes programs repaint, and they may show
// something else meanwhile.
bool draw_indices(const Band &band, const Strip &strip, HPALETTE palette, int force_background) {
    const bool is_managed = SetICMMode(band.dc, ICM_QUERY) == ICM_ON;
    if (palette == nullptr)
        return set_bits(band, strip, 8, 0, DIB_PAL_COLORS);
    const int entries = entry_count(palette).value_or(0);
    const SelectedPalette selected(band.dc, palette, force_background);
    return is_managed ? set_bits_in_colours_of(palette, entries, band, strip)
                      : set_bits(band, strip, 8, entries, DIB_PAL_COLORS);
}

bool draw_colours(const Band &band, const Strip &strip) {
    return set_bits(band, strip, 24, 0, DIB_RGB_COLORS);
}

} // namespace q32::display

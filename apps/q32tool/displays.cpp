// The table of displays, and their bitmaps.
#include "displays.h"

#include "apps/pictures/exceptions.h"
#include "option_values.h"

#include <q32base/display.h>

#include <algorithm>
#include <array>
#include <limits>

namespace apps::q32tool {
namespace {

constexpr std::array<Display, 6> displays = {{
    {"monochrome", "", DISP32_MONOCHROME, 1, 2},
    {"8-colours", "8-colors", DISP32_EIGHT_COLOURS, 4, 8},
    {"16-colours", "16-colors", DISP32_SIXTEEN_COLOURS, 4, 16},
    {"256-colours", "256-colors", DISP32_PALETTE, 8, 0},
    {"true-colour", "true-color", DISP32_TRUE_COLOUR, 24, 0},
    {"high-colour", "high-color", DISP32_HIGH_COLOUR, 16, 0},
}};

// For displays of 16 colours the library gives SetBitmapBits rows of four planes, one behind the
// other, for a bitmap that is compatible with the context. No context that a program can make has
// planes. But one that holds a bitmap section of 4 bits makes compatible bitmaps of 4 bits with the
// same colours: these take the bytes as they are, and BitBlt copies them as they are into the
// section, whose rows then hold the planes. That needs rows without padding in both: they have
// width / 2 bytes when the width is a multiple of 16.
constexpr int plane_columns = 16;

bool is_in_planes(const Display &display, PixelFormat pixels) {
    return display.type == DISP32_SIXTEEN_COLOURS && pixels != PixelFormat::grey &&
           pixels != PixelFormat::bits;
}

int padded_width(int width, bool planes) {
    return planes ? (width + plane_columns - 1) / plane_columns * plane_columns : width;
}

HPALETTE make_palette(const Display &display, const Shown &shown) {
    constexpr int with_gamma = 1, without_gamma = 0, whole_palette = 256;
    if (display.fixed_colours != 0)
        return disp32CreateColorPalette(nullptr, 0, display.fixed_colours, without_gamma);
    if (shown.pixels == PixelFormat::grey)
        return disp32CreateGrayPalette(nullptr, shown.sixteen_greys ? 16 : 128, with_gamma);
    return disp32CreateColorPalette(nullptr, DISP32_CUBE_666, whole_palette, with_gamma);
}

// The colours that the display has, or that the library's palette gives it. None above 8 bits.
std::vector<RGBQUAD> colours_of(const Display &display, const Shown &shown) {
    if (display.bits > 8)
        return {};
    std::array<PALETTEENTRY, 256> entries = {};
    const HPALETTE palette = make_palette(display, shown);
    GetPaletteEntries(palette, 0, entries.size(), entries.data());
    DeleteObject(palette);
    std::vector<RGBQUAD> colours(size_t{1} << display.bits);
    std::transform(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(colours.size()),
                   colours.begin(), [](const PALETTEENTRY &entry) {
                       return RGBQUAD{entry.peBlue, entry.peGreen, entry.peRed, 0};
                   });
    return colours;
}

// A field of 5 bits as a display shows it.
uint8_t widened(unsigned field) {
    return static_cast<uint8_t>(field << 3 | field >> 2);
}

} // namespace

const Display &display_from(const Arguments &arguments, std::string_view option) {
    const std::string &text = arguments.value(option);
    for (const Display &display : displays)
        if (text == display.name || (!display.also.empty() && text == display.also) ||
            text == std::to_string(display.type))
            return display;
    std::string names;
    for (const Display &display : displays)
        names += std::string(display.name) + ", ";
    throw UsageError(std::string(option) + " takes " + names + "or a number from 0 to 5, not '" +
                     text + "'");
}

std::string display_list() {
    std::string lines;
    for (const Display &display : displays) {
        const bool begins_line = display.type % 3 == 0;
        std::string entry = std::to_string(display.type) + " " + std::string(display.name);
        constexpr size_t column = 18; // characters
        if (display.type % 3 != 2)
            entry.resize(column, ' ');
        lines += (display.type == 0 ? "  " : begins_line ? "\n  " : "") + entry;
    }
    return lines;
}

DisplaySurface::DisplaySurface(const Display &display, const Shown &shown, Size size)
    : width_(padded_width(size.width, is_in_planes(display, shown.pixels))), height_(size.height),
      bits_(display.bits), planes_(is_in_planes(display, shown.pixels)),
      colours_(colours_of(display, shown)),
      row_bytes_((static_cast<size_t>(width_) * static_cast<size_t>(bits_) + 31) / 32 * 4) {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } description = {};
    description.header = {.biSize = sizeof description.header,
                          .biWidth = width_,
                          .biHeight = height_,
                          .biPlanes = 1,
                          .biBitCount = static_cast<WORD>(bits_),
                          .biCompression = BI_RGB};
    std::copy(colours_.begin(), colours_.end(), description.colours);
    dc_.reset(CreateCompatibleDC(nullptr));
    void *pixels = nullptr;
    if (row_bytes_ <= std::numeric_limits<int>::max() / static_cast<size_t>(height_))
        bitmap_.reset(CreateDIBSection(dc_.get(), reinterpret_cast<BITMAPINFO *>(&description),
                                       DIB_RGB_COLORS, &pixels, nullptr, 0));
    if (!dc_ || !bitmap_ || SelectObject(dc_.get(), bitmap_.get()) == nullptr)
        throw Failure("a display of " + size_in_words(size),
                      "there is not enough memory for its bitmap", "show the picture in --pieces");
    pixels_ = static_cast<const uint8_t *>(pixels);
}

RGBQUAD DisplaySurface::colour_at(const uint8_t *row, int x) const {
    const size_t column = static_cast<size_t>(x);
    switch (bits_) {
    case 1:
        return colours_[row[column / 8] >> (7 - column % 8) & 1];
    case 4: {
        if (!planes_)
            return colours_[row[column / 2] >> (4 - column % 2 * 4) & 15];
        // Red, green, blue and intensity: the bits of the index, too.
        const size_t plane_bytes = static_cast<size_t>(width_) / 8;
        unsigned index = 0;
        for (unsigned plane = 0; plane < 4; ++plane)
            index |= (row[plane * plane_bytes + column / 8] >> (7 - column % 8) & 1u) << plane;
        return colours_[index];
    }
    case 8:
        return colours_[row[column]];
    case 16: {
        const unsigned word = row[column * 2] | row[column * 2 + 1] << 8;
        return {widened(word & 31), widened(word >> 5 & 31), widened(word >> 10 & 31), 0};
    }
    default:
        return {row[column * 3], row[column * 3 + 1], row[column * 3 + 2], 0};
    }
}

void DisplaySurface::read_row(int y, uint8_t *rgb) const {
    GdiFlush();
    const uint8_t *const row = pixels_ + row_bytes_ * static_cast<size_t>(height_ - 1 - y);
    for (int x = 0; x < width_; ++x, rgb += 3) {
        const RGBQUAD colour = colour_at(row, x);
        rgb[0] = colour.rgbRed;
        rgb[1] = colour.rgbGreen;
        rgb[2] = colour.rgbBlue;
    }
}

} // namespace apps::q32tool

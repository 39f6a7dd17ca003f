// Reading what was painted, and what should have been.
#include "tests/display_runs/painted_fixture.h"

#include "tests/frame/figures.h"

#include <sstream>

namespace q32::test {

Section::Section(int bits, int width, int height, const Entries &colours)
    : bits_(bits), width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD table[256];
    } info{};
    info.header.biSize = sizeof info.header;
    info.header.biWidth = width;
    info.header.biHeight = -height; // top row first
    info.header.biPlanes = 1;
    info.header.biBitCount = WORD(bits);
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const PaletteEntry &colour = colours[i];
        info.table[i] = {colour.blue, colour.green, colour.red, 0};
        table_.push_back(std::uint32_t(colour.red) << 16 | colour.green << 8 | colour.blue);
    }
    info.header.biClrUsed = DWORD(bits == 8 ? colours.size() : 0);
    void *pixels = nullptr;
    bitmap_ = CreateDIBSection(dc_, reinterpret_cast<BITMAPINFO *>(&info), DIB_RGB_COLORS, &pixels,
                               nullptr, 0);
    EXPECT_NE(bitmap_, nullptr);
    pixels_ = static_cast<std::uint8_t *>(pixels);
    before_ = SelectObject(dc_, bitmap_);
    const RECT all{0, 0, width, height};
    const HBRUSH grey = CreateSolidBrush(RGB(128, 128, 128));
    FillRect(dc_, &all, grey);
    DeleteObject(grey);
}

Section::~Section() {
    SelectObject(dc_, before_);
    EXPECT_TRUE(DeleteObject(bitmap_));
    EXPECT_TRUE(DeleteDC(dc_));
}

Colours Section::colours() const {
    GdiFlush();
    figures::count("pixels read back from bitmaps", std::uint64_t(width_) * std::uint64_t(height_));
    Colours result;
    const int stride = (width_ * bits_ + 31) / 32 * 4;
    for (int y = 0; y < height_; ++y)
        for (int x = 0; x < width_; ++x) {
            const std::uint8_t *const row = pixels_ + y * stride;
            const std::uint8_t *const pixel = row + x * (bits_ / 8);
            if (bits_ == 8) {
                result.push_back(table_[*pixel]);
            } else if (bits_ == 16) { // 5 bits each, as they are
                const unsigned word = pixel[0] | unsigned(pixel[1]) << 8;
                result.push_back((word >> 10 & 31) << 19 | (word >> 5 & 31) << 11 |
                                 (word & 31) << 3);
            } else {
                result.push_back(unsigned(pixel[2]) << 16 | unsigned(pixel[1]) << 8 | pixel[0]);
            }
        }
    return result;
}

Colours colours_of(HDC dc, int left, int top, int width, int height) {
    const Section copy(32, width, height);
    EXPECT_TRUE(BitBlt(copy.dc(), 0, 0, width, height, dc, left, top, SRCCOPY));
    if (WindowFromDC(dc) != nullptr)
        figures::count("pixels read back from displays",
                       std::uint64_t(width) * std::uint64_t(height));
    return copy.colours();
}

std::string difference(const Colours &is, const Colours &should, int width) {
    std::ostringstream text;
    if (is.size() != should.size()) {
        text << is.size() << " pixels instead of " << should.size();
        return text.str();
    }
    for (std::size_t i = 0; i < is.size(); ++i)
        if (is[i] != should[i]) {
            text << "pixel (" << i % std::size_t(width) << ", " << i / std::size_t(width) << ") "
                 << std::hex << is[i] << ", wanted " << should[i];
            break;
        }
    return text.str();
}

// --- runs ------------------------------------------------------------------------------------

void PaintedRuns::paint(HDC target, const RunSetup &setup, const Source &source, int rows,
                        int direction) {
    std::optional<OwnPalette> own;
    if (setup.palette)
        own.emplace(entries_of(*setup.palette));
    HDISPRUN run = 0;
    EXPECT_SUCCESS(api().disp32ShowInit(&run, target, setup.depth, setup.left, setup.top,
                                        setup.right, setup.bottom, own ? own->get() : nullptr,
                                        setup.option, setup.force_background));
    if (run == 0)
        return;
    EXPECT_SUCCESS(api().disp32SetAttrib(run, DISP32_DIRECTION, direction));
    for (int row = 0; row < source.rows; row += rows)
        EXPECT_SUCCESS(show(run, source, row, std::min(rows, source.rows - row)));
    end(run);
}

Entries PaintedRuns::shown_palette(const RunSetup &setup) {
    const Gamma gamma{setup.gamma.red, setup.gamma.green, setup.gamma.blue};
    switch (model::palette_of(model::path_of(setup))) {
    case model::Shown::callers:
        return entries_of(*setup.palette);
    case model::Shown::cube:
        return corrected(colour_cube(3, 256), gamma);
    case model::Shown::greys_16:
        return corrected(grey_ramp(16), gamma);
    default:
        return corrected(grey_ramp(128), gamma);
    }
}

Colours PaintedRuns::wanted(const RunSetup &setup, const Source &source) {
    model::ModelRun model(setup);
    model.show(source.image(), source.first_column, source.first_row, source.rows, source.stride);
    model.end();
    Canvas canvas(setup.left, setup.top, int(setup.width()), int(setup.height()));
    canvas.put(model.flushes());
    const Entries entries = shown_palette(setup);
    const auto strip = model::strip_of(model::path_of(setup));
    Colours picture;
    for (std::uint32_t pixel : canvas.pixels()) {
        if (strip == model::Strip::places) {
            EXPECT_LT(pixel, entries.size());
            const PaletteEntry entry = pixel < entries.size() ? entries[pixel] : PaletteEntry{};
            pixel = std::uint32_t(entry.red) << 16 | entry.green << 8 | entry.blue;
        } else if (strip == model::Strip::bits) {
            pixel = pixel != 0 ? 0xFFFFFF : 0x000000;
        }
        picture.push_back(pixel);
    }
    return picture;
}

Colours PaintedRuns::placed(const RunSetup &setup, const Colours &picture, int width, int height) {
    Colours all(std::size_t(width * height), grey);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int column = x - setup.left, row = y - setup.top;
            if (column >= 0 && column < setup.width() && row >= 0 && row < setup.height())
                all[std::size_t(y * width + x)] =
                    picture[std::size_t(row * setup.width() + column)];
        }
    return all;
}

} // namespace q32::test

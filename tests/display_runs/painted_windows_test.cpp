// Runs painted onto a window of the real display, and onto a bitmap of its kind. What a display
// makes of colours is its own affair: the model's picture, handed to the system by the test in one
// piece, must look the same. Compared with the model itself are black and white; everything on a
// true-colour display; and on a high-colour one what was dithered for it.
#include "tests/display_runs/painted_fixture.h"

#include <set>

namespace q32::test {
namespace {

class Window {
public:
    Window() {
        handle_ = CreateWindowExA(WS_EX_TOPMOST, "STATIC", "", WS_POPUP | WS_VISIBLE, 10, 20, 300,
                                  200, nullptr, nullptr, nullptr, nullptr);
        EXPECT_NE(handle_, nullptr);
        UpdateWindow(handle_);
        for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);)
            DispatchMessageA(&message);
        dc_ = GetDC(handle_);
    }
    ~Window() {
        ReleaseDC(handle_, dc_);
        DestroyWindow(handle_);
    }
    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;
    HDC dc() const { return dc_; }

private:
    HWND handle_;
    HDC dc_;
};

// A bitmap of the window's kind.
class LikeWindow {
public:
    explicit LikeWindow(const Window &window)
        : dc_(CreateCompatibleDC(window.dc())),
          bitmap_(CreateCompatibleBitmap(window.dc(), 300, 200)),
          before_(SelectObject(dc_, bitmap_)) {}
    ~LikeWindow() {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    LikeWindow(const LikeWindow &) = delete;
    LikeWindow &operator=(const LikeWindow &) = delete;
    HDC dc() const { return dc_; }

private:
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ before_;
};

void clear(HDC dc) {
    const RECT all{0, 0, 300, 200};
    FillRect(dc, &all, HBRUSH(GetStockObject(BLACK_BRUSH)));
}

class PaintedWindows : public PaintedRuns {
protected:
    static constexpr int width = 101, height = 77;

    // The model's picture drawn by the test at (x, y): its pixels as places of the palette, or as
    // colours, or its bits as black and white.
    void draw_reference(HDC dc, const RunSetup &setup, const Source &source, int x, int y) {
        const bool places = model::strip_of(model::path_of(setup)) == model::Strip::places;
        model::ModelRun model(setup);
        model.show(source.image(), 0, 0, source.rows, source.stride);
        model.end();
        Canvas canvas(setup.left, setup.top, width, height);
        canvas.put(model.flushes());
        const Colours picture = places ? canvas.pixels() : wanted(setup, source);
        struct {
            BITMAPINFOHEADER header;
            WORD places[256];
        } info{};
        info.header = {
            sizeof info.header, width, -height, 1, WORD(places ? 8 : 24), BI_RGB, 0, 0, 0, 0, 0};
        for (unsigned i = 0; i < 256; ++i)
            info.places[i] = WORD(i);
        const std::size_t stride = (width * (places ? 8 : 24) + 31) / 32 * 4;
        Bytes bits(stride * height);
        for (std::size_t row = 0; row < height; ++row)
            for (std::size_t column = 0; column < width; ++column) {
                const std::uint32_t pixel = picture[row * width + column];
                unsigned char *const place = &bits[row * stride];
                if (places)
                    place[column] = std::uint8_t(pixel);
                else
                    for (unsigned channel = 0; channel < 3; ++channel)
                        place[3 * column + channel] = std::uint8_t(pixel >> (8 * channel));
            }
        std::optional<OwnPalette> palette;
        HPALETTE before = nullptr;
        if (places) {
            palette.emplace(shown_palette(setup));
            before = SelectPalette(dc, palette->get(), FALSE);
            RealizePalette(dc);
        }
        EXPECT_NE(SetDIBitsToDevice(dc, x, y, width, height, 0, 0, 0, height, bits.data(),
                                    reinterpret_cast<BITMAPINFO *>(&info),
                                    places ? DIB_PAL_COLORS : DIB_RGB_COLORS),
                  0);
        if (places)
            SelectPalette(dc, before, FALSE);
    }

    void expect_painted(const RunSetup &setup) {
        prepare(setup);
        const Source source(random, setup.depth, width, height);
        for (HDC target : {window.dc(), like_window.dc()}) {
            clear(target);
            // One where the other was: a palette that is realized again may move.
            draw_reference(target, setup, source, setup.left, setup.top);
            const Colours reference = colours_of(target, 0, 0, 300, 200);
            EXPECT_GE(std::set(reference.begin(), reference.end()).size(), 2u);
            clear(target);
            paint(target, setup, source, 10);
            const Colours painted = colours_of(target, 0, 0, 300, 200);
            EXPECT_EQ(difference(painted, reference, 300), "") << setup;
            expect_picture(painted, setup, source);
        }
    }

    // Where the display shows every colour of the picture as it is.
    void expect_picture(Colours painted, const RunSetup &setup, const Source &source) {
        const auto strip = model::strip_of(model::path_of(setup));
        const bool five_bits = strip == model::Strip::colours && setup.type == 5 && setup.dither;
        if (strip != model::Strip::bits && screen_bits() < (five_bits ? 16 : 24))
            return;
        Colours picture(300 * 200, 0);
        const Colours pixels = wanted(setup, source);
        for (std::size_t y = 0; y < height; ++y)
            for (std::size_t x = 0; x < width; ++x)
                picture[(y + std::size_t(setup.top)) * 300 + x + std::size_t(setup.left)] =
                    pixels[y * width + x];
        for (std::uint32_t &colour : painted)
            if (five_bits)
                colour &= 0xF8F8F8; // below it is what makes 31 of 31 white
        EXPECT_EQ(difference(painted, picture, 300), "") << setup;
    }
    static int screen_bits() {
        const HDC screen = GetDC(nullptr);
        const int bits = GetDeviceCaps(screen, BITSPIXEL) * GetDeviceCaps(screen, PLANES);
        ReleaseDC(nullptr, screen);
        return bits;
    }
    Window window;
    LikeWindow like_window{window};
    Random random{test_seed(), 131};
};

TEST_F(PaintedWindows, OfEveryPath) {
    for (int type : {0, 2, 3, 4, 5})
        for (int depth : {1, 8, 16, 24})
            for (int option : {0, 1})
                for (bool palette : {false, true}) {
                    if (option != 0 && (depth != 8 || type > 3))
                        continue;
                    if (palette && depth != 8)
                        continue;
                    RunSetup setup{.type = type, .depth = depth, .left = 13, .top = 21};
                    setup.right = setup.left + width;
                    setup.bottom = setup.top + height;
                    setup.option = option;
                    if (palette)
                        setup.palette = some_colours(random, 256);
                    if (model::strip_of(model::path_of(setup)) != model::Strip::planes)
                        expect_painted(setup);
                }
}

// With the type that the display really has.
TEST_F(PaintedWindows, OfTheDetectedType) {
    const int bits = screen_bits();
    const int type = bits == 8 ? 3 : bits == 16 ? 5 : 4;
    EXPECT_EQ(information().type, type);
    for (int depth : {1, 8, 16, 24}) {
        RunSetup setup{.type = type, .depth = depth, .left = 150, .top = 100};
        setup.right = setup.left + width;
        setup.bottom = setup.top + height;
        setup.dither = true;
        expect_painted(setup);
    }
}

} // namespace
} // namespace q32::test

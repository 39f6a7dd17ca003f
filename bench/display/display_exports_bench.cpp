// Display runs as the DLL exports them: a picture shown on a memory device context, as each kind of
// display gets it, beside what the graphics interface takes for the same picture without the
// library: one call with all of its bytes, 24 bits a pixel and as the interface wants them.
#include "bench/buffers/printing.h"
#include "bench/timing.h"

#include <q32base.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace q32::bench;

constexpr double budget = 0.5; // seconds of a measurement

constexpr SIZE sizes[] = {{512, 512}, {1600, 1200}};

std::vector<std::uint8_t> noise(std::size_t bytes) {
    std::vector<std::uint8_t> result(bytes);
    unsigned state = 20240517;
    for (std::uint8_t &byte : result) {
        state = state * 1664525u + 1013904223u;
        byte = std::uint8_t(state >> 24);
    }
    return result;
}

// A memory device context with a bitmap like the screen's.
class Screen {
public:
    explicit Screen(const SIZE &size) : dc_(CreateCompatibleDC(nullptr)) {
        HDC desktop = GetDC(nullptr);
        bitmap_ = CreateCompatibleBitmap(desktop, size.cx, size.cy);
        ReleaseDC(nullptr, desktop);
        previous_ = SelectObject(dc_, bitmap_);
        require(previous_ != nullptr, "making a bitmap");
    }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;
    ~Screen() {
        SelectObject(dc_, previous_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }

    HDC dc() const { return dc_; }

private:
    HDC dc_;
    HBITMAP bitmap_;
    HGDIOBJ previous_;
};

// A kind of picture on a kind of display.
struct Showing {
    const char *name;
    int device_type;
    int depth;
    int gamma; // hundredths; 180 corrects nothing
    bool high_colour_dither, with_palette;
};
constexpr Showing showings[] = {
    {"24 bits, true colour", DISP32_TRUE_COLOUR, 24, 180, true, false},
    {"24 bits, true colour, gamma", DISP32_TRUE_COLOUR, 24, 220, true, false},
    {"16 bits, true colour", DISP32_TRUE_COLOUR, 16, 180, true, false},
    {"greys, true colour", DISP32_TRUE_COLOUR, 8, 180, true, false},
    {"24 bits, high colour", DISP32_HIGH_COLOUR, 24, 180, true, false},
    {"24 bits, high colour, gamma", DISP32_HIGH_COLOUR, 24, 220, true, false},
    {"24 bits, high colour, not dithered", DISP32_HIGH_COLOUR, 24, 180, false, false},
    {"24 bits, 256 colours", DISP32_PALETTE, 24, 180, true, false},
    {"16 bits, 256 colours", DISP32_PALETTE, 16, 180, true, false},
    {"palette, 256 colours", DISP32_PALETTE, 8, 180, true, true},
    {"greys, 256 colours", DISP32_PALETTE, 8, 180, true, false},
    {"24 bits, 16 colours", DISP32_SIXTEEN_COLOURS, 24, 180, true, false},
    {"greys, 16 colours", DISP32_SIXTEEN_COLOURS, 8, 180, true, false},
    {"1 bit", DISP32_TRUE_COLOUR, 1, 180, true, false},
};

void show(const Screen &screen, const SIZE &size, const Showing &showing, HPALETTE palette,
          const std::vector<std::uint8_t> &picture) {
    HDISPRUN run = 0;
    require(disp32ShowInit(&run, screen.dc(), showing.depth, 0, 0, size.cx, size.cy, palette, 1, 1),
            "disp32ShowInit");
    require(disp32ShowData(run, picture.data(), 0, 0, size.cy, size.cx * showing.depth / 8),
            "disp32ShowData");
    require(disp32ShowEnd(run), "disp32ShowEnd");
}

void hand_over(const Screen &screen, const SIZE &size, const std::vector<std::uint8_t> &picture) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, size.cx, size.cy, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const int rows = SetDIBitsToDevice(screen.dc(), 0, 0, DWORD(size.cx), DWORD(size.cy), 0, 0, 0,
                                       UINT(size.cy), picture.data(), &info, DIB_RGB_COLORS);
    require(rows == size.cy, "SetDIBitsToDevice");
}

void measure(const Showing &showing, const SIZE &size) {
    require(disp32SetDevType(showing.device_type), "disp32SetDevType");
    require(disp32NewScreenGamma(showing.gamma, showing.gamma, showing.gamma),
            "disp32NewScreenGamma");
    disp32BeHiColorDither(showing.high_colour_dither);
    HPALETTE palette =
        showing.with_palette ? disp32CreateColorPalette(nullptr, DISP32_CUBE_666, 256, 0) : nullptr;
    require(!showing.with_palette || palette != nullptr, "disp32CreateColorPalette");

    const Screen screen(size);
    const auto picture = noise(std::size_t(size.cx) * std::size_t(size.cy) * 3);
    const PairedTime time = time_paired([&] { show(screen, size, showing, palette, picture); },
                                        [&] { hand_over(screen, size, picture); }, budget);
    print(showing.name, time.job * 1e9 / (double(size.cx) * double(size.cy)), "ns/pixel",
          "one call", time.ratio());
    if (palette != nullptr)
        DeleteObject(palette);
}

} // namespace

int main() {
    for (const SIZE &size : sizes) {
        std::printf("A picture of %ld x %ld shown on a memory device context, beside one call of "
                    "the interface\nwith 24 bits\n\n",
                    size.cx, size.cy);
        for (const Showing &showing : showings)
            measure(showing, size);
        std::printf("\n");
    }
    return 0;
}

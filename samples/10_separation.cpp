// Colour separation: a picture as the four inks of a press, and put together again.
//
//     10_separation [OUTPUT.png [PICTURE]]
//
// What to see: the picture, its plates of cyan, magenta, yellow and black, each printed alone on
// white paper, and the four on top of each other. Greys are printed in black as they get darker,
// and with a tenth less of the other inks: there and back is not exact.
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>

#include <cstdint>

namespace {

enum Part { picture_part, cyan, magenta, yellow, black, together, parts };

// One row as a part of the sheet has it. An ink takes its light out of the white of the paper: cyan
// takes red, magenta green, yellow blue, and black all three.
void print_row(Part part, const std::uint8_t *rgb, std::uint8_t *printed, int pixels) {
    for (int i = 0; i < pixels * 3; i += 3) {
        std::uint8_t inks[4];
        qfdClrRgbToCmyk(&rgb[i], inks);
        for (int channel = 0; channel < 3; ++channel) {
            const bool takes = part == black || part == cyan + channel;
            printed[i + channel] = takes ? std::uint8_t(255 - inks[part - cyan]) : 255;
        }
        if (part == together)
            qfdClrCmykToRgb(inks, &printed[i]);
    }
}

// Three parts beside each other, and three below.
bool print_part(HBUF32 sheet, Part part, HBUF32 picture, int width, int height) {
    const int left = part % 3 * width, top = part / 3 * height;
    if (part == picture_part)
        return buf32MergeBuf(picture, 0, 0, width, height, sheet, left, top);
    static std::uint8_t rgb[Q32_MAX_SIDE * 3], printed[Q32_MAX_SIDE * 3];
    for (int y = 0; y < height; ++y) {
        if (!buf32GetMem(picture, 0, y, width, 1, rgb))
            return false;
        print_row(part, rgb, printed, width);
        if (!buf32MergeMem(sheet, left, top + y, printed, width, 1))
            return false;
    }
    return true;
}

bool separate(HBUF32 picture, HBUF32 &sheet) {
    int width = 0, height = 0;
    buf32GetWHU(picture, &width, &height, nullptr);
    if (!buf32Alloc(&sheet, 24, 3 * width, 2 * height, BUF32_TILED, nullptr))
        return false;
    qfdCalcBGCurve(); // first, or there is no black
    for (int part = 0; part < parts; ++part)
        if (!print_part(sheet, Part(part), picture, width, height))
            return false;
    return true;
}

} // namespace

int main(int argc, char **argv) {
    HBUF32 picture = 0, sheet = 0;
    const bool done = picture_load(&picture, argc > 2 ? argv[2] : nullptr) &&
                      separate(picture, sheet) &&
                      picture_save(sheet, argc > 1 ? argv[1] : "10_separation.png");
    buf32Free(sheet);
    buf32Free(picture);
    return end_program("10_separation", done);
}

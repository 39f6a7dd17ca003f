// Where a run's rows go: the layout in which a strip holds them, and how a strip is drawn.
#pragma once

#include "display/runs/memory_bitmap.h"
#include "display/runs/strip.h"

#include <windows.h>

#include <cstdint>

namespace q32::display {

// What strips are drawn through. Each target reads its own.
struct Means {
    HPALETTE palette = nullptr;
    int force_background = 0;
    MemoryBitmap bitmap;
};

struct Target {
    std::uint64_t (*row_bytes)(std::uint64_t width);
    std::uint64_t most_bytes; // of a strip
    Strip::Fill fill;         // of rows that come top down; bottom up it is the other one

    // For the width and rows of the run, and the rows of its strip. False when it cannot be had.
    bool (*make)(Means &means, HDC dc, int width, std::uint32_t rows, int strip_rows);

    // False when the graphics interface refuses.
    bool (*draw)(const Band &band, const Strip &strip, const Means &means);
};

namespace target {

extern const Target planes;  // four, through a bitmap of the device's
extern const Target bits;    // black and white, through a bitmap of bits
extern const Target indices; // of a palette
extern const Target colours;

} // namespace target
} // namespace q32::display

// Pictures of 24 bits into other kinds of pixels, through the library's row conversions.
#pragma once

#include "arguments.h"
#include "image.h"

#include <cstdint>
#include <vector>

namespace apps::q32tool {

struct Conversion {
    PixelFormat format;
    uint8_t threshold = 127; // 1 bit: brighter than this is white
    bool invert = false;     // every bit of the result becomes its complement
};

// --bits, --format, --threshold.
std::vector<Option> pixel_options();

// What these options say, without inverting. Throws UsageError.
Conversion conversion_from(const Arguments &arguments);

// Turns a 24-bit image into the wanted one, in a buffer of the same type. Throws Failure,
// Cancelled.
void convert(Image &image, const Conversion &conversion);

} // namespace apps::q32tool

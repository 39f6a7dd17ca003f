// Pictures of 24 bits into other kinds of pixels, through the library's row conversions.
#pragma once

#include "arguments.h"
#include "picture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

struct Conversion {
    PixelFormat format;
    uint8_t threshold = 127; // 1 bit: brighter than this is white
    bool invert = false;     // every bit of the result becomes its complement
    bool opaque = false;     // 24 bits without transparency are asked for
};

// --bits, --format, --threshold.
std::vector<Option> pixel_options();

// What these options say, without inverting. Throws UsageError.
Conversion conversion_from(const Arguments &arguments);

// Turns a 24-bit image into the wanted one, in a buffer of the same type. Throws Failure,
// Cancelled.
void convert(Image &image, const Conversion &conversion);

// Transparency is kept in 24 bits that nobody asked for, and else laid over white, which is noted
// of the file OUT.
void fit_transparency(Picture &picture, const Conversion &conversion, const std::string &out);

// Both for a picture.
void convert(Picture &picture, const Conversion &conversion, const std::string &out);

} // namespace apps::q32tool

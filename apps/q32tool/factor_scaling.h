// Pictures enlarged and reduced by whole factors: every pixel becomes a block of its own, or one
// pixel stands for a block. Nothing is averaged.
#pragma once

#include "arguments.h"
#include "frames.h"
#include "image.h"

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

struct Factors {
    int horizontal;
    int vertical;
};

// --bits with 32, and the other options of pixels.
std::vector<Option> factor_pixel_options();

// The value of --factor, "N" or "NxM". Throws UsageError.
Factors factors_from(const Arguments &arguments);

// Whether --bits 32 is asked for: such pictures are frames. Throws UsageError.
bool wants_transparency(const Arguments &arguments);

// As new images in buffers of the same type, named after the file they are for. Throw Failure,
// Cancelled.
Image enlarged(const Image &image, const Factors &by, const std::string &named);
Image reduced(const Image &image, const Factors &by, const std::string &named);

// Of 32 bits. Throw Failure.
Frame enlarged(const Frame &frame, const Factors &by);
Frame reduced(const Frame &frame, const Factors &by);

} // namespace apps::q32tool

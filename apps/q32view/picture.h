// A picture in one of the library's buffers.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"
#include "long_work.h"

#include <string>

namespace apps::q32view {

struct Picture {
    Buffer buffer; // 24 bits; with an opacity, colours multiplied by it
    Size size;
    std::string path;   // of the file
    std::string name;   // the same, without its folder
    std::string format; // of the file: "PNG"
    int file_bits = 0;  // per pixel in the file
    Buffer opacity{};   // 8 bits, 255 is opaque; none: opaque everywhere
};

// What becomes of transparent parts.
enum class Transparency { over_white, kept };

// Reads a picture file, the way up that it is meant to be seen. Throws Failure, Cancelled.
Picture load_picture(const std::string &path, StatusBar &status,
                     Transparency transparency = Transparency::over_white);

// Turns a picture for the eye (turning.h). Throws Failure; the picture is as it was then.
void turn(Picture &picture, int orientation);

} // namespace apps::q32view

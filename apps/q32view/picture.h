// A picture in one of the library's buffers.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"
#include "long_work.h"

#include <string>

namespace apps::q32view {

struct Picture {
    Buffer buffer; // 24 bits
    Size size;
    std::string path;   // of the file
    std::string name;   // the same, without its folder
    std::string format; // of the file: "PNG"
    int file_bits = 0;  // per pixel in the file
};

// Reads a picture file. Throws Failure, Cancelled.
Picture load_picture(const std::string &path, StatusBar &status);

} // namespace apps::q32view

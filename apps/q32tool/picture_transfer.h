// Pictures between files and buffers: what a command reads first and writes last.
#pragma once

#include "image.h"
#include "picture_writer.h"

#include <string>

namespace q32tool {

struct LoadedPicture {
    Image image;        // 24 bits
    std::string format; // of the file: "PNG"
    int file_bits;      // per pixel in the file
};

// Reads a picture file into a buffer of the given type. Throws Failure, Cancelled.
LoadedPicture load_picture(const std::string &path, uint32_t buffer_type);

// Writes an image to a file whose name check_output has seen. 1 bit and grey stay what they are (in
// JPEG, 1 bit becomes grey), 5-5-5 stays so in BMP, everything else becomes 24 bits. Throws
// Failure, Cancelled; no file is left then.
void save_picture(Image &image, const std::string &path, FileFormat format);

} // namespace q32tool

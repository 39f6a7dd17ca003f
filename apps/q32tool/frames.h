// Frames: whole pictures in plain memory, as the library's streaming functions take them. Rows are
// padded to 4 bytes, the top row first; byte 0 of a 24- or 32-bit pixel is blue.
#pragma once

#include "apps/pictures/areas.h"
#include "picture_loading.h"
#include "picture_saving.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace apps::q32tool {

struct Frame {
    Frame(int columns, int rows, int bits_per_pixel); // throws Failure: not enough memory

    int width;
    int height;
    int bits; // 8: grey, 16: 5-5-5, 24, 32: with transparency
    size_t stride;
    std::vector<uint8_t> pixels;
    PictureFacts facts;
    bool lies_over_white = false; // what the file has of transparency

    uint8_t *row(int y) { return pixels.data() + static_cast<size_t>(y) * stride; }
    Size size() const { return {width, height}; }
    BITMAPINFOHEADER header() const;
};

// Reads a picture of that size into a frame. Throws Failure, Cancelled.
Frame read_frame(const std::string &path, int bits, Turning turning);

// Whether a picture has parts that are not opaque. Throws Failure, Cancelled.
bool is_transparent(const std::string &path);

// Writes it; 16 bits stay so in BMP and become 24 bits elsewhere. What is lost is noted of what is
// named. Throws Failure, Cancelled; no file is left then.
void write_frame(Frame &frame, const std::string &path, FileFormat format,
                 const OutputSettings &settings, const std::string &named);

// check_output for pictures of 32 bits, which only some formats hold. Throws Failure.
FileFormat check_transparent_output(const std::string &path);

} // namespace apps::q32tool

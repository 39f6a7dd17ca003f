// Picture files into buffers.
#pragma once

#include "apps/pictures/picture_reader.h"
#include "picture.h"

#include <cstdint>
#include <string>

namespace apps::q32tool {

// Whether a picture is turned as its file wants it seen, or left as it stands.
enum class Turning { as_seen, as_stored };

// Of 24 bits. Without opacity when all of it is opaque, whether the file has a place for it or not.
struct LoadedPicture : Picture {
    std::string format; // of the file: "PNG"
    int file_bits;      // per pixel in the file
    bool has_opacity;   // in the file
};

// Reads a picture file into buffers of the given type. Throws Failure, Cancelled.
LoadedPicture load_picture(const std::string &path, uint32_t buffer_type,
                           Turning turning = Turning::as_seen);

// The facts of a picture that is turned now.
void turn(PictureFacts &facts);

// Notes that only the first of several pictures is read, if that is so.
void note_more_pictures(const PictureReader &reader, const std::string &path);

// A row of 24 bits as buffers have it, out of one as files have it, and the other way round.
void swap_red_and_blue(uint8_t *row, int width);

} // namespace apps::q32tool

// The opacity of pictures: how pictures with transparent parts are laid over others, and over white
// where transparency ends. Colours are never weighed by it in memory.
#pragma once

#include "merging.h"
#include "picture.h"
#include "rectangles.h"

#include <cstdint>
#include <optional>
#include <string>

namespace apps::q32tool {

inline constexpr uint8_t opaque = 255; // a byte of an opacity

bool is_opaque(Image &opacity);

// A sample over white, rounded.
constexpr uint8_t over_white(uint32_t sample, uint32_t opacity) {
    return static_cast<uint8_t>((sample * opacity + 255 * (255 - opacity) + 127) / 255);
}

// Lays a picture with transparent parts over white, which is noted. out: the file that is made of
// it; who: what has none, in the note: "JPEG has", "plates have". Throw Failure, Cancelled.
void lay_over_white(Picture &picture, const std::string &out, const std::string &who);

// Makes an area of the picture opaque, or all of it.
void make_opaque(Picture &picture, const std::optional<Area> &area);

// Lays one picture over another, at a point of it: what is behind transparent parts shines through,
// and where both are transparent, so is what they make. Throw Failure, also when nothing lies
// inside, and Cancelled.
void lay_picture(Picture &base, const Picture &overlay, const Point &at);
void lay_picture(const Canvas &base, const Picture &overlay, const Point &at); // an opaque one

// The same for a pattern, as lay_pattern does it.
void lay_pattern(Picture &base, const Picture &pattern, const std::optional<Area> &area);
void lay_pattern(const Canvas &base, const Picture &pattern, const std::optional<Area> &area);

// merge_image for a base that may be transparent: where it is, the overlay is seen as it stands, by
// the part that the base does not cover. mask: 8 bits, of the overlay's size, or null; it says how
// opaque the overlay is.
void merge_picture(Picture &base, const Image &overlay, const Image *mask, const Point &at,
                   const Merge &merge);

} // namespace apps::q32tool

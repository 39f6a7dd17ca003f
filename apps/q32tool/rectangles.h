// Rectangles of pixels through the library, and what commands make of them: laying one picture over
// another, filling with a colour or a pattern.
#pragma once

#include "image.h"
#include "option_values.h"

#include <cstdint>
#include <optional>
#include <string>

namespace apps::q32tool {

// Where pixels are laid: a buffer of 24 bits that somebody else owns.
struct Canvas {
    HBUF32 buffer;
    Size size;
    std::string named; // what messages are about

    Area area() const { return area_of({}, size); }
};

Canvas canvas_of(const Image &image);

// The part of a rectangle that a canvas has. Throws Failure when there is none, or when it is not
// all; what: the rectangle, in the message; remedy: what to do about it.
Area part_on(const Canvas &canvas, Point at, Size size, const std::string &what);
void check_inside(const Canvas &canvas, const Area &area, const std::string &remedy);

// Pixels of a rectangle to memory, as they are stored; see buf32GetMem. With a background, a
// pixel of the image's format, the rectangle may reach beyond the image. Throw Failure.
void get_pixels(const Canvas &canvas, const Area &area, void *memory);
void get_pixels(const Image &image, const Area &area, void *memory);
void get_pixels(const Image &image, const Area &area, void *memory, const void *background);

// Memory over a rectangle that meets the image. Throw Failure.
void put_pixels(const Canvas &canvas, const Area &area, const void *memory);
void put_pixels(const Image &image, const Area &area, const void *memory);

// A pattern (of 8 or 24 bits) repeated from a canvas' corner, as a picture of its size that needs
// no memory for its pixels. Throws Failure.
Image repeated(const Image &pattern, const Canvas &canvas);

// Lay an image, a colour or a repeated pattern over the canvas; what lies outside the canvas is
// left out. The pattern is repeated from the canvas' corner, whatever the area; without an area the
// whole canvas is filled. Throw Failure when nothing lies inside.
void lay_image(const Canvas &canvas, const Image &overlay, const Point &at);
void lay_colour(const Canvas &canvas, const Colour &colour, const std::optional<Area> &area);
void lay_pattern(const Canvas &canvas, const Image &pattern, const std::optional<Area> &area);

} // namespace apps::q32tool

// Points, sizes, rectangles and colours of the command line, and in words. Moving the pixels of
// rectangles is rectangles.h's part.
#pragma once

#include "apps/pictures/areas.h"
#include "arguments.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace apps::q32tool {

// "640x480 at 10,-20"
std::string in_words(Point at, Size size);

// "1024 x 768 pixels"
std::string size_in_words(Size size);

// --at and --size, for commands that may take a rectangle, or need one.
std::vector<Option> area_options(Times times = at_most_once);

// The values of options that were given. Throw UsageError.
Point point_from(const Arguments &arguments, std::string_view option);
Size size_from(const Arguments &arguments, std::string_view option);

// What --at and --size say together, as far as int reaches; none when neither was given. Throws
// UsageError.
std::optional<Area> area_from(const Arguments &arguments);

// The bytes of a 24-bit pixel, as buffers hold it.
struct Colour {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

// "R,G,B" or "#rrggbb".
std::optional<Colour> parse_colour(std::string_view text);

// The value of an option that was given: "R,G,B" or "#rrggbb". Throws UsageError.
Colour colour_from(const Arguments &arguments, std::string_view option);

} // namespace apps::q32tool

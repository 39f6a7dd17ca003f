// Points, sizes and rectangles of the command line, and in words. Moving the pixels of rectangles
// is rectangles.h's part.
#pragma once

#include "apps/pictures/areas.h"
#include "arguments.h"

#include <optional>
#include <string>
#include <vector>

namespace apps::q32tool {

// "640x480 at 10,-20"
std::string in_words(Point at, Size size);

// "1024 x 768 pixels"
std::string size_in_words(Size size);

// --at and --size, for commands that may take a rectangle, or need one.
std::vector<Option> area_options(bool required = false);

// The value of --at, which must have been given. Throws UsageError.
Point point_from(const Arguments &arguments);

// The value of an option that names a size; it must have been given. Throws UsageError.
Size size_from(const Arguments &arguments, std::string_view option);

// What --at and --size say together, as far as int reaches; none when neither was given. Throws
// UsageError.
std::optional<Area> area_from(const Arguments &arguments);

} // namespace apps::q32tool

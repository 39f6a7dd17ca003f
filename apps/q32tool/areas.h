// Points and rectangles of the command line, in pixels, and how they lie to a picture.
// Moving their pixels is rectangles.h's part.
#pragma once

#include "arguments.h"

#include <optional>
#include <string>
#include <vector>

namespace apps::q32tool {

struct Point {
    int x;
    int y;
};

struct Area {
    int x;
    int y;
    int width;
    int height;

    bool is_empty() const { return width < 1 || height < 1; }
    bool operator==(const Area &) const = default;
};

// "640x480 at 10,-20"
std::string in_words(const Area &area);

// "1024 x 768 pixels"
std::string size_in_words(int width, int height);

// --at and --size, for commands that may take a rectangle, or need one.
std::vector<Option> area_options(bool required = false);

// The value of --at, which must have been given. Throws UsageError.
Point point_from(const Arguments &arguments);

// The value of an option that names a size, at 0,0; it must have been given. Throws UsageError.
Area size_from(const Arguments &arguments, std::string_view option);

// What --at and --size say together; none when neither was given. Throws UsageError.
std::optional<Area> area_from(const Arguments &arguments);

// The part of an area that lies in a picture of this size; empty when there is none.
Area part_inside(const Area &area, int width, int height);

bool is_inside(const Area &area, int width, int height);

} // namespace apps::q32tool

// Parsing of points and sizes, and clipping. Sums are made in 64 bits: a rectangle may begin and
// end anywhere in the range of int.
#include "areas.h"

#include "apps/pictures/failure.h"
#include "apps/pictures/numbers.h"

#include <algorithm>
#include <cstdint>

namespace apps::q32tool {
namespace {

struct Range {
    int64_t first;
    int64_t end;
};

// Of begin .. begin + length - 1, what lies in 0 .. limit - 1.
Range clipped(int begin, int length, int limit) {
    return {std::max<int64_t>(begin, 0), std::min<int64_t>(int64_t{begin} + length, limit)};
}

// Two numbers with a separator between them.
std::optional<Point> parse_pair(std::string_view text, char separator) {
    const size_t middle = text.find(separator);
    if (middle == std::string_view::npos)
        return std::nullopt;
    const auto first = parse_integer(text.substr(0, middle));
    const auto second = parse_integer(text.substr(middle + 1));
    if (!first || !second)
        return std::nullopt;
    return Point{*first, *second};
}

} // namespace

std::string in_words(const Area &area) {
    return std::to_string(area.width) + "x" + std::to_string(area.height) + " at " +
           std::to_string(area.x) + "," + std::to_string(area.y);
}

std::string size_in_words(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

std::vector<Option> area_options(bool required) {
    return {
        {.name = "--at",
         .value = "X,Y",
         .help = "left and top of the rectangle, from the picture's corner",
         .required = required},
        {.name = "--size",
         .value = "WxH",
         .help = "width and height of the rectangle",
         .required = required},
    };
}

Point point_from(const Arguments &arguments) {
    const auto point = parse_pair(arguments.value("--at"), ',');
    if (!point)
        throw UsageError("--at takes X,Y in pixels, such as 100,-20, not '" +
                         arguments.value("--at") + "'");
    return *point;
}

Area size_from(const Arguments &arguments, std::string_view option) {
    const auto size = parse_pair(arguments.value(option), 'x');
    if (!size || size->x < 1 || size->y < 1)
        throw UsageError(std::string(option) + " takes WxH in pixels, such as 640x480, not '" +
                         arguments.value(option) + "'");
    return {0, 0, size->x, size->y};
}

std::optional<Area> area_from(const Arguments &arguments) {
    if (!arguments.has("--at") && !arguments.has("--size"))
        return std::nullopt;
    if (!arguments.has("--size"))
        throw UsageError("--at needs --size WxH, too");
    if (!arguments.has("--at"))
        throw UsageError("--size needs --at X,Y, too");
    const Point corner = point_from(arguments);
    Area area = size_from(arguments, "--size");
    area.x = corner.x;
    area.y = corner.y;
    return area;
}

Area part_inside(const Area &area, int width, int height) {
    const Range columns = clipped(area.x, area.width, width);
    const Range rows = clipped(area.y, area.height, height);
    if (columns.first >= columns.end || rows.first >= rows.end)
        return {0, 0, 0, 0};
    return {static_cast<int>(columns.first), static_cast<int>(rows.first),
            static_cast<int>(columns.end - columns.first), static_cast<int>(rows.end - rows.first)};
}

bool is_inside(const Area &area, int width, int height) {
    return part_inside(area, width, height) == area;
}

} // namespace apps::q32tool

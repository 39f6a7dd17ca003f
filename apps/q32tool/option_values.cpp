// Parsing of points and sizes.
#include "option_values.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

namespace apps::q32tool {
namespace {

// Two numbers with a separator between them.
std::optional<Point> parse_pair(std::string_view text, char separator) {
    const size_t middle = text.find(separator);
    if (middle == std::string_view::npos)
        return std::nullopt;
    const auto first = parse_number<int>(text.substr(0, middle));
    const auto second = parse_number<int>(text.substr(middle + 1));
    if (!first || !second)
        return std::nullopt;
    return Point{*first, *second};
}

} // namespace

std::string in_words(Point at, Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height) + " at " +
           std::to_string(at.x) + "," + std::to_string(at.y);
}

std::string size_in_words(Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
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

Size size_from(const Arguments &arguments, std::string_view option) {
    const auto size = parse_pair(arguments.value(option), 'x');
    if (!size || size->x < 1 || size->y < 1)
        throw UsageError(std::string(option) + " takes WxH in pixels, such as 640x480, not '" +
                         arguments.value(option) + "'");
    return {size->x, size->y};
}

std::optional<Area> area_from(const Arguments &arguments) {
    if (!arguments.has("--at") && !arguments.has("--size"))
        return std::nullopt;
    if (!arguments.has("--size"))
        throw UsageError("--at needs --size WxH, too");
    if (!arguments.has("--at"))
        throw UsageError("--size needs --at X,Y, too");
    return area_of(point_from(arguments), size_from(arguments, "--size"));
}

} // namespace apps::q32tool

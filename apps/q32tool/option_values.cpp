// Parsing of points, sizes and colours.
#include "option_values.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

namespace apps::q32tool {
namespace {

std::optional<Point> parse_point(std::string_view text) {
    const std::vector<int> pair = parse_numbers<int>(text, ',');
    return pair.size() == 2 ? std::optional(Point{pair[0], pair[1]}) : std::nullopt;
}

std::optional<Size> parse_size(std::string_view text) {
    const std::vector<int> pair = parse_numbers<int>(text, 'x');
    if (pair.size() != 2 || pair[0] < 1 || pair[1] < 1)
        return std::nullopt;
    return Size{pair[0], pair[1]};
}

std::optional<Colour> parse_hexadecimal(std::string_view digits) {
    constexpr size_t digit_count = 6;
    const auto value = parse_number<uint32_t>(digits, 16);
    if (digits.size() != digit_count || !value)
        return std::nullopt;
    return Colour{static_cast<uint8_t>(*value >> 16), static_cast<uint8_t>(*value >> 8),
                  static_cast<uint8_t>(*value)};
}

} // namespace

std::string in_words(Point at, Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height) + " at " +
           std::to_string(at.x) + "," + std::to_string(at.y);
}

std::string size_in_words(Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
}

std::vector<Option> area_options(Times times) {
    return {
        {"--at", "X,Y", "left and top of the rectangle, from the picture's corner", times},
        {"--size", "WxH", "width and height of the rectangle", times},
    };
}

Point point_from(const Arguments &arguments, std::string_view option) {
    return arguments.parsed(option, parse_point, "X,Y in pixels, such as 100,-20");
}

Size size_from(const Arguments &arguments, std::string_view option) {
    return arguments.parsed(option, parse_size, "WxH in pixels, such as 640x480");
}

std::optional<Area> area_from(const Arguments &arguments) {
    if (!arguments.has("--at") && !arguments.has("--size"))
        return std::nullopt;
    if (!arguments.has("--size"))
        throw UsageError("--at needs --size WxH, too");
    if (!arguments.has("--at"))
        throw UsageError("--size needs --at X,Y, too");
    const Point at = point_from(arguments, "--at");
    return area_of(at, size_from(arguments, "--size"));
}

std::optional<Colour> parse_colour(std::string_view text) {
    if (text.starts_with('#'))
        return parse_hexadecimal(text.substr(1));
    const std::vector<uint8_t> channels = parse_numbers<uint8_t>(text, ',');
    if (channels.size() != 3)
        return std::nullopt;
    return Colour{channels[0], channels[1], channels[2]};
}

Colour colour_from(const Arguments &arguments, std::string_view option) {
    return arguments.parsed(option, parse_colour, "R,G,B, each from 0 to 255, or #rrggbb");
}

} // namespace apps::q32tool

// Parsing of colours.
#include "colours.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <charconv>

namespace apps::q32tool {
namespace {

std::optional<uint8_t> parse_channel(std::string_view text) {
    const auto value = parse_number(text);
    if (!value || *value > UINT8_MAX)
        return std::nullopt;
    return static_cast<uint8_t>(*value);
}

std::optional<Colour> parse_hexadecimal(std::string_view digits) {
    constexpr size_t digit_count = 6;
    uint32_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != digit_count || result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return Colour{static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
                  static_cast<uint8_t>(value)};
}

} // namespace

std::optional<Colour> parse_colour(std::string_view text) {
    if (text.starts_with('#'))
        return parse_hexadecimal(text.substr(1));
    const size_t first = text.find(',');
    const size_t second = first == std::string_view::npos ? first : text.find(',', first + 1);
    if (second == std::string_view::npos)
        return std::nullopt;
    const auto red = parse_channel(text.substr(0, first));
    const auto green = parse_channel(text.substr(first + 1, second - first - 1));
    const auto blue = parse_channel(text.substr(second + 1));
    if (!red || !green || !blue)
        return std::nullopt;
    return Colour{*red, *green, *blue};
}

Colour colour_from(const Arguments &arguments, std::string_view option) {
    const std::string &text = arguments.value(option);
    const auto colour = parse_colour(text);
    if (!colour)
        throw UsageError(std::string(option) +
                         " takes R,G,B, each from 0 to 255, or #rrggbb, "
                         "not '" +
                         text + "'");
    return *colour;
}

} // namespace apps::q32tool

// Colours of the command line.
#pragma once

#include "arguments.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace apps::q32tool {

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

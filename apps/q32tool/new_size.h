// Sizes that the command line gives in other ways than as a width and a height.
#pragma once

#include "apps/pictures/areas.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace apps::q32tool {

// "640x480", "640x", "x480": a side that is not given is 0.
std::optional<Size> parse_new_size(std::string_view text);
// That size for a picture: the side that is not given by the picture's proportions.
Size completed(Size size, Size picture);

// As large as a box allows with the picture's proportions.
Size fitted(Size picture, Size box);

// "50", "33.3", "12.5%": in millionths of a percent. Up to 3200000 percent, which make a pixel as
// wide as a picture can be.
std::optional<uint64_t> parse_percent(std::string_view text);
inline constexpr std::string_view percent_range =
    "a number from 0.000001 to 3200000 with at most 6 decimals";
// So many millionths of a percent of both sides.
Size percent_of(Size picture, uint64_t millionths);

} // namespace apps::q32tool

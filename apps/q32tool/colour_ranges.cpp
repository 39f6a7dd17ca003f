// Parsing of colour ranges.
#include "colour_ranges.h"

#include "apps/pictures/exceptions.h"
#include "colours.h"

#include <cstring>
#include <optional>

namespace apps::q32tool {
namespace {

std::optional<Colour> parse_tolerance(std::string_view text) {
    if (text.find(',') != std::string_view::npos)
        return parse_colour(text);
    const std::string each(text);
    return parse_colour(each + "," + each + "," + each);
}

std::optional<I32COLORRANGE> parse_range(std::string_view text) {
    const size_t colon = text.find(':');
    const auto colour = parse_colour(text.substr(0, colon));
    const auto tolerance = colon == std::string_view::npos
                               ? std::optional(Colour{0, 0, 0})
                               : parse_tolerance(text.substr(colon + 1));
    if (!colour || !tolerance)
        return std::nullopt;
    return I32COLORRANGE{{colour->red, colour->green, colour->blue, 0},
                         {tolerance->red, tolerance->green, tolerance->blue, 0}};
}

} // namespace

ColourRanges::ColourRanges(const std::vector<I32COLORRANGE> &ranges)
    : block_(1 + ranges.size() * sizeof(I32COLORRANGE) / sizeof(uint32_t)) {
    block_[0] = static_cast<uint32_t>(ranges.size());
    std::memcpy(&block_[1], ranges.data(), ranges.size() * sizeof(I32COLORRANGE));
}

ColourRanges colour_ranges_from(const Arguments &arguments, std::string_view option) {
    std::vector<I32COLORRANGE> ranges;
    for (const std::string &text : arguments.values(option)) {
        const auto range = parse_range(text);
        if (!range)
            throw UsageError(std::string(option) +
                             " takes R,G,B:T or R,G,B:TR,TG,TB, each from 0 to 255, or #rrggbb:T, "
                             "not '" +
                             text + "'");
        ranges.push_back(*range);
    }
    return ColourRanges(ranges);
}

} // namespace apps::q32tool

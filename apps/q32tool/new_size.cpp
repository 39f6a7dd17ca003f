// Sizes in whole numbers: what is no whole pixel is rounded, half up, and no side is less than one.
#include "new_size.h"

#include "apps/pictures/numbers.h"

#include <q32base/buffers.h>

#include <algorithm>

namespace apps::q32tool {
namespace {

constexpr size_t decimals = 6;
constexpr uint64_t one_percent = 1000000;
constexpr uint64_t most_percent = uint64_t{Q32_MAX_SIDE} * 100 * one_percent;

int as_length(uint64_t pixels) {
    return static_cast<int>(std::clamp<uint64_t>(pixels, 1, INT32_MAX));
}

// numerator / denominator x length.
int scaled_length(int length, int numerator, int denominator) {
    const auto divisor = static_cast<uint64_t>(denominator);
    return as_length(
        (static_cast<uint64_t>(length) * static_cast<uint64_t>(numerator) + divisor / 2) / divisor);
}

// The whole times and the rest apart, so that 64 bits hold both.
int percent_of(int length, uint64_t millionths) {
    constexpr uint64_t once = 100 * one_percent;
    const auto pixels = static_cast<uint64_t>(length);
    return as_length(pixels * (millionths / once) +
                     (pixels * (millionths % once) + once / 2) / once);
}

std::optional<int> parse_side(std::string_view text) {
    if (text.empty())
        return 0;
    const auto side = parse_number<int>(text);
    return side && *side >= 1 ? side : std::nullopt;
}

} // namespace

std::optional<Size> parse_new_size(std::string_view text) {
    const size_t cross = text.find('x');
    if (cross == std::string_view::npos || text.size() == 1)
        return std::nullopt;
    const auto width = parse_side(text.substr(0, cross)),
               height = parse_side(text.substr(cross + 1));
    return width && height ? std::optional(Size{*width, *height}) : std::nullopt;
}

Size completed(Size size, Size picture) {
    if (size.width == 0)
        return {scaled_length(picture.width, size.height, picture.height), size.height};
    if (size.height == 0)
        return {size.width, scaled_length(picture.height, size.width, picture.width)};
    return size;
}

Size fitted(Size picture, Size box) {
    if (static_cast<int64_t>(box.width) * picture.height <=
        static_cast<int64_t>(box.height) * picture.width)
        return {box.width,
                std::min(box.height, scaled_length(picture.height, box.width, picture.width))};
    return {std::min(box.width, scaled_length(picture.width, box.height, picture.height)),
            box.height};
}

std::optional<uint64_t> parse_percent(std::string_view text) {
    if (text.ends_with('%'))
        text.remove_suffix(1);
    const size_t point = text.find('.');
    std::string digits(text.substr(0, point));
    std::string fraction(point == std::string_view::npos ? "0" : text.substr(point + 1));
    if (fraction.empty() || fraction.size() > decimals)
        return std::nullopt;
    fraction.resize(decimals, '0');
    const auto whole = parse_number<uint32_t>(digits);
    const auto rest = parse_number<uint32_t>(fraction);
    if (!whole || !rest)
        return std::nullopt;
    const uint64_t millionths = *whole * one_percent + *rest;
    return millionths > 0 && millionths <= most_percent ? std::optional(millionths) : std::nullopt;
}

Size percent_of(Size picture, uint64_t millionths) {
    return {percent_of(picture.width, millionths), percent_of(picture.height, millionths)};
}

} // namespace apps::q32tool

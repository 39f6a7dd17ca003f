// A row for each mode, and the weights that go by mode, mask and opacity.
#include "merge_words.h"

#include "apps/pictures/merge_modes.h"

#include <algorithm>
#include <cstdio>

namespace apps::q32view {
namespace {

struct Words {
    const char *result;
    const char *rounding;
};

constexpr const char *through_hsv = "to HSV and back in whole numbers, after the normal merge";
constexpr const char *remainder_127 = "one more from a remainder of 127 on";

// By number, from 1 on.
constexpr std::array<Words, merge_modes.size()> words_of_modes = {{
    {"r = s", "nothing to round"},
    {"the pixel with hue and saturation of the normally merged one, and the base's value",
     through_hsv},
    {"the pixel with the hue of the normally merged one, the base's saturation and value",
     through_hsv},
    {"the pixel with the saturation of the normally merged one, the base's hue and value",
     through_hsv},
    {"the pixel with the value of the normally merged one, the base's hue and saturation",
     through_hsv},
    {"the overlay's pixel where its luminance is greater, else the base's",
     "luminance (30 red + 59 green + 11 blue) / 100, truncated"},
    {"the overlay's pixel where its luminance is less, else the base's",
     "luminance (30 red + 59 green + 11 blue) / 100, truncated"},
    {"s > 127: min(b + (s - 128) x f / 127, 255); else max(b - (127 - s) x f / 127, 0)",
     "quotients truncated"},
    {"r = |s - b|", "exact"},
    {"r = min(s + b, 255)", "exact"},
    {"r = max(s - b, 0)", "exact"},
    {"r = s x b / 255", remainder_127},
    {"r = 255 - (255 - s) x (255 - b) / 255", remainder_127},
    {"r = min(s x 255 / m, 255)", "truncated"},
    {"r = min(max(s + m - 255, 0) x 255 / m, 255)", "truncated"},
    {"", "truncated"},
}};

std::string mask_subtract_in_words(const MergeSetting &setting) {
    if (setting.opacity == 0)
        return "the base";
    const std::string percent = std::to_string(setting.opacity);
    if (!setting.has_mask)
        return setting.opacity == 100 ? "max(b - s, 0)" : "max(b - s x " + percent + " / 100, 0)";
    return setting.opacity == 100
               ? "max(b - s x m / 255, 0)"
               : "max(b - s x m x " + percent + " / 25500, 0), m the first of each row";
}

std::string result_in_words(const MergeSetting &setting) {
    if (setting.mode == MERGE_MASK_SUBTRACT)
        return mask_subtract_in_words(setting);
    const bool is_premultiplied =
        setting.mode == MERGE_PREMUL_BLACK || setting.mode == MERGE_PREMUL_WHITE;
    const size_t mode = is_premultiplied && !setting.has_mask ? MERGE_NORMAL : setting.mode;
    return words_of_modes[mode - 1].result;
}

std::string rounding_in_words(const MergeSetting &setting) {
    if (setting.mode == MERGE_LIGHTEN && setting.has_mmx)
        return "luminance 30 red + 59 green + 11 blue, not divided: exact";
    return words_of_modes[static_cast<size_t>(setting.mode) - 1].rounding;
}

// The normal merge's way on processors with MMX. most: 256, or 255 inside modes 2 to 5.
std::string mmx_weight_in_words(const MergeSetting &setting, int most) {
    const std::string mask = setting.has_mask ? "m" : "255";
    const std::string factor = std::to_string(setting.opacity * most / 100);
    const std::string weight =
        setting.opacity == 100 ? mask : "(" + mask + " x " + factor + ") >> 8";
    return "w = " + weight + "; (X >> 8) + (X != 0), X = r x w + b x (255 - w)";
}

std::string weight_in_words(const MergeSetting &setting) {
    switch (setting.mode) {
    case MERGE_RELIEF: {
        const int f = std::max(127 - 127 * setting.transparency() / 99, 0);
        return std::string(setting.has_mask ? "everywhere but where the mask is 0; f = "
                                            : "everywhere; f = ") +
               std::to_string(f);
    }
    case MERGE_MASK_SUBTRACT:
        return "in the formula";
    case MERGE_NORMAL:
        if (setting.has_mmx)
            return mmx_weight_in_words(setting, 256);
        break;
    case MERGE_COLOR:
    case MERGE_HUE:
    case MERGE_SATURATION:
    case MERGE_VALUE:
        if (setting.has_mmx)
            return "in the normal merge: " + mmx_weight_in_words(setting, 255);
        return "in the normal merge";
    default:
        break;
    }
    return std::string("w = ") + (setting.has_mask ? "m x " : "255 x ") +
           std::to_string(setting.opacity) +
           " / 100; (r x w + b x (255 - w)) / 255, both truncated";
}

} // namespace

std::string merge_in_words(const MergeSetting &setting) {
    return std::to_string(setting.mode) + " " +
           std::string(merge_modes[static_cast<size_t>(setting.mode) - 1]) + ": " +
           result_in_words(setting) + "\nRounding: " + rounding_in_words(setting) +
           "\nWeight: " + weight_in_words(setting);
}

std::string merge_time_in_words(int width, int height, double microseconds) {
    char text[120];
    const double pixels = static_cast<double>(width) * height;
    std::snprintf(text, sizeof text, "Merged %d x %d pixels in %.0f microseconds: %.2f ns a pixel",
                  width, height, microseconds, microseconds * 1000 / pixels);
    return text;
}

} // namespace apps::q32view

// The merge modes' names in both programs, in the order of their numbers, from 1 on.
#pragma once

#include <q32base/merge.h>

#include <array>
#include <string_view>

namespace apps {

inline constexpr std::array<std::string_view, MERGE_MASK_SUBTRACT> merge_modes = {
    "normal", "color",        "hue",          "saturation",    "value",    "lighten",
    "darken", "relief",       "difference",   "add",           "subtract", "multiply",
    "screen", "premul-black", "premul-white", "mask-subtract",
};
static_assert(!merge_modes.back().empty());

} // namespace apps

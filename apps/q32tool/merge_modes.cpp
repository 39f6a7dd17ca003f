// The table of modes. Their order is that of their numbers, from 1 on.
#include "merge_modes.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <q32base/merge.h>

#include <iterator>

namespace apps::q32tool {
namespace {

constexpr std::string_view names[] = {
    "normal", "color",        "hue",          "saturation",    "value",    "lighten",
    "darken", "relief",       "difference",   "add",           "subtract", "multiply",
    "screen", "premul-black", "premul-white", "mask-subtract",
};
static_assert(std::size(names) == MERGE_MASK_SUBTRACT);

} // namespace

int merge_mode_from(const Arguments &arguments) {
    if (!arguments.has("--mode"))
        return MERGE_NORMAL;
    const std::string &text = arguments.value("--mode");
    for (size_t i = 0; i < std::size(names); ++i)
        if (text == names[i])
            return static_cast<int>(i) + 1;
    const auto number = parse_number(text);
    if (number && *number >= MERGE_NORMAL && *number <= MERGE_MASK_SUBTRACT)
        return static_cast<int>(*number);
    throw UsageError("--mode takes a number from 1 to 16 or a name that q32tool help compose "
                     "lists, not '" +
                     text + "'");
}

const std::string &merge_mode_names() {
    static const std::string text = [] {
        constexpr size_t in_a_line = 4, column = 18; // characters
        std::string lines;
        for (size_t i = 0; i < std::size(names); ++i) {
            std::string entry = std::to_string(i + 1) + " " + std::string(names[i]);
            const bool ends_line = i % in_a_line == in_a_line - 1;
            if (!ends_line)
                entry.resize(column, ' ');
            lines += (i == 0 ? "  " : i % in_a_line == 0 ? "\n  " : "") + entry;
        }
        return lines;
    }();
    return text;
}

} // namespace apps::q32tool

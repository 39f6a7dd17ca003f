// Parsing and formatting of numbers.
#include "numbers.h"

#include <cstdio>

namespace apps {

std::optional<uint64_t> parse_bytes(std::string_view text) {
    constexpr std::string_view units = "KkMmGg";
    const size_t unit = text.empty() ? std::string_view::npos : units.find(text.back());
    size_t shift = 0;
    if (unit != std::string_view::npos) {
        shift = 10 * (unit / 2 + 1);
        text.remove_suffix(1);
    }
    const auto value = parse_number(text);
    if (!value || *value > (UINT64_MAX >> shift))
        return std::nullopt;
    return *value << shift;
}

std::string counted(uint64_t count, std::string_view noun) {
    std::string text = std::to_string(count) + " " + std::string(noun);
    return count == 1 ? text : text + "s";
}

std::string written_of(uint64_t done, uint64_t count, std::string_view noun) {
    return "of " + counted(count, noun) + " " + std::to_string(done) +
           (done == 1 ? " was" : " were") + " written";
}

std::string readable_size(uint64_t bytes) {
    constexpr double kilobyte = 1024, megabyte = 1024 * kilobyte;
    constexpr uint64_t least_in_megabytes = 10 << 20;
    const bool large = bytes >= least_in_megabytes;
    char text[40];
    std::snprintf(text, sizeof text, large ? "%.1f MB" : "%.1f KB",
                  static_cast<double>(bytes) / (large ? megabyte : kilobyte));
    return text;
}

std::string in_seconds(double seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

} // namespace apps

// Parsing and formatting of numbers.
#include "numbers.h"

#include <charconv>
#include <cstdio>

namespace apps {
namespace {

template <typename Number>
std::optional<Number> parse_whole(std::string_view text) {
    Number value = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

} // namespace

std::optional<uint64_t> parse_number(std::string_view text) {
    return parse_whole<uint64_t>(text);
}

std::optional<int> parse_integer(std::string_view text) {
    return parse_whole<int>(text);
}

std::optional<uint64_t> parse_size(std::string_view text) {
    int shift = 0;
    switch (text.empty() ? '\0' : text.back()) {
    case 'K':
    case 'k':
        shift = 10;
        break;
    case 'M':
    case 'm':
        shift = 20;
        break;
    case 'G':
    case 'g':
        shift = 30;
        break;
    default:
        break;
    }
    if (shift != 0)
        text.remove_suffix(1);
    const std::optional<uint64_t> value = parse_number(text);
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

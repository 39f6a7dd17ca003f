// Numbers as people write and read them: sizes with K, M, G; seconds; counts with their noun.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace apps {

inline bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

// A whole number that the type holds, nothing before or after it but the minus sign of a signed
// one.
template <typename Number = uint64_t>
std::optional<Number> parse_number(std::string_view text, int base = 10) {
    Number value = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

// Such numbers with a separator between them; none when one of them is no number.
template <typename Number>
std::vector<Number> parse_numbers(std::string_view text, char separator) {
    std::vector<Number> numbers;
    while (true) {
        const size_t end = text.find(separator);
        const auto number = parse_number<Number>(text.substr(0, end));
        if (!number)
            return {};
        numbers.push_back(*number);
        if (end == std::string_view::npos)
            return numbers;
        text.remove_prefix(end + 1);
    }
}

// Bytes: a whole number, optionally followed by K, M or G (1024, 1024^2, 1024^3).
std::optional<uint64_t> parse_bytes(std::string_view text);

std::string counted(uint64_t count, std::string_view noun); // "1 row", "2 rows"
// "of 5 files 2 were written", when work ended early.
std::string written_of(uint64_t done, uint64_t count, std::string_view noun);
std::string readable_size(uint64_t bytes); // "23.7 MB"
std::string in_seconds(double seconds);    // "0.125 s"

} // namespace apps

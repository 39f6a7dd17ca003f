// Numbers as people write and read them: sizes with K, M, G; seconds; counts with their noun.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace apps {

// A whole decimal number, nothing before or after it.
std::optional<uint64_t> parse_number(std::string_view text);

// The same with a minus sign before it, if any.
std::optional<int> parse_integer(std::string_view text);

// Bytes: a whole number, optionally followed by K, M or G (1024, 1024^2, 1024^3).
std::optional<uint64_t> parse_size(std::string_view text);

std::string counted(uint64_t count, std::string_view noun); // "1 row", "2 rows"
// "of 5 files 2 were written", when work ended early.
std::string written_of(uint64_t done, uint64_t count, std::string_view noun);
std::string readable_size(uint64_t bytes); // "23.7 MB"
std::string in_seconds(double seconds);    // "0.125 s"

} // namespace apps

// File names of a sequence, which differ in a number only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace apps::q32tool {

// "shots/a-", 4, ".png": a name with a place for a number in its last part.
struct NumberedName {
    std::string before;
    size_t digits; // at least so many
    std::string after;

    std::string with(uint64_t number) const;

    // The number in a name, if it is one of these.
    std::optional<uint64_t> number_in(std::string_view name) const;
};

// Of a name in which the number is written as # signs or as %d, %04d and the like; none when there
// is no number. Throws UsageError for one written in another way, or twice.
std::optional<NumberedName> numbered_name(const std::string &path);

} // namespace apps::q32tool

// What the library's failures mean, in sentences: the table is made from docs/failures.toml and the
// public headers when the program is built.
#pragma once

#include <span>
#include <string_view>

namespace apps::q32tool {

struct FailureNumbers {
    int message, severity, module, point;

    bool operator==(const FailureNumbers &) const = default;
};

struct Explanation {
    FailureNumbers numbers;
    std::string_view what;
    std::string_view causes; // one a line
    std::string_view remedy;
    std::string_view reporters; // likewise: "buf32Alloc, buf32Free: when"
};

// In the order of module and point.
std::span<const Explanation> explanations();

// Empty for a number that no failure has.
std::string_view module_name(int module);

} // namespace apps::q32tool

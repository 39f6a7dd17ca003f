// The numbers of a failure out of whatever somebody has pasted.
#pragma once

#include <optional>
#include <string_view>

namespace apps::q32tool {

// Of what is not there, none: a message alone, or message, module and point with or without the
// severity and the library.
struct PastedNumbers {
    int message;
    std::optional<int> severity, library, module, point;
};

// Takes "1001 4 3" (message, module, point), "1001, 0, 4, 3" (with the severity), "1001 0 1450 4 3"
// (with the library too), "1001", and each of them with words around and between, such as "(error
// 1001, module 4, point 3)". None when it is nothing of the kind.
std::optional<PastedNumbers> pasted_numbers(std::string_view text);

} // namespace apps::q32tool
